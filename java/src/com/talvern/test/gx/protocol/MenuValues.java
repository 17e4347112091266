package com.talvern.test.gx.protocol;

import java.awt.Rectangle;
import java.util.List;

/**
 * A menu bar, or a menu that is open, on its way to the engine.
 *
 * @param window its X window
 * @param id of its widget, 0 for none
 * @param bounds where it is on the screen; null when it is not to be had
 * @param items its items from the first, separators included
 */
public record MenuValues(long window, long id, Rectangle bounds, List<Item> items) {
    /**
     * An item of a menu.
     *
     * @param text what it shows; null for a separator or a picture
     * @param bounds what is to be seen of it, on the screen; null for nothing
     * @param popup X window of the menu that it has opened; 0 while it has none
     * @param shown whether it is part of the menu
     * @param enabled whether a click on it does something
     * @param checked whether it is ticked; null for one that cannot be
     */
    public record Item(String text, Rectangle bounds, long popup, boolean shown, boolean enabled, Boolean checked) {
        private static Item read(Values in) {
            return new Item(in.nextString(), in.nextRectangle(), in.nextLong(), in.nextBoolean(), in.nextBoolean(),
                in.nextTruth());
        }

        private void write(Values out) {
            out.add(text).add(bounds).add(popup).add(shown).add(enabled).add(checked);
        }
    }

    /**
     * Takes a menu.
     *
     * @param in has one
     * @return the menu
     */
    public static MenuValues read(Values in) {
        return new MenuValues(in.nextLong(), in.nextLong(), in.nextRectangle(), in.nextAll(Item::read));
    }

    /**
     * Sends the menu.
     *
     * @param out is written to
     */
    public void write(Values out) {
        out.add(window).add(id).add(bounds).addAll(items, Item::write);
    }
}
