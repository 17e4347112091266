import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.CoordinateOffScreenException;
import com.talvern.test.gx.StringNotInCodePageException;
import com.talvern.test.gx.UnableToPerformActionException;
import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.LaunchOptions;
import com.talvern.test.gx.engine.Query;
import com.talvern.test.gx.engine.Screen;
import com.talvern.test.gx.engine.UserInput;
import com.talvern.test.gx.engine.Wait;
import com.talvern.test.gx.engine.WidgetException;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.util.GxDebug;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.File;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.NoSuchElementException;
import java.util.concurrent.CancellationException;
import java.util.regex.Pattern;
import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/** What exceptions of the engine say: what was asked of whom, what came back, what to do; and that the trace has it. */
class ComplaintTest {
    private static final Duration SHORT = Duration.ofMillis(300);
    private static final Duration ANSWERED = Duration.ofSeconds(3); // also on a busy machine, before it is over
    private static final Path TRACE = Path.of(System.getenv("HOME"), "Quessa", "ZEMO", "vtx_trace.txt");
    private static Application nedit;
    private static Process terminal;

    private record Row(Class<? extends RuntimeException> kind, String says, Executable call) {}

    @BeforeAll
    static void startPrograms() throws IOException {
        GxDebug.TraceSetEnabledN(true);
        nedit = Application.start("nedit");
        terminal = new ProcessBuilder("xterm", "-T", "Terminal", "-geometry", "20x5+900+600").start();
        Wait.forWindow("Terminal", Duration.ofSeconds(20));
    }

    @AfterAll
    static void endPrograms() throws InterruptedException {
        nedit.close();
        terminal.destroyForcibly().waitFor();
    }

    private static void expect(Row... rows) throws IOException {
        for (Row row : rows) {
            String text = assertThrows(row.kind, row.call, row.says).getMessage();
            assertTrue(Pattern.compile(row.says, Pattern.DOTALL).matcher(text).matches(), text + "\nand not\n" + row.says);
            String traced = ",\tERROR,\tEngine,\t" + text.lines().findFirst().orElseThrow();
            assertTrue(Files.readString(TRACE).contains(traced.substring(0, Math.min(traced.length(), 500))), traced);
        }
    }

    private static Application start(String... command) {
        return Application.start(LaunchOptions.DEFAULTS.within(Duration.ofSeconds(60)), new ProcessBuilder(command));
    }

    @Test
    void aProgramThatCannotBeAskedIsNamedWithTheReason() throws Exception {
        expect(
            new Row(ApplicationException.Ended.class, "no agent in false, process \\d+: it has ended with exit status 1 before"
                + " its agent answered; its standard error .*", () -> start("false")),
            new Row(ApplicationException.Ended.class, "no agent in sh, process \\d+: .*exit status 139, as by SIGSEGV before .*",
                () -> start("sh", "-c", "kill -SEGV $$")),
            new Row(ApplicationException.Ended.class, "no agent in no such, process \\d+: .*status 127 .*; there may be no .*",
                () -> start("no such")),
            new Row(ApplicationException.Ended.class, "xterm could not be started: .*directory \"/nosuch\".*; gxrun, .*",
                () -> Application.start(new ProcessBuilder("xterm").directory(new File("/nosuch")), SHORT)),
            new Row(ApplicationException.NoAgent.class, "no agent in sleep, process \\d+: none has answered within 300 ms, as it"
                + " has loaded none of Xt .* yet; within.*",
                () -> Application.start(new ProcessBuilder("sleep", "60"), SHORT)),
            new Row(IllegalArgumentException.class, "nothing to start: no program is named; name one.*", Application::start),
            new Row(ApplicationException.Ended.class, "no agent in process 999999999: there is no such process; gx windows .*",
                () -> Application.attach(999_999_999)),
            new Row(ApplicationException.NoAgent.class, "no agent in .*xterm, process \\d+: it runs without an agent; start it"
                + " with: gx run /.*xterm", () -> Application.attach(terminal.pid())));
    }

