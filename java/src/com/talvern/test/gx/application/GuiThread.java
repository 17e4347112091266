package com.talvern.test.gx.application;

import com.talvern.test.gx.domain.ThreadChannel;
import java.util.Queue;
import java.util.concurrent.Callable;
import java.util.concurrent.CancellationException;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.FutureTask;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.concurrent.atomic.AtomicBoolean;

/**
 * The GUI thread of the application that this code runs in. Toolkits may be used on it alone, so all that looks at the
 * application's widgets is called through here:
 *
 * <pre>{@code
 * int items = gui.call(() -> menu.getItemCount(), 5000);
 * }</pre>
 *
 * <p>Calls come from any number of threads at once and run in the order in which they came, from the toolkit's main
 * loop: not in the middle of the application's own code, but also while it shows a modal dialog.
 */
public final class GuiThread {
    private final Thread thread;
    private final ThreadChannel channel;
    private final Queue<FutureTask<?>> waiting = new ConcurrentLinkedQueue<>();
    /** Whether the GUI thread has been asked to come and see. One request at a time is under way. */
    private final AtomicBoolean called = new AtomicBoolean();

    private volatile boolean ended;

    /** The calling thread, which the channel leads to. */
    GuiThread(ThreadChannel channel) {
        this.thread = Thread.currentThread();
        this.channel = channel;
    }

    /**
     * Runs work on the GUI thread and waits for its result. On the GUI thread itself it runs at once.
     *
     * @param work must not wait for other threads that use the GUI thread
     * @param timeoutMs the longest wait in milliseconds, not limited on the GUI thread itself
     * @param <T> what the work answers
     * @return what the work answers
     * @throws ExecutionException the work threw its cause
     * @throws TimeoutException the GUI thread did not finish it in time. Work that has not begun never runs then; work
     *     that has begun runs on, and what it answers is lost
     * @throws InterruptedException the calling thread was interrupted; the same holds for the work
     * @throws CancellationException the application ends, or its GUI thread cannot be reached
     */
    public <T> T call(Callable<T> work, long timeoutMs)
            throws ExecutionException, TimeoutException, InterruptedException {
        FutureTask<T> task = new FutureTask<>(work);
        if (isCurrent()) {
            task.run();
            return task.get();
        }
        try {
            enqueue(task);
            return task.get(timeoutMs, TimeUnit.MILLISECONDS);
        } finally {
            giveUp(task);
        }
    }

    /**
     * Whether the calling thread is the GUI thread.
     *
     * @return true inside of {@link #call}
     */
    public boolean isCurrent() {
        return Thread.currentThread() == thread;
    }

    private void enqueue(FutureTask<?> task) {
        waiting.add(task);
        if (ended || !summon()) {
            task.cancel(false);
        }
    }

    /** @return false when the GUI thread cannot be reached */
    private boolean summon() {
        if (!called.compareAndSet(false, true) || channel.post(this::runWaiting)) {
            return true;
        }
        called.set(false);
        return false;
    }

    /** Drops what has not begun, and does not rely on a summons that was not followed in time. */
    private void giveUp(FutureTask<?> task) {
        if (task.cancel(false)) {
            waiting.remove(task);
            called.set(false);
        }
    }

    /** Runs what waits now. What comes while it runs has its own turn: the application has events to see to. */
    private void runWaiting() {
        called.set(false);
        for (int left = waiting.size(); left > 0; --left) {
            FutureTask<?> task = waiting.poll();
            if (task == null) {
                return;
            }
            task.run();
        }
        if (!waiting.isEmpty()) {
            summon();
        }
    }

    /** From now on every call fails at once, and those that wait fail now. */
    void end() {
        ended = true;
        for (FutureTask<?> task = waiting.poll(); task != null; task = waiting.poll()) {
            task.cancel(false);
        }
    }
}
