package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import java.awt.Point;

/** A button that is down until this is closed, where the pointer is then. */
final class Drag implements AutoCloseable {
    private final UserInput input;
    private final int button;
    private Point place;

    /**
     * Presses the button and moves on at once: a press that rests where it is for a second is another gesture of GTK 3, which
     * scrolls in smaller steps then. Returns when the window manager has passed the press on.
     */
    Drag(UserInput input, Point start, int button, Point next) {
        this.input = input;
        this.button = button;
        place = start;
        input.playUnsettled("a press" + Pointer.at(start), () -> {
            NativeKeyMouseEvent.emitLLMouseEvent(start, 0, 0, button, 0, NativeKeyMouseEvent.MOUSE_PRESS);
            if (!next.equals(start)) {
                NativeKeyMouseEvent.emitLLMouseEvent(next, 0, 0, 0, 0, NativeKeyMouseEvent.MOVE);
            }
        });
        UserInput.awaitClickPassedOn();
    }

    void to(Point next) {
        input.playUnsettled("a move to " + next.x + "," + next.y,
            () -> NativeKeyMouseEvent.emitLLMouseEvent(next, 0, 0, 0, 0, NativeKeyMouseEvent.MOVE));
        place = next;
    }

    /** Releases it even when the user has stopped the input. */
    @Override
    public void close() {
        Playing.mouse("a release" + Pointer.at(place), () -> NativeKeyMouseEvent.emitLLMouseEvent(place, 0, 0, button, 0,
            NativeKeyMouseEvent.MOUSE_RELEASE));
    }
}
