package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;

/** The keyboard: what its keys are, which are down, and holding modifier keys down. */
public class Keyboard {
    static {
        NativeLibrary.load();
    }

    /** {@link #setModifierKeys}: hold Shift. */
    public static final int SHIFT = 1;
    /** {@link #setModifierKeys}: hold Control. */
    public static final int CONTROL = 2;
    /** {@link #setModifierKeys}: hold Alt. */
    public static final int ALT = 4;

    /** The keyboard; all objects stand for the same one. */
    public Keyboard() {}

    /**
     * Finds the key for a character, or the one with a name of the {@linkplain NativeKeyMouseEvent key strings}.
     *
     * @param text a character that a key types alone or with Shift, which is one byte in the locale; or a name in braces, such as
     *     "{F1}", in any case
     * @return its X keysym: 97 for "a", 0xFFBE for "{F1}"; -1 when there is no such key, for any other text, and for a
     *     character without an X server
     * @throws com.talvern.test.gx.StringNotInCodePageException the locale does not have a character of the text
     */
    public native int getKeyCode(String text);

    /**
     * Asks whether a key is down, whoever pressed it.
     *
     * @param keysym X keysym
     * @return false also when the keyboard has no such key, and without an X server
     */
    public native boolean isKeyDown(int keysym);

    /**
     * Asks for the state of a toggle key. Not told apart on Unix.
     *
     * @param keysym ignored
     * @return 1
     */
    public native int getKeyState(int keysym);

    /**
     * Asks for a key that is down. Not told apart on Unix.
     *
     * @return 1
     */
    public native int getPressedKey();

    /**
     * Presses and releases the left Shift, Control and Alt keys until exactly those wanted are down; also such as a user
     * holds. They stay down until this is called again, but do not outlast a text or a mouse event with modifiers: those let
     * go of the modifiers that they press, and so of these. To hold a modifier over a text, write it into the text: {@code
     * ^(ac)} or {@code {Shift KeyDn}}.
     *
     * @param modifiers the sum of {@link #SHIFT}, {@link #CONTROL} and {@link #ALT}; further bits are ignored
     */
    public native void setModifierKeys(int modifiers);
}
