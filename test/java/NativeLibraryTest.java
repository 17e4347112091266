import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeFalse;

import com.talvern.test.gx.sys.NativeLibrary;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.ArrayList;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** Where the jar of Maven puts the native files, in the place of whatever somebody has put there before; in JVMs of their own. */
@Timeout(120)
class NativeLibraryTest {
    private static final Path LIBRARY = Path.of(System.getProperty("gx.library"));
    private static final Pattern UNPACKED = Pattern.compile("gxsys \\S+: \\S+, (\\S+)/\\S+-[0-9a-f]{12}/libgxsys.so\n");

    @TempDir Path folder;

    @BeforeEach
    void makePlaces() throws IOException {
        for (String name : List.of("cache", "tmp")) {
            Files.setPosixFilePermissions(Files.createDirectory(folder.resolve(name)), PosixFilePermissions.fromString("rwx------"));
        }
    }

    private record Outcome(int status, String output) {}

    /** Starts a shell in the folder; "$@" is a JVM that loads the library, with the options given in front of that. */
    private Process start(String script, String libraryPath, String mainClass, String... arguments) throws IOException {
        List<String> command = new ArrayList<>(List.of("sh", "-c", script, "sh", System.getProperty("java.home") + "/bin/java",
            "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC", "-Djava.library.path=" + libraryPath, "-Djava.io.tmpdir=" + folder.resolve("tmp"),
            "-cp", System.getProperty("gx.maven.jar") + ":" + LIBRARY.resolveSibling("gx-java-suites.jar"), mainClass));
        command.addAll(List.of(arguments));
        ProcessBuilder builder = new ProcessBuilder(command).directory(folder.toFile()).redirectErrorStream(true);
        builder.environment().put("XDG_CACHE_HOME", folder.resolve("cache").toString());
        return builder.start();
    }

