package com.talvern.test.gx.engine;

import java.awt.Rectangle;
import java.util.Optional;

/** A click on a part of a menu bar or dialog that is yet to come: it waits for what covers that, and knows its name. */
final class Press {
    private Optional<String> hindrance = Optional.empty();

    /**
     * @param id of the widget that is to be pressed, 0 when it is not known
     * @return whether a click in the middle of the box goes there now
     */
    boolean reaches(Application application, long id, Rectangle box) {
        hindrance = Covering.instead(application, id, Pointer.middleOf(box));
        return hindrance.isEmpty();
    }

    /** @return what takes the click, if anything did at the last look */
    Optional<String> hindrance() {
        return hindrance;
    }
}
