package com.talvern.test.gx.engine;

import java.awt.Rectangle;

/** The way of a slider to a value by its arrow keys. How far one stroke takes it, and which way, is seen from the first. */
final class Slide {
    /** A user would take the mouse long before. */
    private static final int MOST_STROKES = 2000;
    /** In strokes: what floating point makes of a step. */
    private static final double NEAR = 0.01;

    private final Application application;
    private final Widget slider;
    private final String forth;
    private final String back;
    private double now; // since the last stroke

    /** @param slider that has the focus */
    Slide(Application application, Widget slider) {
        this.application = application;
        this.slider = slider;
        Rectangle box = slider.view().bounds();
        boolean isUpright = box.height > box.width;
        forth = isUpright ? "UP" : "RIGHT";
        back = isUpright ? "DOWN" : "LEFT";
        now = value();
    }

    void to(double target) {
        double step = step();
        if (!isWhole((target - now) / step)) { // a click may have taken it between two steps
            stroke("HOME", 1);
        }
        long strokes = step == 0 ? 0 : Math.round((target - now) / step);
        stroke(strokes > 0 ? forth : back, Math.min(Math.abs(strokes), MOST_STROKES));
        slider.await("at " + target, view -> view.value() != null && Math.abs((view.value() - target) / step) < NEAR);
    }

    /** At one end it goes the other way alone; 0 where it does not go at all. */
    private double step() {
        double start = now;
        stroke(forth, 1);
        if (now != start) {
            return now - start;
        }
        stroke(back, 1);
        return start - now;
    }

    private static boolean isWhole(double strokes) {
        return Math.abs(strokes - Math.rint(strokes)) < NEAR;
    }

    private void stroke(String key, long count) {
        if (count > 0) {
            application.pointer().keys("{" + key + " " + count + "}");
            application.settle();
            now = value();
        }
    }

    private double value() {
        return slider.await("at a value", view -> view.value() != null).value();
    }
}
