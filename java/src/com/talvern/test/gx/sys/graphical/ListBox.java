package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Point;
import java.awt.Rectangle;

/**
 * A Motif list box of the application that this JVM has been put into.
 *
 * <pre>{@code
 * ListBox list = ListBox.listBoxAtPoint(new Point(200, 150));
 * for (int i = 0; list != null && i < list.getCount(); i++) {
 *     System.out.println((list.isSelected(i) ? "* " : "  ") + list.getText(i));
 * }
 * }</pre>
 *
 * <p>Item indexes start with 0. Rectangles and points of items are pixels from the upper left corner of the list;
 * {@link #nativeGetRectangle} says where that is on the screen.
 *
 * <p><b>Neutral answers.</b> Nothing is thrown. Handle 0, a window that has gone, one of another application and one
 * that is no list box answer -1, false, an empty text or a rectangle of zeros.
 *
 * <p><b>Threads.</b> Call everything here on the application's GUI thread: the widgets are read in place.
 */
public class ListBox extends NativeWindow {
    static {
        NativeLibrary.load();
    }

    /**
     * Names a list box by its window; nothing is asked.
     *
     * @param handle the X window id of the list widget
     */
    public ListBox(long handle) {
        super(handle);
    }

    /**
     * The list box that a click would go to.
     *
     * @param point screen coordinates
     * @return null when the window at the point is no list box, and for null
     */
    public static native ListBox listBoxAtPoint(Point point);

    /**
     * The list box that covers exactly a rectangle, or the one inside of the scrolled window that does.
     *
     * @param rectangle screen coordinates, without borders
     * @return an object with handle 0 when there is none; null for null
     */
    public static native ListBox listBoxAtRectangle(Rectangle rectangle);

    /** @return how many items there are; -1 when this is no list box */
    public native int getCount();

    /** @return the index of the first item that is shown, 0 when there are no items; -1 when this is no list box */
    public native int getTopIndex();

    /** @return how many items are selected; -1 when this is no list box */
    public native int getSelCount();

    /** @return the lowest index that is selected; -1 when none is */
    public native int getCurSel();

    /**
     * @param index any
     * @return whether there is such an item and it is selected
     */
    public native boolean isSelected(int index);

    /**
     * The text of an item. Of one that is composed of several texts it is the first.
     *
     * @param index any
     * @return at most 127 bytes of it in the locale's code set, whole characters; empty when there is no such item
     */
    public native String getText(int index);

    /**
     * Where an item is shown.
     *
     * @param index any
     * @return pixels from the list's corner; all zero when there is no such item or it is scrolled out of sight
     */
    public native Rectangle getRectangle(int index);

    /**
     * The first item whose rectangle holds a point, edges included. The rectangle of zeros of an item out of sight
     * holds (0, 0), which lies on the list's own frame.
     *
     * @param point pixels from the list's corner
     * @return -1 when none does, and for null
     */
    public native int getItemAtPoint(Point point);
}
