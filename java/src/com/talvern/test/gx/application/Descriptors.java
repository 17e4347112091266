package com.talvern.test.gx.application;

import com.talvern.test.gx.sys.NativeLibrary;

/** What this side has open in the application, which must not reach the programs that the application starts. */
final class Descriptors {
    static {
        NativeLibrary.load();
    }

    private Descriptors() {}

    /**
     * Has descriptors closed when another program is executed: the JVM opens its files and sockets without that.
     *
     * @param path real path of a file, or the name that a socket was bound to
     */
    static native void closeOnExec(String path);

    /** Notes which descriptors the process has. */
    static native void noteOpen();

    /**
     * Has those descriptors closed when another program is executed that only a JVM has opened since {@link #noteOpen}:
     * its sources of randomness, and the end of a pair of sockets whose other end it has closed.
     */
    static native void closeOwnOnExec();
}
