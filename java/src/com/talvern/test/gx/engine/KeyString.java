package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.graphical.Keyboard;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Deque;
import java.util.List;
import java.util.Locale;

/** Reads key strings as the player does, and fails where the player would, before anything has been played. */
final class KeyString {
    /** Modifier of an item: Shift. */
    static final int SHIFT = 1;
    /** Modifier of an item: Control. */
    static final int CONTROL = 2;
    /** Modifier of an item: Alt. */
    static final int ALT = 4;

    private static final int LONGEST_NAME = 14;

    /** What an item does to its key. */
    enum Action { STROKE, PRESS, RELEASE }

    /**
     * A key with the modifiers of all groups around it.
     *
     * @param name the character, or the name that stands in braces
     * @param isCharacter whether it is a character; else it is a key with a name or a number
     * @param inBraces whether it is written in braces, as a count demands
     * @param keysym of the key; -1 for a character that no key types
     * @param count strokes
     */
    record Item(int modifiers, String name, boolean isCharacter, boolean inBraces, int keysym, Action action, int count) {
        /** The item as a key string of its own, with other modifiers and another count. */
        String text(int prefixes, long strokes) {
            String prefix = ((prefixes & ALT) != 0 ? "%" : "") + ((prefixes & CONTROL) != 0 ? "^" : "")
                    + ((prefixes & SHIFT) != 0 ? "+" : "");
            return prefix + (inBraces ? "{" + name + (strokes == 1 ? "" : " " + strokes) + "}" : name);
        }

        /** For the key of a lock, a choice of sides, or a character that is put on a key for one stroke. */
        boolean hasNoRepeat() {
            return keysym <= 0 || isLock();
        }

        boolean isLock() {
            return keysym == UserInput.CAPS_LOCK || keysym == UserInput.NUM_LOCK;
        }
    }

    private final String text;
    private final Keyboard keyboard = new Keyboard();
    private final List<Item> items = new ArrayList<>();
    private int at;

    private KeyString(String text) {
        this.text = text;
    }

    /** @throws IllegalArgumentException with the player's code, and the index at which the faulty item begins */
    static List<Item> parse(String text) {
        KeyString reader = new KeyString(text);
        while (!reader.atEnd()) {
            reader.readTopLevelItem();
        }
        return reader.items;
    }

    private boolean atEnd() {
        return at == text.length();
    }

    private boolean take(char wanted) {
        if (atEnd() || text.charAt(at) != wanted) {
            return false;
        }
        ++at;
        return true;
    }

    private static IllegalArgumentException failure(int code, String why, int position) {
        return new IllegalArgumentException(Complaint.of("key string: error " + code + " at index " + position,
            why + "; nothing was typed", "NativeKeyMouseEvent has the syntax and the names"));
    }

    private void readTopLevelItem() {
        Deque<Integer> groups = new ArrayDeque<>();
        int opened = at;
        do {
            if (!groups.isEmpty() && atEnd()) {
                throw failure(614, "a group has no closing parenthesis", opened);
            }
            if (!groups.isEmpty() && take(')')) {
                groups.pop();
                continue;
            }
            int modifiers = (groups.isEmpty() ? 0 : groups.peek()) ^ takePrefixes();
            if (take('(')) {
                groups.push(modifiers);
            } else {
                readItem(modifiers);
            }
        } while (!groups.isEmpty());
    }

    private int takePrefixes() {
        for (int modifiers = 0; ; ) {
            if (take('+')) {
                modifiers ^= SHIFT;
            } else if (take('^')) {
                modifiers ^= CONTROL;
            } else if (take('%')) {
                modifiers ^= ALT;
            } else {
                return modifiers;
            }
        }
    }

    private void readItem(int modifiers) {
        if (atEnd()) {
            return;
        }
        if (take('{')) {
            readBracedItem(modifiers, at - 1);
        } else if (take('~')) {
            items.add(new Item(modifiers, "ENTER", false, true, keyboard.getKeyCode("{ENTER}"), Action.STROKE, 1));
        } else {
            String character = Character.toString(text.codePointAt(at));
            at += character.length();
            items.add(new Item(modifiers, character, true, false, keyboard.getKeyCode(character), Action.STROKE, 1));
        }
    }

    private void readBracedItem(int modifiers, int start) {
        String name = readName(start);
        Action action = Action.STROKE;
        int count = 1;
        if (take(' ')) {
            if (!atEnd() && isDigit(text.charAt(at))) {
                count = readCount(start);
            } else {
                action = readAction(start);
            }
        }
        if (!take('}')) {
            throw failure(612, "an item has no closing brace", start);
        }
        items.add(braced(modifiers, name, action, count, start));
    }

    private String readName(int start) {
        if (text.startsWith("}}", at)) {
            ++at;
            return "}";
        }
        int from = at;
        while (!atEnd() && text.charAt(at) != ' ' && text.charAt(at) != '}') {
            if (at - from == LONGEST_NAME) {
                throw failure(613, "no key has so long a name", start);
            }
            ++at;
        }
        if (atEnd()) {
            throw failure(612, "an item has no closing brace", start);
        }
        return text.substring(from, at);
    }

    private static boolean isDigit(char unit) {
        return unit >= '0' && unit <= '9';
    }

    private int readCount(int start) {
        long value = 0;
        for (; !atEnd() && isDigit(text.charAt(at)); ++at) {
            value = value * 10 + text.charAt(at) - '0';
            if (value > Integer.MAX_VALUE) {
                throw failure(615, "a count is too large", start);
            }
        }
        if (value == 0) {
            throw failure(651, "a count of 0", start);
        }
        return (int) value;
    }

    private Action readAction(int start) {
        String word = lower(text.substring(at, Math.min(at + 5, text.length())));
        at += word.length();
        return switch (word) {
            case "keydn" -> Action.PRESS;
            case "keyup" -> Action.RELEASE;
            default -> throw failure(651, "neither a count nor KeyDn nor KeyUp", start);
        };
    }

    /** Only ASCII letters have two cases in names. */
    private static String lower(String text) {
        return text.replaceAll("[^\\x00-\\x7F]", "?").toLowerCase(Locale.ROOT);
    }

    private Item braced(int modifiers, String name, Action action, int count, int start) {
        if (lower(name).matches("vk[0-9]+")) {
            int number = (int) Math.min(Long.parseLong(name.substring(2)), Integer.MAX_VALUE); // which no key has
            return new Item(modifiers, name, false, true, number, action, count);
        }
        int keysym = keyboard.getKeyCode("{" + name + "}");
        if (keysym != -1) {
            return new Item(modifiers, name, false, true, keysym, action, count);
        }
        if (name.isEmpty() || name.codePointCount(0, name.length()) != 1) {
            throw failure(613, "no key has the name \"" + name + "\"", start);
        }
        return new Item(modifiers, name, true, true, keyboard.getKeyCode(name), action, count);
    }
}
