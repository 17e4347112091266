package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Point;
import java.awt.Rectangle;

/**
 * A window that a user sees as an application window: one that carries the property WM_CLASS. Window managers put such
 * windows into frames of their own, which have none and are looked through. The library's highlight frames have one.
 *
 * <pre>{@code
 * for (NativeTopLevelWindow window : new NativeTopLevelWindow(0).getOwnedWindows()) {
 *     System.out.println(window.nativeGetWindowClassname() + ": " + window.nativeGetWindowCaption());
 * }
 * }</pre>
 *
 * <p>What {@link NativeWindow} says about units, windows that have gone and threads holds here too. Requests to a window
 * manager are sent when a method returns, not yet carried out: wait for the effect, for instance for
 * {@link #isIconified}.
 */
public class NativeTopLevelWindow extends NativeWindow {
    static {
        NativeLibrary.load();
    }

    /**
     * Names a window; the X server is not asked.
     *
     * @param handle its X window id; 0 for {@link #getOwnedWindows}, which needs no window
     */
    public NativeTopLevelWindow(long handle) {
        super(handle);
    }

    /**
     * The top-level windows that cover exactly a rectangle. Windows of the KDE window manager itself are left out. A
     * window without WM_CLASS that matches inside of a top-level window stands for that one.
     *
     * @param rectangle screen coordinates, without borders
     * @return the topmost window first; empty when there is none
     */
    public static native NativeTopLevelWindow[] topLevelWindowsAtRectangle(Rectangle rectangle);

    /**
     * Every top-level window of the display that is viewable, whichever window this object names.
     *
     * @return from the bottom of the stack to its top, as objects of this object's class, which needs a constructor with
     *     a long
     */
    public native NativeTopLevelWindow[] getOwnedWindows();

    /** @return always false, right after {@link #maximize} as well */
    public native boolean isMaximized();

    /** Moves the window to (0, 0) and gives it the size of the screen. */
    public native void maximize();

    /** Shows the window again if it is iconified. */
    public native void restore();

    /** @return whether the window exists and is unmapped, as iconified windows are */
    public native boolean isIconified();

    /** Asks the window manager to iconify the window; nothing happens without one. */
    public native void iconify();

    /** Maps the window and raises it. */
    public native void deiconify();

    /**
     * Asks the application to close the window, as the window manager's close button does; it may refuse or ask back. Ask its
     * own window: a window manager's frame does not hand the request on, save that of the KDE window manager.
     */
    public native void close();

    /** Raises the window as {@link #nativeBringToTop} does. */
    public native void assertDisabledWindow();

    /**
     * Moves the window, and resizes it unless it has this size already. A window manager places the window including
     * its frame.
     *
     * @param x screen coordinates
     * @param y screen coordinates
     * @param width pixels without the border, greater than 0
     * @param height pixels without the border, greater than 0
     * @return true, also for a window that has gone
     */
    public native boolean moveWindow(int x, int y, int width, int height);

    /** @return (0, 0, 0, 0): X11 does not tell where title bars are */
    public native Rectangle getTitleBarRectangle();

    /** @return (0, 0, 0, 0) */
    public native Rectangle getCloseIconRectangle();

    /** @return (0, 0, 0, 0) */
    public native Rectangle getMinimizeIconRectangle();

    /** @return (0, 0, 0, 0) */
    public native Rectangle getMaximizeIconRectangle();

    /** @return (0, 0, 0, 0) */
    public native Rectangle getHelpIconRectangle();

    /**
     * @param point any
     * @return false
     */
    public native boolean isPointInCloseIcon(Point point);

    /**
     * @param point any
     * @return false
     */
    public native boolean isPointInMinimizeIcon(Point point);

    /**
     * @param point any
     * @return false
     */
    public native boolean isPointInMaximizeIcon(Point point);

    /**
     * @param point any
     * @return false
     */
    public native boolean isPointInHelpIcon(Point point);

    /**
     * @param point any
     * @return false
     */
    public native boolean isPointInSystemMenu(Point point);
}
