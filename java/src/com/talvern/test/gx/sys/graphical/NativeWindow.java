package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Point;
import java.awt.Rectangle;

/**
 * A native window of the X display, named by its X window id; a window of any application, not a window of AWT.
 *
 * <pre>{@code
 * NativeWindow window = NativeWindow.nativeWindowAtPoint(new Point(200, 150));
 * for (; window != null && !window.nativeGetParentWindow().equals(window); window = window.nativeGetParentWindow()) {
 *     System.out.println(window.nativeGetWindowClassname() + " " + window.nativeGetRectangle());
 * }
 * }</pre>
 *
 * <p><b>Units.</b> All coordinates are pixels. Those of the screen start at the upper left corner of the root window; y
 * grows downwards. A window's rectangle does not include its border. Where it says that a rectangle holds a point, both
 * edges belong to it: a window of width w at x covers the w + 1 columns x to x + w.
 *
 * <p><b>Windows that have gone.</b> Other programs may destroy a window at any time. A query on a window that has gone,
 * or without an X server, answers neutrally: null, false, an empty text, a rectangle of zeros; an operation does
 * nothing. Nothing is thrown, save where it says so. A null argument gives a null result. A server that goes stays gone
 * for this process, even if another one takes its place.
 *
 * <p><b>Threads.</b> All windows share one connection to the X server: call these methods from one thread at a time.
 * Every call waits for the server's answer: while the server is stopped or busy, so is the caller.
 */
public class NativeWindow {
    static {
        NativeLibrary.load();
    }

    /** The X window id; 0 is no window. The native layer reads it by name. */
    private long handle;

    /**
     * Names a window; the X server is not asked.
     *
     * @param handle its X window id
     */
    public NativeWindow(long handle) {
        this.handle = handle;
    }

    /** @return the X window id, as {@code xwininfo} and {@code xdotool} show it */
    public final long getHandle() {
        return handle;
    }

    /** @return whether the other object names the same window, be it as a top-level window or not */
    @Override
    public final boolean equals(Object other) {
        return other instanceof NativeWindow && ((NativeWindow) other).handle == handle;
    }

    @Override
    public final int hashCode() {
        return Long.hashCode(handle);
    }

    /** @return the class and the id in hexadecimal digits, such as "NativeWindow[0x1400007]" */
    @Override
    public String toString() {
        return getClass().getSimpleName() + "[0x" + Long.toHexString(handle) + "]";
    }

    // Finding windows

    /**
     * The deepest window at a point: the topmost viewable window that holds it, and in it the topmost child that does, and
     * so on. A click there goes to this window, save on a border, which counts as the parent's, on the column and the row
     * right of and below a window, which count as the window's, and in a hole of a window with a shape. The library's own
     * highlight frames are looked through.
     *
     * @param point screen coordinates
     * @return the root window where there is no other; null without an X server
     */
    public static native NativeWindow nativeWindowAtPoint(Point point);

    /**
     * The viewable windows that cover exactly a rectangle, at any depth, highlight frames included.
     *
     * @param rectangle screen coordinates
     * @return parents before their children, siblings from the bottom of the stack to its top; empty when there is none
     */
    public static native NativeWindow[] nativeWindowsAtRectangle(Rectangle rectangle);

    /**
     * The parent, which the window manager may have put around the application's window.
     *
     * @return this window for the root and for a window that has gone; null for handle 0
     */
    public native NativeWindow nativeGetParentWindow();

    /** @return null: X11 windows have no owner */
    public native NativeWindow nativeGetOwnerWindow();

    /** @return null: X11 windows have no owner */
    public native NativeWindow nativeGetGwWinOwner();

    /**
     * The children that can be seen: viewable ones, less those that only take input.
     *
     * @return from the bottom of the stack to its top; may be empty
     */
    public native NativeWindow[] nativeEnumChildWindows();

    /**
     * The top-level window of the window with the input focus, a child of the root.
     *
     * @return never null; its handle is 0 when nothing has the focus and 1 when the focus follows the pointer
     */
    public static native NativeWindow nativeGetForeground();

    /**
     * The window with the input focus, as the X server reports it.
     *
     * @return never null; its handle is 0 when nothing has the focus and 1 when the focus follows the pointer
     */
    public static native NativeWindow nativeGetFocus();

    /** @return the root window of the default screen; its handle is 0 without an X server */
    public static native NativeWindow nativeGetRootNativeWindow();

    /**
     * @param processId any
     * @return null: X11 windows are not found by process
     */
    public static native NativeWindow nativeGetMainWindowForProcessId(long processId);

    // Asking a window

    /**
     * The caption. A child of the root, such as a window manager's frame, has its own name first. Where it has none, and for
     * every other window, it is the name of the topmost window inside, else the window's own. {@link
     * com.talvern.test.gx.engine.Windows#caption} asks each window for its own name first, as a user sees it.
     *
     * @return at most 126 bytes of it in the locale's code set, whole characters; empty when there is none
     */
    public native String nativeGetWindowCaption();

