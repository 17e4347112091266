package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import java.awt.Point;
import java.awt.Rectangle;

/** Mouse and keyboard for widgets. Two clicks of this engine are never a double click of the application. */
final class Pointer {
    /** Longer than any toolkit waits for the second click of two, and further than it lets the pointer move. */
    private static final long DOUBLE_CLICK_MS = 500;
    private static final int DOUBLE_CLICK_PIXELS = 16;
    private static final int DRAG_STEPS = 8;

    private final UserInput input = new UserInput(() -> false);
    private Point last;
    private long lastTime;

    void click(Point place, int button, int count) {
        pauseBefore(place, false);
        input.play("a click" + at(place), () -> NativeKeyMouseEvent.emitHLMouseEvent(place, 0, 0, null, 0, 0, button, 0,
            NativeKeyMouseEvent.CLICK, count));
        last = place;
        lastTime = System.nanoTime();
    }

    /**
     * Waits until a click is no double click with the one before.
     *
     * @param wherever the one before was
     * @return whether it has waited: what was known of the place may be so no more
     */
    boolean pauseBefore(Point place, boolean wherever) {
        return last != null && (wherever || last.distance(place) < DOUBLE_CLICK_PIXELS) && pauseBetweenClicks();
    }

    boolean pauseBetweenClicks() {
        long passed = (System.nanoTime() - lastTime) / 1_000_000;
        boolean isSoon = last != null && passed < DOUBLE_CLICK_MS;
        if (isSoon) {
            Application.pause(DOUBLE_CLICK_MS - passed);
        }
        return isSoon;
    }

    void move(Point place) {
        input.play("a move" + to(place),
            () -> NativeKeyMouseEvent.emitLLMouseEvent(place, 0, 0, 0, 0, NativeKeyMouseEvent.MOVE));
    }

    /** Returns when the server has played it. */
    void clickAtOnce(Point place) {
        Playing.mouse("a click" + at(place), () -> NativeKeyMouseEvent.emitLLMouseEvent(place, 0, 0,
            NativeKeyMouseEvent.BUTTON_LEFT, 0, NativeKeyMouseEvent.CLICK));
    }

    /** Returns when the server has played it. */
    void moveAtOnce(Point place) {
        Playing.mouse("a move" + to(place),
            () -> NativeKeyMouseEvent.emitLLMouseEvent(place, 0, 0, 0, 0, NativeKeyMouseEvent.MOVE));
    }

    /** @param notches upwards when they are above 0 */
    void turnWheel(Point place, int notches) {
        Playing.mouse("a turn of the wheel" + at(place),
            () -> NativeKeyMouseEvent.emitLLMouseEvent(place, 0, 0, 0, notches, NativeKeyMouseEvent.WHEEL));
    }

    /** Returns when the server has played it. */
    void escape() {
        Playing.keys("the key {ESC}",
            () -> NativeKeyMouseEvent.emitHLKeyEvent(0, 0, NativeKeyMouseEvent.KEYSTRING, "{ESC}"));
    }

    static Point middleOf(Rectangle box) {
        return new Point((int) box.getCenterX(), (int) box.getCenterY());
    }

    static String at(Point place) {
        return " at " + place.x + "," + place.y;
    }

    private static String to(Point place) {
        return " to " + place.x + "," + place.y;
    }

    /**
     * Drags step by step: a toolkit begins to drag once it has seen some way, and drops on what has answered that it takes
     * the drop.
     *
     * @param settle waits until the application has seen to a step
     */
    void drag(Point start, Point end, int button, Runnable settle) {
        try (Drag drag = press(start, button, start)) {
            settle.run();
            for (int step = 1; step <= DRAG_STEPS; ++step) {
                drag.to(new Point(start.x + (end.x - start.x) * step / DRAG_STEPS,
                    start.y + (end.y - start.y) * step / DRAG_STEPS));
                settle.run();
            }
        }
        settle.run();
    }

    /** @param next where the pointer moves on to at once */
    Drag press(Point start, int button, Point next) {
        last = null;
        return new Drag(input, start, button, next);
    }

    void keys(String keyString) {
        input.keys(keyString);
    }

    /** Line ends and tabs are keys. */
    void type(String text) {
        StringBuilder plain = new StringBuilder();
        for (char each : text.toCharArray()) {
            if (each != '\n' && each != '\t') {
                plain.append(each);
                continue;
            }
            typePlain(plain);
            input.keys(each == '\n' ? "~" : "{TAB}");
        }
        typePlain(plain);
    }

    private void typePlain(StringBuilder text) {
        if (!text.isEmpty()) {
            input.type(text.toString());
            text.setLength(0);
        }
    }
}
