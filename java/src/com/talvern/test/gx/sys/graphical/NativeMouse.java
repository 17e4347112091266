package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Point;

/** The pointer: where it is and which of its buttons are down. */
public class NativeMouse {
    static {
        NativeLibrary.load();
    }

    /** {@link #getMouseState}: the left button is down. */
    public static final int LEFT = 1;
    /** {@link #getMouseState}: the middle button is down. */
    public static final int MIDDLE = 2;
    /** {@link #getMouseState}: the right button is down. */
    public static final int RIGHT = 4;

    /** The pointer; all objects stand for the same one. */
    public NativeMouse() {}

    /**
     * Makes the window that receives the events of a {@linkplain NativeMouseCaptureThread capture}. On Unix a capture needs none.
     *
     * @param window ignored
     * @return 0
     */
    public native long createCaptureWindow(long window);

    /**
     * Asks where the pointer is.
     *
     * @return pixels of the default screen; null when the pointer is on another screen or there is no X server
     */
    public native Point getCursorPos();

    /**
     * Asks which buttons are down, whoever pressed them.
     *
     * @return the sum of {@link #LEFT}, {@link #MIDDLE} and {@link #RIGHT}; 0 without an X server
     */
    public native int getMouseState();

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always
     */
    public native int getDoubleClickThresholdX();

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always
     */
    public native int getDoubleClickThresholdY();

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always
     */
    public native int getDragThresholdX();

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always
     */
    public native int getDragThresholdY();

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always
     */
    public native int getDoubleClickInterval();
}
