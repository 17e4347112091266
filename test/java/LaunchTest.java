import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.LaunchOptions;
import com.talvern.test.gx.protocol.AgentAddress;
import com.talvern.test.gx.sys.SpyMemory;
import java.lang.ProcessBuilder.Redirect;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.TimeUnit;
import java.util.stream.IntStream;
import java.util.stream.Stream;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** How programs come to run under an engine, and how they end. */
@Timeout(120)
class LaunchTest {
    private static final String APPS = System.getProperty("gx.apps") + "/";
    private static final LaunchOptions PATIENT = LaunchOptions.DEFAULTS.within(Duration.ofSeconds(100));

    private static ProcessBuilder script(String text) {
        return new ProcessBuilder("sh", "-c", text).redirectOutput(Redirect.DISCARD).redirectError(Redirect.INHERIT);
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-asked", "gtk3-asked"})
    void aProgramBehindAScriptIsFollowed(String program) throws Exception {
        List<ProcessHandle> family;
        try (Application asked = Application.start(PATIENT.follow(), script("sleep 100 & " + APPS + program + "; true"))) {
            assertTrue(asked.menuBar().isPresent());
            assertTrue(asked.pid() != asked.process().pid());
            family = asked.process().descendants().toList();
            assertEquals(2, family.size());
        }
        for (ProcessHandle member : family) {
            member.onExit().get(20, TimeUnit.SECONDS);
        }
    }

    @ParameterizedTest
    @CsvSource({"windowscene, neither Xt", "motif-asked, LaunchOptions.follow"})
    void aProgramThatCannotHaveAnAgentIsRefusedOnceItShowsAWindow(String program, String reason) {
        String message = assertThrows(ApplicationException.NoAgent.class,
            () -> Application.start(PATIENT, script(APPS + program + "; true"))).getMessage();
        assertTrue(message.contains(reason), message);
    }

    /** What this process has of the system; programs that have ended have left nothing of theirs. */
    private static List<Long> holdings(List<Path> sockets) throws Exception {
        List<Long> counts = new ArrayList<>(List.of((long) new SpyMemory().getStats().numberUsedBlocks));
        for (String list : List.of("/proc/sysvipc/sem", "/proc/sysvipc/shm")) {
            counts.add((long) Files.readAllLines(Path.of(list)).size());
        }
        try (Stream<Path> descriptors = Files.list(Path.of("/proc/self/fd"))) {
            counts.add(descriptors.count());
        }
        counts.add(ProcessHandle.current().children().count());
        counts.add(sockets.stream().filter(Files::exists).count());
        return counts;
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-asked", "gtk2-asked", "gtk3-asked"})
    void tenStartsLeaveNoMoreThanTwo(String program) throws Exception {
        List<Path> sockets = new ArrayList<>();
        List<Long> first = null;
        for (int start = 1; start <= 10; ++start) {
            try (Application asked = Application.start(PATIENT, new ProcessBuilder(APPS + program))) {
                assertTrue(asked.menuBar().isPresent());
                sockets.addAll(AgentAddress.of(Long.toString(asked.pid())).places());
                if (start % 2 == 0) {
                    asked.process().destroyForcibly().waitFor();
                    assertThrows(ApplicationException.Ended.class, asked::menuBar);
                }
            }
            first = start == 2 ? holdings(sockets) : first;
        }
        List<Long> before = first;
        // The pipes of a process that has ended are closed by a thread of Java's.
        List<Long> last = Within.last(() -> holdings(sockets), counts -> isNoMore(counts, before));
        assertTrue(isNoMore(last, before), last + " after " + before);
    }

    /** Less there may be: pipes of the second program may have been open still when they were counted. */
    private static boolean isNoMore(List<Long> counts, List<Long> before) {
        return IntStream.range(0, counts.size()).allMatch(index -> counts.get(index) <= before.get(index));
    }

    @ParameterizedTest
    @CsvSource({"kill, false", "halt, false", "return, false", "leave, true"})
    void aProgramEndsWithItsEngineUnlessItIsToBeLeft(String end, boolean stays) throws Exception {
        String own = System.getProperty("java.class.path");
        String library = Path.of("").toAbsolutePath().relativize(Path.of(System.getProperty("java.library.path"))).toString();
        Process engine = new ProcessBuilder(System.getProperty("java.home") + "/bin/java", "-cp", own,
            "-Djava.library.path=" + library, "Starter", "nedit", end).redirectError(Redirect.INHERIT).start();
        ProcessHandle program = ProcessHandle.of(Long.parseLong(engine.inputReader().readLine())).orElseThrow();
        assertTrue(program.isAlive());
        if (end.equals("kill")) {
            engine.destroyForcibly();
        }
        engine.getOutputStream().close();
        engine.waitFor();
        if (stays) {
            assertFalse(program.onExit().completeOnTimeout(null, 500, TimeUnit.MILLISECONDS).get() != null);
            program.destroyForcibly();
        }
        program.onExit().get(20, TimeUnit.SECONDS);
    }
}
