package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Rectangle;

/** The screen as a whole. */
public class NativeScreen {
    static {
        NativeLibrary.load();
    }

    /**
     * Converts a length in points to pixels.
     *
     * @param points a length
     * @return the same number: a point is a pixel on X11
     */
    public static native int getPixelsFromPoints(int points);

    /**
     * Flashes a red frame of 5 pixels for 1.8 seconds, and returns when it is gone. A frame of {@link Highlighter#create}
     * that is on the screen meanwhile stays there, but can no longer be reached through its object. Any thread.
     *
     * @param rectangle pixels of the screen, with x and y exchanged: the frame's left edge is at {@code rectangle.y}, its
     *     top at {@code rectangle.x}. Scripts rely on it. Null does nothing.
     */
    public static native void highlight(Rectangle rectangle);
}
