package com.talvern.test.gx.demo;

import com.talvern.test.gx.engine.Windows;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Dimension;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.time.Instant;
import java.util.List;

/**
 * Drives a Motif editor, a GTK 3 editor and a terminal through the native layer, as a test engine does, and compares
 * what they wrote to disk with what was typed; lets a user stop a playback; then shares a map with two other processes,
 * talks to one, and looks into applications. Arguments: a directory for the programs' files, one for the screenshots,
 * the name of the keyboard map, which is only shown, and the paths of the C++ program that shares the map and of the
 * one that is the user.
 */
public final class Demo {
    /** No toolkit takes two clicks for a double-click that are so many milliseconds apart. */
    private static final int DOUBLE_CLICK_MS = 600;
    private static final String LETTER = """
        Capitals: The QUICK Brown FOX Jumps Over 13 Lazy DOGS
        Symbols: ~`!@#$%^&*()_-+={[}]|\\:;"'<,>.?/
        Latin-1: ¡Grüße! Señor Ångström, ½ µm ±3° ©£¥§ ça ÀÿÞßø
        No key has these: 12,50 € for you
        Polish: Zażółć gęślą jaźń
        Greek: Καλημέρα κόσμε
        Chinese: 你好世界
        """;
    private static final int FRAMES_MS = 1200;
    private static final int TERMINAL_ROWS = 18;
    private static final int LINES_A_NOTCH = 5;

    private final Transcript transcript;
    private final Path files;
    private final Path pictures;
    private final String userProgram;
    private DrivenProgram nedit;
    private DrivenProgram mousepad;
    private DrivenProgram xterm;

    private Demo(Transcript transcript, Path files, Path pictures, String userProgram) {
        this.transcript = transcript;
        this.files = files;
        this.pictures = pictures;
        this.userProgram = userProgram;
    }

    public static void main(String[] arguments) throws Exception {
        final Path pictures = Path.of(arguments[1]);
        try (PrintStream file = new PrintStream(pictures.resolve("transcript.txt").toFile(), StandardCharsets.UTF_8)) {
            final Transcript transcript = new Transcript(System.out, file);
            final Rectangle screen = NativeWindow.nativeGetRootNativeWindow().nativeGetRectangle();
            transcript.heading(String.format("Display %s, %d x %d pixels, keyboard map %s", System.getenv("DISPLAY"),
                screen.width, screen.height, arguments[2].isEmpty() ? "as it is" : arguments[2]));
            new Demo(transcript, Path.of(arguments[0]), pictures, arguments[4]).play();
            new Sharing(transcript, arguments[3]).play();
            new Messages(transcript).play();
            new Inside(transcript, Path.of(arguments[0]), pictures).play();
            System.exit(transcript.summary() ? 0 : 1);
        }
    }

    private void play() {
        startPrograms();
        if (nedit == null || mousepad == null || xterm == null) {
            return;
        }
        findWindows();
        arrangeWindows();
        writeLetter(nedit, "nedit.txt");
        transcript.note("nedit knows no UTF-8: it keeps the bytes as they are and shows each as a Latin-1 character");
        writeLetter(mousepad, "mousepad.txt");
        writeLetterInTerminal();
        pictureOfLetters();
        useMouse(nedit, "nedit.txt");
        useMouse(mousepad, "mousepad.txt");
        useMouseInTerminal();
        picture("4-mouse");
        new Playback(transcript, mousepad, files.resolve("mousepad.txt"), userProgram).play();
        closePrograms();
        picture("5-after");
    }

    private void startPrograms() {
        transcript.heading("Start programs with exec");
        transcript.step("nedit, a Motif editor", () -> {
            nedit = DrivenProgram.start(files, "nedit");
            return Windows.caption(nedit.window());
        });
        transcript.step("mousepad, a GTK 3 editor", () -> {
            mousepad = DrivenProgram.start(files, "mousepad", "--disable-server");
            return Windows.caption(mousepad.window());
        });
        transcript.step("xterm with a shell", () -> {
            xterm = DrivenProgram.start(files, "xterm", "-u8", "-fa", "DejaVu Sans Mono", "-fs", "10",
                "-geometry", "76x" + TERMINAL_ROWS, "-T", "Terminal", "-e", "env", "PS1=$ ", "sh");
            return Windows.caption(xterm.window());
        });
        picture("1-before");
    }

