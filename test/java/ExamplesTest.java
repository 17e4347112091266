import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.LaunchOptions;
import com.talvern.test.gx.engine.Windows;
import com.talvern.test.gx.sys.Mailslot;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeMouse;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.PrintStream;
import java.io.UncheckedIOException;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.platform.engine.discovery.DiscoverySelectors;
import org.junit.platform.launcher.core.LauncherDiscoveryRequestBuilder;
import org.junit.platform.launcher.core.LauncherFactory;
import org.junit.platform.launcher.listeners.SummaryGeneratingListener;

/** Compiles and runs the examples of README, doc and Javadoc as they stand there. */
class ExamplesTest {
    private static final Path SOURCE = Path.of(System.getProperty("gx.source"));
    private static final Path BUILD = Path.of(System.getProperty("gx.jar")).getParent();

    /** Programs inherit its runtime, and with that those of GTK 3 wait for ever in gtk_init, under gdb and alone, too. */
    private static final List<String> UNSANITIZED = System.getenv().getOrDefault("LD_PRELOAD", "").contains("asan")
            ? List.of("galculator", "gtk3-demo", "mousepad") : List.of();

    @TempDir static Path folder;
    private static Examples examples;

    @BeforeAll
    static void compile() throws IOException {
        examples = new Examples(SOURCE);
        examples.compile(folder);
    }

    /** What the example prints; it may take half a minute. */
    private static String outputOf(String name, String... arguments) throws Exception {
        ByteArrayOutputStream output = new ByteArrayOutputStream();
        PrintStream before = System.out;
        System.setOut(new PrintStream(output, true, StandardCharsets.UTF_8));
        try {
            start(name, arguments).get(60, TimeUnit.SECONDS);
        } finally {
            System.setOut(before);
        }
        return output.toString(StandardCharsets.UTF_8);
    }

    private static CompletableFuture<Void> start(String name, String... arguments) {
        CompletableFuture<Void> end = new CompletableFuture<>();
        Thread thread = new Thread(() -> {
            try (URLClassLoader loader = new URLClassLoader(new URL[] {folder.toUri().toURL()})) {
                Class<?> program = Class.forName(name, true, loader);
                if (!name.equals("Extension")) { // has no more than what is done when it is loaded
                    program.getMethod("main", String[].class).invoke(null, (Object) arguments);
                }
                end.complete(null);
            } catch (ReflectiveOperationException | IOException | LinkageError e) {
                end.completeExceptionally(e);
            }
        });
        thread.setDaemon(true);
        thread.start();
        return end;
    }

    /** Runs one that is a class of tests. */
    private static void test(String name) throws Exception {
        SummaryGeneratingListener listener = new SummaryGeneratingListener();
        try (URLClassLoader loader = new URLClassLoader(new URL[] {folder.toUri().toURL()})) {
            LauncherFactory.create().execute(LauncherDiscoveryRequestBuilder.request()
                    .selectors(DiscoverySelectors.selectClass(Class.forName(name, true, loader)))
                    .configurationParameter("gx.failures", folder.toString()).build(), listener);
        }
        assertEquals(List.of(), listener.getSummary().getFailures().stream().map(each -> each.getException()).toList());
        assertTrue(listener.getSummary().getTestsSucceededCount() > 0, name);
    }

    /** Runs one and compares what it prints with what it says. */
    private static void run(String name) throws Exception {
        CompletableFuture<Void> beside = CompletableFuture.completedFuture(null);
        if (name.equals("NativeMouseCaptureThread")) { // ends when the button goes up that the capture has pressed
            beside = CompletableFuture.runAsync(ExamplesTest::releaseTheButton);
        }
        List<String> output = outputOf(name + "Example").lines().toList();
        beside.get(60, TimeUnit.SECONDS);
        List<String> expected = examples.printedBy(name);
        assertTrue(output.containsAll(expected), name + " prints " + output + " instead of " + expected);
        assertEquals(examples.all.get(name).contains("println"), !output.isEmpty(), name + " prints " + output);
    }

    private static void releaseTheButton() {
        try {
            Within.await(() -> new NativeMouse().getMouseState() != 0);
            NativeKeyMouseEvent.emitLLMouseEvent(new Point(9, 9), 0, 0, 0, 0, NativeKeyMouseEvent.MOUSE_RELEASE);
        } catch (InterruptedException e) {
            throw new IllegalStateException(e);
        }
    }

