package com.talvern.test.gx.sys.graphical;

import java.awt.Point;

/**
 * Mouse and key events: plays them into the X server as if a user had made them, and carries recorded ones.
 *
 * <p>The static methods play one event each. They block until the server has processed it, with all
 * {@linkplain NativeLowLevelPlayer#nativeSetDelays delays}, and raise an exception when it could not be played; it has no
 * message, but the trace names the status that the event ended with and, for a key string, the result and the index of the item
 * that failed. Any thread may play; the events of two threads mix, and two texts at once come out wrong, but leave keys and locks
 * as they were, unless the install option {@code talvern.test.gx.script.playback.mouse.allow_multiple_threads} is {@code true}:
 * then an event waits until another one has ended, up to 5 seconds, and a text for a text of the same process without limit. When the process exits meanwhile, the
 * event is cut short: its keys and buttons are released, locks and keyboard map are put back, for up to 2 seconds. A process
 * that is killed leaves them as they are; the next event that any process plays on the display puts them right first, and the
 * trace says so.
 *
 * <pre>{@code
 * NativeKeyMouseEvent.emitLLMouseEvent(new Point(400, 300), 0, 0, 0, 0, NativeKeyMouseEvent.CLICK);
 * NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.INPUTCHARS, "Gr\u00fc\u00dfe");
 * NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, "^s{ENTER}");
 * }</pre>
 *
 * <h2>Windows and points</h2>
 *
 * Windows are X window ids, the handles of {@link NativeWindow} and {@link NativeTopLevelWindow}; 0 is none. Without a window
 * a point is in pixels of the screen. With one it is in pixels from the window's upper left corner, and the event is played
 * only if that window is in front there: no parent, child or other window of it. A top-level window is the child of the
 * root window that the window lies in, the frame where a window manager draws one. Without it nothing more is checked; alone
 * it serves as the window, too. A null point with a window stands for no place in it: the window must be shown, but need not be in
 * front, and nothing moves the pointer.
 *
 * <p>A window of a key event that has gone meanwhile is no error: the keys go to whatever has the keyboard focus.
 *
 * <h2>Modifiers</h2>
 *
 * The sum of a button, {@link #BUTTON_LEFT} being 0, and of {@link #SHIFT}, {@link #CONTROL} and {@link #ALT}, which are held
 * during a mouse event.
 *
 * <h2>Key strings</h2>
 *
 * Text of the kind {@link #KEYSTRING} is read in this syntax:
 *
 * <table>
 * <caption>Key strings</caption>
 * <tr><th>text</th><th>meaning</th></tr>
 * <tr><td><code>+x</code> <code>^x</code> <code>%x</code></td><td>the next item with Shift, Control or Alt held; they combine</td></tr>
 * <tr><td><code>^(ac)</code></td><td>a group: the modifiers before it hold for all of its items</td></tr>
 * <tr><td><code>~</code></td><td>Enter</td></tr>
 * <tr><td><code>&#123;F1&#125;</code></td><td>a key by its name, in any case</td></tr>
 * <tr><td><code>&#123;+&#125;</code> <code>&#123;~&#125;</code> <code>&#123;&#123;&#125;</code> <code>&#123;&#125;&#125;</code></td><td>a character that would mean something else</td></tr>
 * <tr><td><code>&#123;a 3&#125;</code> <code>&#123;LEFT 10&#125;</code></td><td>that many times; not a character that no key types</td></tr>
 * <tr><td><code>&#123;Shift KeyDn&#125;</code> <code>&#123;Shift KeyUp&#125;</code></td><td>presses a key and leaves it down; releases it. Keys still
 *     down at the end of the text are released</td></tr>
 * <tr><td><code>&#123;vk65293&#125;</code></td><td>the key of an X keysym, in decimal</td></tr>
 * <tr><td>anything else</td><td>that character</td></tr>
 * </table>
 *
 * <p>The names of keys: {@code CAPSLOCK NUMLOCK SCROLLLOCK ESCAPE ESC ENTER HELP PRTSC TAB BREAK CLEAR BACKSPACE BS BKSP DELETE
 * DEL INSERT LEFT RIGHT UP DOWN PGUP PGDN HOME END APPS}; {@code F1} to {@code F16}; the modifier keys {@code Ctrl Shift Alt
 * Win}, their left ones {@code LeftCtrl LeftShift LeftAlt LEFTWIN} and their right ones {@code RightCtrl RightShift RightAlt
 * RIGHTWIN}; {@code LKeys} and {@code RKeys}, which make Ctrl, Shift, Alt and Win mean those of the left or right side from
 * then on; {@code ExtDelete ExtInsert ExtLeft ExtRight ExtUp ExtDown ExtPgUp ExtPgDn ExtHome ExtEnd} and {@code NumDelete
 * NumInsert NumLeft NumRight NumUp NumDown NumPgUp NumPgDn NumHome NumEnd}, the same as those without prefix; on the numeric
 * keypad {@code Num0} to {@code Num9}, {@code Num. Num* Num- Num/ Num+ Num~ NumEnter}.
 *
 * <h2>Text</h2>
 *
 * Every character can be typed, whatever the keyboard layout: what no key produces alone or with Shift is put on an unused
 * key for one stroke. So is a character of more than one byte in the code set of the locale, such as {@code \u00e4} in UTF-8,
 * even where a key types it. The window is waited for, so that none is lost; but the waits of one text for a program that gives
 * no sign of having read its keys (it answers no {@code _NET_WM_PING} and never rests) add up to half a second at most. The text
 * goes on then, the trace says so, and such a program may read wrong characters.
 *
 * <p>Modifiers are dropped for a character that is put on an unused key: where the layout is Russian alone, {@code ^s} types s.
 * Programs know shortcuts by the key that has the letter, so give the keyboard a layout with the letter in its first group,
 * {@code setxkbmap us,ru}; texts are typed in the first group, whichever is locked.
 *
 * <p>{@code {Win}} is the key of the keysym Meta_L, which many layouts have on a key of Alt, or nowhere; {@code {vk65515}} is
 * the key of Super_L, which is what most window managers look for.
 *
 * <p>Half a surrogate pair has no meaning; a text with one is
 * refused. Line ends and tabs are keys rather than characters: use {@code ~} and {@code {TAB}}. Caps Lock and Num Lock are off
 * while a text is typed and put back afterwards; {@code {CAPSLOCK}} and {@code {NUMLOCK}} take effect at its end. A text may
 * fail half-way (an error in a key string): what stands before the error has been typed, and keys held by
 * {@code KeyDn} or a modifier stay down.
 */
