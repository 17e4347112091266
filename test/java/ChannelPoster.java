import com.talvern.test.gx.domain.NativeThreadChannel;
import com.talvern.test.gx.domain.NestedDomainHelpers;
import com.talvern.test.gx.domain.ThreadChannel;
import java.lang.ref.WeakReference;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicInteger;

/** Posts from many threads to the GUI thread of the test program "infested". */
public class ChannelPoster extends NativeThreadChannel {
    private static final int THREADS = 16;
    private static final int TASKS = 100;
    private static final ConcurrentHashMap<Thread, AtomicInteger> RUN = new ConcurrentHashMap<>();
    private static final CountDownLatch POSTED = new CountDownLatch(THREADS + 1);
    private static final CountDownLatch DONE = new CountDownLatch(THREADS * TASKS + 1);
    private static Thread gui;
    private static volatile String misuse = "";
    private static int thrown;

    @Override
    protected void open() {
        DONE.countDown();
        throw new IllegalStateException("of a channel");
    }

    /** A channel that nobody keeps once its request has run or given way to another one. */
    private static final class Forgotten extends NativeThreadChannel {
        private static final List<WeakReference<Forgotten>> ALL = new ArrayList<>();

        private Forgotten(long threadId, long spyPort) {
            ALL.add(new WeakReference<>(this));
            activate(spyPort, threadId);
        }

        @Override
        protected void open() {}

        private static long kept() {
            System.gc();
            return ALL.stream().filter(channel -> channel.get() != null).count();
        }
    }

    private void askWrongly(long threadId, long spyPort) {
        misuse = "wrong thread " + activate(spyPort, threadId + 1) + ", no port " + activate(spyPort + 8, threadId)
                + ", null port " + isAlive(0, threadId) + ", right " + isAlive(spyPort, threadId);
        for (int i = 0; i < TASKS; i++) {
            new Forgotten(threadId, spyPort);
        }
        activate(spyPort, threadId);
    }

    public static void start(long threadId, long spyPort) {
        gui = Thread.currentThread();
        gui.setUncaughtExceptionHandler((where, failure) -> thrown++);
        ChannelPoster self = new ChannelPoster();
        ThreadChannel channel = new ThreadChannel(threadId, spyPort);
        Runnable task = () -> {
            RUN.computeIfAbsent(Thread.currentThread(), any -> new AtomicInteger()).incrementAndGet();
            DONE.countDown();
            throw new IllegalStateException("of a task");
        };
        for (int i = 0; i < THREADS; i++) {
            new Thread(() -> {
                for (int j = 0; j < TASKS; j++) {
                    channel.post(task);
                }
                POSTED.countDown();
            }).start();
        }
        new Thread(() -> {
            try {
                for (; POSTED.getCount() > 1; Thread.sleep(1)) { }
                for (; DONE.getCount() > 1; Thread.sleep(1)) { }
                self.askWrongly(threadId, spyPort);
            } catch (InterruptedException impossible) {
                throw new IllegalStateException(impossible);
            }
        }).start();
        if (self.getSpyport() != spyPort) {
            throw new IllegalStateException("another port");
        }
    }

    /** Null while something has not run yet. */
    public static String report() {
        if (DONE.getCount() > 0) {
            return null;
        }
        NestedDomainHelpers nested = new NestedDomainHelpers();
        long html = nested.loadHtmlDomain(1, "xyzhtml");
        return "run " + RUN.getOrDefault(gui, new AtomicInteger()) + " on " + RUN.size() + " thread, thrown " + thrown
                + "; " + misuse + "; nested " + (html != 0) + " " + (html == nested.loadHtmlDomain(2, "abchtml")) + " "
                + nested.loadHtmlDomain(1, "no") + nested.loadHtmlDomain(1, null) + nested.loadHtmlDomain(1, "xyz\ud800")
                + "; kept " + Forgotten.kept();
    }
}
