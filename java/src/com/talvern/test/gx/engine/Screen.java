package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.NativeLibrary;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Rectangle;
import java.util.List;

/**
 * Pictures of what is on the screen, as a user sees it: of a window that is covered, what covers it.
 *
 * <p>They come from the X server, on connections of their own. AWT connects to nothing for that, so a headless JVM works
 * as well. Any thread. The screen may have 16, 24, 30 or 32 bits a pixel, but no palette. A connection, and memory for the
 * pixels of a picture, are kept for the next one until there has been none for two seconds; two of each at most.
 */
public final class Screen {
    static {
        NativeLibrary.load();
    }

    /** How a picture differs from what is on the screen without the pointer. */
    public enum Option {
        /** With the pointer. */
        WITH_POINTER,
        /**
         * Without the frames that {@link com.talvern.test.gx.sys.graphical.Highlighter} shows: they go off the screen for
         * as long as the programs below take to draw what they hide, 0.3 seconds at most. What a program has not drawn in
         * that time is missing where its frame was.
         */
        WITHOUT_FRAMES
    }

    /** How long a connection is kept, and its memory. */
    private static final long KEPT_MS = 2000;
    private static long lastTaken;
    private static boolean isKept;

    private Screen() {}

    /** @return the whole screen */
    public static Rectangle bounds() {
        Windows.requireServer();
        return NativeWindow.nativeGetRootNativeWindow().nativeGetRectangle();
    }

    /**
     * Takes a picture of the whole screen.
     *
     * @param options how
     * @return the picture
     * @throws ApplicationException.NoServer there is no X server, or it has gone
     */
    public static Picture capture(Option... options) {
        return capture(bounds(), options);
    }

    /**
     * Takes a picture of a part of the screen.
     *
     * @param part of the screen; what lies off it is left out
     * @param options how
     * @return the picture
     * @throws IllegalArgumentException nothing of the part is on the screen
     * @throws ApplicationException.NoServer there is no X server, or it has gone
     * @throws UnsupportedOperationException the screen has a palette, or has just changed its size
     */
    public static Picture capture(Rectangle part, Option... options) {
        Rectangle seen = part.intersection(bounds());
        if (seen.isEmpty()) {
            throw new IllegalArgumentException(Complaint.of("no picture of " + Picture.placeOf(part),
                "nothing of that is on the screen, which is " + Picture.placeOf(bounds()), "ask for what lies on it"));
        }
        List<Option> how = List.of(options);
        int[] pixels;
        try {
            pixels = pixels(seen.x, seen.y, seen.width, seen.height, how.contains(Option.WITH_POINTER),
                !how.contains(Option.WITHOUT_FRAMES));
        } finally {
            keepForNext();
        }
        if (pixels == null) {
            throw Windows.noServer();
        }
        if (pixels.length == 0) {
            throw new UnsupportedOperationException(Complaint.of("no picture of " + Picture.placeOf(seen),
                "the screen has a palette, or has just changed its size",
                "try again, or on a screen of 24 bits: gx session -- COMMAND"));
        }
        return Picture.of(pixels, seen);
    }

    private static synchronized void keepForNext() {
        lastTaken = System.nanoTime();
        if (!isKept) {
            isKept = true;
            Thread keeper = new Thread(Screen::dropWhenUnused, "gx-screen");
            keeper.setDaemon(true);
            keeper.start();
        }
    }

    private static synchronized void dropWhenUnused() {
        try {
            long left = KEPT_MS;
            while (left > 0) {
                Screen.class.wait(left);
                left = KEPT_MS - (System.nanoTime() - lastTaken) / 1_000_000;
            }
        } catch (InterruptedException atOnce) {
            // there is nothing else to do
        }
        isKept = false;
        dropKept();
    }

    /** @return rows from the top, as 0xRRGGBB; empty when there is no picture, null when there is no server */
    private static native int[] pixels(int x, int y, int width, int height, boolean withPointer, boolean withFrames);

    private static native void dropKept();
}
