import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.Picture;
import com.talvern.test.gx.engine.Screen;
import com.talvern.test.gx.engine.Wait;
import com.talvern.test.gx.sys.graphical.Highlighter;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.regex.Pattern;
import java.util.stream.IntStream;
import javax.imageio.ImageIO;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** Pictures of the screen and waiting for what happens on it. */
@Timeout(120)
class ScreenTest {
    private static final Duration LONG = Duration.ofSeconds(20);
    private static final Duration SHORT = Duration.ofMillis(300);
    private static final String MORE = "; a longer limit gives it more time";
    private static final int RED = 0xFF0000;

    private static int[] pixelsOf(Picture picture) {
        int width = picture.image().getWidth();
        return picture.image().getRGB(0, 0, width, picture.image().getHeight(), null, 0, width);
    }

    private static boolean isRed(Picture picture, int x, int y) {
        Rectangle bounds = picture.bounds();
        return (picture.image().getRGB(x - bounds.x, y - bounds.y) & 0xFFFFFF) == RED;
    }

    /** With a frame at the screen's corner and the pointer in the middle, in a JVM with the server that it is about. */
    public static void main(String[] arguments) throws IOException {
        if (arguments[0].equals("8")) {
            assertThrows(UnsupportedOperationException.class, Screen::capture);
            return;
        }
        Highlighter frame = Highlighter.create(new Rectangle(600, 440, 200, 200), 255, 0, 0, 30, 0, 0);
        NativeKeyMouseEvent.emitLLMouseEvent(new Point(100, 100), 0, 0, 0, 0, NativeKeyMouseEvent.MOVE);
        Picture corner = Screen.capture(new Rectangle(500, 400, 300, 300));
        assertEquals(new Rectangle(500, 400, 140, 80), corner.bounds(), "what is off the screen is not in it");
        assertTrue(isRed(corner, 601, 441) && isRed(corner, 629, 479) && !isRed(corner, 599, 441), "right there");
        Picture without = Screen.capture(Screen.Option.WITHOUT_FRAMES);
        assertFalse(isRed(without, 601, 441));
        assertTrue(frame.isVisible() && isRed(Screen.capture(), 601, 441), "it is back");
        Picture with = Screen.capture(Screen.Option.WITH_POINTER, Screen.Option.WITHOUT_FRAMES);
        assertFalse(Arrays.equals(pixelsOf(without), pixelsOf(with)), "the pointer shows");
        Rectangle around = new Rectangle(60, 60, 80, 80);
        assertFalse(Arrays.equals(pixelsOf(without.cut(around)), pixelsOf(with.cut(around))), "where it is");
        assertEquals(ImageIO.read(new ByteArrayInputStream(corner.png())).getRGB(102, 42), corner.image().getRGB(102, 42));
        assertThrows(IllegalArgumentException.class, () -> Screen.capture(new Rectangle(640, 0, 9, 9)));
        assertThrows(IllegalArgumentException.class, () -> corner.cut(new Rectangle(0, 0, 500, 400)));
        picturesOfAllSizesAreTakenAtOnce();
    }

    /** Connections and memory of one picture serve the next, and are given back. */
    private static void picturesOfAllSizesAreTakenAtOnce() {
        Picture whole = Screen.capture();
        IntStream.range(0, 48).parallel().forEach(size -> {
            Rectangle part = new Rectangle(600 - 12 * size, 440 - 9 * size, 40 + 12 * size, 40 + 9 * size);
            assertArrayEquals(pixelsOf(whole.cut(part)), pixelsOf(Screen.capture(part)), part::toString);
        });
        Wait.until("the memory of pictures given back", LONG, () -> {
            try {
                return Files.lines(Path.of("/proc/self/maps")).noneMatch(line -> line.contains("gx-picture"));
            } catch (IOException impossible) {
                throw new UncheckedIOException(impossible);
            }
        });
        assertArrayEquals(pixelsOf(whole), pixelsOf(Screen.capture()));
    }

