package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.ListValues;
import com.talvern.test.gx.protocol.Values;
import java.awt.Rectangle;
import java.util.ArrayList;
import java.util.List;
import java.util.NoSuchElementException;

/**
 * A Motif list box as it was when the application was asked.
 *
 * @param window its X window
 * @param bounds where it is on the screen
 * @param topIndex index of the first item that is shown
 * @param items its items from the first
 */
public record ListView(long window, Rectangle bounds, int topIndex, List<Item> items) {
    private static final int FEW = 20;

    /**
     * An item of a list box.
     *
     * @param index its place in the list, from 0
     * @param text what it shows
     * @param selected whether it is selected
     * @param bounds where it is on the screen; null while it is scrolled out of sight
     */
    public record Item(int index, String text, boolean selected, Rectangle bounds) {}

    /** A list that nobody changes any more. */
    public ListView {
        items = List.copyOf(items);
    }

    /**
     * An item by what it shows.
     *
     * @param text the whole text
     * @return the first item with that text
     * @throws NoSuchElementException there is none
     */
    public Item item(String text) {
        return items.stream().filter(item -> item.text().equals(text)).findFirst()
            .orElseThrow(() -> new NoSuchElementException(Complaint.of("no item " + WidgetView.quoted(text)
                + " in a list box", "it has " + items.size() + ", the first of which are "
                + items.stream().limit(FEW).map(Item::text).toList(), "ask for one of them, the whole text")));
    }

    static ListView read(Values in) {
        ListValues list = ListValues.read(in);
        List<Item> items = new ArrayList<>();
        for (ListValues.Item item : list.items()) {
            items.add(new Item(items.size(), item.text(), item.selected(), item.bounds()));
        }
        return new ListView(list.window(), list.bounds(), list.topIndex(), items);
    }
}
