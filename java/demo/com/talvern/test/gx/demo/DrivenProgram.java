package com.talvern.test.gx.demo;

import com.talvern.test.gx.engine.UserInput;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Dimension;
import java.awt.Point;
import java.awt.Rectangle;
import java.nio.file.Path;
import java.util.HashSet;
import java.util.List;
import java.util.Set;

/**
 * A program under test: its process, its main window, and what a user does with them. The text area flashes in a frame
 * before the mouse is used in it.
 */
final class DrivenProgram {
    private static final int FRAME_GAP = 3;
    /** Nobody stops the demo by a hot key: it shows hot keys itself. */
    private static final UserInput USER = new UserInput(() -> false);

    private final Program program;
    private final NativeTopLevelWindow window;
    private String said = "";

    private DrivenProgram(Program program, NativeTopLevelWindow window) {
        this.program = program;
        this.window = window;
    }

    /** Starts a program in a directory and waits for its window. It ends with the demo at the latest. */
    static DrivenProgram start(Path directory, String... command) throws Exception {
        final Set<NativeWindow> before = openWindows();
        final Program program = Program.start(directory, directory.resolveSibling(command[0] + ".log"), command);
        return new DrivenProgram(program, newWindow(before, "window of " + command[0]));
    }

    String name() {
        return program.name();
    }

    NativeTopLevelWindow window() {
        return window;
    }

    Dimension size() {
        return window.nativeGetRectangle().getSize();
    }

    /** A step of the transcript that a text below the window tells of, while mouse and keys are used. */
    void step(Transcript transcript, String what, Transcript.Step step) {
        transcript.step(what, () -> {
            said = what;
            say();
            try {
                return step.run();
            } finally {
                Spotlight.off();
            }
        });
    }

    /**
     * The innermost window in the middle of the program's window: where it shows its text. Nothing must cover it there,
     * no text about another program either.
     */
    NativeWindow textArea() {
        final Rectangle box = window.nativeGetRectangle();
        return Desktop.windowAt(box.x + box.width / 2, box.y + box.height / 2);
    }

    /** Plain characters, each typed as it stands; a line end is a stroke of Return. */
    void type(String text) {
        final String[] lines = text.split("\n", -1);
        for (int i = 0; i < lines.length; ++i) {
            if (i > 0) {
                keys("~");
            }
            if (!lines[i].isEmpty()) {
                characters(window, lines[i]);
            }
        }
    }

    /** A key string: {@code ^s} is Control and s, {@code ~} Return, <code>{END}</code> the key of that name. */
    void keys(String keyString) {
        keysTo(window, keyString);
    }

    /** Clicks a place of the text area, given in pixels from its corner. */
    void click(int x, int y, int times) {
        click(x, y, times, NativeKeyMouseEvent.BUTTON_LEFT);
    }

    void middleClick(int x, int y) {
        click(x, y, 1, NativeKeyMouseEvent.BUTTON_MIDDLE);
    }

    private void click(int x, int y, int times, int button) {
        final long area = flash().getHandle();
        USER.play(() -> NativeKeyMouseEvent.emitHLMouseEvent(new Point(x, y), area, 0, null, 0, 0, button, 0,
            NativeKeyMouseEvent.CLICK, times));
    }

    /** Flashes a frame around the text area before the mouse is used in it. @return the text area */
    private NativeWindow flash() {
        Spotlight.off();
        final NativeWindow area = textArea();
        say();
        Spotlight.flash(frameAround(area));
        return area;
    }

    /** Frames the text area for so many milliseconds, so that a picture can be taken meanwhile. */
    void frame(int milliseconds) {
        Spotlight.off();
        Spotlight.frames(List.of(frameAround(textArea())), milliseconds);
        say();
    }

    private void say() {
        Spotlight.sayBelow(window.nativeGetRectangle(), said);
    }

