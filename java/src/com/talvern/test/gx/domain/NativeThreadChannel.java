package com.talvern.test.gx.domain;

import com.talvern.test.gx.sys.NativeLibrary;

/**
 * The native half of a channel to the GUI thread of the application under test; {@link ThreadChannel} is what engine
 * code uses.
 *
 * <p>A spy port stands for the one thread of the process that is served, and is named by a number that is valid for the
 * life of the process. A process has at most one.
 */
public abstract class NativeThreadChannel {
    static {
        NativeLibrary.load();
    }

    /** A channel that is not bound to a port yet. */
    protected NativeThreadChannel() {}

    /** Called on the port's thread for {@link #activate}. What it throws is written to the trace. */
    protected abstract void open();

    /**
     * Asks that {@link #open()} be called on the port's thread, and returns without waiting for it. Any thread. With
     * the install option {@code talvern.test.gx.accelerate_on_linux}, which is on unless it is set to something else
     * than {@code true}, a request that has not run yet gives way to the next one of any channel: what must not get
     * lost waits on the Java side, as in {@link ThreadChannel#post}.
     *
     * @param spyPort the port; a number that is no port does nothing
     * @param threadId the native thread that the caller believes the port to serve
     * @return false when the port does not serve that thread, or the request could not be sent
     */
    protected final native boolean activate(long spyPort, long threadId);

    /**
     * The spy port of the calling thread, made when the process has none yet.
     *
     * <p><b>Ends the process</b> by a failed assertion when another thread has the port already. Only code that knows
     * that its thread is the GUI thread may call it.
     *
     * @return never 0
     */
    protected final native long getSpyport();

    /**
     * Whether a port serves a thread.
     *
     * @param spyPort the port
     * @param threadId the native thread
     * @return false also for a number that is no port
     */
    protected final native boolean isAlive(long spyPort, long threadId);

    /**
     * Nothing has to be pumped on this platform.
     *
     * @return 0
     */
    protected final native int pumpSendMessages();

    /**
     * Nobody keeps track of it on this platform.
     *
     * @return false
     */
    protected final native boolean isUnresponsive();

    /** Does nothing on this platform. */
    protected final native void setUnresponsive();
}