    private void findWindows() {
        transcript.heading("Find windows");
        transcript.step("list the top-level windows with class, caption and rectangle", () -> {
            for (DrivenProgram program : programs()) {
                Expect.soon(program.name() + " is listed", () -> Desktop.isListed(program.window()));
            }
            return Desktop.topLevelWindows().size() + " windows";
        });
        Desktop.topLevelWindows().forEach(window -> transcript.note(Desktop.describe(window)));
        transcript.step("find the window at a point of nedit, and its parents", () -> {
            nedit.window().nativeBringToTop();
            Expect.soon("it lies in nedit's window", () -> Desktop.isWithin(nedit.textArea(), nedit.window()));
            final Rectangle box = nedit.textArea().nativeGetRectangle();
            return "at " + (box.x + box.width / 2) + "," + (box.y + box.height / 2);
        });
        Desktop.withParents(nedit.textArea()).forEach(window -> transcript.note(Desktop.describe(window)));
        transcript.step("find the windows with exactly that rectangle", () -> {
            final NativeWindow area = nedit.textArea();
            final NativeWindow[] found = NativeWindow.nativeWindowsAtRectangle(area.nativeGetRectangle());
            if (!List.of(found).contains(area)) {
                throw new AssertionError("the text area is not among them");
            }
            return found.length + " found";
        });
    }

    private void arrangeWindows() {
        transcript.heading("Arrange windows");
        moveTo(nedit, 30, 30);
        moveTo(mousepad, 620, 60);
        moveTo(xterm, 100, 400);
        transcript.step("resize mousepad to 600 x 420", () -> {
            final Point corner = Desktop.frameOf(mousepad.window()).nativeGetRectangle().getLocation();
            mousepad.window().moveWindow(corner.x, corner.y, 600, 420);
            Expect.equal("size of the window", new Dimension(600, 420), () -> mousepad.size());
            return Desktop.describe(mousepad.window().nativeGetRectangle());
        });
        transcript.step("raise mousepad, then xterm, where they overlap", () -> {
            final Rectangle shared =
                mousepad.window().nativeGetRectangle().intersection(xterm.window().nativeGetRectangle());
            for (DrivenProgram program : List.of(mousepad, xterm, mousepad, xterm)) {
                program.window().nativeBringToTop();
                Expect.soon(program.name() + " is on top", () -> Desktop.isWithin(
                    Desktop.windowAt((int) shared.getCenterX(), (int) shared.getCenterY()), program.window()));
            }
            return Desktop.describe(shared);
        });
        final Rectangle before = nedit.window().nativeGetRectangle();
        transcript.step("iconify nedit", () -> {
            nedit.window().iconify();
            Expect.soon("it is iconified", () -> nedit.window().isIconified());
            Expect.soon("it is not listed", () -> !Desktop.isListed(nedit.window()));
            return Desktop.topLevelWindows().size() + " windows are left";
        });
        transcript.step("restore nedit", () -> {
            nedit.window().restore();
            Expect.soon("it is listed again", () -> Desktop.isListed(nedit.window()));
            Expect.equal("its place", before, () -> nedit.window().nativeGetRectangle());
            return Desktop.describe(before);
        });
    }

    private void moveTo(DrivenProgram program, int x, int y) {
        transcript.step("move " + program.name() + "'s frame to " + x + "," + y, () -> {
            final Dimension size = program.size();
            program.moveFrame(x, y);
            Expect.equal("size of the window", size, () -> program.size());
            return "the window in it is " + Desktop.describe(program.window().nativeGetRectangle());
        });
    }

