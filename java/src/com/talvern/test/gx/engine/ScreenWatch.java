package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.NativeLibrary;
import java.time.Duration;
import java.util.concurrent.CancellationException;
import java.util.concurrent.TimeUnit;
import java.util.stream.Stream;

/**
 * Is told by the X server when something changes on the screen, so that nobody has to look again and again.
 *
 * <pre>{@code
 * try (ScreenWatch watch = ScreenWatch.ofScreen()) {
 *     System.out.println(watch.await(Duration.ofMillis(200)) ? "something changes" : "nothing changes");
 * }
 * }</pre>
 *
 * <p>It has a connection of its own, in which changes gather that nobody waits for: close it when nobody will. One thread at
 * a time.
 */
public final class ScreenWatch implements AutoCloseable {
    static {
        NativeLibrary.load();
    }

    private static final int CHANGE = 1;
    private static final int NO_SERVER = 2;

    private final int number;

    private ScreenWatch(long... processes) {
        number = open(processes);
    }

    /** @return a watch of all that changes: windows, and what is drawn in them */
    public static ScreenWatch ofScreen() {
        return new ScreenWatch();
    }

    /** Of what is drawn in the windows that some processes have now. */
    static ScreenWatch of(Stream<ProcessHandle> processes) {
        return new ScreenWatch(processes.mapToLong(ProcessHandle::pid).toArray());
    }

    /**
     * Waits for a change since the last call, or since this object was made.
     *
     * @param limit the longest wait; without a server it is waited out
     * @return whether something has changed
     * @throws CancellationException the thread was interrupted, and still is
     */
    public boolean await(Duration limit) {
        return await(Application.nanosOf(limit));
    }

    /**
     * Waits for a change since the last call, or since this object was made.
     *
     * @param limitNs the longest wait in nanoseconds; without a server it is waited out
     * @return whether something has changed
     * @throws CancellationException the thread was interrupted, and still is
     */
    boolean await(long limitNs) {
        long end = System.nanoTime() + limitNs;
        for (long left = limitNs; left > 0; left = end - System.nanoTime()) {
            int seen = await(number, (int) Math.min(TimeUnit.NANOSECONDS.toMillis(left) + 1, Integer.MAX_VALUE));
            if (seen == CHANGE) {
                return true;
            }
            if (seen == NO_SERVER) {
                Application.pause(Math.min(TimeUnit.NANOSECONDS.toMillis(left) + 1, TimeUnit.SECONDS.toMillis(1)));
            }
            if (Thread.currentThread().isInterrupted()) {
                throw Application.interrupted("it waited for the screen to change");
            }
        }
        return false;
    }

    @Override
    public void close() {
        close(number);
    }

    private static native int open(long... processes);

    private static native int await(int number, int milliseconds);

    private static native void close(int number);
}
