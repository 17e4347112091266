package com.talvern.test.gx.application;

import com.talvern.test.gx.sys.NativeLibrary;

/** The application's widgets, whichever toolkit made them. On the GUI thread only. */
final class WidgetTree {
    static {
        NativeLibrary.load();
    }

    private WidgetTree() {}

    /**
     * The windows that are on the screen with all that is in them, in one look.
     *
     * @return how many, and as many of {@link com.talvern.test.gx.engine.WidgetView}, in the form of {@link
     *     com.talvern.test.gx.engine.Values}
     */
    static native byte[] windows();

    /**
     * What a press of the pointer would go to.
     *
     * @param x of a point on the screen
     * @param y of the point
     * @return the ids of the widget and of those that it lies in, from the innermost; those of a modal dialog or a menu
     *     that takes the press away; empty when the point shows nothing of this application
     */
    static native long[] at(int x, int y);

    /**
     * Scrolls what is around a widget until it shows.
     *
     * @param id of the widget; one that has gone is let pass
     * @return whether anything scrolls around it
     */
    static native boolean reveal(long id);
}
