import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.Screen;
import com.talvern.test.gx.engine.Wait;
import com.talvern.test.gx.engine.Windows;
import com.talvern.test.gx.sys.graphical.*;
import com.talvern.test.gx.ui.NativeTooltipWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.BufferedReader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.List;
import java.util.Map;
import java.util.concurrent.TimeUnit;
import java.util.stream.Stream;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** An engine whose X server is killed or cannot be had, in every kind of call: a JVM and a server for each. */
class ServerLossTest {
    private static final int STATUS = 7;

    @TempDir Path home;

    private interface Task {
        /** Works until the server has gone. @return what went wrong, else "" */
        String run() throws Exception;
    }

    private static final Map<String, Task> TASKS = Map.ofEntries(
            Map.entry("between calls", () -> System.in.read() == -1 ? "" : "input"),
            Map.entry("windows", ServerLossTest::walk),
            Map.entry("text", () -> play(() -> type(NativeKeyMouseEvent.KEYSTRING, "{a 100000000}"))),
            Map.entry("long text", () -> play(() -> type(NativeKeyMouseEvent.INPUTCHARS, "Ab ".repeat(300_000)))),
            Map.entry("text without keys", () -> play(() -> type(NativeKeyMouseEvent.INPUTCHARS, "ж".repeat(100_000)))),
            Map.entry("drag", () -> play(() -> mouse(NativeKeyMouseEvent.DRAG, 1))),
            Map.entry("clicks", () -> play(() -> mouse(NativeKeyMouseEvent.CLICK, Integer.MAX_VALUE))),
            Map.entry("capture", ServerLossTest::capture), Map.entry("hot keys", ServerLossTest::awaitHotKey),
            Map.entry("frames", ServerLossTest::show),
            Map.entry("pictures", () -> untilToldSo(() -> Screen.capture(Screen.Option.values()))),
            Map.entry("waits", () -> untilToldSo(() -> Wait.forWindow("none", Duration.ofMinutes(1)))));

    private static void type(int kind, String text) {
        NativeKeyMouseEvent.emitHLKeyEvent(0, 0, kind, text);
    }

    private static void mouse(int kind, int count) {
        NativeKeyMouseEvent.emitHLMouseEvent(new Point(1, 1), 0, 0, new Point(600, 400), 0, 0, 0, 0, kind, count);
    }

    private static String play(Runnable event) {
        try {
            while (true) {
                event.run();
            }
        } catch (UnsupportedXServerException expected) {
            return "";
        }
    }

    private static String untilToldSo(Runnable work) {
        try {
            while (true) {
                work.run();
            }
        } catch (ApplicationException.NoServer expected) {
            return "";
        }
    }

    private static String walk() {
        Rectangle nothing = new Rectangle();
        while (!NativeWindow.nativeGetRootNativeWindow().nativeGetRectangle().equals(nothing)) {
            NativeTopLevelWindow.topLevelWindowsAtRectangle(nothing);
            NativeWindow.nativeWindowAtPoint(new Point(10, 10));
            NativeWindow.nativeGetForeground().nativeGetWindowCaption();
            NativeWindow.nativeGetFocus().nativeBringToTop();
        }
        return "";
    }

    private static String capture() {
        NativeMouseCaptureThread thread = new NativeMouseCaptureThread();
        if (!thread.startCapture(0, 0)) {
            return NativeWindow.nativeGetRootNativeWindow().getHandle() == 0 ? "" : "no capture";
        }
        while (thread.getNextEvent() != null) {
            new NativeMouse().getCursorPos();
        }
        thread.stopCapture();
        return "";
    }

    private static String awaitHotKey() {
        NativePlayerThread player = new NativePlayerThread();
        player.startPlayback();
        int event = player.getNextEvent();
        player.endPlayback();
        return event == -1 ? "" : "event " + event;
    }

    private static String show() {
        while (NativeWindow.nativeGetRootNativeWindow().getHandle() != 0) {
            Highlighter frame = Highlighter.create(new Rectangle(10, 10, 90, 90), 255, 0, 0, 5, 1, 20);
            long tooltip = NativeTooltipWindow.create(0, 0, "text", false);
            NativeTooltipWindow.move(tooltip, 20, 20);
            frame.joinNativeThread();
            NativeTooltipWindow.destroy(tooltip);
        }
        return "";
    }

    /** Everything answers neutrally once the server has gone, and before there is one. */
    private static String neutrality() {
        if (NativeWindow.nativeGetRootNativeWindow().getHandle() != 0
                || new NativeTopLevelWindow(0).getOwnedWindows().length != 0
                || NativeWindow.nativeWindowAtPoint(new Point()) != null || new Keyboard().isKeyDown('a')
                || new NativeMouse().getMouseState() != 0 || new NativeMouseCaptureThread().startCapture(0, 0)
                || Highlighter.create(new Rectangle(1, 1, 9, 9), 0, 0, 0, 1, 0, 0).isVisible()) {
            return "not neutral";
        }
        NativeTooltipWindow.destroy(NativeTooltipWindow.create(0, 0, "text", false));
        return complaint() + play(() -> type(NativeKeyMouseEvent.KEYSTRING, "a")) + play(() -> mouse(NativeKeyMouseEvent.CLICK, 1));
    }

