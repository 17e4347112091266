package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Point;
import java.awt.Rectangle;

/**
 * A menu bar or a menu pane of Motif, GTK 2 or GTK 3, named by its X window.
 *
 * <pre>{@code
 * Menu bar = NativeWindow.nativeGetRootNativeWindow().nativeGetMenuBar(); // the first one of this application
 * for (int i = 0; bar != null && i < bar.getItemCount(); i++) {
 *     System.out.println(bar.getItemText(i) + " " + bar.getItemScreenRectangle(i));
 * }
 * }</pre>
 *
 * <p><b>Where.</b> Only the process whose toolkit made the menu can answer: call these methods inside the application,
 * on the thread of its toolkit. Anywhere else a menu has no items.
 *
 * <p><b>Windows.</b> GTK draws its menus into windows that X11 does not know. Such a menu is named by the X window that
 * it is drawn into: a pane by that of its popup, a menu bar by the window of the application.
 *
 * <p><b>Items</b> count from 0, separators and tear-off items included. An index beyond the items, a pane that has gone
 * and a window that is no menu give the answer named at each method; nothing is thrown.
 */
public class Menu {
    static {
        NativeLibrary.load();
    }

    /** The X window id; 0 is no menu. The native layer reads it by name. */
    private long handle;

    /** Unused on X11. The native layer reads it by name. */
    private long menuHandle;

    /**
     * Names a menu; the X server is not asked.
     *
     * @param handle X window id of the bar or pane
     * @param menuHandle 0
     */
    public Menu(long handle, long menuHandle) {
        this.handle = handle;
        this.menuHandle = menuHandle;
    }

    /** @return the X window id */
    public final long getHandle() {
        return handle;
    }

    /** @return the class and the id in hexadecimal digits, such as "Menu[0x1400007]" */
    @Override
    public String toString() {
        return getClass().getSimpleName() + "[0x" + Long.toHexString(handle) + "]";
    }

    /** @return how many items there are; -1 when this is no menu of this process */
    public native int getItemCount();

    /** @return false: X11 has no system menus */
    public native boolean isSystemMenu();

    /** @return false */
    public native boolean isHTMLMenu();

    /**
     * The text of an item, without the underscore of a mnemonic.
     *
     * @param index of the item
     * @return the whole characters of the first 126 bytes in UTF-8; null for an item without a text and always for Motif
     */
    public native String getItemText(int index);

    /**
     * Where an item is. Its middle is the place to click.
     *
     * @param index of the item
     * @return screen coordinates; null when nothing is known. All zero for an index that a Motif menu does not have
     */
    public native Rectangle getItemScreenRectangle(int index);

    /**
     * Where the bar or pane is. Where a window of its own does not lie inside its parent, the parent's rectangle.
     *
     * @return screen coordinates, without the border; all zero for a pane that has gone; null for handle 0
     */
    public native Rectangle getScreenRectangle();

    /**
     * The item at a point.
     *
     * @param point screen coordinates
     * @return the first item whose rectangle, edges included, holds the point; -1 for none
     */
    public native int getItemAtPoint(Point point);

    /**
     * The sub-menu that an item has opened.
     *
     * @param index of the item
     * @param windows unused on X11; may be null
     * @return an object of this object's class; null when the item has no sub-menu or it is not shown
     */
    public native Menu getItemPopupMenu(int index, NativeWindow[] windows);
}