    /** Around the area rather than on it: what is clicked at its edge is not the frame. */
    private static Rectangle frameAround(NativeWindow area) {
        final Rectangle box = area.nativeGetRectangle();
        box.grow(FRAME_GAP, FRAME_GAP);
        return box;
    }

    /** Moves the pointer to a place of the text area and stays there for so many milliseconds. */
    void hover(int x, int y, int milliseconds) {
        NativeKeyMouseEvent.emitHLMouseEvent(new Point(x, y), textArea().getHandle(), 0, null, 0, 0, 0, milliseconds,
            NativeKeyMouseEvent.HOVER, 1);
    }

    /** Drags with the left button from one place of the text area to another. */
    void drag(Point from, Point to) {
        final long area = flash().getHandle();
        USER.play(() -> NativeKeyMouseEvent.emitHLMouseEvent(from, area, 0, to, area, 0,
            NativeKeyMouseEvent.BUTTON_LEFT, 0, NativeKeyMouseEvent.DRAG, 1));
    }

    /** Turns the wheel over the text area, down when the number of notches is negative. */
    void wheel(int x, int y, int notches) {
        final Point place = new Point(x, y);
        final long area = flash().getHandle();
        NativeKeyMouseEvent.emitLLMouseEvent(place, area, 0, 0, 0, NativeKeyMouseEvent.MOVE);
        NativeKeyMouseEvent.emitLLMouseEvent(place, area, 0, 0, notches, NativeKeyMouseEvent.WHEEL);
    }

    /** Moves the frame that the window manager put around the window, and waits until it is there. */
    void moveFrame(int x, int y) throws Exception {
        final Rectangle box = window.nativeGetRectangle();
        window.moveWindow(x, y, box.width, box.height);
        Expect.equal("corner of the frame", new Point(x, y),
            () -> Desktop.frameOf(window).nativeGetRectangle().getLocation());
    }

    /** Opens the dialog that a key string brings, answers it, and waits until it has gone. */
    void answerDialog(String keyString, String answer) throws Exception {
        final Set<NativeWindow> before = openWindows();
        keys(keyString);
        final NativeTopLevelWindow dialog = newWindow(before, "dialog of " + name());
        Expect.soon("the dialog has the focus", () -> Desktop.isWithin(NativeWindow.nativeGetFocus(), dialog));
        characters(dialog, answer);
        confirm(dialog);
    }

    /**
     * Asks the program to close its window, as the button in the title bar does, and waits until it has ended.
     *
     * @return its exit status, which is 0
     */
    int close() throws Exception {
        window.close();
        return program.awaitEnd();
    }

    /** Strokes Return until the dialog has gone: GTK ignores it while the dialog still reads the folder. */
    private static void confirm(NativeTopLevelWindow dialog) throws Exception {
        for (int stroke = 0; stroke < 10 && Desktop.isListed(dialog); ++stroke) {
            keysTo(dialog, "~");
            Expect.within(1000, () -> !Desktop.isListed(dialog));
        }
        Expect.soon("the dialog has gone", () -> !Desktop.isListed(dialog));
    }

    private static void characters(NativeTopLevelWindow window, String text) {
        NativeKeyMouseEvent.emitHLKeyEvent(window.getHandle(), window.getHandle(), NativeKeyMouseEvent.INPUTCHARS,
            text);
    }

    private static void keysTo(NativeTopLevelWindow window, String keyString) {
        NativeKeyMouseEvent.emitHLKeyEvent(window.getHandle(), window.getHandle(), NativeKeyMouseEvent.KEYSTRING,
            keyString);
    }

    private static Set<NativeWindow> openWindows() {
        return new HashSet<>(Desktop.topLevelWindows());
    }

    private static NativeTopLevelWindow newWindow(Set<NativeWindow> before, String what) throws Exception {
        return Expect.found(what, () -> Desktop.topLevelWindows().stream()
            .filter(window -> !before.contains(window)).findFirst().orElse(null));
    }
}
