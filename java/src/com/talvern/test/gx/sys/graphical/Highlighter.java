package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Rectangle;

/**
 * A coloured frame around a rectangle of the screen, which shows what a test is about to use or has found. Clicks go
 * through its middle, and {@link NativeWindow#nativeWindowAtPoint} looks through all of it; other searches find it.
 *
 * <pre>{@code
 * Rectangle there = NativeWindow.nativeWindowAtPoint(new Point(200, 150)).nativeGetRectangle();
 * Highlighter found = Highlighter.create(there, 255, 0, 0, 5, 250, 1000); // flashes for a second
 * found.joinNativeThread();                                               // until it is gone
 *
 * Highlighter marked = Highlighter.create(new Rectangle(100, 100, 200, 50), 0, 160, 0, 3, 0, 0); // stays
 * marked.move(100, 200, 200, 50);
 * marked.destroy();
 * }</pre>
 *
 * <p><b>The current frame.</b> Only the frame that was made last can be reached. Making another one leaves the older one
 * on the screen: destroy it before, or let it go by itself. When a timed frame goes, whichever frame is the current one
 * then cannot be reached any more either: wait with {@link #joinNativeThread} before making one that stays. Calls for a
 * frame that is not the current one, be it replaced, destroyed or gone by itself, do nothing and answer false or 0. Without
 * an X server nothing is shown and every frame has the handle 0: each object then stands for the one that was made last.
 *
 * <p><b>Units.</b> Pixels of the screen for the outer edge of the frame, and milliseconds. Any thread may call.
 */
public class Highlighter {
    static {
        NativeLibrary.load();
    }

    /** The X window id of the frame. The native layer reads it by name. */
    private long handle;

    /**
     * Names a frame; nothing is shown. The native layer calls it.
     *
     * @param handle the X window id of the frame
     */
    public Highlighter(long handle) {
        this.handle = handle;
    }

    /** @return the X window id of the frame; 0 without an X server */
    public final long getHandle() {
        return handle;
    }

    /**
     * Makes a frame, shows it and makes it the current one.
     *
     * <p>With interval and duration 0 it stays until {@link #destroy}. With a duration only, it goes by itself after
     * that time. With both it flashes: it is hidden after one interval, shown after the next, and gone when the duration
     * is over. With an interval only, it goes at once. Above 999, times are slept in whole seconds, and of the rest
     * counts the remainder of the division by their number: 1500 lasts 1 s, 12 345 lasts 12.009 s.
     *
     * @param rectangle the frame's outer edge; one without an area is not seen
     * @param red 0 to 255
     * @param green 0 to 255
     * @param blue 0 to 255
     * @param thickness of the line; 1 where twice the thickness exceeds width or height
     * @param interval milliseconds between two changes; 0 or less for none
     * @param duration milliseconds until the frame goes by itself; 0 or less for none
     * @return null for a null rectangle
     */
    public static native Highlighter create(Rectangle rectangle, int red, int green, int blue, int thickness, int interval,
            int duration);

    /** Shows the frame again after {@link #hide}. */
    public native void show();

    /** Takes the frame off the screen for a while. */
    public native void hide();

    /**
     * Gives the frame another place and size, and shows it. Nothing happens when they are the same.
     *
     * @param x left edge
     * @param y upper edge
     * @param width outer width
     * @param height outer height
     */
    public native void move(int x, int y, int width, int height);

    /** @return whether the frame is on the screen */
    public native boolean isVisible();

    /** Takes the frame off the screen for good. A timed one ends early. */
    public native void destroy();

    /**
     * Waits until a timed frame is gone; returns at once for others.
     *
     * @return 0
     */
    public native int joinNativeThread();
}
