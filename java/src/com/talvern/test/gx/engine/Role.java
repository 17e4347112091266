package com.talvern.test.gx.engine;

/** What a widget is to a user, whatever the toolkit calls it. */
public enum Role {
    /** All windows of an application together. */
    APPLICATION,
    /** A window of its own. */
    WINDOW,
    /** A window for a question or for settings. */
    DIALOG,
    /** The row of menus of a window. */
    MENU_BAR,
    /** A menu that is open, or that waits in its window for that. */
    MENU,
    /** An entry of a menu, or a row of a list that is made of widgets. */
    ITEM,
    /** Does something when it is pressed. */
    PUSH_BUTTON,
    /** Stays pressed, or is a switch. */
    TOGGLE,
    /** A box to tick. */
    CHECK_BOX,
    /** One of several, of which one is chosen. */
    RADIO_BUTTON,
    /** One line of text. */
    TEXT_FIELD,
    /** Lines of text. */
    TEXT_AREA,
    /** Tells something. */
    LABEL,
    /** Rows of one column. */
    LIST,
    /** Rows of several columns, or with a title. */
    TABLE,
    /** Rows that may have rows below them. */
    TREE,
    /** A choice that opens, perhaps with a field to type into. */
    COMBO_BOX,
    /** A choice that opens as a menu. */
    OPTION_MENU,
    /** A number to slide. */
    SCALE,
    /** A number to type, with arrows beside it. */
    SPIN_BUTTON,
    /** How far something has come. */
    PROGRESS_BAR,
    /** Brings a page to the front. */
    TAB,
    /** A button of a tool bar. */
    TOOL_ITEM,
    /** Moves what is beside it. */
    SCROLL_BAR,
    /** A picture. */
    IMAGE,
    /** Holds other widgets. */
    CONTAINER,
    /** None of these, or not known. */
    OTHER;

    /** @return the name in lower case with blanks, as people write it */
    @Override
    public String toString() {
        return name().toLowerCase(java.util.Locale.ROOT).replace('_', ' ');
    }
}
