package com.talvern.test.gx.inspect;

import com.sun.net.httpserver.HttpServer;
import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.Complaint;
import com.talvern.test.gx.engine.LaunchOptions;
import java.io.IOException;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.net.URI;
import java.time.Duration;
import java.util.ArrayDeque;
import java.util.Arrays;
import java.util.Deque;
import java.util.Map;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.ScheduledExecutorService;
import java.util.concurrent.SynchronousQueue;
import java.util.concurrent.ThreadFactory;
import java.util.concurrent.ThreadPoolExecutor;
import java.util.concurrent.TimeUnit;
import java.util.function.Consumer;

/**
 * Serves a page on this machine that shows a program as it runs: its windows, its widgets, and the line of Java that finds
 * each of them.
 *
 * <p>Only who has the {@linkplain #address address} gets anything, and whoever has it sees what the program shows, and can
 * have widgets framed on the screen: that and no more. The server listens at 127.0.0.1 alone. Any thread may use it.
 */
public final class Inspector implements AutoCloseable {
    private static final String USE = """
        usage: gx inspect [--port PORT] [--follow] PROGRAM [ARGUMENT ...]
               gx inspect [--port PORT] PID
        Shows a program's windows and widgets on a page of this machine, and the line of Java that finds each.
          PROGRAM        is started, with an agent in it, and ends with the inspector
          PID            a program that runs with an agent in it, as gxrun starts it
          --port PORT    where the page is; a free port without it
          --follow       what PROGRAM starts is looked at as well
        """;
    private static final String PREFIX = "gx inspect: ";
    /** One for each connection: who is slow keeps nobody else waiting. */
    private static final int MOST_CONNECTIONS = 64;
    private static final Map<String, String> LIMITS = Map.of(
        "sun.net.httpserver.maxReqTime", "5", "sun.net.httpserver.maxRspTime", "60",
        "sun.net.httpserver.maxReqHeaders", "60", "sun.net.httpserver.maxReqHeaderSize", "16384",
        "sun.net.httpserver.maxIdleConnections", "16", "jdk.httpserver.maxConnections", String.valueOf(MOST_CONNECTIONS),
        "sun.net.httpserver.nodelay", "true");
    private static final Duration LAST_WORDS = Duration.ofMillis(500);

    private final Board board = new Board();
    private final Gate gate = new Gate();
    private final ScheduledExecutorService clock;
    private final ExecutorService threads;
    private final Marker marker;
    private final Application application;
    private final Subject subject;
    private final HttpServer server;
    private boolean isClosed;

    private Inspector(Application application, int port) throws IOException {
        LIMITS.forEach((name, value) -> System.setProperty(name, System.getProperty(name, value)));
        server = HttpServer.create(new InetSocketAddress(InetAddress.getByAddress(new byte[] {127, 0, 0, 1}), port), 0);
        clock = Executors.newSingleThreadScheduledExecutor(daemons("clock"));
        threads = new ThreadPoolExecutor(0, MOST_CONNECTIONS + 1, 10, TimeUnit.SECONDS, new SynchronousQueue<>(),
            daemons("answers"));
        marker = new Marker(clock);
        subject = new Subject(application, board);
        onEnd(application, how -> board.end(subject.name() + ": " + how + "."));
        this.application = application;
        server.setExecutor(threads);
        server.createContext("/", new Answers(gate, subject, board, marker, clock));
        server.start();
    }

    private static void onEnd(Application inspected, Consumer<String> end) {
        Process started = inspected.process();
        if (started != null && started.pid() == inspected.pid()) {
            started.onExit().thenAccept(process -> end.accept(Complaint.ending(process)));
        } else {
            ProcessHandle.of(inspected.pid())
                .ifPresentOrElse(process -> process.onExit().thenRun(() -> end.accept(Complaint.ending(null))), () -> end.accept(Complaint.ending(null)));
        }
    }

    private static ThreadFactory daemons(String name) {
        return task -> {
            Thread thread = new Thread(task, "gx-inspect-" + name);
            thread.setDaemon(true);
            return thread;
        };
    }

