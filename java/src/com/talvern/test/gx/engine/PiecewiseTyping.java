package com.talvern.test.gx.engine;

import com.talvern.test.gx.engine.KeyString.Action;
import com.talvern.test.gx.engine.KeyString.Item;
import com.talvern.test.gx.sys.graphical.Keyboard;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import java.util.List;
import java.util.TreeSet;
import java.util.concurrent.TimeUnit;

/**
 * Types one long text in pieces that take a quarter of a second each, as far as can be foreseen. Between them nothing is
 * in the hands of the player, except the keys that are held over them: those are pressed and released one by one here.
 */
final class PiecewiseTyping {
    /** What is typed in one piece at most, however fast that is. */
    private static final int MOST_STROKES = 100;
    /** What is never cut: with the delays of a new process this takes a tenth of a second. */
    static final int FEW_STROKES = 10;
    /** A character that no key types takes as long as so many others. */
    static final int REMAPPED = 10;
    private static final long PIECE = TimeUnit.MILLISECONDS.toNanos(250);
    private static final int[][] MODIFIER_KEYS = {
        {KeyString.ALT, 0xFFE9}, {KeyString.CONTROL, 0xFFE3}, {KeyString.SHIFT, 0xFFE1}};

    private final UserInput input;
    private final int kind;
    private final StringBuilder piece = new StringBuilder();
    private int strokesInPiece;
    private int strokesAtOnce = FEW_STROKES;
    private long typed;
    private int modifiers;
    private final TreeSet<Integer> held = new TreeSet<>();
    private boolean switchesCapsLock;
    private boolean switchesNumLock;

    /** @param kind {@link NativeKeyMouseEvent#KEYSTRING} or {@link NativeKeyMouseEvent#INPUTCHARS} */
    PiecewiseTyping(UserInput input, int kind) {
        this.input = input;
        this.kind = kind;
    }

    void characters(String text) {
        text.codePoints().forEach(each -> append(Character.toString(each), each < 0x80 ? 1 : REMAPPED));
        flush();
    }

    void items(List<Item> items) {
        try {
            for (int from = 0, to; from < items.size(); from = to) {
                to = endOfChain(items, from);
                playChain(items.subList(from, to));
            }
            flush();
        } finally {
            releaseAll();
        }
        if (switchesCapsLock) {
            append("{CAPSLOCK}", 1);
        }
        if (switchesNumLock) {
            append("{NUMLOCK}", 1);
        }
        flush();
    }

    /** The items of a chain have modifiers in common, each with the next: the player holds those over all of them. */
    private static int endOfChain(List<Item> items, int from) {
        int to = from + 1;
        while (to < items.size() && (items.get(to - 1).modifiers() & items.get(to).modifiers()) != 0) {
            ++to;
        }
        return to;
    }

    private void playChain(List<Item> chain) {
        boolean isShort = chain.stream().mapToLong(PiecewiseTyping::weight).sum() <= FEW_STROKES
                && chain.stream().allMatch(item -> item.action() == Action.STROKE && !item.isLock());
        if (!isShort) {
            chain.forEach(this::playHolding);
            return;
        }
        hold(0);
        StringBuilder text = new StringBuilder();
        chain.forEach(item -> text.append(item.text(item.modifiers(), count(item))));
        append(text.toString(), (int) chain.stream().mapToLong(PiecewiseTyping::weight).sum());
    }

    private static int count(Item item) {
        return item.hasNoRepeat() ? 1 : item.count();
    }

    /** How long an item takes, in strokes. */
    static long weight(Item item) {
        return item.keysym() == -1 ? REMAPPED : count(item);
    }

    private void playHolding(Item item) {
        if (item.isLock()) {
            switchLock(item);
            return;
        }
        boolean isShifted = item.action() != Action.STROKE && Character.isUpperCase(item.name().codePointAt(0))
                && item.isCharacter();
        hold(item.modifiers() | (isShifted ? KeyString.SHIFT : 0));
        if (item.action() == Action.STROKE || item.hasNoRepeat()) {
            strokes(item);
        } else if (item.action() == Action.PRESS) {
            flush();
            press(currentKeysym(item));
        } else {
            flush();
            held.remove(currentKeysym(item));
            stroke(NativeKeyMouseEvent.KEY_RELEASE, currentKeysym(item));
        }
    }