    /**
     * The class of WM_CLASS, a blank, and the instance, such as "XTerm xterm".
     *
     * @return at most 126 bytes; the instance is left out when both are longer. Empty when the window has no class
     */
    public native String nativeGetWindowClassname();

    /** @return place and size in screen coordinates, without the border; all zero for a window that has gone */
    public native Rectangle nativeGetRectangle();

    /** @return whether the window and all its ancestors are mapped; other windows may cover it even so */
    public native boolean nativeIsShowing();

    /** @return the same as {@link #nativeIsShowing} */
    public native boolean nativeisWinVisible();

    /** @return true: X11 windows cannot be disabled */
    public native boolean nativeIsEnabled();

    /** @return 0: X11 windows have no control id */
    public native int nativeGetCtrlId();

    /**
     * @return nothing
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always
     */
    public native int nativeGetPid();

    /**
     * @return nothing
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always
     */
    public native int nativeGetTid();

    /**
     * @param bar 1 for the horizontal, 2 for the vertical scroll bar
     * @return -1, not available; 0 for any other bar
     */
    public native int nativeGetScrollPosition(int bar);

    /**
     * @param bar any
     * @return -1, not available
     */
    public native int nativeGetScrollMin(int bar);

    /**
     * @param bar any
     * @return -1, not available
     */
    public native int nativeGetScrollMax(int bar);

    // Changing a window

    /**
     * Raises the window, or its frame, to the top of the stack, and the transient dialogs of this window after it.
     *
     * @return 0
     */
    public native int nativeNativeActivate();

    /** Raises the window as {@link #nativeNativeActivate} does. */
    public native void nativeSetForeground();

    /** Raises the window as {@link #nativeNativeActivate} does. */
    public native void nativeBringToTop();

    /**
     * Gives the window the input focus. It must be viewable, else nothing happens. Of handle 0 and 1 the X server makes what
     * {@link #nativeGetFocus} reports by them: with 0 nothing has the focus and what is typed is lost, with 1 the focus
     * follows the pointer.
     */
    public native void nativeSetFocus();

    /** Asks the window manager to keep the window above others. */
    public native void nativeSetStyleTopMost();

    /** Takes {@link #nativeSetStyleTopMost} back. */
    public native void nativeClearStyleTopMost();

    // Toolkits: what a window is for the application that this JVM has been put into; false in any other process

    /**
     * The menu bar inside this window, else the first one anywhere on the screen.
     *
     * @return null when this process has no menu bar, and for handle 0
     */
    public native Menu nativeGetMenuBar();

    /**
     * This window as a menu; whether it is one is not looked at.
     *
     * @return null for handle 0
     */
    public native Menu nativeGetPopupMenu();

    /**
     * The menu panes that are shown. A GTK pane that begins left of or above the screen is not listed.
     *
     * @return at most 64; empty when there is none
     */
    public static native NativeWindow[] nativeGetPopupWindows();

    /**
     * The menu pane that was not opened from a menu bar or from another pane. GTK makes no difference: any pane that
     * is shown counts.
     *
     * @return the first such pane; null when none is shown
     */
    public static native NativeWindow nativeGetTopContextMenu();

    /**
     * The top-level window with the menu bar that this pane belongs to.
     *
     * @return null when this window is no menu ({@link #nativeIsMenu}), and when there is no menu bar
     */
    public native NativeWindow nativeGetMenuParentWindow();

    /** @return whether it is a Motif pulldown menu, or a window that shows a GTK menu other than a menu bar */
    public native boolean nativeIsMenu();

    /** @return whether it is a Motif pulldown or popup menu */
    public native boolean nativeIsPopup();

    /** @return whether it is the list of a Motif option menu */
    public native boolean nativeIsComboListBox();

    /** @return whether it is a dialog with a Motif file selection box */
    public native boolean nativeIsFileDialog();

    /**
     * The X window of a Motif or other Xt widget.
     *
     * @param widget its address; anything else ends the process
     * @return 0 before the widget is realized, and for 0
     */
    public static native long nativeXtWindow(long widget);

    /**
     * The GdkWindow of a GTK 2 widget.
     *
     * @param widget its address; anything else ends the process
     * @return the GdkWindow's address; 0 before the widget is realized, and for 0
     */
    public static native long nativeGTK_WIDGET_WINDOW(long widget);

    /**
     * The X window of a GdkWindow.
     *
     * @param window its address; anything else ends the process
     * @return 0 for 0 and without GTK
     */
    public static native long nativeGDK_WINDOW_XID(long window);

    /** @return whether this process runs GTK; decided by the first call */
    public static native boolean nativeIsGTK();

    // Without meaning on X11

    /** Does nothing on X11. */
    public static native void nativeCloseAllPopupWindows();

    /** Does nothing on X11. */
    public static native void nativeCleanupResource();

    /** @return 0 */
    public native long nativeWindowHandleFromComponent();

    /** @return 0 */
    public native long nativeComponentFromWindowHandle();

    /** @return 0 */
    public native long nativeAXUIElementCreateWithHIObject();

    /** @return 0 */
    public native long nativeAXUIElementGetHIObject();
}
