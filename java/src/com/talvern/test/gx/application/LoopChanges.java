package com.talvern.test.gx.application;

import com.talvern.test.gx.sys.NativeLibrary;

/** What this application's main loop does while it is not asked. */
final class LoopChanges {
    static {
        NativeLibrary.load();
    }

    private LoopChanges() {}

    /** Has the main loop count from now on what it does. On the GUI thread only. */
    static native void watch();

    /**
     * Waits until the main loop has done something. On any thread but the GUI thread.
     *
     * @param known what this has answered before; another number for the first time
     * @param milliseconds the longest wait, at most a second
     * @return a number that grows whenever the main loop has done anything but answer questions
     */
    static native long await(long known, int milliseconds);

    /**
     * Wakes a main loop that the program runs itself and that waits for its X server alone: it heeds neither the descriptor
     * that questions come by nor the timers of the toolkit. Any thread; does not wait.
     */
    static native void knock();
}
