package com.talvern.test.gx.protocol;

/** What an engine asks an application for, with the values that go with the request and come back. */
public enum Operation {
    /** Window that it shall lie in, 0 for any; answers a truth value and, when there is one, a {@link MenuValues}. */
    MENU_BAR,
    /** Window of a menu; answers as {@link #MENU_BAR}. */
    MENU,
    /** Answers the number of menus that are open and as many of {@link MenuValues}. */
    OPEN_MENUS,
    /** Answers as {@link #MENU_BAR}. */
    CONTEXT_MENU,
    /** Window of a list; answers a truth value and, when it is one, a {@link ListValues}. */
    LIST,
    /** X and y of a point on the screen; answers as {@link #LIST}. */
    LIST_AT_POINT,
    /** A rectangle on the screen; answers as {@link #LIST}. */
    LIST_AT_RECTANGLE,
    /** Answers the number of file dialogs and as many of {@link FileDialogValues}, with empty boxes for what does not show. */
    FILE_DIALOGS,
    /** Window of a file dialog, and the text for its text field. Answers nothing. */
    SET_FILE,
    /** Milliseconds; answers once all that was played before has been seen to, or after this time: which of them. */
    AWAIT_IDLE,
    /**
     * A number that it has answered, or -1, and milliseconds; answers another number once the GUI thread has done anything
     * but answer questions since then, or after this time the same.
     */
    AWAIT_CHANGE,
    /** Answers the number of windows and as many of {@code WidgetView}. */
    WIDGETS,
    /**
     * X and y of a point on the screen; answers the number of widgets there, from the innermost, and their ids. Where a
     * dialog, a menu or another grab keeps presses from there, it is what takes them, 0 when that does not show.
     */
    WIDGETS_AT,
    /** Id of a widget that is to be scrolled into view; answers a truth value, whether anything scrolls around it. */
    REVEAL,
    /** Id of a widget, how many of its rows are left out, and how many to answer; the number of rows and as many of them. */
    ROWS,
    /** Id of a widget, and a {@link RowQuery}; answers the number of rows and as many of {@link RowValues}. */
    FIND_ROWS,
    /** Id of a widget, path of a row of it, and a column; answers a truth value, whether there is such a row. */
    REVEAL_ROW,
    /** Id of a widget; answers a truth value and, when it is a scroll bar that can be dragged, a {@link ScrollBarValues}. */
    SCROLL_BAR
}
