import com.talvern.test.gx.application.ApplicationService;
import com.talvern.test.gx.application.GuiThread;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.io.PrintStream;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.CancellationException;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.FutureTask;
import java.util.concurrent.TimeoutException;

/**
 * Runs inside an application under test. Calls its GUI thread in the ways that GX_PROBE names and writes what came of it
 * into the file GX_PROBE_REPORT, the line "done" last.
 */
public final class ProbeService implements ApplicationService {
    private GuiThread gui;
    private PrintStream report;
    private int counter; // unguarded: of the GUI thread

    @Override
    public void start(GuiThread gui) throws Exception {
        String file = System.getenv("GX_PROBE_REPORT");
        if (file == null) {
            return;
        }
        this.gui = gui;
        report = new PrintStream(file);
        daemon(() -> {
            try {
                for (String probe : System.getenv().getOrDefault("GX_PROBE", "").split(" ")) {
                    run(probe);
                }
            } catch (Throwable failure) {
                report.println(failure);
            }
            report.println("done");
        });
    }

    @Override
    public void stop() {
        if (report != null) {
            report.println("stopped");
        }
    }

    private void run(String probe) throws Exception {
        switch (probe) {
            case "threads" -> threads();
            case "failures" -> failures();
            case "busy" -> busy();
            case "memory" -> memory();
            case "forever" -> forever();
            case "print" -> System.out.println("must not reach the application's output");
            default -> {}
        }
    }

    private static Thread daemon(Runnable work) {
        Thread thread = new Thread(work);
        thread.setDaemon(true);
        thread.start();
        return thread;
    }

    private void threads() throws InterruptedException {
        timesInEach(250);
        report.println("counted " + counter);
    }

    /** In each of eight threads at a time: one turn of the main loop serves them all. */
    private void timesInEach(int count) throws InterruptedException {
        List<Thread> callers = new ArrayList<>();
        for (int thread = 0; thread < 8; ++thread) {
            callers.add(daemon(() -> times(count)));
        }
        for (Thread caller : callers) {
            caller.join();
        }
    }

    private void times(int count) {
        for (int call = 0; call < count; ++call) {
            try {
                gui.call(() -> gui.isCurrent() ? ++counter : -1, 20000);
            } catch (Exception failure) {
                report.println(failure);
            }
        }
    }

    private void failures() throws Exception {
        gui.call(() -> new NativeWindow(0xdead).nativeGetRectangle(), 20000); // an X error that is the library's
        report.println("nested " + gui.call(() -> gui.call(() -> 42, 0), 20000));
        try {
            gui.call(() -> List.of().get(7), 20000);
        } catch (ExecutionException failure) {
            report.println("thrown " + failure.getCause().getClass().getSimpleName());
        }
    }

    /** A GUI thread that is busy for a second; work whose time-out passes meanwhile; work that waits long enough. */
    private void busy() throws Exception {
        FutureTask<Object> begun = new FutureTask<>(() -> null);
        Thread holder = daemon(() -> {
            try {
                gui.call(() -> { begun.run(); Thread.sleep(1000); return null; }, 20000);
            } catch (Exception failure) {
                report.println(failure);
            }
        });
        begun.get();
        try {
            gui.call(() -> { report.println("ran after its time-out"); return null; }, 100);
        } catch (TimeoutException expected) {
            report.println("timed out");
        }
        report.println("then " + gui.call(() -> "answered", 20000));
        holder.join();
    }

    private void memory() throws Exception {
        timesInEach(125);
        long before = residentKib();
        timesInEach(1250);
        report.println("grew " + Math.max(0, residentKib() - before));
    }

    private static long residentKib() throws Exception {
        System.gc();
        for (String line : java.nio.file.Files.readAllLines(java.nio.file.Path.of("/proc/self/status"))) {
            if (line.startsWith("RssAnon:")) {
                return Long.parseLong(line.replaceAll("\\D", ""));
            }
        }
        return 0;
    }

    /** Calls without end, for an application that ends in the middle of them. */
    private void forever() {
        report.println("calling");
        try {
            while (true) {
                gui.call(() -> ++counter, 20000);
            }
        } catch (CancellationException | InterruptedException | ExecutionException | TimeoutException end) {
            report.println("ended by " + end.getClass().getSimpleName());
        }
    }
}
