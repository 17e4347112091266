import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.Query;
import com.talvern.test.gx.engine.Widget;
import com.talvern.test.gx.engine.WidgetException;
import com.talvern.test.gx.engine.WidgetView;
import java.io.IOException;
import java.io.PrintStream;
import java.lang.ProcessBuilder.Redirect;
import java.nio.file.Files;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.function.Predicate;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** Applications of each toolkit that are hard to read, and what is left of reading them often. */
@Timeout(280)
class HostileTest {
    /** Of which the environment may ask for more; see CONTRIBUTING.md. */
    private static final int TREES = Integer.parseInt(System.getenv().getOrDefault("GX_TREES", "300"));

    private Application application;
    private PrintStream input;
    private ProgramLines output;

    private void start(String program, int rows, int length) throws Exception {
        application = Application.start(new ProcessBuilder(System.getProperty("gx.apps") + "/" + program,
            Integer.toString(rows), Integer.toString(length)).redirectError(Redirect.INHERIT), Duration.ofSeconds(60));
        application.setTimeout(Duration.ofSeconds(60));
        application.setPatience(Duration.ofSeconds(60));
        input = new PrintStream(application.process().getOutputStream(), true);
        output = new ProgramLines(application);
        assertTrue(output.readLine().startsWith("ready"));
    }

    @AfterEach
    void endApplication() {
        application.close();
    }

    private Widget named(String name) {
        return application.find(Query.name(name));
    }

    /** Mappings and resident memory, in that order. */
    private static List<Long> usedBy(long pid) throws IOException {
        Path process = Path.of("/proc", Long.toString(pid));
        try (Stream<String> maps = Files.lines(process.resolve("maps"))) {
            long pages = Long.parseLong(Files.readString(process.resolve("statm")).split(" ")[1]);
            return List.of(maps.count(), pages);
        }
    }

    /**
     * What a process keeps open. What other threads read of the system, as whether a program lives or how much
     * memory the JVM may have, comes and goes.
     */
    private static List<String> filesOf(long pid) throws IOException {
        List<String> files = new ArrayList<>();
        try (Stream<Path> open = Files.list(Path.of("/proc", Long.toString(pid), "fd"))) {
            for (Path each : open.toList()) {
                try {
                    files.add(Files.readSymbolicLink(each).toString().replaceAll("\\[.*", ""));
                } catch (NoSuchFileException closed) {
                    continue;
                }
            }
        }
        files.removeIf(file -> file.startsWith("/proc/") || file.startsWith("/sys/"));
        Collections.sort(files);
        return files;
    }

    /** Once they stay the same: its start, and a wait that has ended, keep a socket for up to a second. */
    private static List<String> restingFilesOf(long pid) throws Exception {
        List<String> files = filesOf(pid);
        for (List<String> before = List.of(); !files.equals(before);) {
            before = files;
            Thread.sleep(1100);
            files = filesOf(pid);
        }
        return files;
    }

    private void takeTrees(int count) {
        for (int left = count; left > 0; --left) {
            application.tree();
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-hostile", "gtk2-hostile", "gtk3-hostile"})
    void treesLeaveNothingBehind(String program) throws Exception {
        start(program, 100, 1000);
        input.println("10");
        named("status").awaitText("10");
        takeTrees(200);
        WidgetView first = application.tree();
        List<Long> before = usedBy(application.pid());
        List<String> open = restingFilesOf(application.pid()), own = filesOf(ProcessHandle.current().pid());
        takeTrees(TREES);
        List<Long> after = usedBy(application.pid());
        String grown = before + " before and " + after + " after " + TREES + " trees";
        assertEquals(open, filesOf(application.pid()));
        assertTrue(after.get(0) <= before.get(0) + 4, grown);
        // 1 MB, less than half a block of memory a tree; the address sanitizer keeps for a while what is freed.
        assertTrue(after.get(1) <= before.get(1) + (System.getenv("ASAN_OPTIONS") == null ? 256 : 1024), grown);
        assertEquals(own, filesOf(ProcessHandle.current().pid()));
        assertEquals(first.toString(), application.tree().toString());
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-hostile", "gtk2-hostile", "gtk3-hostile"})
    void widgetsMayComeAndGoWhileTheyAreRead(String program) throws Exception {
        start(program, 10, 1000);
        input.println("churn");
        for (int round = 0; round < 50; ++round) {
            WidgetView tree = application.tree();
            assertTrue(tree.all().anyMatch(view -> view.name().equals("status")), tree::toString);
            assertThrows(WidgetException.class, () -> application.button("behind").within(Duration.ZERO).hover());
        }
        input.println("100");
        named("status").awaitText("100");
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-hostile", "gtk2-hostile", "gtk3-hostile"})
    void manyRowsAndLongTextsAreRead(String program) throws Exception {
        start(program, 50_000, 1_000_000);
        for (String name : program.startsWith("motif") ? List.of("list") : List.of("list", "tree")) {
            int count = name.equals("list") ? 50_000 : 5_000;
            List<List<String>> rows = named(name).rows();
            assertEquals(count, rows.size());
            Widget last = named(name).cell(count - 1, 0);
            named(name).select(count - 1);
            assertEquals(rows.get(count - 1).get(0), last.text());
        }
        List<String> texts = program.startsWith("motif") ? List.of("area", "label", "field") : List.of("area", "label");
        for (String name : texts) {
            WidgetView view = named(name).view();
            assertEquals(8192, view.text().length());
            assertTrue(view.textCut());
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"gtk2-hostile", "gtk3-hostile"})
    void rowsThatMoveAreFound(String program) throws Exception {
        start(program, 100, 10);
        input.println("shift");
        for (int round = 0; round < 200; ++round) {
            assertEquals(List.of("row 50"), named("list").cell("row 50", 0).views().stream().map(WidgetView::text).toList());
        }
    }

    /**
     * Each look leads to a change, and each change to a look; without being told it would be one a second in the end. While
     * nothing changes that is all there is: no look leads to another.
     */
    @ParameterizedTest
    @ValueSource(strings = {"motif-hostile", "gtk2-hostile", "gtk3-hostile"})
    void whoWaitsLooksWhenSomethingHasChanged(String program) throws Exception {
        start(program, 10, 100);
        int[] looks = new int[1];
        Predicate<WidgetView> isFortieth = view -> {
            input.println(looks[0]);
            return ++looks[0] == 40;
        };
        named("status").within(Duration.ofSeconds(25)).await("changed forty times", isFortieth);
        int[] quiet = new int[1]; // after 20, 60, 140, 300, 620, 1260 and 2260 ms, and at the end
        assertThrows(WidgetException.NotSo.class, () -> named("list").within(Duration.ofSeconds(3)).await("changed",
            view -> ++quiet[0] > 12));
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-hostile", "gtk2-hostile", "gtk3-hostile"})
    void oneThatHangsIsSaidToAndReadRightAfterwards(String program) throws Exception {
        start(program, 10, 100);
        input.println("hang 1500");
        assertEquals("hangs ", output.readLine());
        application.setTimeout(Duration.ofMillis(300));
        String reason = assertThrows(ApplicationException.NotInTime.class, application::tree).getMessage();
        assertTrue(reason.contains("has not answered WIDGETS within 300 ms: its GUI thread"), reason);
        application.setTimeout(Duration.ofSeconds(60));
        input.println("20");
        named("status").awaitText("20");
    }
}