    private static Outcome endOf(Process process) throws Exception {
        process.getOutputStream().close();
        String output = new String(process.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
        return new Outcome(process.waitFor(), output);
    }

    private Outcome load(String script) throws Exception {
        return endOf(start(script, "", NativeLibrary.class.getName()));
    }

    private static String shown(String output) {
        Matcher found = UNPACKED.matcher(output);
        return found.find() ? found.group(1) : output;
    }

    /** What is there, with times and inodes: what was written anew has others. */
    private String listed(String what) throws Exception {
        return endOf(new ProcessBuilder("find", folder.resolve("cache").toString(), "-printf", what).start()).output();
    }

    @ParameterizedTest(name = "{0}")
    @CsvSource(delimiter = '|', quoteCharacter = '~', textBlock = """
        nothing is there                   | "$@"                                                           | cache/gxsys
        the cache is missing               | rmdir cache; "$@"                                              | cache/gxsys
        the directory is a link            | mkdir -m 700 other; ln -s ../other cache/gxsys; "$@"           | tmp/gxsys-
        the directory is a file            | : >cache/gxsys; "$@"                                           | tmp/gxsys-
        others may read the directory      | mkdir -m 755 cache/gxsys; "$@"                                 | tmp/gxsys-
        others may write to the directory  | mkdir -m 770 cache/gxsys; "$@"                                 | tmp/gxsys-
        others may rename the directory    | chmod 777 cache; "$@"                                          | tmp/gxsys-
        all may write above, none rename   | chmod 1777 cache; "$@"                                         | cache/gxsys
        the directory is somebody else's   | mkdir -m 700 cache/gxsys; chown 12345 cache/gxsys && "$@"      | tmp/gxsys-
        the one above is somebody else's   | chown 12345 cache && "$@"                                      | tmp/gxsys-
        nothing can be written             | XDG_CACHE_HOME=/proc/none "$@"                                 | tmp/gxsys-
        a path that cannot be preloaded    | XDG_CACHE_HOME="$PWD/cache/a b" "$@"                           | tmp/gxsys-
        no program may be started there    | if [ $(id -u) != 0 ]; then user=-r; fi; unshare -m $user sh -c 'mount -t tmpfs -o noexec,mode=700 none cache && "$@"' sh "$@" | tmp/gxsys-
        both are refused                   | chmod 777 cache tmp; "$@"                                      | cache has mode 777: others can write to it;
        """)
    void theLibraryIsUnpackedWhereNobodyElseCanChangeIt(String what, String script, String expected) throws Exception {
        Outcome outcome = load(script);
        assumeFalse(outcome.output.contains("unshare: ") || outcome.output.contains("mount: "), outcome.output.strip());
        assumeFalse(outcome.output.contains("chown: "), outcome.output.strip());
        boolean isRefused = expected.contains(" ");
        assertEquals(isRefused ? 1 : 0, outcome.status, outcome.output);
        assertTrue(isRefused ? outcome.output.contains(expected) && outcome.output.contains(NativeLibrary.UNPACK_PROPERTY)
            : shown(outcome.output).startsWith(folder.resolve(expected).toString()), outcome.output);
    }

    @Test
    void whatIsRightIsLeftAndWhatIsWrongReplaced() throws Exception {
        assertEquals(0, load("\"$@\"").status);
        String once = listed("%P %m %s %i %C@\n");
        assertEquals(0, load("\"$@\"").status);
        assertEquals(once, listed("%P %m %s %i %C@\n"));
        String names = listed("%P %m %s %y\n");
        // A preloaded address sanitizer ends dd, for an error of dd's own.
        Outcome damaged = load("cd cache/gxsys/*/ && cp libgxsys.so ../mine && ln -sf ../mine libgxsys.so && rm gxrun"
            + " && printf x | LD_PRELOAD= dd of=libgxagent.so bs=1 seek=4000 conv=notrunc 2>/dev/null && touch -d '2 minutes ago' gxrun1.part"
            + " && chmod 777 libgxagent.so && \"$@\" && rm ../mine");
        assertEquals(0, damaged.status, damaged.output);
        assertEquals(sorted(names), sorted(listed("%P %m %s %y\n")));
    }

    private static List<String> sorted(String lines) {
        return lines.lines().sorted().toList();
    }

    @Test
    void processesMayUnpackAtTheSameTime() throws Exception {
        List<Process> all = new ArrayList<>();
        for (int count = 0; count < 6; ++count) {
            all.add(start("\"$@\"", "", NativeLibrary.class.getName()));
        }
        for (Process each : all) {
            assertEquals(folder.resolve("cache/gxsys").toString(), shown(endOf(each).output));
        }
        assertEquals(3, listed("%y\n").lines().filter("f"::equals).count());
    }

    /** A program that is started so has its agent, its library and the classes from what was unpacked. */
    @Test
    void anEngineStartsProgramsWithWhatIsUnpacked() throws Exception {
        Outcome outcome = endOf(start("\"$@\"", "", "Starter", System.getProperty("gx.apps") + "/motif-asked", "return"));
        assertTrue(outcome.status == 0 && outcome.output.matches("\\d+\n"), outcome.output);
    }

    @ParameterizedTest
    @CsvSource({"libgxsys.so, is of version 9.", "libgxagent.so, is of no version", "gxsys.jar, file too short|invalid ELF header"})
    void aLibraryOfAnotherVersionIsNotLoaded(String file, String reason) throws Exception {
        byte[] library = Files.readAllBytes(LIBRARY.resolveSibling(file));
        String text = new String(library, StandardCharsets.ISO_8859_1);
        String other = text.replaceFirst("gxsys\0\0\0\\d", "gxsys\0\0\0" + "9");
        Files.writeString(folder.resolve("libgxsys.so"), other, StandardCharsets.ISO_8859_1);
        Outcome outcome = endOf(start("\"$@\"", ":" + folder, NativeLibrary.class.getName()));
        assertEquals(1, outcome.status, outcome.output);
        assertTrue(Pattern.compile(Pattern.quote(folder + "/libgxsys.so") + ".*(" + reason + ")").matcher(outcome.output).find(), outcome.output);
    }
}
