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

    /** @param slider that has the focus */
    Slide(Application application, Widget slider) {
        this.application = application;
        this.slider = slider;
        Rectangle box = slider.view().bounds();
        boolean isUpright = box.height > box.width;
        forth = isUpright ? "UP" : "RIGHT";
        back = isUpright ? "DOWN" : "LEFT";
    }

    void to(double target) {
        double step = step();
        if (!isWhole((target - value()) / step)) { // a click may have taken it between two steps
            stroke("HOME", 1);
        }
        long strokes = Math.round((target - value()) / step);
        stroke(strokes > 0 ? forth : back, Math.min(Math.abs(strokes), MOST_STROKES));
        slider.await("at " + target, view -> view.value() != null && Math.abs((view.value() - target) / step) < NEAR);
    }

    /** At one end it goes the other way alone. */
    private double step() {
        double start = value();
        double step = stroke(forth, 1) - start;
        return step != 0 ? step : start - stroke(back, 1);
    }

    private static boolean isWhole(double strokes) {
        return Math.abs(strokes - Math.rint(strokes)) < NEAR;
    }

    private double stroke(String key, long count) {
        if (count > 0) {
            application.pointer().keys("{" + key + " " + count + "}");
            application.settle();
        }
        return value();
    }

    private double value() {
        return slider.await("at a value", view -> view.value() != null).value();
    }
}
