package com.talvern.test.gx.application;

import com.talvern.test.gx.sys.NativeLibrary;

/** What Motif's labels, buttons among them, show. */
final class MotifLabel {
    static {
        NativeLibrary.load();
    }

    private MotifLabel() {}

    /**
     * The text of a menu item. On the GUI thread only.
     *
     * @param menu X window of the menu or menu bar
     * @param index of the item, from 0
     * @return the whole text, its lines separated by line feeds; null when there is no such item, or when it shows a
     *     picture or is a separator
     */
    static native String ofMenuItem(long menu, int index);
}