    /** A lock key takes effect at the end of the text. One that is still held there counts once more. */
    private void switchLock(Item item) {
        if (item.action() == Action.PRESS) {
            held.add(item.keysym());
        } else if (item.action() == Action.RELEASE) {
            held.remove(item.keysym());
        }
        noteLock(item.keysym());
    }

    private void noteLock(int keysym) {
        switchesCapsLock ^= keysym == UserInput.CAPS_LOCK;
        switchesNumLock ^= keysym == UserInput.NUM_LOCK;
    }

    /** Sides may have been chosen since the text was read. */
    private static int currentKeysym(Item item) {
        int now = item.isCharacter() ? -1 : new Keyboard().getKeyCode("{" + item.name() + "}");
        return now == -1 ? item.keysym() : now;
    }

    private void strokes(Item item) {
        // The player would press Shift once more for a capital and then release it.
        boolean oneByOne = (modifiers & KeyString.SHIFT) != 0 && item.keysym() > 0 && item.keysym() < 0x100;
        for (int left = count(item); left > 0; ) {
            int now = Math.min(left, Math.max(1, strokesAtOnce - strokesInPiece));
            if (oneByOne) {
                strokeOneByOne(item.keysym(), now);
            } else {
                append(item.text(0, now), item.keysym() == -1 ? REMAPPED : now);
            }
            left -= now;
        }
    }

    private void strokeOneByOne(int keysym, int count) {
        flush();
        play(count, () -> {
            for (int i = 0; i < count; ++i) {
                stroke(NativeKeyMouseEvent.KEY_PRESS, keysym);
                stroke(NativeKeyMouseEvent.KEY_RELEASE, keysym);
            }
        });
    }

    private void append(String text, int strokes) {
        piece.append(text);
        strokesInPiece += strokes;
        if (strokesInPiece >= strokesAtOnce) {
            flush();
        }
    }

    private void flush() {
        if (strokesInPiece > 0) {
            String text = piece.toString();
            int strokes = strokesInPiece;
            piece.setLength(0);
            strokesInPiece = 0;
            play(strokes, () -> NativeKeyMouseEvent.emitHLKeyEvent(0, 0, kind, text));
        }
    }

    private void play(int strokes, Runnable action) {
        input.goOn(typed);
        long start = System.nanoTime();
        action.run();
        long each = Math.max(1, (System.nanoTime() - start) / strokes);
        strokesAtOnce = (int) Math.max(1, Math.min(MOST_STROKES, PIECE / each));
        typed += strokes;
    }

    /** Presses and releases modifier keys, in the player's order. */
    private void hold(int wanted) {
        int changed = wanted ^ modifiers;
        if (changed == 0) {
            return;
        }
        flush();
        for (int[] key : MODIFIER_KEYS) {
            if ((changed & key[0]) != 0) {
                modifiers ^= key[0];
                stroke((wanted & key[0]) != 0 ? NativeKeyMouseEvent.KEY_PRESS : NativeKeyMouseEvent.KEY_RELEASE, key[1]);
            }
        }
    }

    private void press(int keysym) {
        input.goOn(typed);
        held.add(keysym);
        stroke(NativeKeyMouseEvent.KEY_PRESS, keysym);
    }

    private static void stroke(int action, int keysym) {
        NativeKeyMouseEvent.emitLLKeyEvent(0, 0, action, keysym);
    }

    private void releaseAll() {
        piece.setLength(0);
        strokesInPiece = 0;
        hold(0);
        for (int keysym : List.copyOf(held)) {
            held.remove(keysym);
            if (keysym == UserInput.CAPS_LOCK || keysym == UserInput.NUM_LOCK) {
                noteLock(keysym);
            } else {
                stroke(NativeKeyMouseEvent.KEY_RELEASE, keysym);
            }
        }
    }
}
