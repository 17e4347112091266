import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.FileDialogView;
import com.talvern.test.gx.engine.ListView;
import com.talvern.test.gx.engine.MenuView;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.PrintStream;
import java.lang.ProcessBuilder.Redirect;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.NoSuchElementException;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** The engine's view of applications of each toolkit: what it is told must be what clicks meet on the screen. */
@Timeout(120)
class EngineTest {
    private static final List<String> FILE = Arrays.asList("New", null, "Recent", "Gr\u00fc\u00dfe");

    private Application application;
    private PrintStream input;
    private ProgramLines output;
    private long window;

    private void start(String program) throws Exception {
        application = Application.start(new ProcessBuilder(System.getProperty("gx.apps") + "/" + program)
            .redirectError(Redirect.INHERIT), Duration.ofSeconds(60));
        input = new PrintStream(application.process().getOutputStream(), true);
        output = new ProgramLines(application);
        String[] ready = output.readLine().split(" ");
        assertEquals("ready", ready[0]);
        window = Long.parseLong(ready[1]);
    }

    @AfterEach
    void endApplication() {
        if (application != null) {
            application.close();
            assertFalse(application.isAlive());
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-asked", "gtk2-asked", "gtk3-asked"})
    void aClickOnAnItemMeetsThatItem(String program) throws Exception {
        start(program);
        MenuView bar = application.menuBar().orElseThrow();
        assertTrue(bar.texts().containsAll(List.of("File", "Help")));
        assertEquals(0, bar.items().get(0).popup());
        assertTrue(application.openMenus().isEmpty());

        MenuView file = application.open(bar, "File");
        assertEquals(FILE, file.texts().subList(0, FILE.size()));
        assertEquals(file, application.openMenus().get(0));
        MenuView recent = application.open(file, "Recent");
        assertEquals(recent.window(), application.menu(file.window()).orElseThrow().item("Recent").popup());
        application.click(recent.item("two").bounds());
        assertEquals("chosen two", output.readLine());

        for (String item : List.of("New", "Gr\u00fc\u00dfe")) {
            application.choose("File", item);
            assertEquals("chosen " + item, output.readLine());
        }
        assertThrows(NoSuchElementException.class, () -> application.choose("Nothing"));
        assertTrue(application.menu(1).isEmpty());
        assertTrue(application.contextMenu().isEmpty());
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-asked", "gtk2-asked", "gtk3-asked"})
    void anItemThatCannotBeChosenIsSaidAtOnceAndLeavesNoMenuOpen(String program) throws Exception {
        start(program);
        MenuView.Item secret = application.menuBar().orElseThrow().item("Secret");
        assertNull(secret.bounds());
        assertFalse(secret.shown());
        application.setTimeout(Duration.ofSeconds(60)); // nothing here waits for a time to be over
        endsWithin(50_000, () -> {
            assertThrows(NoSuchElementException.class, () -> application.choose("Secret", "New"));
            assertThrows(NoSuchElementException.class, () -> application.choose("File", "Hidden"));
            assertTrue(application.openMenus().isEmpty());
            assertThrows(ApplicationException.Disabled.class, () -> application.choose("File", "Grey"));
            assertThrows(NoSuchElementException.class, () -> application.choose("File", "Recent", "three"));
            assertTrue(application.openMenus().isEmpty());
            application.choose("File", "New");
        });
        assertEquals("chosen New", output.readLine());
        MenuView bar = application.menuBar().orElseThrow();
        MenuView file = application.open(bar, "File");
        assertNull(file.item("Hidden").bounds());
        application.closeMenus();
        assertNull(application.menu(file.window()).orElse(file).item("New").bounds());
        application.choose("File", "Recent", "two");
        assertEquals("chosen two", output.readLine());
    }

    @ParameterizedTest
    @ValueSource(strings = {"gtk2-asked", "gtk3-asked"})
    void aMenuLongerThanTheScreenIsScrolledToTheItem(String program) throws Exception {
        start(program);
        for (int item : new int[] {99, 0, 60, 23, 77, 41}) {
            application.choose("Many", "number " + item);
            assertEquals("chosen number " + item, output.readLine());
        }
    }

    /** Motif takes a click within the time of a double click for the end of the one that has posted the menu. */
    @Test
    void aClickOnAMenuThatHasJustBeenPostedIsTaken() throws Exception {
        start("motif-asked");
        Rectangle bar = application.menuBar().orElseThrow().bounds();
        Point option = new Point(bar.x + 40, bar.y + bar.height + 16);
        Point inside = new Point(bar.x + 30, bar.y + bar.height + 70);
        for (int round = 0; round < 5; ++round) {
            for (String item : List.of("small", "large", "Cut", "Paste")) {
                boolean isOption = item.equals(item.toLowerCase());
                NativeKeyMouseEvent.emitLLMouseEvent(isOption ? option : inside, 0, 0,
                    isOption ? NativeKeyMouseEvent.BUTTON_LEFT : NativeKeyMouseEvent.BUTTON_RIGHT, 0,
                    NativeKeyMouseEvent.CLICK);
                List<MenuView> open = List.of();
                while (open.isEmpty()) {
                    open = application.openMenus();
                }
                application.click(open.get(0).item(item).bounds());
                assertEquals("chosen " + item, output.readLine());
            }
        }
    }

    @Test
    void motifListsAndFileDialogsAreThere() throws Exception {
        start("motif-asked");
        Rectangle inside = new NativeWindow(window).nativeGetRectangle();
        ListView list = application.listAt(new Point((int) inside.getCenterX(), (int) inside.getCenterY())).orElseThrow();
        assertEquals(30, list.items().size());
        ListView.Item third = list.item("item 3");
        assertEquals("item 5" + "i".repeat(150), list.items().get(5).text());
        assertNull(list.item("item 20").bounds());
        application.click(third.bounds());
        assertEquals(List.of(3), Within.last(() -> selectedIn(list.window()), found -> !found.isEmpty()),
            "a question may overtake a click, and no more");
        assertEquals(list.window(), application.listIn(list.bounds()).orElseThrow().window());
        assertTrue(application.listAt(new Point(0, 0)).isEmpty());
        assertTrue(application.listIn(new Rectangle(1, 2, 3, 4)).isEmpty());

        assertTrue(application.fileDialogs().isEmpty());
        application.choose("File", "Open...");
        FileDialogView dialog = application.awaitFileDialog();
        String name = "/tmp/Gr\u00fc\u00dfe " + "x".repeat(300);
        application.setFile(dialog, name);
        application.confirm(dialog);
        assertEquals("file " + name, output.readLine());
        assertTrue(application.fileDialogs().isEmpty());
        application.setFile(dialog, "nobody reads this"); // the dialog does not show any more
    }

    private List<Integer> selectedIn(long list) {
        return application.list(list).orElseThrow().items().stream().filter(ListView.Item::selected)
            .map(ListView.Item::index).toList();
    }

    @Test
    void aBusyApplicationAnswersNotInTimeAndLaterAgain() throws Exception {
        start("gtk3-asked");
        application.menuBar();
        application.setTimeout(Duration.ofMillis(300));
        input.println("hang 3000");
        assertEquals("hangs ", output.readLine());
        endsWithin(10_000, () -> assertThrows(ApplicationException.NotInTime.class, () -> application.menuBar()));
        application.setTimeout(Duration.ofSeconds(20));
        assertTrue(application.menuBar().isPresent());
    }

    @ParameterizedTest
    @ValueSource(strings = {"hang 500\nexit 7", "exit 7", "crash"})
    void anApplicationThatEndsSaysSo(String order) throws Exception {
        start("motif-asked");
        application.menuBar();
        input.println(order.lines().findFirst().orElseThrow());
        CompletableFuture<?> second = CompletableFuture.runAsync(() -> order.lines().skip(1).forEach(input::println));
        endsWithin(10_000, () -> assertThrows(ApplicationException.Ended.class, () -> {
            for (;;) {
                application.menuBar();
            }
        }));
        second.get();
        assertEquals(order.equals("crash") ? 128 + 9 : 7, application.process().waitFor());
        assertThrows(ApplicationException.Ended.class, () -> application.openMenus());
        assertThrows(ApplicationException.Ended.class, () -> Application.attach(application.pid()));
    }

    @Test
    void programsWithoutAnAgentAreRefused() throws Exception {
        ProcessBuilder sleeper = new ProcessBuilder("sleep", "60");
        endsWithin(10_000, () -> assertThrows(ApplicationException.NoAgent.class,
            () -> Application.start(sleeper, Duration.ofMillis(500))));
        assertThrows(ApplicationException.Ended.class, () -> Application.start("true"));
        assertThrows(ApplicationException.Ended.class, () -> Application.start("gx-no-such-program"));
        assertThrows(ApplicationException.NoAgent.class, () -> Application.attach(ProcessHandle.current().pid()));
    }

    @Test
    void manyThreadsAskAtOnceAndNothingIsLeft() throws Exception {
        start("motif-asked");
        Application again = Application.attach(application.pid());
        MenuView bar = application.menuBar().orElseThrow();
        int blocks = new SpyMemory().getStats().numberUsedBlocks;
        AtomicInteger right = new AtomicInteger();
        List<CompletableFuture<Void>> threads = new ArrayList<>();
        for (int thread = 0; thread < 8; ++thread) {
            Application asked = thread % 2 == 0 ? application : again;
            threads.add(CompletableFuture.runAsync(() -> {
                for (int i = 0; i < 50; ++i) {
                    right.addAndGet(bar.equals(asked.menuBar().orElse(null)) ? 1 : 0);
                }
            }));
        }
        CompletableFuture.allOf(threads.toArray(CompletableFuture[]::new)).get();
        assertEquals(400, right.get());
        assertEquals(blocks, new SpyMemory().getStats().numberUsedBlocks);
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-asked", "gtk2-asked", "gtk3-asked"})
    void anApplicationIsAskedOnAfterItForkedAndAfterItStartedAnew(String program) throws Exception {
        start(program);
        for (int child = 0; child < 3; ++child) {
            input.println("fork"); // a child that exits takes nothing of its parent's connections with it
            assertEquals("forked ", output.readLine());
            application.choose("File", "New");
            assertEquals("chosen New", output.readLine());
        }
        if (program.startsWith("motif")) { // GTK has some of its own
            assertEquals(List.of(), inheritable(application.pid()));
        }
        input.println("again");
        assertTrue(output.readLine().startsWith("ready "));
        application.setTimeout(Duration.ofSeconds(60));
        assertEquals("File", application.menuBar().orElseThrow().texts().get(0));
    }

    /** The descriptors that the programs get which a process starts, beside the standard ones. */
    private static List<String> inheritable(long pid) throws Exception {
        List<String> found = new ArrayList<>();
        try (DirectoryStream<Path> all = Files.newDirectoryStream(Path.of("/proc", Long.toString(pid), "fdinfo"))) {
            for (Path descriptor : all) {
                String flags = Files.readAllLines(descriptor).get(1).split("\\s+")[1];
                if (Integer.parseInt(descriptor.getFileName().toString()) > 2
                        && (Integer.parseInt(flags, 8) & 02000000) == 0) {
                    Path link = descriptor.resolveSibling("../fd/" + descriptor.getFileName());
                    found.add(descriptor + " " + (Files.isSymbolicLink(link) ? Files.readSymbolicLink(link) : ""));
                }
            }
        }
        return found;
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-asked", "gtk2-asked", "gtk3-asked"})
    void anApplicationThatIsAskedWithoutPauseSeesToItsOwnEvents(String program) throws Exception {
        start(program);
        AtomicInteger asking = new AtomicInteger(1);
        List<CompletableFuture<Void>> threads = new ArrayList<>();
        for (int thread = 0; thread < 4; ++thread) {
            threads.add(CompletableFuture.runAsync(() -> {
                while (asking.get() == 1) {
                    application.openMenus();
                }
            }));
        }
        try {
            for (int click = 0; click < 5; ++click) {
                application.choose("File", "New");
                assertEquals("chosen New", output.readLine());
            }
        } finally {
            asking.set(0);
            CompletableFuture.allOf(threads.toArray(CompletableFuture[]::new)).get();
        }
    }

    /** The library's own end would take what the services need, and they are waited for. */
    @Test
    void anApplicationExitsAtOnce() throws Exception {
        long fastest = Long.MAX_VALUE;
        for (int exit = 0; exit < 3; ++exit) {
            start("motif-asked");
            application.menuBar();
            long start = System.nanoTime();
            input.println("exit 7");
            assertEquals(7, application.process().waitFor());
            fastest = Math.min(fastest, System.nanoTime() - start);
        }
        assertTrue(fastest < 200_000_000, "took " + fastest / 1_000_000 + " ms");
    }

    @Test
    void aStoppedApplicationTakesNoLongerThanTheLimit() throws Exception {
        start("gtk3-asked");
        Process stop = new ProcessBuilder("kill", "-STOP", Long.toString(application.pid())).start();
        assertEquals(0, stop.waitFor());
        application.setTimeout(Duration.ofSeconds(1));
        for (int line = 0; line < 3; ++line) {
            endsWithin(2000, () -> assertThrows(ApplicationException.NotInTime.class, () -> application.menuBar()));
        }
        new ProcessBuilder("kill", "-CONT", Long.toString(application.pid())).start().waitFor();
        application.setTimeout(Duration.ofSeconds(20));
        assertTrue(application.menuBar().isPresent());
    }

    private static void endsWithin(long milliseconds, Runnable action) {
        long start = System.nanoTime();
        action.run();
        assertTrue(System.nanoTime() - start < milliseconds * 1_000_000, "took too long");
    }
}
