import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;

import com.talvern.test.gx.sys.NativeLibrary;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Set;
import java.util.TreeSet;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;

/** The library and the Java classes agree on what is native, and the library shows nothing else. */
class NativeDeclarationsTest {
    private static final Pattern DECLARED = Pattern.compile("^JNIEXPORT .* JNICALL (Java_\\w+)", Pattern.MULTILINE);
    private static final Set<String> GLOBALS = Stream.of("g_display", "gx_app_display", "gx_MarloSUT",
            "gx_MarloRecordMode", "GlobalRunCallback", "GlobalMessageCallback", "GlobalParam", "accelerate_on_linux",
            "GlobalThreadId").flatMap(name -> Stream.of(name, name + "P")).collect(Collectors.toSet());

    private static final Set<String> IN_APPLICATION =
            Set.of("infestCurrentThread", "gxRequestDescriptors", "gxDeliverRequests", "gxHasDomain");

    /** The method's symbol, from the headers of {@code javac -h}. */
    private static Set<String> declared() throws IOException {
        Set<String> names = new TreeSet<>();
        try (Stream<Path> headers = Files.list(Path.of(System.getProperty("gx.headers")))) {
            for (Path header : headers.toList()) {
                Matcher matcher = DECLARED.matcher(belongsToAClass(header) ? Files.readString(header) : "");
                while (matcher.find()) {
                    names.add(matcher.group(1));
                }
            }
        }
        return names;
    }

    /** A header stays in the build directory when its class is renamed or loses its native methods. */
    private static boolean belongsToAClass(Path header) throws IOException {
        String file = header.getFileName().toString();
        String top = file.replaceFirst("\\.h$", "").replaceFirst("_00024.*", "").replaceFirst("__.*", "");
        Path source = Path.of(System.getProperty("gx.source"), "java", "src", top.replace('_', '/') + ".java");
        return Files.exists(source) && Files.readString(source).contains(" native ");
    }

    private static Set<String> exported() throws IOException, InterruptedException {
        Process nm = new ProcessBuilder("nm", "-D", "--defined-only", "--format=posix",
                System.getProperty("gx.library")).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        String output = new String(nm.getInputStream().readAllBytes());
        assertEquals(0, nm.waitFor(), "nm");
        return output.lines().map(line -> line.split(" ")[0]).collect(Collectors.toCollection(TreeSet::new));
    }

    private static Set<String> less(Set<String> all, Set<String> without) {
        Set<String> rest = new TreeSet<>(all);
        rest.removeAll(without);
        return rest;
    }

    @Test
    void everyNativeMethodIsExportedAndNothingElse() throws Exception {
        Set<String> declared = declared();
        Set<String> exported = exported();
        Set<String> expected = new TreeSet<>(declared);
        expected.addAll(GLOBALS);
        expected.addAll(IN_APPLICATION);
        assertAll(
                () -> assertEquals(Set.of(), less(expected, exported), "missing in the library"),
                () -> assertEquals(Set.of(), less(exported, expected), "exported without a declaration"));
    }

    @Test
    void loadingTwiceIsLoadingOnce() throws Exception {
        NativeLibrary.load();
        NativeLibrary.load();
        long mappings = Files.readAllLines(Path.of("/proc/self/maps")).stream()
                .filter(line -> line.endsWith("/libgxsys.so") && line.contains(" 00000000 ")).count();
        assertEquals(1, mappings);
        assertFalse(Boolean.getBoolean("java.awt.headless") && Thread.getAllStackTraces().keySet().stream()
                .anyMatch(thread -> thread.getName().startsWith("AWT")), "the toolkit was started");
    }
}
