package com.talvern.test.gx.engine;

import java.awt.Point;
import java.awt.Rectangle;
import java.util.List;
import java.util.NoSuchElementException;
import java.util.Optional;
import java.util.function.Supplier;

/** Plays the menus of an application: opens, scrolls, chooses, closes them. */
final class Menus {
    private static final WidgetQuery TORN_BY = Query.role(Role.ITEM).named("TearOffControl");

    private final Application application;
    private final Pointer pointer;

    /** @param pointer goes on with what was clicked before, for clicks that are not to become double clicks */
    Menus(Application application, Pointer pointer) {
        this.application = application;
        this.pointer = pointer;
    }

    void choose(long window, String... path) {
        withMenus(path, () -> {
            choose(awaitMenuBar(window), path);
            return null;
        });
    }

    void choose(MenuView menu, String... path) {
        withMenus(path, () -> {
            MenuView last = openTo(menu, path);
            pointer.clickAtOnce(Pointer.middleOf(reveal(last, path[path.length - 1]).bounds()));
            UserInput.awaitClickPassedOn(); // a window manager holds back a press on a menu that has been torn off
            application.settle();
            return null;
        });
    }

    MenuView.Item item(long window, String... path) {
        return withMenus(path, () -> lookInto(awaitMenuBar(window), path));
    }

    MenuView.Item item(MenuView menu, String... path) {
        return withMenus(path, () -> lookInto(menu, path));
    }

    private MenuView.Item lookInto(MenuView menu, String... path) {
        MenuView.Item item = itemOf(openTo(menu, path), path[path.length - 1]);
        close();
        return item;
    }

    AppWindow tearOff(String... path) {
        return withMenus(path, () -> {
            String opener = path[path.length - 1];
            MenuView menu = open(openTo(awaitMenuBar(0), path), opener);
            pointer.clickAtOnce(Pointer.middleOf(tearLine(menu, opener)));
            return AppWindow.await(application, "the window of the menu torn off", windows -> windows.stream()
                .filter(view -> view.children().stream().anyMatch(pane -> pane.id() == menu.id())).toList(),
                application.patience());
        });
    }

    private Rectangle tearLine(MenuView menu, String opener) {
        WidgetView pane = application.tree().all().filter(view -> view.id() == menu.id()).findFirst().orElseThrow();
        return TORN_BY.find(pane).stream().findFirst().map(WidgetView::bounds).orElseThrow(() -> new NoSuchElementException(
            Complaint.of("no window for the menu of " + WidgetView.quoted(opener) + " in " + application.whom(),
                "it cannot be torn off", "choose its items, or ask for one with a dashed line at its top")));
    }

    private MenuView awaitMenuBar(long window) {
        return application.awaitShown("a menu bar", application::windowsNow, asked -> asked.menuBar(window));
    }

    private MenuView openTo(MenuView menu, String... path) {
        MenuView last = menu;
        for (int depth = 0; depth < path.length - 1; ++depth) {
            last = open(last, path[depth]);
        }
        return last;
    }

    private <T> T withMenus(String[] path, Supplier<T> work) {
        Steps.note(application.name() + ": " + String.join(" > ", path));
        if (path.length == 0) {
            throw new IllegalArgumentException(Complaint.of("no item to choose in " + application.whom(), "none is named",
                "name one at least, from the first menu on"));
        }
        try {
            return work.get();
        } catch (NoSuchElementException | ApplicationException.Disabled | ApplicationException.NotInTime cannot) {
            closeAfter(cannot);
            throw cannot;
        }
    }

    private void closeAfter(RuntimeException failure) {
        try {
            close();
        } catch (RuntimeException notEven) {
            failure.addSuppressed(notEven);
        }
    }

    MenuView open(MenuView menu, String item) {
        Rectangle[] clicked = new Rectangle[1];
        boolean[] closesAnother = new boolean[1];
        Press press = new Press();
        Supplier<String> instead = () -> press.hindrance().orElseGet(application::menusNow);
        return application.awaitShown("the menu of " + WidgetView.quoted(item), instead, asked -> {
            MenuView.Item now = new Menus(asked, pointer).reveal(menu, item);
            if (now.popup() != 0) {
                return asked.menu(now.popup());
            }
            boolean noneIsOpen = asked.openMenus().isEmpty();
            boolean isDue = !now.bounds().equals(clicked[0]) || closesAnother[0] && noneIsOpen;
            if (isDue && (!noneIsOpen || press.reaches(asked, menu.id(), now.bounds()))) {
                closesAnother[0] = !noneIsOpen;
                clicked[0] = now.bounds();
                pointer.clickAtOnce(Pointer.middleOf(now.bounds()));
            }
            return Optional.empty();
        });
    }

