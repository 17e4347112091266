import static org.junit.jupiter.api.Assertions.assertDoesNotThrow;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.CoordinateOffScreenException;
import com.talvern.test.gx.StringNotInCodePageException;
import com.talvern.test.gx.UnableToPerformActionException;
import com.talvern.test.gx.sys.graphical.Event;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeLowLevelPlayer;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import com.talvern.test.gx.sys.graphical.ScrollEvent;
import java.awt.Point;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/** Input events as a Java engine plays them. */
class NativeKeyMouseEventTest {
    /** A GTK text view in a process of its own. */
    private static final class TextView implements AutoCloseable {
        private final Process process;
        private final BufferedReader output;
        final long window;

        TextView() throws IOException {
            ProcessBuilder program = new ProcessBuilder(System.getProperty("gx.apps") + "/gtk3-text")
                    .redirectError(ProcessBuilder.Redirect.INHERIT);
            program.environment().remove("LD_PRELOAD"); // it was built without the sanitizer of a build that has one
            process = program.start();
            output = new BufferedReader(new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8));
            window = Long.parseLong(output.readLine().substring("ready ".length()));
        }

        String text() throws IOException, InterruptedException {
            new ProcessBuilder("kill", "-USR1", Long.toString(process.pid())).inheritIO().start().waitFor();
            return output.readLine().substring("text ".length());
        }

        /** Asks until the text is as expected; the last one is answered. */
        String textOnce(String expected) throws Exception {
            return Within.last(this::text, expected::equals);
        }