    @ParameterizedTest
    @ValueSource(strings = {"24", "24 -extension MIT-SHM", "16", "30", "8"})
    void picturesShowWhatIsOnTheScreen(String server) throws Exception {
        List<String> command = new ArrayList<>(List.of("Xvfb", "-displayfd", "1", "-noreset", "-nolisten", "tcp", "-auth",
            System.getenv("XAUTHORITY"), "-screen", "0", "640x480x" + server.split(" ")[0]));
        command.addAll(Arrays.asList(server.split(" ")).subList(1, server.split(" ").length));
        Process display = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.DISCARD).start();
        try {
            ProcessBuilder look = new ProcessBuilder(Path.of(System.getProperty("java.home"), "bin", "java").toString(),
                "-Xcheck:jni", "-Djava.library.path=" + System.getProperty("java.library.path"), "-cp",
                System.getProperty("java.class.path"), ScreenTest.class.getName(), server);
            look.environment().put("DISPLAY", ":" + display.inputReader().readLine());
            Process looking = look.redirectErrorStream(true).start();
            String output = new String(looking.getInputStream().readAllBytes());
            assertEquals(0, looking.waitFor(), output);
            assertFalse(output.contains("WARNING"), output);
        } finally {
            display.destroyForcibly().waitFor();
        }
    }

    @Test
    void waitsEndWhenItHappensAndSayWhatThereWasInstead() throws Exception {
        Process terminal = new ProcessBuilder("xterm", "-T", "First title", "-geometry", "40x10+20+30", "-e", "sh", "-c",
            "read line; printf '\\033]0;Second title\\007'; while read line; do :; done").redirectInput(
                ProcessBuilder.Redirect.PIPE).start();
        try {
            NativeTopLevelWindow window = Wait.forWindow("First title", LONG);
            Wait.untilViewable(window, LONG);
            assertEquals(window, Wait.forWindowOfClass("XTerm", LONG));
            assertEquals(window, Wait.forWindow(Pattern.compile("F.*"), Duration.ZERO));
            Wait.untilIdle(terminal.toHandle(), SHORT, LONG);
            expectLate("not within 300 ms: a window \"Second title\"; there are the windows [\"First title\" (XTerm xterm)]"
                + MORE,
                () -> Wait.forWindow("Second title", SHORT));
            expectLate("not within 300 ms: \"First title\" (XTerm xterm) gone; it was on the screen" + MORE,
                () -> Wait.untilGone(window, SHORT));
            NativeKeyMouseEvent.emitLLMouseEvent(new Point(100, 100), 0, 0, 0, 0, NativeKeyMouseEvent.MOVE);
            NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, "~");
            Wait.forWindow("Second title", LONG);
            terminal.destroy();
            Wait.untilGone(window, LONG);
            Wait.untilIdle(terminal.toHandle(), SHORT, LONG);
        } finally {
            terminal.destroyForcibly().waitFor();
        }
    }

    @Test
    void aProgramThatWorksIsNotIdle() throws Exception {
        Process busy = new ProcessBuilder("sh", "-c", "while :; do :; done").start();
        try {
            ApplicationException late = assertThrows(ApplicationException.NotInTime.class,
                () -> Wait.untilIdle(busy.toHandle(), Duration.ofMillis(100), SHORT));
            assertTrue(late.getMessage().matches(".* idle for 100 ms; it used \\d+ ms of processor time in \\d+ ms" + MORE),
                late.getMessage());
        } finally {
            busy.destroyForcibly().waitFor();
        }
    }

    private static void expectLate(String message, org.junit.jupiter.api.function.Executable wait) {
        long start = System.nanoTime();
        assertEquals(message, assertThrows(ApplicationException.NotInTime.class, wait).getMessage());
        assertTrue(System.nanoTime() - start >= SHORT.toNanos(), "not too early");
    }
}
