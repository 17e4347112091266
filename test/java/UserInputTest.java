import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertInstanceOf;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.StringNotInCodePageException;
import com.talvern.test.gx.UnableToPerformActionException;
import com.talvern.test.gx.engine.InputStoppedException;
import com.talvern.test.gx.engine.UserInput;
import com.talvern.test.gx.sys.graphical.Keyboard;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeLowLevelPlayer;
import com.talvern.test.gx.sys.graphical.NativeMouse;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CompletionException;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.atomic.AtomicBoolean;
import java.util.function.Consumer;
import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** Texts that are played in pieces: they arrive as if played whole, and can be stopped. */
class UserInputTest {
    private static final int F11 = 0xFFC8;
    private static final int SHIFT = 0xFFE1;
    private static final int ALT = 0xFFE9;

    private static Process window;
    private static BufferedReader events;

    @BeforeAll
    static void open() throws IOException {
        window = new ProcessBuilder(System.getProperty("gx.apps") + "/keyevents")
                .redirectError(ProcessBuilder.Redirect.INHERIT).start();
        events = new BufferedReader(new InputStreamReader(window.getInputStream()));
        assertTrue(events.readLine().startsWith("ready"));
    }

    @AfterAll
    static void close() {
        window.destroyForcibly();
    }

    /** GTK 3 takes a motion and what follows it in its next frame; a click that comes before counts for another button. */
    @ParameterizedTest
    @ValueSource(strings = {"gtk2-asked", "gtk3-asked"})
    void clicksInQuickSuccessionMeetWhatTheyMean(String program) throws Exception {
        Process buttons = new ProcessBuilder(System.getProperty("gx.apps") + "/" + program).start();
        try (UserInput user = new UserInput(() -> false)) {
            BufferedReader said = buttons.inputReader();
            assertEquals("ready 0", said.readLine());
            Rectangle box = null;
            for (NativeWindow top : new NativeTopLevelWindow(0).getOwnedWindows()) {
                if (top.nativeGetWindowClassname().contains(program)) {
                    box = top.nativeGetRectangle();
                }
            }
            for (int click = 0; click < 60; ++click) {
                user.click(new Point(box.x + box.width * (click % 2 == 0 ? 1 : 3) / 4, box.y + box.height * 3 / 4));
                assertEquals(click % 2 == 0 ? "clicked left" : "clicked right", said.readLine());
            }
        } finally {
            buttons.destroyForcibly();
        }
    }

    private static void stroke(int keysym) {
        NativeKeyMouseEvent.emitLLKeyEvent(0, 0, NativeKeyMouseEvent.KEY_PRESS, keysym);
        NativeKeyMouseEvent.emitLLKeyEvent(0, 0, NativeKeyMouseEvent.KEY_RELEASE, keysym);
    }

