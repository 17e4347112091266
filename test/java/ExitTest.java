import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.sys.graphical.Keyboard;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeLowLevelPlayer;
import com.talvern.test.gx.sys.graphical.NativeMouse;
import com.talvern.test.gx.sys.graphical.NativeMouseCaptureThread;
import com.talvern.test.gx.sys.graphical.NativePlayerThread;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.BufferedReader;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Map;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.locks.LockSupport;
import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** {@code System.exit} while other threads are at work, as after the stop hot key. */
class ExitTest {
    private static final int SHIFT_L = 0xFFE1;
    private static final int STATUS = 7;

    @TempDir
    static Path directory;

    private static void type(String text) {
        NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, text);
    }

    private static void mouse(int kind, int delay, int count, int modifiers) {
        NativeKeyMouseEvent.emitHLMouseEvent(
                new Point(5, 5), 0, 0, new Point(900, 900), 0, 0, modifiers, delay, kind, count);
    }

    private static final Map<String, Runnable> WORK = Map.of(
            "text", () -> type("{Shift KeyDn}^({a 100000})"),
            "unicode", () -> type("{CAPSLOCK}+(\u4e2d\u6587)".repeat(1000)),
            "clicks", () -> mouse(NativeKeyMouseEvent.CLICK, 0, 1000, NativeKeyMouseEvent.SHIFT),
            "drag", () -> mouse(NativeKeyMouseEvent.DRAG, 0, 1, NativeKeyMouseEvent.CONTROL),
            "hover", () -> mouse(NativeKeyMouseEvent.HOVER, 100000, 1, NativeKeyMouseEvent.ALT),
            "capture", () -> {
                new NativeMouseCaptureThread().startCapture(0, 0);
                new NativeMouseCaptureThread().getNextEvent();
                new NativeMouseCaptureThread().getNextEvent();
            },
            "capture that nobody waits in", () -> {
                new NativeMouseCaptureThread().startCapture(0, 0);
                LockSupport.park();
            },
            "hot keys", () -> {
                new NativePlayerThread().startPlayback();
                new NativePlayerThread().getNextEvent();
            },
            "walk", () -> NativeWindow.nativeWindowsAtRectangle(new Rectangle(0, 0, 10, 10)));

    /** Does the work that it is told in some threads, again and again, and exits in the middle of it when it is told to. */
    public static void main(String[] arguments) throws IOException {
        NativeLowLevelPlayer.nativeSetDelays(20, 20, 5, 1, 1, -1);
        for (int i = 0; i < Integer.parseInt(arguments[1]); i++) {
            Thread thread = new Thread(() -> {
                while (true) {
                    WORK.get(arguments[0]).run();
                }
            });
            thread.setDaemon(true);
            thread.start();
            ServerLossTest.sayWhenInNative(thread);
        }
        System.in.read();
        System.exit(STATUS);
    }

    /** @param meanwhile is done before the engine is told to exit */
    private static void exitInTheMiddleOf(String work, String display, Executable meanwhile) throws Throwable {
        int threads = 2;
        Path crash = directory.resolve("crash"); // one that the exit overtakes does not change the status
        ProcessBuilder builder = new ProcessBuilder(System.getProperty("java.home") + "/bin/java",
                "-Djava.library.path=" + System.getProperty("java.library.path"), "-XX:ErrorFile=" + crash, "-cp",
                System.getProperty("java.class.path"), "ExitTest", work, Integer.toString(threads));
        builder.environment().put("DISPLAY", display);
        Process engine = builder.redirectError(ProcessBuilder.Redirect.INHERIT).start();
        try (BufferedReader output = engine.inputReader()) {
            for (int i = 0; i < threads; i++) {
                assertEquals("ready", output.readLine());
            }
            meanwhile.execute();
            engine.getOutputStream().close();
            assertTrue(engine.waitFor(10, TimeUnit.SECONDS));
            assertEquals(STATUS, engine.exitValue());
            assertFalse(Files.exists(crash), work);
        } finally {
            engine.destroyForcibly();
        }
    }

    /** The keyboard map of the server. */
    private static String keyboard() throws IOException {
        Process process = new ProcessBuilder("xkbcomp", System.getenv("DISPLAY"), "-").redirectErrorStream(true).start();
        return new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
    }

    @ParameterizedTest
    @ValueSource(strings = {"text", "unicode", "clicks", "drag", "hover", "capture",
                         "capture that nobody waits in", "hot keys", "walk"})
    void whatRunsIsEndedAndNothingStaysDown(String work) throws Throwable {
        String before = keyboard();
        for (int i = 0; i < Integer.getInteger("gx.exits", 1); i++) {
            exitInTheMiddleOf(work, System.getenv("DISPLAY"), () -> { });
            assertEquals(0, new NativeMouse().getMouseState());
            for (int key : new int[] {SHIFT_L, 0xFFE3, 0xFFE9, 'a'}) {
                assertFalse(new Keyboard().isKeyDown(key), Integer.toString(key));
            }
            assertEquals(before, keyboard());
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"text", "capture that nobody waits in", "hot keys", "walk"})
    void aServerThatHasStoppedHoldsUpNoExit(String work) throws Throwable {
        Process server = new ProcessBuilder("Xvfb", "-displayfd", "1", "-nolisten", "tcp",
                "-auth", System.getenv("XAUTHORITY"))
                .redirectError(ProcessBuilder.Redirect.DISCARD).start();
        try {
            exitInTheMiddleOf(work, ":" + server.inputReader().readLine(), () -> new ProcessBuilder(
                    "kill", "-STOP", Long.toString(server.pid())).inheritIO().start().waitFor());
        } finally {
            server.destroyForcibly();
        }
    }
}