    /** With a terminal on the screen, for those that look at windows and type. */
    @Test
    void theJavadocDoesAndPrintsWhatItSays() throws Exception {
        Path typed = folder.resolve("typed");
        Process terminal = new ProcessBuilder("xterm", "-T", "A terminal", "-geometry", "100x40+0+0", "-e",
                "stty -ixon; cat > " + typed).inheritIO().start();
        try {
            Within.await(() -> Files.exists(typed) && new NativeTopLevelWindow(0).getOwnedWindows().length == 1);
            for (String name : examples.all.keySet()) {
                if (name.equals("Mailslot")) { // serves until this JVM ends
                    start(name + "Example");
                    Within.await(() -> Mailslot.find("Calculator") != null);
                } else if (UNSANITIZED.stream().anyMatch(examples.all.get(name)::contains)) {
                    System.out.println("skipped: ExamplesTest." + name + ": its program hangs with the sanitizer");
                } else if (examples.isTest(name)) {
                    test(name);
                } else if (name.equals("Extension")) {
                    outputOf(name);
                } else if (!List.of("Example", "OpenFile").contains(name) && !Examples.INSIDE.contains(name)) {
                    run(name);
                }
            }
            Within.await(() -> textOf(typed).matches(
                    "(?s).*Gr\u00fc\u00dfe \\{not a key}.*Gr\u00fc\u00dfe\\W.*Hello\n.*"));
        } finally {
            terminal.destroyForcibly().waitFor();
        }
    }

    private static String textOf(Path file) {
        try {
            return Files.exists(file) ? Files.readString(file) : "";
        } catch (IOException e) {
            throw new UncheckedIOException(e);
        }
    }

    @Test
    void theJavadocIsRightInsideOfAnApplication() throws Exception {
        Path output = folder.resolve("inside");
        Path services = Files.createDirectories(folder.resolve("META-INF/services"));
        Files.writeString(services.resolve("com.talvern.test.gx.application.ApplicationService"), "InsideExample\n");
        ProcessBuilder program =
                new ProcessBuilder(System.getProperty("gx.apps") + "/motif-asked", "-geometry", "400x300+0+0");
        program.environment().put("CLASSPATH", folder.toString());
        program.environment().put("GX_EXAMPLES", output.toString());
        try (Application application = Application.start(LaunchOptions.DEFAULTS, program)) {
            assertTrue(application.menuBar().isPresent());
            Within.await(() -> textOf(output).contains("done\n"));
            assertTrue(textOf(output).matches("(?s)3 items\n.*  item 0\n.*java.awt.Rectangle.*\non the GUI thread\ndone\n"),
                    textOf(output));
        }
    }

    /** The commands of a page from `first` on, where they are indented, with the directories of this build. */
    private static ProcessBuilder commandsOf(String page, String first) {
        Matcher block = Pattern.compile("(?m)^    " + Pattern.quote(first) + ".*\n(    .*\n)*")
                .matcher(textOf(SOURCE.resolve(page)));
        assertTrue(block.find(), "no such commands in " + page);
        ProcessBuilder shell = new ProcessBuilder("sh", "-ec", block.group().replace("build/release", BUILD.toString()));
        shell.environment().merge("PATH", BUILD + "/bin:", (path, mine) -> mine + path);
        return shell.directory(folder.toFile()).redirectErrorStream(true);
    }

    @Test
    void theReadmeListsAWindowAndTypesIntoIt() throws Exception {
        Path typed = folder.resolve("typed by the README");
        Process manager = new ProcessBuilder("openbox", "--sm-disable").inheritIO().start();
        Within.await(ExamplesTest::isManaged); // a window that is mapped while it starts can stay unmapped
        Process terminal =
                new ProcessBuilder("xterm", "-T", "A terminal", "-e", "cat > '" + typed + "'").inheritIO().start();
        try {
            Within.await(() -> Files.exists(typed) && isFramed(new NativeTopLevelWindow(0).getOwnedWindows()));
            Process commands = commandsOf("README.md", "javac ").start();
            String output = new String(commands.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
            assertTrue(output.contains("XTerm xterm, \"A terminal\", java.awt.Rectangle["), output);
            Within.await(() -> typed.toFile().length() > 0);
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
    void theReadmeOpensAFileThroughTheMenuOfAnUnmodifiedProgram() throws Exception {
        Path file = Files.writeString(folder.resolve("letter.txt"), "Dear reader");
        // nedit takes names in the directory that its dialog shows.
        String output = outputOf("OpenFile", Path.of("").toAbsolutePath().relativize(file).toString());
        assertTrue(output.startsWith("Open File: [") && output.contains(", letter.txt - "), output);
    }

    @Test
    void theLauncherStartsAnUnmodifiedProgram() throws Exception {
        Process nedit = commandsOf("doc/inside-the-application.md", "gxrun ").start();
        try {
            Within.await(() -> Stream.of(new NativeTopLevelWindow(0).getOwnedWindows())
                    .anyMatch(window -> Windows.caption(window).startsWith("letter.txt")));
        } finally {
            nedit.destroyForcibly().waitFor();
        }
    }
}