    /**
     * Serves the page of an application.
     *
     * @param application is closed with the inspector
     * @param port of this machine; 0 for any that is free
     * @return the inspector, which looks at the application whenever a page is open
     * @throws IOException the port is taken, or not for everybody to take
     */
    public static Inspector serve(Application application, int port) throws IOException {
        return new Inspector(application, port);
    }

    /** @return the page's address, with the secret that opens it */
    public URI address() {
        return URI.create("http://127.0.0.1:" + server.getAddress().getPort() + "/" + gate.token() + "/");
    }

    /**
     * Waits until the program has ended, or the inspector was closed.
     *
     * @return how, as the page says it
     * @throws InterruptedException the thread was interrupted
     */
    public String awaitEnd() throws InterruptedException {
        board.awaitEnd();
        return board.state().end();
    }

    /** Tells the pages that it is over, takes the frame off the screen, and closes the application. */
    @Override
    public void close() {
        synchronized (this) {
            if (isClosed) {
                return;
            }
            isClosed = true;
        }
        board.end("The inspector has ended.");
        marker.close();
        try {
            board.awaitTold(LAST_WORDS);
        } catch (InterruptedException atOnce) {
            Thread.currentThread().interrupt();
        }
        server.stop(0);
        threads.shutdownNow();
        clock.shutdownNow();
        subject.close();
        application.close();
    }

    /**
     * Looks at a program until that ends, or until this process is told to end. Prints the page's address.
     *
     * @param arguments {@code --port PORT}, {@code --follow}, and a program with its arguments or the id of a process
     * @throws InterruptedException nobody interrupts it
     */
    public static void main(String... arguments) throws InterruptedException {
        System.setProperty("java.awt.headless", "true");
        Deque<String> left = new ArrayDeque<>(Arrays.asList(arguments));
        int port = 0;
        LaunchOptions options = LaunchOptions.DEFAULTS;
        while (!left.isEmpty() && left.peek().startsWith("--")) {
            String word = left.pop();
            switch (word) {
                case "--help" -> exit(0, USE);
                case "--follow" -> options = options.follow();
                case "--port" -> port = port(left.poll());
                default -> misused("there is no option " + word);
            }
        }
        if (left.isEmpty()) {
            misused("neither a program nor a process is named");
        }
        inspect(left.toArray(String[]::new), options, port);
    }

    private static void inspect(String[] program, LaunchOptions options, int port) throws InterruptedException {
        try (Inspector inspector = serve(application(program, options), port)) {
            Runtime.getRuntime().addShutdownHook(new Thread(inspector::close));
            System.out.println(inspector.subject.name() + ", is inspected at\n" + inspector.address()
                + "\nWho has this address sees the program. Ctrl-C ends the inspector.");
            System.out.println(inspector.awaitEnd());
        } catch (ApplicationException none) {
            exit(1, PREFIX + none.getMessage() + "\n");
        } catch (IOException taken) {
            exit(1, PREFIX + Complaint.of("no page at port " + port, taken.getMessage(),
                "name another port, or none for any that is free") + "\n");
        }
    }

    private static Application application(String[] program, LaunchOptions options) {
        return program.length == 1 && program[0].matches("[0-9]{1,9}") ? Application.attach(Long.parseLong(program[0]))
            : Application.start(options, new ProcessBuilder(program).redirectOutput(ProcessBuilder.Redirect.DISCARD)
                .redirectError(ProcessBuilder.Redirect.INHERIT));
    }

    private static int port(String text) {
        if (text == null || !text.matches("[0-9]{1,5}") || Integer.parseInt(text) > 65535) {
            misused("--port is " + (text == null ? "missing" : "\"" + text + "\"") + " and not a number from 0 to 65535");
        }
        return Integer.parseInt(text);
    }

    private static void misused(String why) {
        exit(2, PREFIX + why + "\n" + USE);
    }

    private static void exit(int status, String text) {
        (status == 0 ? System.out : System.err).print(text);
        System.exit(status);
    }
}