    MenuView.Item reveal(MenuView menu, String item) {
        Rectangle[] before = new Rectangle[1];
        boolean[] rests = new boolean[1];
        return application.awaitShown("the item " + WidgetView.quoted(item) + " in sight", application::menusNow, asked -> {
            asked.awaitIdle();
            Optional<MenuView> now = asked.menu(menu.window());
            if (now.isEmpty()) {
                return Optional.empty();
            }
            MenuView.Item found = usable(itemOf(now.get(), item));
            if (!rests[0] && isScrolled(now.get())) {
                rests[0] = true;
                pointInto(now.get());
                return Optional.empty();
            }
            Rectangle place = found.bounds();
            if (place != null && (isInReach(found, now.get()) || place.equals(before[0]))) {
                return Optional.of(found);
            }
            before[0] = place;
            scrollTowards(found, now.get());
            return Optional.empty();
        });
    }

    /** A pane that has opened under the pointer, with an arrow there, scrolls by itself. */
    private static boolean isScrolled(MenuView view) {
        List<MenuView.Item> seen = seenIn(view);
        return seen.size() > 1 && seen.get(0).bounds().y != seen.get(1).bounds().y
            && seen.size() < view.items().stream().filter(MenuView.Item::shown).count();
    }

    private static List<MenuView.Item> seenIn(MenuView view) {
        return view.items().stream().filter(item -> item.bounds() != null).toList();
    }

    /** Moves the pointer to where nothing scrolls. */
    private Point pointInto(MenuView view) {
        List<MenuView.Item> seen = seenIn(view);
        Point place = Pointer.middleOf(seen.get(seen.size() / 2).bounds());
        pointer.moveAtOnce(place);
        return place;
    }

    /** An item at the edge may be cut, and be moved on by the arrow there, which the pointer comes near. */
    private static boolean isInReach(MenuView.Item item, MenuView view) {
        List<MenuView.Item> shown = view.items().stream().filter(MenuView.Item::shown).toList();
        int at = shown.indexOf(item);
        boolean follows = at == 0 || shown.get(at - 1).bounds() != null;
        boolean goesOn = at == shown.size() - 1 || shown.get(at + 1).bounds() != null;
        return follows == goesOn;
    }

    /** A notch for each item between: none of the toolkits scrolls further than an item with it. */
    private void scrollTowards(MenuView.Item item, MenuView view) {
        List<MenuView.Item> seen = seenIn(view);
        if (seen.isEmpty()) {
            return;
        }
        int above = seen.get(0).index() - item.index();
        int below = item.index() - seen.get(seen.size() - 1).index();
        pointer.turnWheel(pointInto(view), below >= 0 ? -Math.max(below, 1) : Math.max(above, 1));
    }

    private MenuView.Item itemOf(MenuView menu, String item) {
        return menu.find(item).orElseThrow(() -> menu.missing(item, " of " + application.whom()));
    }

    private MenuView.Item usable(MenuView.Item item) {
        String asked = "no choice of the item " + WidgetView.quoted(item.text()) + " in a menu of " + application.whom();
        if (!item.shown()) {
            throw new NoSuchElementException(Complaint.of(asked, "it is hidden", "do first what has the program show it"));
        }
        if (!item.enabled()) {
            throw new ApplicationException.Disabled(Complaint.of(asked, "it is disabled",
                "do first what has the program enable it; menuItem looks without choosing"));
        }
        return item;
    }

    void close() {
        application.awaitShown("closed menus after the Escape key", application::menusNow, asked -> {
            asked.awaitIdle(); // an Escape key too many closes what the menus belong to
            if (asked.openMenus().isEmpty()) {
                return Optional.of(true);
            }
            pointer.escape();
            return Optional.empty();
        });
    }
}