public class NativeKeyMouseEvent extends Event {
    /** Mouse kind: move to the point and press the button. */
    public static final int MOUSE_PRESS = 1;
    /** Mouse kind: release the button where the pointer is. */
    public static final int MOUSE_RELEASE = 2;
    /** Mouse kind: move to the point. */
    public static final int MOVE = 3;
    /** Mouse kind: move to the point, press and release the button {@code count} times. */
    public static final int CLICK = 4;
    /** Mouse kind: press at the start, move to the end in small steps, release. After {@code count - 1} clicks. */
    public static final int DRAG = 5;
    /** Mouse kind: move to the point in small steps and stay there for the delay. */
    public static final int HOVER = 6;
    /** Mouse kind: turn the wheel where the pointer is; the point is checked but not moved to. */
    public static final int WHEEL = 8;

    /** Key kind: press the key of a keysym. */
    public static final int KEY_PRESS = 1;
    /** Key kind: release the key of a keysym. */
    public static final int KEY_RELEASE = 2;
    /** Key kind: type a text in the key-string syntax. */
    public static final int KEYSTRING = 3;
    /** Key kind: type a text as it stands. */
    public static final int INPUTCHARS = 4;

    /** Modifier: the left button. */
    public static final int BUTTON_LEFT = 0;
    /** Modifier: the middle button. */
    public static final int BUTTON_MIDDLE = 0x02;
    /** Modifier: the right button. */
    public static final int BUTTON_RIGHT = 0x04;
    /** Modifier: hold Shift. */
    public static final int SHIFT = 0x20;
    /** Modifier: hold Control. */
    public static final int CONTROL = 0x40;
    /** Modifier: hold Alt. */
    public static final int ALT = 0x80;

    private final int form;
    private final int time;
    private final int kind;
    private final int modifiers;
    private final Point point;
    private final int[] key;
    private final String text;
    private final NativeWindow window;
    private final NativeTopLevelWindow topLevelWindow;

