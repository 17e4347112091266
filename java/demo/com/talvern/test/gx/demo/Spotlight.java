package com.talvern.test.gx.demo;

import com.talvern.test.gx.sys.graphical.Highlighter;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import com.talvern.test.gx.ui.NativeTooltipWindow;
import java.awt.Rectangle;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.locks.LockSupport;

/** Shows on the screen what the demo is about to do: a red frame around the control and a text beside it. */
final class Spotlight {
    private static final int THICKNESS = 3;
    private static final int FLASH_MS = 120;
    private static final int FLASHES_MS = 360;
    private static final int BESIDE = 12;
    /** More than any text of the demo is wide. */
    private static final int ROOM = 250;
    private static final int HEIGHT = 40;
    private static final Rectangle SCREEN = NativeWindow.nativeGetRootNativeWindow().nativeGetRectangle();

    private static final long TOOLTIP = NativeTooltipWindow.create(0, 0, "gxsys", false);
    /** Those that may still be on the screen. */
    private static final List<Highlighter> FRAMES = new ArrayList<>();

    private Spotlight() {}

    /**
     * Says what comes next, to the right of a rectangle of the screen, or to its left where there is no room. The text
     * stays until the next one or {@link #off}.
     */
    static void say(Rectangle box, String text) {
        final int right = box.x + box.width + BESIDE;
        put(right + ROOM < SCREEN.width ? right : box.x - ROOM, box.y, text);
    }

    /** Says what comes next below a rectangle of the screen, where there is room for long texts. */
    static void sayBelow(Rectangle box, String text) {
        put(box.x + BESIDE, Math.min(box.y + box.height + BESIDE, SCREEN.height - HEIGHT), text);
    }

    /** Says what comes next, flashes a frame around the control that it is done with, and returns when that is over. */
    static void flash(Rectangle box, String text) {
        say(box, text);
        flash(box);
    }

    /** Flashes a frame around a control and returns when that is over. */
    static void flash(Rectangle box) {
        awaitFrames();
        frame(box, FLASH_MS, FLASHES_MS);
        awaitFrames();
    }

    /**
     * Frames that vanish by themselves after so many milliseconds, so that a picture can be taken meanwhile. The next
     * frame waits for that.
     */
    static void frames(List<Rectangle> boxes, int milliseconds) {
        awaitFrames();
        boxes.forEach(box -> frame(box, 0, milliseconds));
    }

    static void off() {
        NativeTooltipWindow.hide(TOOLTIP);
    }

    /** Only the last frame that was made could be waited for natively, and not once an older one has vanished. */
    private static void awaitFrames() {
        for (Highlighter frame : FRAMES) {
            while (!new NativeWindow(frame.getHandle()).nativeGetRectangle().isEmpty()) {
                LockSupport.parkNanos(5_000_000);
            }
        }
        FRAMES.clear();
    }

    private static void put(int x, int y, String text) {
        NativeTooltipWindow.setText(TOOLTIP, text);
        NativeTooltipWindow.move(TOOLTIP, x, y);
    }

    private static void frame(Rectangle box, int interval, int duration) {
        FRAMES.add(Highlighter.create(box, 255, 0, 0, THICKNESS, interval, duration));
    }
}