        @Override
        public void close() {
            process.destroyForcibly();
        }
    }

    private static void click(Point point, long window) {
        NativeKeyMouseEvent.emitHLMouseEvent(point, window, 0, null, 0, 0, 0, 0, NativeKeyMouseEvent.CLICK, 1);
    }

    @Test
    void textArrivesWhereItIsTyped() throws Exception {
        NativeLowLevelPlayer.nativeSetDelays(0, 0, 0, 0, 0, -1);
        try (TextView view = new TextView()) {
            click(new Point(20, 20), view.window);
            String text = "Gr\u00fc\u00dfe, {dzi\u0119ki}, \u4e2d\u6587 \ud83d\ude00";
            NativeKeyMouseEvent.emitHLKeyEvent(view.window, 0, NativeKeyMouseEvent.INPUTCHARS, text);
            assertEquals(text, view.textOnce(text));
            NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, "^a{DEL}+ab{c 3}");
            assertEquals("Abccc", view.textOnce("Abccc"));
            NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.INPUTCHARS, null);
            NativeKeyMouseEvent.emitLLKeyEvent(0, 0, NativeKeyMouseEvent.KEY_PRESS, 'x');
            NativeKeyMouseEvent.emitLLKeyEvent(0, 0, NativeKeyMouseEvent.KEY_RELEASE, 'x');
            assertEquals("Abcccx", view.textOnce("Abcccx"));
        }
    }

    @Test
    void whatCannotBePlayedIsAnException() {
        record Row(Class<? extends Throwable> exception, Executable call) {}
        Point here = new Point(5, 5);
        for (Row row : List.of(
                new Row(UnableToPerformActionException.class,
                        () -> NativeKeyMouseEvent.emitLLMouseEvent(null, 0, 0, 0, 0, NativeKeyMouseEvent.MOVE)),
                new Row(UnableToPerformActionException.class,
                        () -> NativeKeyMouseEvent.emitLLMouseEvent(here, 0, 0, 0, 0, 7)),
                new Row(UnableToPerformActionException.class,
                        () -> NativeKeyMouseEvent.emitLLMouseEvent(here, 0x7fffffff, 0, 0, 0, 3)),
                new Row(UnableToPerformActionException.class,
                        () -> NativeKeyMouseEvent.emitHLMouseEvent(null, 0, 0, null, 0, 0, 0, 0, 4, 1)),
                new Row(UnableToPerformActionException.class,
                        () -> NativeKeyMouseEvent.emitHLMouseEvent(here, 0, 0, null, 0, 0, 0, 0, 5, 1)),
                new Row(CoordinateOffScreenException.class,
                        () -> NativeKeyMouseEvent.emitLLMouseEvent(new Point(99999, 5), 0, 0, 0, 0, 3)),
                new Row(CoordinateOffScreenException.class, () -> NativeKeyMouseEvent.emitHLMouseEvent(
                        here, 0, 0, new Point(-1, 5), 0, 0, 0, 0, NativeKeyMouseEvent.DRAG, 1)),
                new Row(UnableToPerformActionException.class, () -> NativeKeyMouseEvent.emitLLKeyEvent(0, 0, 9, 'a')),
                new Row(UnableToPerformActionException.class, () -> NativeKeyMouseEvent.emitLLKeyEvent(0, 0, 3, 'a')),
                new Row(UnableToPerformActionException.class, () -> NativeKeyMouseEvent.emitLLKeyEvent(0, 0, 1, 0)),
                new Row(UnableToPerformActionException.class,
                        () -> NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEY_PRESS, "a")),
                new Row(UnableToPerformActionException.class,
                        () -> NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, "{nobody}")),
                new Row(UnableToPerformActionException.class,
                        () -> NativeKeyMouseEvent.emitHLKeyEvent(0, 0, 9, "a")),
                new Row(StringNotInCodePageException.class,
                        () -> NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.INPUTCHARS, "\ud83d")))) {
            assertThrows(row.exception, row.call);
        }
    }

    @Test
    void lowLevelPlaybackActsWhereThePointerIs() {
        NativeLowLevelPlayer.nativeSetLowLevelPlayback(true);
        try {
            assertDoesNotThrow(
                    () -> NativeKeyMouseEvent.emitLLMouseEvent(null, 0, 0, 0, 0, NativeKeyMouseEvent.MOUSE_RELEASE));
        } finally {
            NativeLowLevelPlayer.nativeSetLowLevelPlayback(false);
        }
    }

    @Test
    void scrollEventsAndCountersAreAcceptedAndDoNothing() {
        new ScrollEvent(new NativeWindow(1), 1, 5, 0, 10).emit();
        new ScrollEvent(null, 0, 0, 0, 0).emit();
        assertEquals(0, Event.getNumTaggedEvents() + Event.getNumHookCalls() + Event.getNumHookCallsTagged()
                + Event.getNumWaits() + Event.getNumTimeouts());
    }

    /** The text that players of {@link #main} leave behind when events are serialised: letters are the arguments' threads. */
    private static String typedBy(int length, String... arguments) throws Exception {
        Path installation = Files.createTempDirectory("gx-install");
        Path options = Files.writeString(installation.resolve("marlo.properties"),
                "talvern.test.gx.script.playback.mouse.allow_multiple_threads=TRUE\n");
        List<Process> players = new ArrayList<>();
        try (TextView view = new TextView()) {
            click(new Point(20, 20), view.window);
            for (String player : arguments) {
                ProcessBuilder builder = new ProcessBuilder(
                        Path.of(System.getProperty("java.home"), "bin", "java").toString(), "-Xcheck:jni",
                        "-Djava.library.path=" + System.getProperty("java.library.path"), "-cp",
                        System.getProperty("java.class.path"), NativeKeyMouseEventTest.class.getName());
                builder.command().addAll(List.of(player.split(" ")));
                builder.environment().put("TALVERN_GX_INSTALL_DIRECTORY", installation.toString());
                players.add(builder.inheritIO().start());
            }
            for (Process player : players) {
                assertEquals(0, player.waitFor());
            }
            return Within.last(view::text, text -> text.length() >= length);
        } finally {
            players.forEach(Process::destroyForcibly);
            Files.delete(options);
            Files.delete(installation);
        }
    }

    @Test
    void eventsOfThreadsAndProcessesDoNotMixWhenTheyAreSerialised() throws Exception {
        String text = typedBy(200, "ab 5 10 0", "cd 5 10 0");
        assertEquals(200, text.length());
        assertTrue(text.matches("(?:a{10}|b{10}|c{10}|d{10})*"), text);
    }

    @Test
    void aTextWaitsForOneOfItsProcessLongerThanForOtherEvents() throws Exception {
        String text = typedBy(1200, "ab 1 600 5"); // each takes more than the 5 s of the event mutex
        assertTrue(text.matches("a{600}b{600}|b{600}a{600}"), text);
    }

    /** Another player: a thread for each of the letters given, the number of its events, strokes of each, delay of each. */
    public static void main(String[] arguments) throws InterruptedException {
        int delay = Integer.parseInt(arguments[3]);
        NativeLowLevelPlayer.nativeSetDelays(0, 0, 0, delay, delay, -1);
        List<Thread> threads = new ArrayList<>();
        for (char letter : arguments[0].toCharArray()) {
            threads.add(new Thread(() -> {
                for (int i = 0; i < Integer.parseInt(arguments[1]); i++) {
                    NativeKeyMouseEvent.emitHLKeyEvent(
                            0, 0, NativeKeyMouseEvent.KEYSTRING, "{" + letter + " " + arguments[2] + "}");
                }
            }));
        }
        threads.forEach(Thread::start);
        for (Thread thread : threads) {
            thread.join();
        }
    }
}
