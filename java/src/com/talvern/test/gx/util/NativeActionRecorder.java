package com.talvern.test.gx.util;

import com.talvern.test.gx.sys.NativeLibrary;

/** A setting of the {@linkplain com.talvern.test.gx.sys.graphical.NativeRecorderThread recorder}. */
public class NativeActionRecorder {
    static {
        NativeLibrary.load();
    }

    /** A recorder; all share the setting. */
    public NativeActionRecorder() {}

    /**
     * Chooses whether the recorder waits for slow programs without limit. Nothing happens on Unix, where nothing is recorded.
     *
     * @param ignore true: without limit
     */
    public static native void setRecorderToIgnoreTimeout(boolean ignore);
}
