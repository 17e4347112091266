package com.talvern.test.gx.demo;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.FileDialogView;
import com.talvern.test.gx.engine.MenuView;
import com.talvern.test.gx.engine.UserInput;
import com.talvern.test.gx.engine.Windows;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.concurrent.Callable;

/**
 * Looks into applications that nobody here wrote: programs of Motif, GTK 2 and GTK 3 are started under gxrun, and the
 * agent in them is asked, on their own GUI threads, for what no other process can see: menus with their items, dialogs.
 */
final class Inside {
    private static final String SENTENCE = "Saved through the file dialog of the application under test.";
    private static final int FRAMES_MS = 1500;
    private static final UserInput USER = new UserInput(() -> false);
    private static final String PDF = """
        %PDF-1.4
        1 0 obj << /Type /Catalog /Pages 2 0 R >> endobj
        2 0 obj << /Type /Pages /Kids [3 0 R] /Count 1 >> endobj
        3 0 obj << /Type /Page /Parent 2 0 R /MediaBox [0 0 400 200] /Contents 4 0 R
          /Resources << /Font << /F << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >> >> >> endobj
        4 0 obj << /Length 53 >> stream
        BT /F 24 Tf 40 90 Td (Opened by choosing from a menu) Tj ET
        endstream endobj
        trailer << /Root 1 0 R >>
        """;

    private final Transcript transcript;
    private final Path files;
    private final Path pictures;
    private Application application;

    Inside(Transcript transcript, Path files, Path pictures) {
        this.transcript = transcript;
        this.files = files;
        this.pictures = pictures;
    }

    void play() {
        inside("nedit, a Motif editor", List.of("nedit"), this::saveInNedit);
        inside("xpdf, a Motif viewer behind a shell script", List.of("xpdf"), this::openInXpdf);
        inside("mousepad, a GTK 3 editor", List.of("mousepad", "--disable-server"), this::openMousepadWindow);
        inside("gtk-demo, a GTK 2 program", List.of("gtk-demo"), this::askGtkDemo);
    }

    private void inside(String what, List<String> command, Runnable play) {
        transcript.heading("Inside " + what);
        transcript.step("start it under gxrun and wait for its agent", () -> {
            application = Application.start(new ProcessBuilder(command).directory(files.toFile())
                .redirectErrorStream(true).redirectOutput(files.resolveSibling("inside.log").toFile()),
                Duration.ofMinutes(1));
            application.setTimeout(Duration.ofMinutes(1));
            return "process " + application.pid();
        });
        if (application != null) {
            play.run();
            transcript.step("end it", () -> {
                Spotlight.off();
                application.close();
                return "";
            });
            application = null;
        }
    }

    private void saveInNedit() {
        final MenuView bar = walkMenuBar();
        transcript.step("type a sentence", () -> {
            USER.keys(SENTENCE);
            return "";
        });
        showMenu("nedit", () -> open(bar, "File"));
        compareWithScreen();
        final FileDialogView[] dialog = new FileDialogView[1];
        transcript.step("click on Save As... and find the file dialog", () -> {
            click(application.openMenus().get(0).item("Save As...").bounds(), "Save As...");
            dialog[0] = application.awaitFileDialog();
            return dialog[0].caption() + ", OK " + Desktop.describe(dialog[0].ok());
        });
        final Path file = files.resolve("inside.txt");
        transcript.step("put the name into its text field, on the application's own GUI thread", () -> {
            application.setFile(dialog[0], file.getFileName().toString()); // in the directory that it shows
            Spotlight.say(dialog[0].file(), "setFile");
            Spotlight.frames(List.of(dialog[0].file(), dialog[0].ok(), dialog[0].cancel()), FRAMES_MS);
            return Desktop.picture(pictures.resolve("7-nedit-dialog.png"));
        });
        transcript.step("click on OK; the file is on the disk", () -> {
            confirm(dialog[0]);
            return Expect.fileWith(file, SENTENCE).strip();
        });
    }

    /** Opens each menu by a click, reads it and closes it again. */
    private MenuView walkMenuBar() {
        final MenuView[] bar = new MenuView[1];
        transcript.step("find the menu bar", () -> {
            bar[0] = Expect.found("a menu bar", () -> application.menuBar().orElse(null));
            return bar[0].texts().toString();
        });
        final List<String> counts = new ArrayList<>();
        transcript.step("open every menu by a click and read its items", () -> {
            for (MenuView.Item item : bar[0].items()) {
                counts.add(item.text() + " " + shownItems(application.open(bar[0], item.text())).size());
                USER.keys("{ESC}");
                Expect.soon(item.text() + " is closed", () -> application.openMenus().isEmpty());
            }
            return String.join(", ", counts);
        });
        return bar[0];
    }

