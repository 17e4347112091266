package com.talvern.test.gx.engine;

import com.talvern.test.gx.StringNotInCodePageException;
import com.talvern.test.gx.UnableToPerformActionException;
import com.talvern.test.gx.sys.NativeLibrary;
import com.talvern.test.gx.sys.graphical.Keyboard;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativePlayerThread;
import java.awt.Point;
import java.util.List;
import java.util.Objects;
import java.util.function.BooleanSupplier;

/**
 * Clicks and types as a user does, and lets the user stop it.
 *
 * <pre>{@code
 * try (UserInput user = new UserInput()) {
 *     user.click(new Point(400, 300));
 *     user.type("Gr\u00fc\u00dfe {not a key}");
 *     user.keys("^s{ENTER}{DOWN 20}");
 * }
 * }</pre>
 *
 * <p>While an object is open, the stop hot key (F11, or what {@link
 * com.talvern.test.gx.sys.graphical.NativeLowLevelPlayer#nativeSetHotKeys} says) belongs to this process; the pause hot key
 * belongs to it too, and does nothing. Once the user has pressed the stop hot key, or the calling thread has been
 * interrupted, the text that is being typed ends within half a second, with all of its keys up, in an {@link
 * InputStoppedException}; so do all further calls, of every open object after the hot key, of that thread while it is
 * interrupted. To go on after the hot key, close all objects and make a new one.
 *
 * <p>For that a text of more than a few strokes is played in pieces of at most 100 strokes and about a quarter of a second.
 * Keys that a key string holds down over many strokes ({@code {Shift KeyDn}}, {@code ^(...)}) stay down from piece to
 * piece. What a receiver can notice:
 * <ul>
 *   <li>Num Lock is tried out before every piece, not only before the text, and locks that are on are switched off and on
 *       again for every piece.
 *   <li>Shift goes up between pieces that are shifted for the sake of their characters alone, as a row of capitals.
 *   <li>A character that is held down by {@code KeyDn} is pressed with Shift if it is a capital, else without; the keys of
 *       the numeric keypad are held down without Num Lock.
 * </ul>
 * The half second is for the delays of a new process. A single item cannot be cut: with {@linkplain
 * com.talvern.test.gx.sys.graphical.NativeLowLevelPlayer#nativeSetDelays delays} of half a second for each stroke, an X
 * server that does not answer, or other programs that take all processors, a text ends later.
 *
 * <p>Each call returns when the program has taken what was played: once it has answered a ping of window managers, or it
 * and the X server rest; after a click the window manager's turn comes first, which may hold a click back. A program that
 * gives no such sign, one that is busy say, is waited for half a second, or up to ten times as long while other programs
 * keep it from running. Questions to an {@link Application} may then still be ahead of what the program does with the
 * input.
 *
 * <p>Exceptions are those of {@link NativeKeyMouseEvent}, and say what those leave out: which point, character or key it
 * was, and which window was at the pointer or had the focus. What was to be typed is not in them.
 *
 * <p>Text goes to the window with the keyboard focus. Any thread may use an object, but one text at a time is played in a
 * process, as {@link NativeKeyMouseEvent} says.
 */
public final class UserInput implements AutoCloseable {
    static {
        NativeLibrary.load();
    }

    static final int CAPS_LOCK = 0xFFE5;
    static final int NUM_LOCK = 0xFF7F;

    private final BooleanSupplier isStopped;
    private final StopKey stopKey;
    private boolean isClosed;

    /**
     * Listens for the stop hot key, together with all other open objects that were made so.
     *
     * @throws com.talvern.test.gx.sys.OutOfSpyMemException there is no room for the counters of hot keys
     * @throws com.talvern.test.gx.sys.ApplicationNotRespondingException another process keeps spy memory locked
     */
    public UserInput() {
        stopKey = StopKey.open();
        isStopped = stopKey::isPressed;
    }

    /**
     * Leaves the hot keys to the engine, for one that listens with a {@link NativePlayerThread} of its own: there can be only
     * one thread that does.
     *
     * @param isStopped asked before each piece of input, by the thread that plays: true ends it
     */
    public UserInput(BooleanSupplier isStopped) {
        this.isStopped = Objects.requireNonNull(isStopped, "isStopped");
        stopKey = null;
    }

    /**
     * Moves the pointer to a point of the screen and clicks with the left button.
     *
     * @param point in pixels of the screen
     * @throws InputStoppedException the user has pressed the stop hot key, or this thread is interrupted: nothing is done
     * @throws com.talvern.test.gx.CoordinateOffScreenException the point lies outside of the screen
     * @throws com.talvern.test.gx.sys.graphical.UnsupportedXServerException there is no X server, or it lacks the XTest
     *     extension
     */
    public void click(Point point) {
        Objects.requireNonNull(point, "a click wants a point, and this one is null");
        play("a click" + Pointer.at(point), () -> NativeKeyMouseEvent.emitLLMouseEvent(point, 0, 0,
            NativeKeyMouseEvent.BUTTON_LEFT, 0, NativeKeyMouseEvent.CLICK));
    }

