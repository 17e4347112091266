package com.talvern.test.gx.domain;

import java.util.Objects;
import java.util.Queue;
import java.util.concurrent.ConcurrentLinkedQueue;

/**
 * Runs code on the GUI thread of the application under test. The native layer makes the channel once the GUI thread has
 * its spy port, and hands it to test domains. With {@code channel} from {@link TestContext#channel}:
 *
 * <pre>{@code
 * channel.post(() -> System.out.println("on the GUI thread"));
 * }</pre>
 *
 * <p>Any number of threads may use a channel at the same time.
 */
public class ThreadChannel extends NativeThreadChannel {
    private final long threadId;
    private final long spyPort;
    /** Of all channels, since a process has one port: whichever opens it runs what waits, whosever request it was. */
    private static final Queue<Runnable> TASKS = new ConcurrentLinkedQueue<>();


    /**
     * A channel to the thread of a port.
     *
     * @param threadId the native thread that the port serves
     * @param spyPort the port
     */
    public ThreadChannel(long threadId, long spyPort) {
        this.threadId = threadId;
        this.spyPort = spyPort;
    }

    /**
     * Has a task run on the GUI thread, after those that were posted before by this or another channel, and returns
     * without waiting for it. None is lost: each wake-up of the GUI thread runs all that wait then. What is posted while
     * they run has its turn after the application's own events. A task that throws ends alone; what it threw is handed to
     * the GUI thread's uncaught exception handler.
     *
     * @param task must not block the GUI thread
     * @return false when the GUI thread cannot be reached; the task will not run then
     */
    public final boolean post(Runnable task) {
        TASKS.add(Objects.requireNonNull(task, "task"));
        return activate(spyPort, threadId) || !TASKS.remove(task);
    }

    /**
     * Takes back a task that was posted.
     *
     * @param task the task
     * @return false when it has begun, or was not posted; else it will not run
     */
    public final boolean withdraw(Runnable task) {
        return TASKS.remove(task);
    }

    /**
     * Whether the channel leads to a thread.
     *
     * @return false when the process has no such port
     */
    public final boolean isAlive() {
        return isAlive(spyPort, threadId);
    }

    @Override
    protected final void open() {
        int left = TASKS.size();
        if (left > 1) { // the first may run a loop, for a modal dialog, that lasts
            activate(spyPort, threadId);
        }
        for (; left > 0; --left) {
            Runnable task = TASKS.poll();
            if (task == null) { // run by a loop inside of another task
                return;
            }
            run(task);
        }
        if (!TASKS.isEmpty()) {
            activate(spyPort, threadId);
        }
    }

    private static void run(Runnable task) {
        try {
            task.run();
        } catch (Throwable failure) {
            Thread here = Thread.currentThread();
            here.getUncaughtExceptionHandler().uncaughtException(here, failure);
        }
    }
}