    /** The engine says in words which server there is none of. */
    private static String complaint() {
        try {
            Windows.requireServer();
            return "no complaint";
        } catch (ApplicationException.NoServer expected) {
            String display = System.getenv("DISPLAY");
            String text = expected.getMessage();
            return text.contains(display == null ? "DISPLAY is not set" : "DISPLAY=" + display + " ") ? "" : text;
        }
    }

    /** Says "ready" once the other thread is inside of a native method, as it is most of the time. */
    static void sayWhenInNative(Thread caller) {
        while (true) {
            StackTraceElement[] stack = caller.getStackTrace();
            if (stack.length == 0 || stack[0].isNativeMethod()) {
                System.out.println("ready");
                return;
            }
        }
    }

    public static void main(String[] arguments) throws Exception {
        NativeWindow.nativeGetRootNativeWindow();
        Runtime.getRuntime().addShutdownHook(new Thread(() -> System.out.println("hook")));
        Thread caller = Thread.currentThread();
        new Thread(() -> sayWhenInNative(caller)).start();
        String result = "";
        if (!arguments[0].isEmpty()) {
            result = TASKS.get(arguments[0]).run();
            System.in.readAllBytes(); // the server has ended: it gives up one connection after the other
        }
        System.out.println("ended: " + result + neutrality());
        System.exit(STATUS);
    }

    /** The engine; its trace goes to a home directory of its own. */
    private Process engine(String display, String cookies, String task) throws Exception {
        Path preferences = home.resolve("Quessa/ZEMO/vtx_log_trace.properties");
        Files.createDirectories(preferences.getParent());
        Files.writeString(preferences, "enableTrace=true\ntraceComponentLevelFilter=Native,0\n");
        ProcessBuilder builder = new ProcessBuilder(Path.of(System.getProperty("java.home"), "bin", "java").toString(),
                "-Xcheck:jni", "-Xmx64m", "-Djava.library.path=" + System.getProperty("java.library.path"), "-cp",
                System.getProperty("java.class.path"), ServerLossTest.class.getName(), task);
        builder.environment().put("HOME", home.toString());
        builder.environment().put("XAUTHORITY", cookies);
        builder.environment().remove("DISPLAY");
        if (display != null) {
            builder.environment().put("DISPLAY", display);
        }
        return builder.redirectErrorStream(true).start();
    }

    /** Reads what an engine has to say to its end, and checks how it ended. */
    private void awaitEnd(Process engine, BufferedReader output, String traced) throws Exception {
        List<String> rest = output.lines().toList();
        assertEquals(true, engine.waitFor(20, TimeUnit.SECONDS), rest::toString);
        assertEquals(List.of("ended: ", "hook"), rest.stream().filter(line -> line.matches("ended.*|hook")).toList(),
                rest::toString);
        assertEquals(STATUS, engine.exitValue());
        try (Stream<String> lines = Files.lines(home.resolve("Quessa/ZEMO/vtx_trace.txt"))) {
            List<String> told = lines.filter(line -> line.contains(",\tNative,\t") && line.contains("X server ")).toList();
            assertEquals(List.of(true), told.stream().map(line -> line.matches(".*" + traced + "\\s*")).toList(),
                    told::toString);
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"between calls", "windows", "text", "long text", "text without keys", "drag", "clicks",
                         "capture", "hot keys", "frames", "pictures", "waits"})
    void anEngineOutlivesItsServer(String task) throws Exception {
        Process server = new ProcessBuilder("Xvfb", "-displayfd", "1", "-nolisten", "tcp",
                "-auth", System.getenv("XAUTHORITY"))
                .redirectError(ProcessBuilder.Redirect.DISCARD).start();
        String display = ":" + server.inputReader().readLine();
        Process engine = engine(display, System.getenv("XAUTHORITY"), task);
        try (BufferedReader output = engine.inputReader()) {
            assertEquals("ready", output.readLine());
            server.destroyForcibly().waitFor();
            engine.getOutputStream().close();
            awaitEnd(engine, output, "X server " + display + "( is lost|: Connection refused)");
        } finally {
            server.destroyForcibly();
            engine.destroyForcibly();
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {" DISPLAY is not set", "own the server refuses", "nonsense this is not the name of a display",
                         ":987 No such file or directory"})
    void anEngineWithoutAServerIsToldWhy(String row) throws Exception {
        String display = row.substring(0, row.indexOf(' ')).replace("own", System.getenv("DISPLAY"));
        Process engine = engine(display.isEmpty() ? null : display, "/dev/null", "");
        try (BufferedReader output = engine.inputReader()) {
            awaitEnd(engine, output, "No connection to X server " + display + ": " + row.substring(row.indexOf(' ') + 1));
        } finally {
            engine.destroyForcibly();
        }
    }
}