    private void writeLetter(DrivenProgram editor, String file) {
        transcript.heading("Write a letter in " + editor.name());
        clickIntoText(editor);
        typeLetter(editor);
        editor.step(transcript, "save with ^s, answer the dialog with " + file, () -> {
            editor.answerDialog("^s", file);
            return "";
        });
        compareLetter(file);
    }

    private void writeLetterInTerminal() {
        transcript.heading("Write a letter in xterm");
        clickIntoText(xterm);
        xterm.step(transcript, "start cat > xterm.txt", () -> {
            xterm.type("cat > xterm.txt\n");
            Expect.soon("the shell opened the file", () -> files.resolve("xterm.txt").toFile().exists());
            return "";
        });
        typeLetter(xterm);
        xterm.step(transcript, "end it with ^d", () -> {
            xterm.keys("^d");
            return "";
        });
        compareLetter("xterm.txt");
    }

    private void clickIntoText(DrivenProgram program) {
        program.step(transcript, "click into the text area", () -> {
            program.window().nativeBringToTop();
            Expect.soon(program.name() + " is in front",
                () -> Desktop.isWithin(program.textArea(), program.window()));
            program.click(40, program.textArea().nativeGetRectangle().height / 2, 1);
            Expect.soon(program.name() + " has the focus",
                () -> Desktop.isWithin(NativeWindow.nativeGetFocus(), program.window()));
            return "it has the focus";
        });
    }

    private void typeLetter(DrivenProgram program) {
        program.step(transcript, "type " + LETTER.length() + " characters", () -> {
            final Instant start = Instant.now();
            program.type(LETTER);
            return String.format("%.0f a second", LETTER.length() / Transcript.secondsSince(start));
        });
    }

    private void compareLetter(String file) {
        transcript.step("compare " + file + " with the text, byte for byte", () -> {
            Expect.fileHolds(files.resolve(file), LETTER);
            return LETTER.getBytes(StandardCharsets.UTF_8).length + " bytes, all equal";
        });
    }

    /**
     * Wheel, double-click and drag, each proved by what the file holds afterwards. Once the text is longer than the
     * window and the caret at its end, the bottom row of the text area shows the last line.
     */
    private void useMouse(DrivenProgram editor, String name) {
        transcript.heading("Use the mouse in " + editor.name());
        final Path file = files.resolve(name);
        final StringBuilder text = new StringBuilder(LETTER);
        final Rectangle area = editor.textArea().nativeGetRectangle();
        makeLong(editor, file, text);
        turnWheel(editor, file, text, area.height / 2);
        pasteWord(editor, file, text, area.height - 10);
        pasteLine(editor, file, text, new Point(2, area.height - 10), new Point(area.width - 40, area.height - 10));
    }

    /** As the next ones, keeps in {@code text} what the file holds. */
    private void makeLong(DrivenProgram editor, Path file, StringBuilder text) {
        editor.step(transcript, "make the text longer than the window with ^a^c and ten times ^v", () -> {
            editor.window().nativeBringToTop();
            editor.keys("^a^c^{END}{RIGHT}^{v 10}^s");
            text.append(LETTER.repeat(10));
            Expect.fileHolds(file, text.toString());
            return text.toString().lines().count() + " lines";
        });
    }

    private void turnWheel(DrivenProgram editor, Path file, StringBuilder text, int middle) {
        editor.step(transcript, "turn the wheel: clicks at one height meet different lines", () -> {
            editor.keys("^{HOME}");
            mark(editor, file, "<top>");
            editor.click(12, middle, 1); // at the beginnings of lines, which are ASCII: nedit takes the others apart
            mark(editor, file, "<before>");
            editor.wheel(12, middle, -4);
            // Sooner, nedit would take the click for the second half of a double-click; GTK, too, at the same place.
            editor.hover(36, middle, DOUBLE_CLICK_MS);
            editor.click(36, middle, 1);
            final String saved = mark(editor, file, "<after>");
            Expect.same("text without the marks", text.toString(), saved.replaceAll("<top>|<before>|<after>", ""));
            final int before = lineOf("<before>", saved);
            final int after = lineOf("<after>", saved);
            if (after <= before) {
                throw new AssertionError("line " + before + ", then line " + after);
            }
            text.replace(0, text.length(), saved);
            return "line " + before + ", then line " + after;
        });
    }

