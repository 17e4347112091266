package com.talvern.test.gx.application;

import com.talvern.test.gx.sys.NativeLibrary;

/**
 * What a Motif list box has, beyond what {@link com.talvern.test.gx.sys.graphical.ListBox} tells: that cuts texts, and
 * looks the list up for each item. On the GUI thread only.
 */
final class ListItems {
    static {
        NativeLibrary.load();
    }

    private ListItems() {}

    /**
     * What the items say.
     *
     * @param list X window of the list
     * @return the whole texts, their lines separated by line feeds; empty when it is no list
     */
    static native String[] texts(long list);

    /**
     * Which items are selected.
     *
     * @param list X window of the list
     * @return their indexes from 0, in any order; empty when it is no list
     */
    static native int[] selection(long list);
}
