package com.talvern.test.gx.protocol;

import java.awt.Rectangle;
import java.util.List;

/**
 * A Motif list box on its way to the engine.
 *
 * @param window its X window
 * @param bounds where it is on the screen
 * @param topIndex index of the first item that is shown
 * @param items its items from the first
 */
public record ListValues(long window, Rectangle bounds, int topIndex, List<Item> items) {
    /**
     * An item of a list box.
     *
     * @param text what it shows
     * @param selected whether it is selected
     * @param bounds where it is on the screen; null while it is scrolled out of sight
     */
    public record Item(String text, boolean selected, Rectangle bounds) {
        private static Item read(Values in) {
            return new Item(in.nextText(), in.nextBoolean(), in.nextRectangle());
        }

        private void write(Values out) {
            out.add(text).add(selected).add(bounds);
        }
    }

    /**
     * Takes a list.
     *
     * @param in has one
     * @return the list
     */
    public static ListValues read(Values in) {
        return new ListValues(in.nextLong(), in.nextBox(), in.nextInt(), in.nextAll(Item::read));
    }

    /**
     * Sends the list.
     *
     * @param out is written to
     */
    public void write(Values out) {
        out.add(window).add(bounds).add(topIndex).addAll(items, Item::write);
    }
}
