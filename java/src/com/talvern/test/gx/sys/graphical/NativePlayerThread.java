package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;

/**
 * What the thread does that listens for the hot keys while a test is played back: a user presses F11 to stop the playback and
 * F12 to pause it, or whatever {@link NativeLowLevelPlayer#nativeSetHotKeys} says.
 *
 * <pre>{@code
 * NativePlayerThread player = new NativePlayerThread();
 * player.startPlayback();
 * Thread test = Thread.currentThread();
 * new Thread(() -> {
 *     for (int event; (event = player.getNextEvent()) != NativePlayerThread.ENDED; ) {
 *         if (event == NativePlayerThread.STOP) {
 *             test.interrupt();
 *         }
 *     }
 * }).start();
 * for (int line = 0; line < 3 && !Thread.interrupted(); ++line) {
 *     NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, "Hello{ENTER}");
 * }
 * player.endPlayback();
 * }</pre>
 *
 * <p>There is one player in a process, whichever object speaks to it; its methods may be called by any thread at any time.
 * While playback runs, the keys belong to the player, whatever modifiers, Caps Lock and Num Lock do. No program receives
 * them, those under test included. A hot key that the test itself types with {@link NativeKeyMouseEvent#KEYSTRING}, from this
 * or another process that has loaded the library, does not end the playback, for it is counted where all processes see
 * it; a stroke by {@link NativeKeyMouseEvent#emitLLKeyEvent} is not counted and acts as the user's. A hot key that is typed
 * while nobody plays back stays counted and makes the next press by the user go unnoticed.
 *
 * <p>Another program that has grabbed a hot key, or for the time being the whole keyboard (as an open menu may), keeps it: the
 * trace then says so, and presses of that key are not seen. Without an X server nothing is ever pressed.
 *
 * <p>Keep a thread in {@link #getNextEvent} while playback runs. A hot key that is pressed while nobody asks keeps the whole
 * keyboard for the player until it is up, and another key that is pressed meanwhile makes both hot keys free, unnoticed, once
 * somebody asks again; {@link NativeLowLevelPlayer#nativeSetHotKeys} or a new start takes them back.
 */
public class NativePlayerThread {
    static {
        NativeLibrary.load();
    }

    /** {@link #getNextEvent}: playback has not begun or has been ended. */
    public static final int ENDED = -1;
    /** {@link #getNextEvent}: the user pressed the key that stops playback. */
    public static final int STOP = 0;
    /** {@link #getNextEvent}: the user pressed the key that pauses playback. */
    public static final int PAUSE = 2;

    /** The player; all objects stand for the same one. */
    public NativePlayerThread() {}

    /**
     * Begins to listen for the hot keys; nothing happens when that has been done already.
     *
     * @throws com.talvern.test.gx.sys.OutOfSpyMemException there is no room for the counters of hot keys
     * @throws com.talvern.test.gx.sys.ApplicationNotRespondingException another process keeps spy memory locked
     */
    public native void startPlayback();

    /** Gives the hot keys back. A thread that waits in {@link #getNextEvent} returns within milliseconds. */
    public native void endPlayback();

    /**
     * Waits until the user presses a hot key or playback ends. After {@link #STOP} the keys are free until playback is ended and
     * started again; after {@link #PAUSE} they remain the player's. A press that comes between two calls waits for the next
     * one. One thread at a time.
     *
     * @return {@link #STOP}, {@link #PAUSE} or {@link #ENDED}
     * @throws com.talvern.test.gx.sys.ApplicationNotRespondingException another process keeps spy memory locked
     */
    public native int getNextEvent();

    /**
     * Not supported on Unix, where there are no hooks: <b>ends the process</b> through a failed assertion. It must never be
     * called.
     */
    public native void pauseHooks();

    /**
     * Not supported on Unix, where there are no hooks: <b>ends the process</b> through a failed assertion. It must never be
     * called.
     */
    public native void resumeHooks();
}
