package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.MenuValues;
import com.talvern.test.gx.protocol.Values;
import java.awt.Rectangle;
import java.util.ArrayList;
import java.util.List;
import java.util.NoSuchElementException;
import java.util.Objects;
import java.util.Optional;

/**
 * A menu bar, or a menu that is open, as it was when the application was asked.
 *
 * @param window its X window
 * @param id that of its {@link WidgetView}
 * @param bounds where it is on the screen; null when it is not to be had
 * @param items its items from the first, separators included
 */
public record MenuView(long window, long id, Rectangle bounds, List<Item> items) {
    /**
     * An item of a menu.
     *
     * @param index its place in the menu, from 0
     * @param text what it shows, without the mark of its mnemonic; null for a separator or a picture
     * @param bounds what is to be seen of it, on the screen; null for one that the menu hides, or has scrolled out of
     *     sight, and for all items of a menu that is not open
     * @param popup X window of the menu that it has opened; 0 while it has none
     * @param shown whether it is part of the menu: a user finds it, perhaps by scrolling
     * @param enabled whether a click on it does something
     * @param checked whether it is ticked; null for one that cannot be
     */
    public record Item(int index, String text, Rectangle bounds, long popup, boolean shown, boolean enabled,
            Boolean checked) {}

    /** A menu that nobody changes any more. */
    public MenuView {
        items = List.copyOf(items);
    }

    /**
     * An item by what it shows.
     *
     * @param text the whole text, without blanks around it: some programs pad theirs
     * @return the first item with that text
     * @throws NoSuchElementException there is none; the message names those that there are
     */
    public Item item(String text) {
        return find(text).orElseThrow(() -> missing(text, ""));
    }

    Optional<Item> find(String text) {
        return items.stream().filter(item -> item.text() != null && text.equals(item.text().strip())).findFirst();
    }

    /** @param whose as in " of nedit" */
    NoSuchElementException missing(String text, String whose) {
        return new NoSuchElementException(Complaint.of("no item " + WidgetView.quoted(text) + " in a menu" + whose,
            "it has " + items.stream().filter(Item::shown).map(Item::text).filter(Objects::nonNull).toList(),
            "ask for one of these, the whole text"));
    }

    /** @return the texts of all items in order, null for those without */
    public List<String> texts() {
        List<String> texts = new ArrayList<>();
        items.forEach(item -> texts.add(item.text()));
        return texts;
    }

    static MenuView read(Values in) {
        MenuValues menu = MenuValues.read(in);
        List<Item> items = new ArrayList<>();
        for (MenuValues.Item item : menu.items()) {
            items.add(new Item(items.size(), item.text(), item.bounds(), item.popup(), item.shown(), item.enabled(),
                item.checked()));
        }
        return new MenuView(menu.window(), menu.id(), menu.bounds(), items);
    }
}