    private void pasteWord(DrivenProgram editor, Path file, StringBuilder text, int bottom) {
        editor.step(transcript, "double-click a word, copy it with ^c, paste it below", () -> {
            editor.keys("^{END}");
            editor.type("Kangaroo jumps high");
            editor.click(12, bottom, 2);
            editor.keys("^c^{END}~^v~^s");
            text.append("Kangaroo jumps high\nKangaroo\n");
            Expect.fileHolds(file, text.toString());
            return "Kangaroo";
        });
    }

    private void pasteLine(DrivenProgram editor, Path file, StringBuilder text, Point begin, Point end) {
        editor.step(transcript, "drag over a line, cut it with ^x, paste it between brackets", () -> {
            editor.type("A drag selects this line");
            editor.drag(begin, end);
            editor.frame(FRAMES_MS);
            Desktop.picture(pictures.resolve("3-drag-in-" + editor.name() + ".png"));
            editor.keys("^x");
            editor.type("<");
            editor.keys("^v");
            editor.type(">\n");
            editor.keys("^s");
            text.append("<A drag selects this line>\n");
            Expect.fileHolds(file, text.toString());
            return "A drag selects this line";
        });
    }

    /** Types a mark where the caret is and saves. @return the file, which holds the mark then */
    private static String mark(DrivenProgram editor, Path file, String mark) throws Exception {
        editor.type(mark);
        editor.keys("^s");
        return Expect.fileWith(file, mark);
    }

    private void useMouseInTerminal() {
        transcript.heading("Use the mouse in xterm");
        final int above = 2 * LINES_A_NOTCH;
        final String topNumber = String.valueOf(200 - (TERMINAL_ROWS - 1) + 1 - above);
        xterm.step(transcript, "print the numbers to 200", () -> {
            xterm.window().nativeBringToTop();
            xterm.type("seq 200; printf '\\033]0;counted\\007'\n");
            Expect.equal("caption, set by the last output", "counted", () -> Windows.caption(xterm.window()));
            return "";
        });
        final String step = "wheel up " + above + " lines, double-click the top row, paste with the middle button";
        xterm.step(transcript, step, () -> {
            xterm.wheel(12, 10, 2);
            xterm.click(12, 10, 2);
            xterm.type("echo ");
            xterm.middleClick(100, 100);
            xterm.type(" > picked.txt\n");
            Expect.fileHolds(files.resolve("picked.txt"), topNumber + "\n");
            return topNumber;
        });
    }

    private void closePrograms() {
        transcript.heading("Close through the window manager");
        for (DrivenProgram program : programs()) {
            transcript.step("close " + program.name(), () -> {
                final int status = program.close();
                Expect.soon("its window has gone", () -> !Desktop.isListed(program.window()));
                return "its process has ended with exit status " + status;
            });
        }
    }

    /** All three programs, with a frame around the text area of the one in front. */
    private void pictureOfLetters() {
        xterm.step(transcript, "screenshot of the same " + LETTER.length() + " characters in three programs", () -> {
            xterm.frame(FRAMES_MS);
            return Desktop.picture(pictures.resolve("2-typed.png"));
        });
    }

    private void picture(String name) {
        transcript.step("screenshot", () -> Desktop.picture(pictures.resolve(name + ".png")));
    }

    private List<DrivenProgram> programs() {
        return List.of(nedit, mousepad, xterm);
    }

    private static int lineOf(String mark, String text) {
        return (int) text.substring(0, text.indexOf(mark)).chars().filter(c -> c == '\n').count() + 1;
    }
}
