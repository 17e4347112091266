import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.PrintStream;
import java.io.UncheckedIOException;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.concurrent.TimeUnit;
import java.util.function.BooleanSupplier;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import javax.tools.ToolProvider;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** Compiles and runs the examples of the README as they stand there. */
class ReadmeExampleTest {
    @TempDir Path folder;

    /** Compiles the example that is the class of that name. */
    private void compile(String name) throws Exception {
        String readme = Files.readString(Path.of(System.getProperty("gx.source"), "README.md"));
        Matcher code = Pattern.compile("```java\n((?:(?!```).)*?public class " + name + " .*?)```", Pattern.DOTALL)
                .matcher(readme);
        assertTrue(code.find(), "no such example in the README");
        Path source = Files.writeString(folder.resolve(name + ".java"), code.group(1));
        int result = ToolProvider.getSystemJavaCompiler()
                .run(null, System.out, System.err, "-cp", System.getProperty("gx.jar"), source.toString());
        assertEquals(0, result, "the example does not compile");
    }

    private String outputOf(String name, String... arguments) throws Exception {
        ByteArrayOutputStream output = new ByteArrayOutputStream();
        PrintStream before = System.out;
        try (URLClassLoader loader = new URLClassLoader(new URL[] {folder.toUri().toURL()})) {
            System.setOut(new PrintStream(output, true, StandardCharsets.UTF_8));
            loader.loadClass(name).getMethod("main", String[].class).invoke(null, (Object) arguments);
        } finally {
            System.setOut(before);
        }
        return output.toString(StandardCharsets.UTF_8);
    }

    private static void waitUntil(BooleanSupplier condition) throws InterruptedException {
        long end = System.nanoTime() + TimeUnit.SECONDS.toNanos(20);
        while (!condition.getAsBoolean() && System.nanoTime() < end) {
            Thread.sleep(10);
        }
    }

    @Test
    void itListsAWindowAndTypesIntoIt() throws Exception {
        compile("Example");
        Path typed = folder.resolve("typed");
        Process manager = new ProcessBuilder("openbox", "--sm-disable").inheritIO().start();
        waitUntil(ReadmeExampleTest::isManaged); // a window that is mapped while it starts can stay unmapped
        Process terminal = new ProcessBuilder("xterm", "-T", "A terminal", "-e", "cat > " + typed).inheritIO().start();
        try {
            waitUntil(() -> Files.exists(typed) && isFramed(new NativeTopLevelWindow(0).getOwnedWindows()));
            String output = outputOf("Example");
            assertTrue(output.startsWith("XTerm xterm, \"A terminal\", java.awt.Rectangle["), output);
            waitUntil(() -> typed.toFile().length() > 0);
            assertEquals("Hello, gxsys!\n", Files.readString(typed));
        } finally {
            terminal.destroyForcibly();
            manager.destroyForcibly().waitFor();
        }
    }

    private static boolean isManaged() {
        try {
            Process property = new ProcessBuilder("xprop", "-root", "_NET_SUPPORTING_WM_CHECK").start();
            return new String(property.getInputStream().readAllBytes(), StandardCharsets.UTF_8).contains("window id");
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    private static boolean isFramed(NativeTopLevelWindow... windows) {
        return windows.length == 1
                && !windows[0].nativeGetParentWindow().equals(NativeWindow.nativeGetRootNativeWindow());
    }

    @Test
    void itOpensAFileThroughTheMenuOfAnUnmodifiedProgram() throws Exception {
        compile("OpenFile");
        Path file = Files.writeString(folder.resolve("letter.txt"), "Dear reader");
        // nedit takes names in the directory that its dialog shows.
        String output = outputOf("OpenFile", Path.of("").toAbsolutePath().relativize(file).toString());
        assertTrue(output.startsWith("Open File: [") && output.contains(", letter.txt - "), output);
    }
}
