package com.talvern.test.gx.ui;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Rectangle;

/**
 * Short texts on the screen beside the application under test: black on pale yellow, in a black frame, drawn by a thread
 * of the native layer.
 *
 * <pre>{@code
 * long tooltip = NativeTooltipWindow.create(0, 0, "Type the name", false);
 * NativeTooltipWindow.move(tooltip, 100, 200); // shows it
 * NativeTooltipWindow.setText(tooltip, "Press OK");
 * NativeTooltipWindow.destroy(tooltip);
 * }</pre>
 *
 * <p><b>Handles.</b> Every tooltip has a handle, which is never 0; a handle of 0 ends the process. Calls for a tooltip
 * that has been destroyed do nothing, until 1024 more have gone: its handle may be given anew then. Without an X server
 * nothing is shown. Any thread may call.
 *
 * <p><b>Texts.</b> Characters outside of Latin-1 are shown as "?"; line ends are not followed. A text with a character
 * that the code set of the locale lacks raises {@link com.talvern.test.gx.StringNotInCodePageException}.
 *
 * <p>Methods return when the X server has their requests; the text is drawn a moment later.
 */
public class NativeTooltipWindow {
    static {
        NativeLibrary.load();
    }

    /** Nothing is shown. */
    public NativeTooltipWindow() {}

    /**
     * Makes a tooltip that is not shown yet.
     *
     * @param x pixels of the screen: the left edge, unless {@link #move} gives another before the text is drawn
     * @param y the upper edge
     * @param text null counts as empty
     * @param flag not used
     * @return the handle
     */
    public static native long create(int x, int y, String text, boolean flag);

    /**
     * Moves a tooltip and shows it.
     *
     * @param handle of the tooltip
     * @param x pixels of the screen: the left edge
     * @param y the upper edge
     * @return true
     */
    public static native boolean move(long handle, int x, int y);

    /**
     * Replaces the text, also on the screen.
     *
     * @param handle of the tooltip
     * @param text an empty text, or null, leaves the old one
     * @return true
     */
    public static native boolean setText(long handle, String text);

    /**
     * The place of a tooltip, and its size when it was drawn last.
     *
     * @param handle of the tooltip
     * @return with width and height exchanged: a tooltip of 120 by 40 pixels has a width of 40 and a height of 120 here
     */
    public static native Rectangle getBounds(long handle);

    /**
     * Takes a tooltip off the screen for a while.
     *
     * @param handle of the tooltip
     */
    public static native void hide(long handle);

    /**
     * Shows a tooltip again. One that has never been moved, nor its text changed, is still off the screen.
     *
     * @param handle of the tooltip
     */
    public static native void show(long handle);

    /**
     * Takes a tooltip off the screen for good.
     *
     * @param handle of the tooltip
     */
    public static native void destroy(long handle);
}