    /**
     * Plays an event of the mouse that this class has no method for, at the same pace:
     *
     * <pre>{@code
     * try (UserInput user = new UserInput()) {
     *     user.play(() -> NativeKeyMouseEvent.emitHLMouseEvent(new Point(400, 300), 0, 0, new Point(500, 300), 0, 0,
     *             NativeKeyMouseEvent.BUTTON_LEFT, 0, NativeKeyMouseEvent.DRAG, 1));
     * }
     * }</pre>
     *
     * @param event emits it, and ends with the pointer over the program that is to take it
     * @throws InputStoppedException as for {@link #click}
     * @throws com.talvern.test.gx.UnableToPerformActionException the window that it is for is hidden, covered or elsewhere;
     *     the message names the window at the pointer
     */
    public void play(Runnable event) {
        play("an event of the mouse", event);
    }

    /** @param what as in "a click at 10,20" */
    void play(String what, Runnable event) {
        goOn(0);
        Playing.mouse(what, event);
        awaitClickTaken();
    }

    /**
     * Plays an event for a program that is asked afterwards whether it has seen to it: one that is busy of itself, as Motif
     * is while it drags, gives no sign that it has read an event.
     *
     * @param what as in "a press at 10,20"
     */
    void playUnsettled(String what, Runnable event) {
        goOn(0);
        Playing.mouse(what, event);
    }

    /** Waits for the window manager, which may hold back what was pressed until then. */
    static native void awaitClickPassedOn();

    /** Waits for as long as GTK 3 puts off motions that it has read. */
    static native void awaitFrame();

    /** Waits for the window manager and the program under the pointer to read the click, and for a frame of GTK 3. */
    private static native void awaitClickTaken();

    /** Waits for the window with the focus to read what was typed. */
    private static native void awaitKeysTaken();

    /** The first of these keysyms that no key has; 0 when each has one, and without an X server. */
    private static native int firstWithoutKey(int[] keysyms);

    /**
     * Types a text as it stands.
     *
     * @param text any characters; line ends and tabs are keys rather than characters, see {@link #keys}
     * @throws InputStoppedException the user has pressed the stop hot key, or this thread was interrupted; the message says
     *     which, and how much was typed
     * @throws com.talvern.test.gx.StringNotInCodePageException the text has half a surrogate pair, U+0000 or a character that
     *     the code set of the locale lacks; nothing was typed
     * @throws com.talvern.test.gx.sys.graphical.UnsupportedXServerException there is no X server, or it lacks the XTest
     *     extension
     */
    public void type(String text) {
        checkCharacters(text);
        long strokes = text.codePoints().mapToLong(each -> each < 0x80 ? 1 : PiecewiseTyping.REMAPPED).sum();
        typeAs("a text of " + text.length() + " characters", () -> {
            if (strokes > PiecewiseTyping.FEW_STROKES) {
                new PiecewiseTyping(this, NativeKeyMouseEvent.INPUTCHARS).characters(text);
            } else {
                playWhole(NativeKeyMouseEvent.INPUTCHARS, text);
            }
        });
    }

    /**
     * Types a key string.
     *
     * @param keyString in the syntax that {@link NativeKeyMouseEvent} describes
     * @throws IllegalArgumentException there is an error in the key string: 612 an item without a closing brace, 613 no such
     *     key, 614 a group without a closing parenthesis, 615 a count above 2147483647, 651 neither a count above 0 nor
     *     KeyDn nor KeyUp after the blank; the message says which, and the index at which the item begins; nothing was typed
     * @throws com.talvern.test.gx.UnableToPerformActionException the keyboard has no key of a name or number in it; the message
     *     says which; nothing was typed
     * @throws InputStoppedException as for {@link #type}
     * @throws com.talvern.test.gx.StringNotInCodePageException as for {@link #type}
     * @throws com.talvern.test.gx.sys.graphical.UnsupportedXServerException there is no X server, or it lacks the XTest
     *     extension
     */
    public void keys(String keyString) {
        checkCharacters(keyString);
        List<KeyString.Item> items = KeyString.parse(keyString);
        demandKeys(items);
        boolean isLong = items.stream().mapToLong(PiecewiseTyping::weight).sum() > PiecewiseTyping.FEW_STROKES;
        typeAs("a key string of " + items.size() + " items", () -> {
            if (isLong) {
                new PiecewiseTyping(this, NativeKeyMouseEvent.KEYSTRING).items(items);
            } else {
                playWhole(NativeKeyMouseEvent.KEYSTRING, keyString);
            }
        });
    }

