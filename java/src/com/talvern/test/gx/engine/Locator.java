package com.talvern.test.gx.engine;

import java.util.ArrayList;
import java.util.Comparator;
import java.util.List;
import java.util.Objects;
import java.util.Optional;
import java.util.stream.Stream;

/** Finds the line of Java for a widget of a tree: asks what people would ask, and takes what finds that widget alone. */
final class Locator {
    /** Nobody asks by more than that. */
    private static final int LONGEST = 100;

    private final Application application;
    private final WidgetView tree;

    Locator(Application application, WidgetView tree) {
        this.application = application;
        this.tree = tree;
    }

    Optional<String> path(WidgetView view) {
        if (view == tree) {
            return Optional.of("application");
        }
        return AppWindow.isWindow(view) && tree.children().stream().anyMatch(each -> each == view)
            ? Optional.of(window(view).path()) : find(view).map(Widget::path);
    }

    Optional<String> path(WidgetView list, WidgetView.Row row) {
        return find(list).flatMap(found -> Stream.concat(
                row.cells().stream().limit(1).filter(text -> isName(text)).map(text -> found.cell(text, 0)),
                row.path().contains(":") ? Stream.of() : Stream.of(found.cell(Integer.parseInt(row.path()), 0)))
            .filter(cell -> isRow(cell.in(tree), row)).findFirst().map(Widget::path));
    }

    private static boolean isRow(List<WidgetView> cells, WidgetView.Row row) {
        return cells.size() == 1 && cells.get(0).rows().stream().anyMatch(each -> each.path().equals(row.path()));
    }

    private AppWindow window(WidgetView view) {
        List<WidgetView> windows = tree.children().stream().filter(AppWindow::isWindow).toList();
        return new AppWindow(application, view, windows, application.patience());
    }

    private Optional<Widget> find(WidgetView view) {
        List<Widget> asked = scopes(view).flatMap(scope -> questions(scope, view)).toList();
        return asked.stream().filter(question -> isAlone(question.in(tree), view)).findFirst()
            .or(() -> numbered(asked, view));
    }

    /** In a dialog a button is asked for there: the next dialog may have one that is called the same. */
    private Stream<WidgetScope> scopes(WidgetView view) {
        Stream<WidgetScope> around = tree.children().stream()
            .filter(window -> AppWindow.isWindow(window) && window.all().anyMatch(each -> each == view)).map(this::window);
        List<WidgetScope> window = around.toList();
        boolean inDialog = tree.children().stream()
            .anyMatch(each -> each.role() == Role.DIALOG && each.all().anyMatch(inside -> inside == view));
        Stream<WidgetScope> all = Stream.of(application);
        return inDialog ? Stream.concat(window.stream(), all) : Stream.concat(all, window.stream());
    }

    private static boolean isAlone(List<WidgetView> found, WidgetView view) {
        return found.size() == 1 && found.get(0) == view;
    }

    /** One of several, among as few as can be. */
    private Optional<Widget> numbered(List<Widget> asked, WidgetView view) {
        record Place(Widget question, int position, int of) {}
        return asked.stream().map(question -> {
            List<WidgetView> found = question.in(tree);
            return new Place(question, positionOf(found, view), found.size());
        }).filter(place -> place.position() >= 0).min(Comparator.comparing(Place::of))
            .map(place -> place.question().at(place.position()));
    }

    private static int positionOf(List<WidgetView> found, WidgetView view) {
        for (int position = 0; position < found.size(); ++position) {
            if (found.get(position) == view) {
                return position;
            }
        }
        return -1;
    }

    private static boolean isName(String text) {
        return !text.isBlank() && text.length() <= LONGEST;
    }

    private static Stream<Widget> questions(WidgetScope scope, WidgetView view) {
        List<Widget> questions = new ArrayList<>();
        Query role = Query.role(view.role());
        List<String> names = Stream.of(view.textCut() ? "" : WidgetQuery.callName(view), view.label(), view.tip())
            .filter(Locator::isName).distinct().toList();
        names.forEach(name -> questions.add(called(scope, view, name)));
        names.forEach(name -> questions.add(scope.find(role.called(name))));
        if (isName(view.name())) {
            questions.add(scope.find(Query.name(view.name())));
            questions.add(scope.find(role.named(view.name())));
        }
        questions.add(only(scope, view));
        questions.add(scope.find(role));
        questions.add(scope.find(Query.any()));
        return questions.stream().filter(Objects::nonNull);
    }

    private static boolean isField(WidgetView view) {
        return view.role() == Role.COMBO_BOX && view.editable();
    }

    /** @return null when people have no word for it */
    private static Widget called(WidgetScope scope, WidgetView view, String name) {
        return switch (view.role()) {
            case PUSH_BUTTON, TOOL_ITEM -> scope.button(name);
            case CHECK_BOX, RADIO_BUTTON, TOGGLE -> scope.toggle(name);
            case TEXT_FIELD, TEXT_AREA, SPIN_BUTTON -> scope.field(name);
            case LIST -> scope.list(name);
            case TABLE, TREE -> scope.table(name);
            case COMBO_BOX -> isField(view) ? scope.field(name) : scope.comboBox(name);
            case OPTION_MENU -> scope.optionMenu(name);
            case SCALE -> scope.slider(name);
            case LABEL -> scope.label(name);
            case TAB -> scope.tab(name);
            default -> null;
        };
    }

    private static Widget only(WidgetScope scope, WidgetView view) {
        return switch (view.role()) {
            case TEXT_FIELD, TEXT_AREA, SPIN_BUTTON -> scope.field();
            case LIST -> scope.list();
            case TABLE, TREE -> scope.table();
            case COMBO_BOX -> isField(view) ? scope.field() : scope.comboBox();
            case OPTION_MENU -> scope.optionMenu();
            case SCALE -> scope.slider();
            default -> null;
        };
    }
}
