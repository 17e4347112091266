package com.talvern.test.gx.engine;

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

    /**
     * Sends the list to another process.
     *
     * @param out is written to
     */
    public void write(Values out) {
        out.add(window).add(bounds).add(topIndex).add(items.size());
        for (Item item : items) {
            out.add(item.text()).add(item.selected()).add(item.bounds());
        }
    }

    static ListView read(Values in) {
        long window = in.nextLong();
        Rectangle bounds = in.nextBox();
        int topIndex = in.nextInt();
        int count = in.nextCount();
        List<Item> items = new ArrayList<>();
        for (int index = 0; index < count; ++index) {
            items.add(new Item(index, in.nextText(), in.nextBoolean(), in.nextRectangle()));
        }
        return new ListView(window, bounds, topIndex, items);
    }
}