    @Test
    void whatAnApplicationHasNotGotIsNamedBesideWhatItHas() throws Exception {
        String whom = "nedit, process " + nedit.pid();
        nedit.setTimeout(ANSWERED);
        nedit.setPatience(SHORT);
        expect(
            new Row(WidgetException.NotFound.class, "a window \"Nosuch\" of " + whom
                + ": none has come up within 300 ms; there are \\[\"Untitled\"]; setPatience .*", () -> nedit.awaitWindow("Nosuch")),
            new Row(WidgetException.NotFound.class, "application.button\\(\"Nosuch\"\\) of " + whom
                + ": not found within 300 ms; .*there is:\n  .*", () -> nedit.button("Nosuch").click()),
            new Row(ApplicationException.NotInTime.class, whom + " has not shown a file dialog within \\d+ m?s: its windows are"
                + " \\[\"Untitled\"]; setTimeout .*", nedit::awaitFileDialog),
            new Row(IllegalArgumentException.class, "no time-out of PT0S for " + whom + ": nobody .*; give .*",
                () -> nedit.setTimeout(Duration.ZERO)),
            new Row(IllegalArgumentException.class, "no item to choose in " + whom + ": none is named; name .*", nedit::choose),
            new Row(CancellationException.class, "interrupted: the thread main, while it waited for an application; .*", () -> {
                Thread.currentThread().interrupt();
                try {
                    nedit.awaitFileDialog();
                } finally {
                    Thread.interrupted();
                }
            }));
        nedit.setTimeout(Duration.ofSeconds(20));
        expect(
            new Row(NoSuchElementException.class, "no item \"Nosuch\" in a menu of " + whom + ": it has \\[New, .*]; ask .*",
                () -> nedit.choose("File", "Nosuch")),
            new Row(ApplicationException.Disabled.class, "no choice of the item \"Undo\" in a menu of " + whom
                + ": it is disabled; do first .*", () -> nedit.choose("Edit", "Undo")));
    }

    @Test
    void inputSaysWhichPointCharacterKeyOrWindowItWas() throws Exception {
        UserInput user = new UserInput(() -> false);
        expect(
            new Row(CoordinateOffScreenException.class, "a click at 5000,10: the point lies outside of the screen, which is"
                + " 1280 by 1024 pixels; give .*", () -> user.click(new Point(5000, 10))),
            new Row(StringNotInCodePageException.class, "a text of 3 characters: the one at index 2, U\\+0000, is no character"
                + " to type; nothing was typed; .*", () -> user.type("ab\0")),
            new Row(StringNotInCodePageException.class, ".*: the one at index 0, U\\+D83D, is half a surrogate pair; .*",
                () -> user.keys("\ud83d")),
            new Row(IllegalArgumentException.class, "key string: error 613 at index 1: no key has the name \"ENTR\"; nothing was"
                + " typed; NativeKeyMouseEvent .*", () -> user.keys("a{ENTR}")),
            new Row(UnableToPerformActionException.class, "the key \\{vk233} of a key string: no key of this keyboard has the keysym"
                + " 233; nothing was typed; setxkbmap .*", () -> user.keys("a{F1}{CAPSLOCK}\u00e9{vk233}")),
            new Row(UnableToPerformActionException.class, "an event of the mouse: it was not played.* covered.*; at the pointer is"
                + " the window \"Terminal\" \\(XTerm xterm\\); the native trace .*", () -> {
                    user.click(new Point(910, 610));
                    long hidden = nedit.windows().get(0).window();
                    user.play(() -> NativeKeyMouseEvent.emitLLMouseEvent(new Point(30_000, 1), hidden, 0, 0, 0,
                        NativeKeyMouseEvent.MOVE));
                }),
            new Row(IllegalStateException.class, "no input: this UserInput is closed; make a new one", () -> {
                user.close();
                user.type("a");
            }),
            new Row(IllegalArgumentException.class, "no picture of 9x9\\+5000\\+0: nothing .*, which is 1280x1024\\+0\\+0; .*",
                () -> Screen.capture(new Rectangle(5000, 0, 9, 9))),
            new Row(IllegalArgumentException.class, "no part 9x9\\+9\\+9 of a picture: that shows 5x5\\+0\\+0; .*",
                () -> Screen.capture(new Rectangle(5, 5)).cut(new Rectangle(9, 9, 9, 9))),
            new Row(IllegalArgumentException.class, "no query at\\(-1\\): .*; count from 0", () -> Query.any().at(-1)));
    }

    @Test
    void oneThatIsStoppedOrHasEndedIsSaidToBe() throws Exception {
        try (Application asked = Application.start(System.getProperty("gx.apps") + "/gtk3-asked")) {
            asked.setTimeout(SHORT);
            new ProcessBuilder("kill", "-STOP", Long.toString(asked.pid())).start().waitFor();
            String whom = ".*gtk3-asked, process " + asked.pid();
            expect(new Row(ApplicationException.NotInTime.class, whom + " has not answered WIDGETS within 300 ms: the process is"
                + " stopped, .*; setTimeout .*", asked::tree));
            asked.process().destroyForcibly().waitFor();
            expect(new Row(ApplicationException.Ended.class, whom + " has not answered WIDGETS: it has ended with exit status"
                + " 137, as by SIGKILL; .*", asked::tree));
        }
    }
}