    /**
     * A recorded mouse event. Called by the native layer.
     *
     * @param form 1
     * @param time when it happened, in milliseconds of the X server
     * @param kind {@link #MOUSE_PRESS}, {@link #MOUSE_RELEASE} or {@link #MOVE}
     * @param modifiers 1, 2 or 3 for the left, middle or right button, 0 for none
     * @param point pixels of the screen
     * @param window the window, with handle 0 when it is not known
     * @param topLevelWindow the top-level window, with handle 0 when it is not known
     */
    public NativeKeyMouseEvent(int form, int time, int kind, int modifiers, Point point, NativeWindow window,
            NativeTopLevelWindow topLevelWindow) {
        this(form, time, kind, modifiers, point, new int[3], null, window, topLevelWindow);
    }

    /**
     * A recorded stroke of a key. Called by the native layer.
     *
     * @param form 3
     * @param time when it happened, in milliseconds of the X server
     * @param kind {@link #KEY_PRESS} or {@link #KEY_RELEASE}
     * @param keysym X keysym of the key
     * @param first data of the recorder
     * @param second data of the recorder
     * @param window the window, with handle 0 when it is not known
     * @param topLevelWindow the top-level window, with handle 0 when it is not known
     */
    public NativeKeyMouseEvent(int form, int time, int kind, int keysym, int first, int second, NativeWindow window,
            NativeTopLevelWindow topLevelWindow) {
        this(form, time, kind, 0, null, new int[] {keysym, first, second}, null, window, topLevelWindow);
    }

    /**
     * A recorded text. Called by the native layer.
     *
     * @param form 4
     * @param time when it began, in milliseconds of the X server
     * @param kind {@link #KEYSTRING}
     * @param text in the key-string syntax
     * @param window the window, with handle 0 when it is not known
     * @param topLevelWindow the top-level window, with handle 0 when it is not known
     */
    public NativeKeyMouseEvent(int form, int time, int kind, String text, NativeWindow window,
            NativeTopLevelWindow topLevelWindow) {
        this(form, time, kind, 0, null, new int[3], text, window, topLevelWindow);
    }

    /**
     * A recorded turn of a scroll bar. Called by the native layer.
     *
     * @param form 5
     * @param time when it happened, in milliseconds of the X server
     * @param window the window of the scroll bar
     * @param first data of the scroll bar
     * @param second data of the scroll bar
     * @param third data of the scroll bar
     * @param fourth data of the scroll bar
     */
    public NativeKeyMouseEvent(int form, int time, NativeWindow window, int first, int second, int third, int fourth) {
        this(form, time, 0, 0, null, new int[] {first, second, third, fourth}, null, window, null);
    }

    private NativeKeyMouseEvent(int form, int time, int kind, int modifiers, Point point, int[] key, String text,
            NativeWindow window, NativeTopLevelWindow topLevelWindow) {
        this.form = form;
        this.time = time;
        this.kind = kind;
        this.modifiers = modifiers;
        this.point = point;
        this.key = key;
        this.text = text;
        this.window = window;
        this.topLevelWindow = topLevelWindow;
    }

    /**
     * Returns what kind of event it is.
     *
     * @return 1 mouse, 3 stroke of a key, 4 text, 5 scroll bar
     */
    public int getForm() {
        return form;
    }

    /**
     * Returns when it happened.
     *
     * @return milliseconds of the X server
     */
    public int getTime() {
        return time;
    }

    /**
     * Returns the mouse or key kind.
     *
     * @return 0 for a scroll bar
     */
    public int getKind() {
        return kind;
    }

    /**
     * Returns the button of a mouse event.
     *
     * @return 1, 2 or 3 for the left, middle or right button, 0 for none
     */
    public int getModifiers() {
        return modifiers;
    }

    /**
     * Returns where a mouse event happened.
     *
     * @return pixels of the screen; null for other events
     */
    public Point getPoint() {
        return point;
    }

    /**
     * Returns the numbers of a stroke or of a scroll bar.
     *
     * @return the keysym and two data of the recorder, or the four data of the scroll bar
     */
    public int[] getData() {
        return key.clone();
    }

    /**
     * Returns the text of a recorded text.
     *
     * @return in the key-string syntax; null for other events
     */
    public String getText() {
        return text;
    }

    /**
     * Returns the window of the event.
     *
     * @return its handle is 0 when it is not known
     */
    public NativeWindow getWindow() {
        return window;
    }

