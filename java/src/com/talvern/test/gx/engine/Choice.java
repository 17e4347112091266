package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.RowQuery;
import java.time.Duration;
import java.util.List;
import java.util.Set;
import java.util.function.Predicate;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** A way through what opens at a click on a widget: its menu, list or popover, and those behind their entries. */
final class Choice {
    /** Longer than GTK 3 lets a popover fade. */
    private static final Duration CLOSES = Duration.ofSeconds(2);

    private final Application application;
    private final Widget opener;
    private final Duration patience;
    private final Set<Long> before;

    /** Made before the click. */
    Choice(Application application, Widget opener, Duration patience) {
        this.application = application;
        this.opener = opener;
        this.patience = patience;
        before = showing(application.tree());
    }

    void choose(String... path) {
        try {
            Set<Long> known = before;
            for (int step = 0; step < path.length - 1; ++step) {
                Widget entry = entry(known, path[step]);
                known = showing(application.tree());
                entry.click();
            }
            Widget last = entry(known, path[path.length - 1]);
            boolean mayStay = last.view().checked() != null;
            last.click();
            closed(last, mayStay);
        } catch (RuntimeException cannot) {
            closeAfter(cannot);
            throw cannot;
        }
    }

    private Widget entry(Set<Long> known, String text) {
        application.pointer().pauseBetweenClicks(); // some menus take a quick second press for a part of the first
        return new Widget(application, opener.path(), "choose(" + WidgetQuery.literal(text) + ")",
            new Widget.Finder(tree -> opened(tree, known, text), place -> entries(place, text)), patience, 0);
    }

    private void closed(Widget entry, boolean mayStay) {
        if (mayStay && entry.exists()) {
            application.pointer().keys("{ESC}");
        }
        entry.awaitGone();
    }

    private static Set<Long> showing(WidgetView tree) {
        return tree.all().filter(WidgetView::showing).map(WidgetView::id).collect(Collectors.toSet());
    }

    private static Predicate<WidgetView> newSince(Set<Long> known) {
        return view -> view.showing() && !known.contains(view.id());
    }

    /** What has come since then: its items, unless rows of it are meant. */
    private List<WidgetView> opened(WidgetView tree, Set<Long> known, String text) {
        List<WidgetView> come = tree.all().filter(newSince(known)).toList();
        List<WidgetView> lists = come.stream().filter(view -> view.rowCount() >= 0).toList();
        List<WidgetView> items = come.stream().filter(view -> view.role() == Role.ITEM).toList();
        WidgetView menus = WidgetView.ofApplication("", items);
        boolean isMenu = !items.isEmpty() && (lists.isEmpty() || !entries(menus, text).isEmpty());
        return isMenu ? List.of(menus) : lists;
    }

    private List<WidgetView> entries(WidgetView place, String text) {
        return place.rowCount() >= 0 ? new Rows(application, place).cells(RowQuery.of(text), 0)
            : Query.role(Role.ITEM).text(text).find(place);
    }

    private void closeAfter(RuntimeException failure) {
        try {
            close();
        } catch (RuntimeException notEven) {
            failure.addSuppressed(notEven);
        }
    }

    /** One by one: once all have gone, the Escape key would close what they belong to. */
    private void close() {
        List<Long> open = open();
        while (!open.isEmpty()) {
            List<Long> last = open;
            application.pointer().keys("{ESC}");
            application.settle();
            open = application.patiently(CLOSES, left -> {
                List<Long> now = open();
                return now.equals(last) ? Wait.late("closed by Escape", CLOSES, () -> "still open") : Outcome.of(now);
            });
        }
    }

    /** A popover lies in the window that it belongs to. */
    private List<Long> open() {
        return application.tree().children().stream()
            .flatMap(window -> before.contains(window.id()) ? window.children().stream() : Stream.of(window))
            .filter(newSince(before)).filter(Choice::isNoTip).map(WidgetView::id).toList();
    }

    private static boolean isNoTip(WidgetView view) {
        return view.role() != Role.OTHER || view.all().anyMatch(each -> each.role() == Role.ITEM || each.rowCount() >= 0);
    }
}
