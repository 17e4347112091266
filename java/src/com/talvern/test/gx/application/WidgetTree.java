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
     * @return how many, and as many widgets, as {@link com.talvern.test.gx.protocol.Operation#WIDGETS} answers them, in the
     *     form of {@link com.talvern.test.gx.protocol.Values}
     */
    static native byte[] windows();

    /**
     * What a press of the pointer would go to.
     *
     * @param x of a point on the screen
     * @param y of the point
     * @return the ids of the widget and of those that it lies in, from the innermost; those of a modal dialog or a menu
     *     that takes the press away, 0 for one that does not show; empty when the point shows nothing of this application
     */
    static native long[] at(int x, int y);

    /**
     * Scrolls what is around a widget until it shows.
     *
     * @param id of the widget; nothing happens where it has gone
     * @return whether anything scrolls around it
     */
    static native boolean reveal(long id);

    /**
     * Rows of a list, table or tree as a user finds them by scrolling.
     *
     * @param id of the widget; one that has gone has none
     * @param first how many are left out
     * @param count how many there are to be
     * @return how many there are, and as many of {@link com.talvern.test.gx.protocol.RowValues}, in the form of {@link
     *     com.talvern.test.gx.protocol.Values}
     */
    static native byte[] rows(long id, int first, int count);

    /**
     * What the cells of rows say, as {@link #rows} tells it, and nothing else: enough to find one.
     *
     * @param id of the widget; one that has gone has none
     * @param first how many are left out
     * @param count how many there are to be
     * @return how many there are, and for each how many cells it has and what these say, null for nothing, in the form of
     *     {@link com.talvern.test.gx.protocol.Values}
     */
    static native byte[] texts(long id, int first, int count);

    /**
     * Scrolls a cell into sight.
     *
     * @param id of the widget
     * @param path of a row
     * @param column from 0
     * @return whether there is such a row
     */
    static native boolean revealRow(long id, String path, int column);

    /**
     * What a user drags in a scroll bar.
     *
     * @param id of the widget
     * @return a truth value, and when that can be dragged a {@link com.talvern.test.gx.protocol.ScrollBarValues}, in the form
     *     of {@link com.talvern.test.gx.protocol.Values}
     */
    static native byte[] scrollBar(long id);

    /**
     * The file dialogs that are on the screen.
     *
     * @return how many, and as many of {@link com.talvern.test.gx.protocol.FileDialogValues}, in the form of {@link
     *     com.talvern.test.gx.protocol.Values}
     */
    static native byte[] fileDialogs();

    /**
     * Puts a name into a file dialog, as if it were typed.
     *
     * @param window of the dialog; nothing happens where it has gone
     * @param file the name
     * @throws com.talvern.test.gx.StringNotInCodePageException the locale's code set lacks a character of it
     */
    static native void setFile(long window, String file);
}
