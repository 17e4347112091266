package com.talvern.test.gx.application;

import com.talvern.test.gx.sys.NativeLibrary;

/**
 * What a user sees of menu items, beyond what {@link com.talvern.test.gx.sys.graphical.Menu} tells: that knows of no
 * Motif texts, cuts those of GTK, and has places for items that nobody sees. On the GUI thread only.
 */
final class MenuItems {
    /** Bit of each first number of {@link #look}: the item is part of the menu, though perhaps scrolled out of sight. */
    static final int SHOWN = 1;
    /** Bit of each first number of {@link #look}: a click on it does something. */
    static final int ENABLED = 2;
    /** Bit of each first number of {@link #look}: the item can be ticked. */
    static final int CHECKABLE = 4;
    /** Bit of each first number of {@link #look}: the item is ticked. */
    static final int CHECKED = 8;

    static {
        NativeLibrary.load();
    }

    private MenuItems() {}

    /**
     * What the items say.
     *
     * @param menu X window of the menu or menu bar
     * @return the whole texts, their lines separated by line feeds; null for an item that shows a picture alone or is a
     *     separator
     */
    static native String[] texts(long menu);

    /**
     * What a user sees of a menu and its items.
     *
     * @param menu X window of the menu or menu bar
     * @return six numbers for the menu, and as many for each item: the bits above, for the menu whether it is open; left,
     *     top, width and height of the part that is not hidden, on the screen, all 0 when nothing of it is to be seen; for
     *     the menu the id of its widget, for an item the X window of the menu that it has opened, or 0
     */
    static native long[] look(long menu);

    /**
     * How long a click on an item would be lost: Motif takes one that comes soon after the click that has opened an
     * option or context menu for a part of that.
     *
     * @param menu X window of a menu that is open
     * @return milliseconds; 0 when a click is taken at once
     */
    static native int msUntilClickIsTaken(long menu);

    /** @return what to ask {@link #hasSeenTo} for, about all that was played before */
    static native int markEvents();

    /**
     * Whether the toolkit has seen to what was played before a mark. Any thread.
     *
     * @param mark of {@link #markEvents}
     * @return false, too, while something else has the main loop busy
     */
    static native boolean hasSeenTo(int mark);
}
