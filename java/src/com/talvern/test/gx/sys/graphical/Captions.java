package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;

/** What windows are called, in title bars; the same for both sides. What {@link NativeWindow} says of threads holds here too. */
public final class Captions {
    static {
        NativeLibrary.load();
    }

    private Captions() {}

    /**
     * Its own name, for the frame of a window manager that of the program's window in it, and where it has none {@link
     * NativeWindow#nativeGetWindowCaption}.
     *
     * @return empty when there is none; less the characters that the locale's code set lacks
     */
    public static String of(NativeWindow window) {
        String own = nameOf(window.getHandle());
        return own.isEmpty() ? window.nativeGetWindowCaption() : own;
    }

    /** @return the window's own name; empty when it has none; less the characters that the locale's code set lacks */
    public static native String nameOf(long window);
}
