package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;

/**
 * The recorder of what a user does. The X Window System offers nothing to build it on: recording is not supported on Unix, and
 * the methods say so.
 */
public class NativeRecorderThread {
    static {
        NativeLibrary.load();
    }

    /** The recorder; all objects stand for the same one. */
    public NativeRecorderThread() {}

    /**
     * Begins to record.
     *
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always
     */
    public native void startRecording();

    /**
     * Ends the recording.
     *
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always
     */
    public native void stopRecording();

    /**
     * Waits for the next action of the user.
     *
     * @return null as long as {@link #startRecording} was never called in this process, and after the recording has ended
     * @throws com.talvern.test.gx.NotSupportedOnUnixException otherwise
     */
    public native NativeKeyMouseEvent getNextEvent();

    /**
     * Lets the last event go to the program that it was meant for.
     *
     * @return 0, or -1 after the recording has ended
     * @throws com.talvern.test.gx.NotSupportedOnUnixException always, as there is never a recording
     */
    public native int releaseEvent();

    /** Makes an event of the keys recorded so far. Nothing happens on Unix. */
    public native void nativeFlushKeys();
}
