package com.talvern.test.gx.sys;

import java.time.Duration;
import java.time.Instant;

/**
 * Who holds a lock between processes: what {@link SpyMemory#lockHolder} and {@link Mutex#holder} tell, as it was when they
 * were asked.
 *
 * <pre>{@code
 * Mutex mutex = new Mutex();
 * mutex.create("eventMutex");
 * mutex.acquire(0);
 * System.out.println(mutex.holder().processId() == ProcessHandle.current().pid()); // true
 * mutex.release();
 * System.out.println(mutex.holder()); // null
 * }</pre>
 *
 * <p>Names are the first 15 bytes, as the system keeps them, with question marks for what is not ASCII.
 *
 * <p>Which process it is the system knows; thread and time are on a record that the holder keeps. Without that record,
 * for instance when a process of an earlier version holds the lock, they are not known. Objects do not change; any thread.
 */
public final class LockHolder {
    private int processId;
    private String processName;
    private int threadId;
    private String threadName;
    private long heldMillis = -1;
    private boolean alive;
    private final Instant asked = Instant.now();

    /** For native code, which fills it. */
    private LockHolder() {}

    /** @return the process; 0 when it lives where its number cannot be seen from here, in another container for instance */
    public int processId() {
        return processId;
    }

    /** @return the name of its program; empty when it is not known */
    public String processName() {
        return processName;
    }

    /** @return the thread by the number that the system gives to threads, not Java's; 0 when it is not known */
    public int threadId() {
        return threadId;
    }

    /** @return the name that Java gave the thread; empty when it is not known or the thread has ended */
    public String threadName() {
        return threadName;
    }

    /** @return since when it holds the lock, a few milliseconds more or less; null when it is not known */
    public Instant since() {
        return heldMillis < 0 ? null : asked.minus(Duration.ofMillis(heldMillis));
    }

    /**
     * The system gives back what a dead process held. A lock that is taken all the same by a process that is dead, told from a
     * new one with its number by the time it was started, was taken by other means than this library's, and stays taken.
     *
     * @return whether the process lives; one that cannot be seen from here counts as alive
     */
    public boolean isAlive() {
        return alive;
    }

    /** @return one line for people */
    @Override
    public String toString() {
        return "process " + processId + " (" + processName + (alive ? ")" : ", dead)")
                + (heldMillis < 0 ? "" : ", thread " + threadId + " (" + threadName + "), since " + since());
    }
}
