package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.ScrollBarValues;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;

/** The way of a scroll bar to a value: its thumb is dragged there. How far a pixel takes it is seen on the way. */
final class Scroll {
    /** More than it takes, but where the program moves the thumb as well. */
    private static final int MOST_JUMPS = 6;
    private static final int MOST_STEPS = 16;
    /** Arrows at its ends, which may count as part of the way, make it seem longer. */
    private static final double SHORTER = 1.3;
    /** In pixels: on a shorter way the program's rounding counts too much. */
    private static final int FAR = 8;
    /** Pixels across; twice what GTK takes for a drag. */
    private static final int ASIDE = 16;

    private final Application application;
    private final Widget widget;
    private final ScrollBarValues bar;
    private final Point start;
    private final double first;
    private double perPixel;
    private double now;
    private int moved; // pixels, downwards or to the right

    /** @param bar as it is now */
    Scroll(Application application, Widget widget, ScrollBarValues bar) {
        this.application = application;
        this.widget = widget;
        this.bar = bar;
        start = Pointer.middleOf(bar.thumb());
        first = value();
        now = first;
        perPixel = (bar.fromFarEnd() ? -1 : 1) * (bar.most() - bar.least()) / room(bar);
    }

    /** @return whether the thumb can be moved at all */
    static boolean hasRoom(ScrollBarValues bar) {
        return bar.most() > bar.least() && room(bar) > 0;
    }

    private static boolean isUpright(ScrollBarValues bar) {
        return bar.way().height - bar.thumb().height > bar.way().width - bar.thumb().width;
    }

    private static int room(ScrollBarValues bar) {
        return isUpright(bar) ? bar.way().height - bar.thumb().height : bar.way().width - bar.thumb().width;
    }

    void to(double target) {
        try (Drag drag = application.pointer().press(start, NativeKeyMouseEvent.BUTTON_LEFT, aside())) {
            jump(drag, target);
            step(drag, target);
        }
        application.settleMotion();
        widget.await("at " + target, view -> view.value() != null && Math.abs(view.value() - target) <= Math.abs(perPixel));
    }

    /** Far enough for any toolkit to see that the press does not rest, and without effect on the thumb. */
    private Point aside() {
        int far = (isUpright(bar) ? start.x : start.y) < ASIDE ? ASIDE : -ASIDE;
        return isUpright(bar) ? new Point(start.x + far, start.y) : new Point(start.x, start.y + far);
    }

    private void jump(Drag drag, double target) {
        for (int jumps = 0; jumps < MOST_JUMPS && Math.abs(target - now) > Math.abs(perPixel); ++jumps) {
            int next = onTheScreen((int) Math.round((target - first) / perPixel));
            if (next == moved) {
                return;
            }
            move(drag, next);
            if (isAtEnd()) {
                perPixel *= SHORTER;
            } else if (Math.abs(moved) >= FAR && now != first) {
                perPixel = (now - first) / moved;
            }
        }
    }

    /**
     * Pixel by pixel, until the next one is further from the target. Bars of GTK 3 grow under the pointer, and then a pixel
     * stands for something else than before.
     */
    private void step(Drag drag, double target) {
        int step = target > now == perPixel > 0 ? 1 : -1;
        for (int steps = 0; steps < MOST_STEPS && now != target; ++steps) {
            double before = now;
            move(drag, moved + step);
            if (now == before && isAtEnd()) {
                return;
            }
            perPixel = Math.max(Math.abs(perPixel), Math.abs(now - before));
            if (isFurther(now, before, target)) {
                double beyond = now;
                move(drag, moved - step);
                if (isFurther(now, beyond, target)) {
                    move(drag, moved + step);
                }
                return;
            }
        }
    }

    private static boolean isFurther(double one, double other, double target) {
        return Math.abs(one - target) > Math.abs(other - target);
    }

    private boolean isAtEnd() {
        return now <= bar.least() || now >= bar.most();
    }

    private int onTheScreen(int pixels) {
        Rectangle screen = NativeWindow.nativeGetRootNativeWindow().nativeGetRectangle();
        int least = isUpright(bar) ? screen.y - start.y : screen.x - start.x;
        int size = isUpright(bar) ? screen.height : screen.width;
        return Math.max(least, Math.min(pixels, least + size - 1));
    }

    private void move(Drag drag, int wanted) {
        int pixels = onTheScreen(wanted);
        drag.to(isUpright(bar) ? new Point(start.x, start.y + pixels) : new Point(start.x + pixels, start.y));
        application.settleMotion();
        moved = pixels;
        now = value();
    }

    private double value() {
        return widget.await("at a value", view -> view.value() != null).value();
    }
}