    /** A key that the keyboard lacks would be left out. */
    private static void demandKeys(List<KeyString.Item> items) {
        List<KeyString.Item> named = items.stream().filter(item -> !item.isCharacter() && !item.hasNoRepeat()).toList();
        int lacking = firstWithoutKey(named.stream().mapToInt(KeyString.Item::keysym).distinct().toArray());
        for (KeyString.Item item : named) {
            if (item.keysym() == lacking) {
                throw new UnableToPerformActionException(Complaint.of("the key {" + item.name() + "} of a key string",
                    "no key of this keyboard has the keysym " + lacking + "; nothing was typed",
                    "setxkbmap gives it a layout that has one"));
            }
        }
    }

    private static void typeAs(String what, Runnable typing) {
        Playing.keys(what, typing);
        awaitKeysTaken();
    }

    /** Gives the hot keys back, unless another open object listens for them. A closed object types no more. */
    @Override
    public synchronized void close() {
        if (!isClosed && stopKey != null) {
            stopKey.close();
        }
        isClosed = true;
    }

    /** Looking for the key of a text fails as playing the text would. */
    private static void checkCharacters(String text) {
        Objects.requireNonNull(text, "a text is to be typed, and this one is null");
        try {
            new Keyboard().getKeyCode(text);
        } catch (StringNotInCodePageException wrong) {
            int at = firstWrong(text);
            StringNotInCodePageException failure = new StringNotInCodePageException(Complaint.of(
                "a text of " + text.length() + " characters", String.format("the one at index %d, U+%04X, %s; nothing was typed",
                    at, text.codePointAt(at), whyWrong(text.codePointAt(at))), "LC_ALL=C.UTF-8 takes every character"));
            failure.initCause(wrong);
            throw failure;
        }
    }

    private static int firstWrong(String text) {
        Keyboard keyboard = new Keyboard();
        int at = 0;
        try {
            for (; at < text.length() - 1; at += Character.charCount(text.codePointAt(at))) {
                keyboard.getKeyCode(Character.toString(text.codePointAt(at)));
            }
        } catch (StringNotInCodePageException found) {
            return at;
        }
        return at;
    }

    private static String whyWrong(int codePoint) {
        return codePoint == 0 ? "is no character to type"
            : Character.getType(codePoint) == Character.SURROGATE ? "is half a surrogate pair"
            : "is not in the code set of the locale";
    }

    private void playWhole(int kind, String text) {
        goOn(0);
        NativeKeyMouseEvent.emitHLKeyEvent(0, 0, kind, text);
    }

    /** Returns when input may go on. */
    void goOn(long strokesTyped) {
        if (isClosed()) {
            throw new IllegalStateException(Complaint.of("no input", "this UserInput is closed", "make a new one"));
        }
        if (isStopped.getAsBoolean()) {
            throw new InputStoppedException(Complaint.of("the user pressed the stop hot key" + after(strokesTyped),
                "no input follows", "close all objects and make a new one to go on"));
        }
        if (Thread.currentThread().isInterrupted()) {
            throw new InputStoppedException(Complaint.of("the thread was interrupted" + after(strokesTyped),
                "no input follows from it", "clear its interrupt to go on"));
        }
    }

    private synchronized boolean isClosed() {
        return isClosed;
    }

    private static String after(long strokesTyped) {
        return strokesTyped == 0 ? "" : " after some " + strokesTyped + " strokes of the text";
    }

    /** Listens for the stop hot key, for all objects that are open at a time. */
    private static final class StopKey {
        private static StopKey current;

        private final NativePlayerThread player = new NativePlayerThread();
        private final Thread listener = new Thread(this::listen, "stop hot key");
        private volatile boolean isPressed;
        private int users;

        static synchronized StopKey open() {
            if (current == null) {
                StopKey key = new StopKey();
                key.player.startPlayback();
                key.listener.setDaemon(true);
                key.listener.start();
                current = key;
            }
            ++current.users;
            return current;
        }

        boolean isPressed() {
            return isPressed;
        }

        void close() {
            synchronized (StopKey.class) {
                if (--users > 0) {
                    return;
                }
                current = null;
                player.endPlayback();
                joinListener();
            }
        }

        /** It ends within milliseconds; the next one must not begin before. */
        private void joinListener() {
            boolean wasInterrupted = Thread.interrupted();
            while (listener.isAlive()) {
                try {
                    listener.join();
                } catch (InterruptedException e) {
                    wasInterrupted = true;
                }
            }
            if (wasInterrupted) {
                Thread.currentThread().interrupt();
            }
        }

        private void listen() {
            int event;
            do {
                event = player.getNextEvent();
            } while (event == NativePlayerThread.PAUSE);
            isPressed = event == NativePlayerThread.STOP;
        }
    }
}
