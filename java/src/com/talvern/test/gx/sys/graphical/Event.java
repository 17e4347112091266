package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;

/**
 * What all kinds of input events have in common, and the counters of the recording hooks. There are no such hooks on the X
 * Window System: every counter stays 0.
 */
public class Event {
    static {
        NativeLibrary.load();
    }

    /** An event. */
    public Event() {}

    /**
     * Counts the events that playback marked as its own.
     *
     * @return 0
     */
    public static native int getNumTaggedEvents();

    /**
     * Counts the calls of the hooks.
     *
     * @return 0
     */
    public static native int getNumHookCalls();

    /**
     * Counts the calls of the hooks for marked events.
     *
     * @return 0
     */
    public static native int getNumHookCallsTagged();

    /**
     * Counts the waits for a hook.
     *
     * @return 0
     */
    public static native int getNumWaits();

    /**
     * Counts the waits that ran out of time.
     *
     * @return 0
     */
    public static native int getNumTimeouts();
}
