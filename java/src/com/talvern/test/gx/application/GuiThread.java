package com.talvern.test.gx.application;

import com.talvern.test.gx.domain.ThreadChannel;
import java.util.Set;
import java.util.concurrent.Callable;
import java.util.concurrent.CancellationException;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.FutureTask;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;

/**
 * The GUI thread of the application that this code runs in. Toolkits may be used on it alone, so all that looks at the
 * application's widgets is called through here. With {@code gui} from {@link ApplicationService#start}:
 *
 * <pre>{@code
 * int items = gui.call(() -> NativeWindow.nativeGetRootNativeWindow().nativeGetMenuBar().getItemCount(), 5000);
 * System.out.println(items + " items");
 * }</pre>
 *
 * <p>Calls come from any number of threads at once and run in the order in which they came, from the toolkit's main
 * loop: not in the middle of the application's own code, but also while it shows a modal dialog.
 */
public final class GuiThread {
    /** So soon a main loop comes by that knows where calls come from, unless it is busy. */
    private static final long UNTIL_KNOCK_MS = 4;

    private final Thread thread;
    private final ThreadChannel channel;
    private final Set<FutureTask<?>> calls = ConcurrentHashMap.newKeySet();
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
            post(task);
            return awaitRun(task, timeoutMs);
        } finally {
            calls.remove(task);
            if (task.cancel(false)) {
                channel.withdraw(task);
            }
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

    private static <T> T awaitRun(FutureTask<T> task, long timeoutMs)
            throws ExecutionException, TimeoutException, InterruptedException {
        long untilKnock = Math.min(UNTIL_KNOCK_MS, timeoutMs);
        try {
            return task.get(untilKnock, TimeUnit.MILLISECONDS);
        } catch (TimeoutException late) {
            LoopChanges.knock();
            return task.get(timeoutMs - untilKnock, TimeUnit.MILLISECONDS);
        }
    }

    private void post(FutureTask<?> task) {
        calls.add(task);
        if (ended || !channel.post(task)) {
            task.cancel(false);
        }
    }

    /** From now on every call fails at once, and those that wait fail now. */
    void end() {
        ended = true;
        calls.forEach(call -> call.cancel(false));
    }
}
