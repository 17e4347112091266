package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;

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
}