    /** Opens a menu and takes a picture with frames around its items. */
    private void showMenu(String program, Callable<MenuView> open) {
        transcript.step("frame the items of a menu where the agent says that they are", () -> {
            final MenuView menu = open.call();
            final List<MenuView.Item> shown = shownItems(menu).stream().filter(item -> item.text() != null).toList();
            Spotlight.say(menu.bounds(), shown.size() + " items");
            Spotlight.frames(shown.stream().map(MenuView.Item::bounds).toList(), FRAMES_MS);
            final String picture = Desktop.picture(pictures.resolve("6-menu-of-" + program + ".png"));
            return shown.stream().map(item -> item.text().strip()).toList() + ", " + picture;
        });
    }

    /** The other way round: this process looks at the screen where the items should be. */
    private void compareWithScreen() {
        transcript.step("compare the rectangles of the items with the windows on the screen", () -> {
            final MenuView menu = application.openMenus().get(0);
            for (MenuView.Item item : shownItems(menu)) {
                final Rectangle box = item.bounds();
                final NativeWindow shown = Desktop.windowAt((int) box.getCenterX(), (int) box.getCenterY());
                final boolean ownWindow = shown.getHandle() != menu.window();
                if (!Desktop.isWithin(shown, new NativeWindow(menu.window()))
                        || ownWindow && !shown.nativeGetRectangle().equals(box)) {
                    throw new AssertionError(item + " shows " + Desktop.describe(shown));
                }
            }
            return shownItems(menu).size() + " items";
        });
    }

    private static List<MenuView.Item> shownItems(MenuView menu) {
        return menu.items().stream().filter(item -> item.bounds() != null).toList();
    }

    private void openInXpdf() {
        final Path pdf = files.resolve("sample.pdf");
        showMenu("xpdf", () -> {
            Files.writeString(pdf, PDF, StandardCharsets.US_ASCII);
            final Rectangle box = mainWindow().nativeGetRectangle();
            USER.play(() -> NativeKeyMouseEvent.emitLLMouseEvent(new Point((int) box.getCenterX(), box.y + 100), 0, 0,
                NativeKeyMouseEvent.BUTTON_RIGHT, 0, NativeKeyMouseEvent.CLICK));
            return Expect.found("a context menu", () -> application.contextMenu().orElse(null));
        });
        compareWithScreen();
        transcript.step("click on Open..., put a name into the dialog, click on OK; the caption tells the file", () -> {
            click(application.contextMenu().orElseThrow().item("Open...").bounds(), "Open...");
            final FileDialogView dialog = application.awaitFileDialog();
            application.setFile(dialog, pdf.toString());
            confirm(dialog);
            return awaitCaption("sample.pdf");
        });
    }

    private void openMousepadWindow() {
        final MenuView bar = walkMenuBar();
        showMenu("mousepad", () -> open(bar, "File"));
        compareWithScreen();
        transcript.step("click on New Window; it comes up", () -> {
            final Set<NativeWindow> before = new HashSet<>(Desktop.topLevelWindows());
            click(application.openMenus().get(0).item("New Window").bounds(), "New Window");
            final NativeTopLevelWindow window = Expect.found("a new window", () -> Desktop.topLevelWindows().stream()
                .filter(each -> !before.contains(each)).findFirst().orElse(null));
            return Desktop.describe(window);
        });
    }

    private void askGtkDemo() {
        transcript.step("start its application main window with a double-click on the first entry", () -> {
            final Rectangle box = mainWindow().nativeGetRectangle();
            final Point entry = new Point(box.x + 80, box.y + 42);
            Spotlight.say(new Rectangle(entry.x, entry.y - 10, 100, 20), "double-click");
            USER.play(() -> NativeKeyMouseEvent.emitHLMouseEvent(entry, 0, 0, null, 0, 0, NativeKeyMouseEvent.BUTTON_LEFT, 0,
                NativeKeyMouseEvent.CLICK, 2));
            Expect.soon("it has a menu bar", () -> application.menuBar().isPresent());
            return "";
        });
        final MenuView bar = walkMenuBar();
        showMenu("gtk-demo", () -> open(application.open(bar, "Preferences"), "Color"));
        transcript.step("choose Help, About; the dialog comes up", () -> {
            USER.keys("{ESC}{ESC}");
            open(bar, "Help");
            click(application.openMenus().get(0).item("About").bounds(), "About");
            return awaitCaption("About");
        });
    }

    private MenuView open(MenuView menu, String item) {
        Spotlight.flash(menu.item(item).bounds(), "open " + item);
        return application.open(menu, item);
    }

    private void click(Rectangle box, String what) {
        Spotlight.flash(box, "click on " + what);
        application.click(box);
    }

    private void confirm(FileDialogView dialog) {
        Spotlight.flash(dialog.ok(), "click on OK");
        application.confirm(dialog);
    }

    /** The program's window, once it has the focus. */
    private static NativeTopLevelWindow mainWindow() throws Exception {
        return Expect.found("its window", () -> Desktop.topLevelWindows().stream()
            .filter(window -> Desktop.isWithin(NativeWindow.nativeGetFocus(), window)).findFirst().orElse(null));
    }

    private static String awaitCaption(String part) throws Exception {
        return Expect.found("a window \"" + part + '"', () -> Desktop.topLevelWindows().stream()
            .map(Windows::caption).filter(caption -> caption.contains(part)).findFirst().orElse(null));
    }
}
