package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;

/**
 * Settings of synthetic input: how fast it is and in which mode. They hold for the whole process until they are changed,
 * whichever object sets them.
 */
public class NativeLowLevelPlayer {
    static {
        NativeLibrary.load();
    }

    /** A player; all players share their settings. */
    public NativeLowLevelPlayer() {}

    /**
     * Chooses the hot keys, F11 and F12 at first. While a {@linkplain NativePlayerThread#startPlayback playback} runs, the
     * new keys take over at once.
     *
     * @param stopKeysym X keysym of the key that stops playback, such as 0xFFC8 for F11; with 0, or a keysym that the keyboard
     *     does not have, no key does
     * @param pauseKeysym X keysym of the key that pauses playback, likewise
     */
    public static native void nativeSetHotKeys(int stopKeysym, int pauseKeysym);

    /**
     * Sets the delays of synthetic input in milliseconds: how long the X server waits before it lets each press, release or
     * motion happen. A negative argument leaves its delay as it is.
     *
     * @param mouseDown before a button press, 0 at first; the further presses of a multiple click always wait 100 ms
     * @param mouseUp before a button release, 0 at first
     * @param mouseMove before each motion of the pointer, 0 at first; it is also the least pause before a move
     * @param keyDown before a key press, and before the release of a modifier key held for a mouse action; 1 at first
     * @param keyUp before a key release, 10 at first
     * @param windowActivate stored for the activation of windows, 0 at first
     */
    public static native void nativeSetDelays(
            int mouseDown, int mouseUp, int mouseMove, int keyDown, int keyUp, int windowActivate);

    /**
     * Sets the step of interpolated pointer moves, 5 pixels at first.
     *
     * @param px pixels; a value below 1 leaves the step as it is
     */
    public static native void nativeSetMouseMoveInterpolationPx(int px);

    /**
     * Switches low-level playback on or off; off at first.
     *
     * @param lowLevel true: a {@linkplain NativeKeyMouseEvent#emitLLMouseEvent low-level mouse event} without a point
     *     happens where the pointer is; false: it is refused
     */
    public static native void nativeSetLowLevelPlayback(boolean lowLevel);
}
