package com.talvern.test.gx.application;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Rectangle;

/**
 * What a user sees of menu items, beyond what {@link com.talvern.test.gx.sys.graphical.Menu} tells: that knows of no
 * Motif texts, cuts those of GTK, and has places for items that nobody sees. On the GUI thread only.
 */
final class MenuItems {
    /** Bit of {@link #state}: the item is part of the menu, though perhaps scrolled out of sight. */
    static final int SHOWN = 1;
    /** Bit of {@link #state}: a click on it does something. */
    static final int ENABLED = 2;

    static {
        NativeLibrary.load();
    }

    private MenuItems() {}

    /**
     * What an item says.
     *
     * @param menu X window of the menu or menu bar
     * @param index of the item, from 0
     * @return the whole text, its lines separated by line feeds; null when there is no such item, or when it shows a
     *     picture alone or is a separator
     */
    static native String text(long menu, int index);

    /**
     * Whether an item shows and can be chosen.
     *
     * @param menu X window of the menu or menu bar
     * @param index of the item, from 0
     * @return the bits above; 0 when there is no such item
     */
    static native int state(long menu, int index);

    /**
     * The part of an item that its menu does not hide.
     *
     * @param menu X window of the menu or menu bar
     * @param index of the item, from 0
     * @return in pixels on the screen; null when nothing of it is to be seen
     */
    static native Rectangle seenPart(long menu, int index);
}