    /**
     * What arrives of the text, up to a stroke of F10 that ends it. It is no hot key: a listener that gives the keyboard back
     * late takes the release of one as well.
     */
    private static List<String> arriving(Consumer<String> typing, String text) throws IOException {
        typing.accept(text);
        stroke(0xFFC7);
        List<String> all = new ArrayList<>();
        for (String event; !(event = events.readLine()).endsWith("-76");) {
            all.add(event);
        }
        all.remove(all.size() - 1);
        if (all.size() > 2 && all.get(all.size() - 1).equals("-66")) { // Caps Lock is on, and shall not be for the next one
            arriving(caps -> NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, caps), "{CAPSLOCK}");
        }
        return all;
    }

    /** Shift goes up between pieces, and where these end depends on how busy the machine is. */
    private static List<String> withShiftKept(List<String> events) {
        return List.of(String.join(" ", events).replace(" S-50 +50", "").split(" "));
    }

    @Test
    void inPiecesTheSameArrivesAsWhole() throws Exception {
        NativeLowLevelPlayer.nativeSetDelays(-1, -1, -1, 1, 3, -1);
        UserInput user = new UserInput(() -> false);
        for (String text : new String[] {
            "", "a", "^%{DEL}", "+(a{F5 2}c)",
            "The quick brown fox {(}jumps{)} over 12 lazy dogs{!}~",
            "{a 150}",
            "{Shift KeyDn}{LEFT 30}ab{Shift KeyUp}{RIGHT 3}",
            "^(ab{F3 25}%(c)d{x 25})e",
            "+(a{b 30}B{!}!)c%{TAB 20}",
            "%+({F4 KeyDn}{a 20}{F4 KeyUp})b",
            "{b KeyDn}{a 30}",
            "{b KeyDn}{Ctrl KeyDn}{A KeyDn}{c 30}{A KeyUp}",
            "{CAPSLOCK}{a 20}{CAPSLOCK}",
            "{CAPSLOCK}{a 20}", "{CAPSLOCK KeyDn}{a 20}", "b{CAPSLOCK 17}",
            "{RKeys}{Ctrl KeyDn}{Win}{a 15}{Ctrl KeyUp}{LKeys}{Ctrl 15}",
            "\u20ac{\u20ac 20}{\u20ac KeyDn}{a 20}",
            "{F1 20}{vk97 20}+{vk97 20}{vk0 30}",
            "{Num5 15}(x(y)z)()+++++++((+a))++~~~~~~~~~~~{}}{{}",
        }) {
            List<String> whole = arriving(
                    all -> NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, all), text);
            assertEquals(withShiftKept(whole), withShiftKept(arriving(user::keys, text)), text);
        }
        String plain = "Plain {text} with ^no keys, \u20ac and \ud83d\ude00 in it";
        assertEquals(arriving(all -> NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.INPUTCHARS, all), plain),
                arriving(user::type, plain));
        user.click(new Point(12, 34));
        assertEquals(new Point(12, 34), new NativeMouse().getCursorPos());
        NativeLowLevelPlayer.nativeSetDelays(-1, -1, -1, 1, 10, -1);
    }

    @Test
    void anErrorIsFoundBeforeAnythingIsPlayed() throws Exception {
        UserInput user = new UserInput(() -> false);
        record Row(String text, int code, int index) {}
        for (Row row : new Row[] {
            new Row("ab{", 612, 2), new Row("{a", 612, 0), new Row("{a 3", 612, 0), new Row("{a 3x}", 612, 0),
            new Row("{a KeyDnx}", 612, 0), new Row("{abcdefghijklmn", 612, 0), new Row("a{abc}", 613, 1),
            new Row("{}", 613, 0), new Row("{} 2}", 613, 0), new Row("{vk}", 613, 0), new Row("{vk6x}", 613, 0),
            new Row("{abcdefghijklmno}", 613, 0), new Row("{\u00e9\u00e8}", 613, 0), new Row("(ab", 614, 0),
            new Row("x+(a(b)", 614, 1), new Row("(a+", 614, 0), new Row("{a 2147483648}", 615, 0), new Row("{a 0}", 651, 0),
            new Row("{a x}", 651, 0), new Row("{a Key}", 651, 0), new Row("{ }", 651, 0), new Row("{a \u212aeyDn}", 651, 0)}) {
            assertThrows(UnableToPerformActionException.class, () -> NativeKeyMouseEvent.emitHLKeyEvent(
                    0, 0, NativeKeyMouseEvent.KEYSTRING, row.text.substring(row.index)), row.text);
            new Keyboard().setModifierKeys(0);
            arriving(text -> {}, "");
            List<String> arrived = arriving(text -> {
                String message = assertThrows(IllegalArgumentException.class, () -> user.keys(text), text).getMessage();
                assertTrue(message.startsWith("key string: error " + row.code + " at index " + row.index + ": "), message);
            }, row.text);
            assertEquals(List.of(), arrived, row.text);
        }
        for (String text : new String[] {"\ud83d", "a\0", "{\ude00 3}"}) {
            assertThrows(StringNotInCodePageException.class, () -> user.keys(text + "{a 50}"));
            assertThrows(StringNotInCodePageException.class, () -> user.type(text + "a".repeat(50)));
        }
        assertThrows(NullPointerException.class, () -> user.keys(null));
        assertThrows(NullPointerException.class, () -> user.click(null));
    }

    /** Stops a text in the midst of it, and waits for its end. */
    private static void assertStops(UserInput user, String text, String why, Runnable stop) throws Exception {
        CompletableFuture<Void> typing = CompletableFuture.runAsync(() -> user.keys(text));
        for (int event = 0; event < 60; ++event) {
            events.readLine();
        }
        long start = System.nanoTime();
        stop.run();
        Throwable end = assertThrows(CompletionException.class, typing::join).getCause();
        long millis = TimeUnit.NANOSECONDS.toMillis(System.nanoTime() - start);
        assertInstanceOf(InputStoppedException.class, end);
        assertTrue(end.getMessage().startsWith(why), end.getMessage());
        assertTrue(millis < 2000, "it took " + millis + " ms, and it should be below 500 on an idle machine");
        Keyboard keyboard = new Keyboard();
        for (int keysym : new int[] {'a', SHIFT, ALT, 0xFFBE}) {
            assertFalse(keyboard.isKeyDown(keysym), "0x" + Integer.toHexString(keysym) + " is down");
        }
        arriving(all -> {}, "");
    }

    @Test
    void theUserStopsItWithTheHotKey() throws Exception {
        try (UserInput user = new UserInput(); UserInput other = new UserInput()) {
            arriving(user::keys, "a{F11}b{F11}{a 12}"); // its own strokes are not the user's
            assertStops(user, "{a 999999999}", "the user pressed the stop hot key after some ", () -> stroke(F11));
            for (Runnable call : new Runnable[] {
                () -> other.keys("a"), () -> other.type("a"), () -> user.click(new Point(0, 0))}) {
                assertThrows(InputStoppedException.class, call::run);
            }
        }
        UserInput user = new UserInput();
        arriving(user::keys, "{a 12}");
        assertStops(user, "%({F1 KeyDn}{a 100000})", "the user pressed the stop hot key", () -> stroke(F11));
        user.close();
        user.close();
        assertThrows(IllegalStateException.class, () -> user.type("a"));
    }

    @Test
    void anInterruptOrTheEngineStopsIt() throws Exception {
        Thread[] typist = new Thread[1];
        UserInput user = new UserInput(() -> {
            typist[0] = Thread.currentThread();
            return false;
        });
        assertStops(user, "{Shift KeyDn}{a 999999999}", "the thread was interrupted", () -> typist[0].interrupt());
        AtomicBoolean stop = new AtomicBoolean();
        assertStops(new UserInput(stop::get), "a".repeat(10_000), "the user pressed", () -> stop.set(true));
    }
}