    /**
     * Returns the top-level window of the event.
     *
     * @return its handle is 0 when it is not known; null for a scroll bar
     */
    public NativeTopLevelWindow getTopLevelWindow() {
        return topLevelWindow;
    }

    /**
     * Plays a mouse event. A click is a single one.
     *
     * @param point where, see the class comment; null stands for the place of the pointer, in
     *     {@linkplain NativeLowLevelPlayer#nativeSetLowLevelPlayback low-level playback} only
     * @param window the window that must be in front at the point; 0 for none
     * @param topWindow the top-level window that the window must lie in; 0 for none
     * @param modifiers button and modifier keys
     * @param wheelAmount notches of the wheel, negative ones towards the user; for {@link #WHEEL} only
     * @param kind {@link #MOUSE_PRESS}, {@link #MOUSE_RELEASE}, {@link #MOVE}, {@link #CLICK}, {@link #HOVER} or
     *     {@link #WHEEL}
     * @throws com.talvern.test.gx.UnableToPerformActionException a window is not shown, is covered at the point or lies
     *     in another top-level window; the point is null or outside of the window; there is no such kind
     * @throws com.talvern.test.gx.CoordinateOffScreenException a point without a window lies outside of the screen
     * @throws UnsupportedXServerException there is no X server, or it lacks the XTest extension
     */
    public static native void emitLLMouseEvent(
            Point point, long window, long topWindow, int modifiers, int wheelAmount, int kind);

    /**
     * Plays a mouse event with all that it can have: several clicks, a drag, a delay.
     *
     * @param start where, see the class comment; null is possible with a window, for {@link #MOUSE_RELEASE} and
     *     {@link #HOVER} only
     * @param window the window that must be in front at the start; 0 for none
     * @param topWindow the top-level window that the window must lie in; 0 for none
     * @param end where a drag ends, in pixels from the end window; null for other kinds
     * @param endWindow the window that must be in front at the end; 0 for none
     * @param endTopWindow the top-level window that the end window must lie in; 0 for none
     * @param modifiers button and modifier keys
     * @param delay milliseconds before the move, or that a hover lasts
     * @param kind {@link #MOUSE_PRESS}, {@link #MOUSE_RELEASE}, {@link #MOVE}, {@link #CLICK}, {@link #DRAG} or
     *     {@link #HOVER}
     * @param count number of clicks; of a drag, including the press that it begins with
     * @throws com.talvern.test.gx.UnableToPerformActionException as for {@link #emitLLMouseEvent}
     * @throws com.talvern.test.gx.CoordinateOffScreenException a point without a window lies outside of the screen
     * @throws UnsupportedXServerException there is no X server, or it lacks the XTest extension
     */
    public static native void emitHLMouseEvent(Point start, long window, long topWindow, Point end, long endWindow,
            long endTopWindow, int modifiers, int delay, int kind, int count);

    /**
     * Presses or releases a key.
     *
     * @param window is given the keyboard focus first, and its top-level window is raised; 0 leaves the focus
     * @param topWindow the top-level window that the window must lie in, raised first; 0 for none
     * @param kind {@link #KEY_PRESS} or {@link #KEY_RELEASE}
     * @param keysym X keysym of the key, not 0; nothing happens when the keyboard has no such key
     * @throws com.talvern.test.gx.UnableToPerformActionException the window lies in another top-level window; the keysym
     *     is 0; the kind is another one
     * @throws UnsupportedXServerException there is no X server, or it lacks the XTest extension
     */
    public static native void emitLLKeyEvent(long window, long topWindow, int kind, int keysym);

    /**
     * Types a text.
     *
     * @param window is given the keyboard focus first, and its top-level window is raised; 0 leaves the focus
     * @param topWindow the top-level window that the window must lie in, raised first; 0 for none
     * @param kind {@link #KEYSTRING} or {@link #INPUTCHARS}
     * @param text what to type; null is the empty text
     * @throws com.talvern.test.gx.UnableToPerformActionException the window lies in another top-level window; there is an
     *     error in the key string; the kind is another one
     * @throws com.talvern.test.gx.StringNotInCodePageException the text has half a surrogate pair, U+0000 or a character that
     *     the code set of the locale lacks
     * @throws UnsupportedXServerException there is no X server, or it lacks the XTest extension
     */
    public static native void emitHLKeyEvent(long window, long topWindow, int kind, String text);
}
