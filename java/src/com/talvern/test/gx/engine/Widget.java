package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.RowQuery;
import com.talvern.test.gx.protocol.ScrollBarValues;
import com.talvern.test.gx.sys.graphical.NativeKeyMouseEvent;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.Objects;
import java.util.Optional;
import java.util.function.BiFunction;
import java.util.function.Function;
import java.util.function.IntFunction;
import java.util.function.Predicate;
import java.util.regex.Pattern;
import java.util.stream.IntStream;
import java.util.stream.Stream;

/**
 * A widget of an application under test, as a question that is asked anew at each use: it need not be there yet.
 *
 * <pre>{@code
 * try (Application editor = Application.start("nedit")) {
 *     editor.choose("Search", "Find...");
 *     editor.field("String to Find").setText("needle");
 *     editor.toggle("Case Sensitive").set(true);
 *     editor.button("Find").await("enabled", WidgetView::enabled);
 *     editor.button("Cancel").click();
 * }
 * }</pre>
 *
 * <p><b>Strict and patient.</b> What asks for one widget waits until there is one, for five seconds unless {@link
 * Application#setPatience} or {@link #within} says otherwise. Then it ends in {@link WidgetException.NotFound}, which names
 * what there is instead. If there is more than one it ends at once, in {@link WidgetException.Ambiguous}.
 *
 * <p><b>Actions</b> wait until the widget shows, is enabled, and has kept its place for two looks; what can be scrolled
 * is scrolled until it is in sight. Then the application is asked what a press at the place would go to: if that is
 * another widget, a dialog or another program's window, it ends in {@link WidgetException.Covered}. Only then is input
 * played, as by a user, and the call returns when the application has handled all that the X server has for it, or two
 * seconds later. Nothing is pressed twice.
 *
 * <p>Exceptions of questions are those of {@link Application} as well. Any thread may use it; one at a time should play.
 */
public final class Widget implements WidgetScope {
    private static final String LONGER = "within or setPatience waits longer";
    private static final String SCROLL = "enlarge its window, or scroll it there by hand";

    private final Application application;
    private final String base;
    private final String call;
    private final Finder finder;
    private final Duration patience;
    /** Of a cell, else negative. */
    private final int column;

    /** Where it is looked for in the tree of the application, and what is found in each such place. */
    record Finder(Function<WidgetView, List<WidgetView>> places, Function<WidgetView, List<WidgetView>> within) {
        static Finder of(Function<WidgetView, List<WidgetView>> within) {
            return new Finder(List::of, within);
        }

        List<WidgetView> apply(WidgetView tree) {
            return places.apply(tree).stream().flatMap(place -> within.apply(place).stream()).toList();
        }
    }

    Widget(Application application, String base, String call, Finder finder, Duration patience) {
        this(application, base, call, finder, patience, -1);
    }

    /** @param column of a cell, else negative */
    Widget(Application application, String base, String call, Finder finder, Duration patience, int column) {
        this.application = application;
        this.base = base;
        this.call = call;
        this.finder = finder;
        this.patience = patience;
        this.column = column;
    }

    /** The same question, as people would write it. */
    Widget knownAs(String shorter) {
        return new Widget(application, base, shorter, finder, patience, column);
    }

    private Widget derived(String further, Function<WidgetView, List<WidgetView>> from) {
        return cellOf(further, from, -1);
    }

    private Widget cellOf(String further, Function<WidgetView, List<WidgetView>> from, int inColumn) {
        return new Widget(application, path(), further, new Finder(finder::apply, from), patience, inColumn);
    }

    /** @return {@link #path} */
    @Override
    public String toString() {
        return path();
    }

    /** @return a line of Java that finds it again, where {@code application} is the application */
    public String path() {
        return base + "." + call;
    }

    /**
     * @param limit the longest wait; may be zero
     * @return the same question, with another patience
     */
    public Widget within(Duration limit) {
        return new Widget(application, base, call, finder, limit, column);
    }

    /**
     * @param position in the order of the tree, from 0
     * @return one of several that match
     */
    public Widget at(int position) {
        return new Widget(application, path(), "at(" + position + ")", Finder.of(tree -> {
            List<WidgetView> found = finder.apply(tree);
            return position >= 0 && position < found.size() ? List.of(found.get(position)) : List.of();
        }), patience, column);
    }

    @Override
    public Widget find(Query query) {
        return derived("find(" + query + ")", WidgetQuery.of(query)::find);
    }

    @Override
    public WidgetView tree() {
        return view();
    }

    /** @return the widget with all that is in it, once there is one */
    public WidgetView view() {
        return patiently(this::one);
    }

    /** @return what it says or holds */
    public String text() {
        return view().text();
    }

    /** @return whether it reacts */
    public boolean isEnabled() {
        return view().enabled();
    }

    /** @return whether it is ticked, pressed, in front or selected */
    public boolean isSelected() {
        return isSelected(view());
    }

    private static boolean isSelected(WidgetView view) {
        return view.selected() || Boolean.TRUE.equals(view.checked());
    }

    /** @return whether there is one now that shows */
    public boolean exists() {
        return finder.apply(application.tree()).stream().anyMatch(WidgetView::showing);
    }

    /** The widgets of a tree that match. */
    List<WidgetView> in(WidgetView tree) {
        return finder.apply(tree);
    }

    /** @return all that match now, hidden or not, with all that is in them; none when there is none */
    public List<WidgetView> views() {
        return finder.apply(application.tree());
    }

    /** @return all that match now, each as a question of its own */
    public List<Widget> all() {
        return IntStream.range(0, finder.apply(application.tree()).size()).mapToObj(this::at).toList();
    }

    /**
     * All rows of a list, table or tree, those out of sight as well, but not those below rows that are closed; the entries
     * of a list that is made of widgets.
     *
     * @return of each row the texts of its cells; the first 100 000 rows, asked for by the thousand
     */
    public List<List<String>> rows() {
        return new Rows(application, view()).texts();
    }

    /** @return the titles of the columns of a list, table or tree; none where it shows none */
    public List<String> columns() {
        return view().columns();
    }

    /**
     * The title of a column of a table of GTK: a click on it sorts, where the program lets it. Motif has no widgets for titles.
     *
     * @param title what it says
     * @return the title
     */
    public Widget header(String title) {
        return find(Query.role(Role.PUSH_BUTTON).called(title)).knownAs("header(" + WidgetQuery.literal(title) + ")");
    }

    /**
     * The title of a column, as {@link #header(String)}.
     *
     * @param title what it says
     * @return the title
     */
    public Widget header(Pattern title) {
        return find(Query.role(Role.PUSH_BUTTON).called(title)).knownAs("header(" + WidgetQuery.literal(title) + ")");
    }

    /** Presses the left button on it. */
    public void click() {
        press(0, 1);
    }

    /** Presses the left button on it twice. */
    public void doubleClick() {
        press(0, 2);
    }

    /** Presses the right button on it. */
    public void rightClick() {
        press(NativeKeyMouseEvent.BUTTON_RIGHT, 1);
    }

    /** Presses the middle button on it, which pastes into fields what was selected last. */
    public void middleClick() {
        press(NativeKeyMouseEvent.BUTTON_MIDDLE, 1);
    }

    /** Presses the left button on it while the Control key is down: one more row of a list is selected, or one less. */
    public void controlClick() {
        press(NativeKeyMouseEvent.CONTROL, 1);
    }

    /** Presses the left button on it while the Shift key is down: the rows of a list up to it are selected. */
    public void shiftClick() {
        press(NativeKeyMouseEvent.SHIFT, 1);
    }

    private void press(int button, int count) {
        press(Widget::middleOf, button, count);
    }

    private void press(Function<WidgetView, Point> where, int button, int count) {
        Point place = ready(where);
        // Lists of Motif take a quick second press for a double click, wherever it is.
        if (application.pointer().pauseBefore(place, column >= 0)) {
            place = ready(where); // the program had time to move it
        }
        application.pointer().click(place, button, count);
        application.settle();
    }

    /** Moves the pointer over it. */
    public void hover() {
        application.pointer().move(ready());
        application.settle();
    }

    /**
     * Drags it with the left button, a part of the way at a time, each of which the application sees to before the next.
     *
     * @param target where to
     */
    public void dragTo(Widget target) {
        drag(target, NativeKeyMouseEvent.BUTTON_LEFT);
    }

    /**
     * Drags it with the middle button, as {@link #dragTo}: what Motif takes for a drag, unless the program's resource {@code
     * enableBtn1Transfer} is {@code button2_adjust} or {@code button2_transfer}.
     *
     * @param target where to
     */
    public void middleDragTo(Widget target) {
        drag(target, NativeKeyMouseEvent.BUTTON_MIDDLE);
    }

    private void drag(Widget target, int button) {
        Point end = target.ready();
        application.pointer().drag(ready(), end, button, application::settleMotion);
    }

    /** Gives it the keyboard focus by a click, if it has not got it. */
    public void focus() {
        if (!view().focused()) {
            click();
        }
    }

    /**
     * Types a text into it. If it has not got the focus, that is given to it by a click, and the text goes to the end.
     *
     * @param text may have line ends and tabs, which are keys
     */
    public void type(String text) {
        WidgetView field = editable();
        if (!field.focused()) {
            click();
            application.pointer().keys(field.role() == Role.TEXT_AREA ? "^{END}" : "{END}");
        }
        application.pointer().type(text);
        application.settle();
    }

    /**
     * Replaces what it holds: clicks on it, selects all by the keyboard, and types. What it shows then is the application's
     * affair; see {@link #awaitText(String)}.
     *
     * @param text may be empty
     */
    public void setText(String text) {
        WidgetView field = editable();
        click();
        replace(field.role() == Role.TEXT_AREA ? "^{HOME}^+{END}" : "{HOME}+{END}", text);
        application.settle();
    }

    /** @param selectAll keys that select what is there, where the focus is */
    private void replace(String selectAll, String text) {
        application.pointer().keys(selectAll);
        if (text.isEmpty()) {
            application.pointer().keys("{DEL}");
        } else {
            application.pointer().type(text);
        }
    }

    private WidgetView editable() {
        return patiently(tree -> one(tree).then(view -> view.editable() && view.enabled() ? Outcome.of(view)
            : notReady(view, "cannot be typed into", "only fields that are enabled and not read-only can")));
    }

    /**
     * Ticks or unticks it by a click, unless it is so already.
     *
     * @param checked how it shall be
     * @throws WidgetException.NotReady it is nothing to tick
     * @throws WidgetException.NotSo it has not become so by the click
     */
    public void set(boolean checked) {
        WidgetView before = view();
        if (before.checked() == null) {
            throw new WidgetException.NotReady(complaint("it is nothing to tick: " + before.line(),
                "check boxes, radio buttons, switches and toggles are; click() presses others"));
        }
        if (before.checked() != checked) {
            click();
            await(checked ? "checked" : "unchecked", view -> view.checked() != null && view.checked() == checked);
        }
    }

    /**
     * Moves a slider or scroll bar to a value, unless it has it already. The application sees the values on the way.
     *
     * <p>A slider is given the focus by a click, which may move it as well, and arrow keys are struck, 2000 at most. A scroll
     * bar is dragged, to the pixel that comes nearest: {@link WidgetView#value} says which value that is.
     *
     * @param value as {@link WidgetView#value} tells it
     * @throws WidgetException.NotReady it is neither a slider nor a scroll bar with something to scroll
     * @throws WidgetException.NotSo it has not got there: its range ends before, or it has no step there
     */
    public void set(double value) {
        WidgetView before = view();
        if (before.role() != Role.SCALE && before.role() != Role.SCROLL_BAR) {
            throw new WidgetException.NotReady(complaint("it is no slider and no scroll bar: " + before.line(),
                "setText() is for what holds a number as text"));
        }
        if (before.value() != null && before.value() == value) {
            return;
        }
        if (before.role() == Role.SCROLL_BAR) {
            scrollTo(value);
        } else {
            focus();
            new Slide(application, this).to(value);
        }
    }

    private void scrollTo(double value) {
        ScrollBarValues bar = patiently(tree -> one(tree).then(this::usable).then(this::scrollBar));
        if (value < bar.least() || value > bar.most()) {
            throw new WidgetException.NotSo(complaint("it does not go to " + value, "it goes from " + bar.least() + " to "
                + bar.most()));
        }
        application.pointer().move(Pointer.middleOf(bar.thumb())); // GTK 3 shows some when the pointer comes near
        application.settle();
        ready(view -> Pointer.middleOf(application.scrollBar(view.id()).orElse(bar).thumb()));
        new Scroll(application, this, patiently(tree -> one(tree).then(this::scrollBar))).to(value);
    }

    private Outcome<ScrollBarValues> scrollBar(WidgetView view) {
        return application.scrollBar(view.id()).filter(Scroll::hasRoom).map(Outcome::of)
            .orElseGet(() -> notReady(view, "has nothing to scroll", "do first what has the program show more than there is room for"));
    }

    /**
     * A cell of a list, table or tree, in sight or not: what is done to it scrolls it there.
     *
     * @param row the number of the row, from 0, counted as a user does: without those below rows that are closed
     * @param column from 0
     * @return the cell
     */
    public Widget cell(int row, int column) {
        return cellOf("cell(" + row + ", " + column + ")", view -> new Rows(application, view).cell(row, column), column);
    }

    /**
     * A cell of a list, table or tree, in sight or not.
     *
     * @param row what any cell of the row says
     * @param column from 0
     * @return the cell
     */
    public Widget cell(String row, int column) {
        return cell(WidgetQuery.literal(row), RowQuery.of(row), column);
    }

    /**
     * A cell of a list, table or tree, in sight or not.
     *
     * @param row what any cell of the row says, the whole of it
     * @param column from 0
     * @return the cell
     */
    public Widget cell(Pattern row, int column) {
        return cell(WidgetQuery.literal(row), RowQuery.of(row), column);
    }

    private Widget cell(String literal, RowQuery row, int inColumn) {
        return cellOf("cell(" + literal + ", " + inColumn + ")",
            view -> new Rows(application, view).cells(row, inColumn), inColumn);
    }

    /**
     * Selects a row of a list, table or tree, or an entry of a list of widgets: scrolls it into sight and clicks on it, unless
     * it is selected and the click would deselect it, as in lists of Motif in which each click adds a row or takes one away.
     *
     * @param text what any cell of it says
     */
    public void select(String text) {
        select(WidgetQuery.literal(text), RowQuery.of(text));
    }

    /**
     * Selects a row or entry, as {@link #select(String)} does.
     *
     * @param text what any cell of it says, the whole of it
     */
    public void select(Pattern text) {
        select(WidgetQuery.literal(text), RowQuery.of(text));
    }

    /**
     * Selects a row or entry, as {@link #select(String)} does.
     *
     * @param row its number from 0, as for {@link #cell(int, int)}
     */
    public void select(int row) {
        cell(row, 0).selectByClick();
    }

    private void select(String literal, RowQuery row) {
        KnownRow known = new KnownRow();
        cellOf("cell(" + literal + ", 0)", view -> new Rows(application, view).cells(row, 0, known), 0).selectByClick();
    }

    private void selectByClick() {
        WidgetView row = view();
        if (!row.rowsToggle() || !row.selected()) {
            click();
        }
        await("selected", WidgetView::selected);
    }

    /**
     * Opens a row of a tree, so that those below it show, unless it is open: presses on what stands in front of it for that,
     * or, where the program hides that, clicks on the row and presses the key for it.
     *
     * @param text what any cell of the row says
     * @throws WidgetException.NotReady it has no rows below it
     * @throws WidgetException.NotSo the program has not opened it
     */
    public void expand(String text) {
        setOpen("expand(" + WidgetQuery.literal(text), RowQuery.of(text), true);
    }

    /**
     * Opens a row of a tree, as {@link #expand(String)} does.
     *
     * @param text what any cell of the row says, the whole of it
     */
    public void expand(Pattern text) {
        setOpen("expand(" + WidgetQuery.literal(text), RowQuery.of(text), true);
    }

    /**
     * Opens a row of a tree, as {@link #expand(String)} does.
     *
     * @param row its number from 0, as for {@link #cell(int, int)}
     */
    public void expand(int row) {
        setOpen("expand(" + row, (rows, inColumn) -> rows.cell(row, inColumn), true);
    }

    /**
     * Closes a row of a tree, so that those below it are hidden, unless it is closed, in the way in which {@link
     * #expand(String)} opens one.
     *
     * @param text what any cell of the row says
     * @throws WidgetException.NotReady it has no rows below it
     * @throws WidgetException.NotSo the program has not closed it
     */
    public void collapse(String text) {
        setOpen("collapse(" + WidgetQuery.literal(text), RowQuery.of(text), false);
    }

    /**
     * Closes a row of a tree, as {@link #collapse(String)} does.
     *
     * @param text what any cell of the row says, the whole of it
     */
    public void collapse(Pattern text) {
        setOpen("collapse(" + WidgetQuery.literal(text), RowQuery.of(text), false);
    }

    /**
     * Closes a row of a tree, as {@link #collapse(String)} does.
     *
     * @param row its number from 0, as for {@link #cell(int, int)}
     */
    public void collapse(int row) {
        setOpen("collapse(" + row, (rows, inColumn) -> rows.cell(row, inColumn), false);
    }

    private void setOpen(String asked, RowQuery query, boolean open) {
        setOpen(asked, (rows, inColumn) -> rows.cells(query, inColumn), open);
    }

    /** @param cells of the row that is asked for, by column */
    private void setOpen(String asked, BiFunction<Rows, Integer, List<WidgetView>> cells, boolean open) {
        IntFunction<Widget> cell = inColumn ->
            cellOf(asked + ")", view -> cells.apply(new Rows(application, view), inColumn), inColumn);
        Widget expander = cell.apply(Rows.EXPANDER);
        WidgetView before = expander.patiently(tree -> expander.one(tree).then(expander::openable));
        if (before.checked() == open) {
            return;
        }
        WidgetView.Row row = before.rows().get(0);
        Widget ofRow = expander.inRow(row.path()); // what comes to show below it may say the same
        if (row.expander() != null) {
            ofRow.click();
        } else {
            cell.apply(Math.max(row.checks().indexOf(null), 0)).inRow(row.path()).click();
            ofRow.strokeUnless(open);
        }
        ofRow.await(open ? "open" : "closed", view -> Boolean.TRUE.equals(view.checked()) == open);
    }

    /** The program may have done it at the click already. */
    private void strokeUnless(boolean open) {
        WidgetView view = view();
        if (Boolean.TRUE.equals(view.checked()) != open) {
            boolean isMotif = view.toolkitClass().startsWith("Xm");
            application.pointer().keys(isMotif ? (open ? "^{RIGHT}" : "^{LEFT}") : (open ? "{Num+}" : "{Num-}"));
            application.settle();
        }
    }

    private Outcome<WidgetView> openable(WidgetView view) {
        return !view.rows().isEmpty() && view.checked() != null ? Outcome.of(view)
            : notReady(view, "has no rows below it", "select() is for rows that cannot be opened");
    }

    /** Of a cell: that of one row alone. */
    private Widget inRow(String path) {
        return new Widget(application, base, call, new Finder(finder.places, place -> finder.within.apply(place).stream()
            .filter(view -> view.rows().stream().anyMatch(row -> row.path().equals(path))).toList()), patience, column);
    }

    /**
     * Chooses from what opens at a click on it: a combo box, an option menu, a button with a menu or popover. Clicks on it
     * and then on one entry after the other. When there is no such entry, what has opened is closed again by the Escape key,
     * and so it is when it stays open because the last entry was ticked.
     *
     * @param path what the entries say, from the first menu that opens; one as a rule
     */
    public void choose(String... path) {
        if (path.length == 0) {
            throw new IllegalArgumentException(complaint("no entry to choose is named",
                "name one at least, from the first menu that opens"));
        }
        Choice choice = new Choice(application, this, patience);
        press(Widget::whereItOpens, 0, 1);
        choice.choose(path);
    }

    /**
     * Opens its context menu by the right button.
     *
     * @return the menu, for its items and {@link Application#choose(MenuView, String...)}
     * @throws ApplicationException.NotInTime none has opened
     */
    public MenuView contextMenu() {
        rightClick();
        return application.awaitContextMenu();
    }

    /**
     * Opens its context menu by the right button and chooses from it.
     *
     * @param path the texts of the items, from that menu; one at least
     */
    public void chooseFromContextMenu(String... path) {
        application.choose(contextMenu(), path);
    }

    /**
     * Writes into a cell of a table or tree: clicks on it until its field opens, once to select the row and once to write,
     * and ends with the Enter key.
     *
     * @param text the new content
     * @throws WidgetException.NotFound no field opens
     */
    public void edit(String text) {
        long table = view().id();
        Widget field = new Widget(application, path(), "edit(" + WidgetQuery.literal(text) + ")",
            Finder.of(tree -> tree.all().filter(view -> view.id() == table)
                .flatMap(view -> Kinds.FIELD.find(view).stream()).filter(WidgetView::showing).toList()), patience);
        if (!field.exists()) {
            click();
        }
        if (!field.exists()) {
            application.pointer().pauseBetweenClicks();
            click();
        }
        field.view();
        replace("{HOME}+{END}", text);
        application.pointer().keys("~");
        application.settle();
    }

    /**
     * Waits until it says exactly that.
     *
     * @param text the whole text
     */
    public void awaitText(String text) {
        legible();
        await("with the text " + WidgetView.quoted(text), view -> view.text().equals(text));
    }

    /**
     * Waits until the whole of its text matches.
     *
     * @param text a pattern
     */
    public void awaitText(Pattern text) {
        legible();
        await("with a text like " + text, view -> text.matcher(view.text()).matches());
    }

    /** A text that is waited for in vain stands in the exception. */
    private void legible() {
        WidgetView view = view();
        if (view.secret()) {
            throw new WidgetException.NotReady(complaint("it hides what it holds: " + view.line(),
                "wait for something else that the program shows"));
        }
    }

    /**
     * Waits until it is as it should be.
     *
     * @param description for the exception, behind "is not"
     * @param condition of the widget
     * @return the widget as it is then
     * @throws WidgetException.NotSo it has not become so
     */
    public WidgetView await(String description, Predicate<WidgetView> condition) {
        return patiently(tree -> one(tree).then(view -> condition.test(view) ? Outcome.of(view)
            : Outcome.failed(() -> new WidgetException.NotSo(complaint("it is not " + description + " after "
                + patience.toMillis() + " ms: " + view.line(), LONGER)))));
    }

    /** Waits until it reacts. */
    public void awaitEnabled() {
        await("enabled", WidgetView::enabled);
    }

    /**
     * Takes a picture of the part of it that is in sight, as a user sees it: with what covers it.
     *
     * @param options how
     * @return the picture
     * @throws WidgetException.NotReady it has not come into sight
     */
    public Picture capture(Screen.Option... options) {
        return Screen.capture(patiently(tree -> one(tree).then(view -> view.seen() != null ? Outcome.of(view)
            : notReady(view, "is out of sight", SCROLL))).seen(), options);
    }

    /**
     * Waits until none shows that matches. With the application its widgets have gone, too.
     *
     * @throws WidgetException.NotSo one still shows
     */
    public void awaitGone() {
        try {
            patiently(this::gone);
        } catch (ApplicationException.Ended withAll) {
            return;
        }
    }

    private Outcome<Boolean> gone(WidgetView tree) {
        Optional<WidgetView> left = finder.apply(tree).stream().filter(WidgetView::showing).findFirst();
        return left.isEmpty() ? Outcome.of(true) : Outcome.failed(() -> new WidgetException.NotSo(
            complaint("it is still there after " + patience.toMillis() + " ms: " + left.get().line(), LONGER)));
    }

    /** Looks until there is a value, or the time is over. */
    private <T> T patiently(Function<WidgetView, Outcome<T>> look) {
        Steps.note(path());
        return application.patiently(patience, left -> look.apply(application.tree()));
    }

    private Outcome<WidgetView> one(WidgetView tree) {
        List<WidgetView> found = finder.apply(tree);
        if (found.size() > 1) {
            throw new WidgetException.Ambiguous(complaint("it is " + found.size() + " widgets",
                "ask for more of one, or for at(0) and so on, of these:" + lines(found)));
        }
        return found.size() == 1 ? Outcome.of(found.get(0)) : Outcome.failed(() -> new WidgetException.NotFound(
            complaint("not found within " + patience.toMillis() + " ms", whatThereIs(tree))));
    }

    /** Where it was looked for; what there is elsewhere when that is nothing. */
    private String whatThereIs(WidgetView tree) {
        List<WidgetView> there = finder.places.apply(tree).stream().flatMap(this::candidates).toList();
        List<WidgetView> near = NearTexts.sorted(call, there.isEmpty() ? candidates(tree).toList() : there);
        return near.isEmpty() ? "nothing there says anything; " + LONGER
            : LONGER + ", or ask for what there is:" + lines(near);
    }

    private Stream<WidgetView> candidates(WidgetView place) {
        return column >= 0 && !place.rows().isEmpty() ? place.rows().stream().flatMap(row ->
            IntStream.range(0, row.cells().size()).mapToObj(each -> place.cell(row, each)))
            : place.all().skip(1).filter(WidgetView::showing);
    }

    private String complaint(String came, String remedy) {
        return Complaint.of(path() + " of " + application.whom(), came, remedy);
    }

    private static String lines(List<WidgetView> views) {
        List<String> lines = new ArrayList<>(views.stream().limit(10).map(WidgetView::line).toList());
        if (views.size() > lines.size()) {
            lines.add("and " + (views.size() - lines.size()) + " more");
        }
        return "\n  " + String.join("\n  ", lines);
    }

    private static Point middleOf(WidgetView view) {
        return Pointer.middleOf(onScreen(view));
    }

    private static Point whereItOpens(WidgetView view) {
        return view.opener() == null ? middleOf(view) : Pointer.middleOf(view.opener());
    }

    private Point ready() {
        return ready(Widget::middleOf);
    }

    /** @return where to press it, once that is right */
    private Point ready(Function<WidgetView, Point> where) {
        WidgetView[] before = new WidgetView[1];
        return patiently(tree -> one(tree).then(view -> {
            WidgetView last = before[0];
            before[0] = view;
            // What covers it is told even when there was no time for a second look.
            return usable(view).then(usable -> uncovered(usable, where.apply(usable), tree))
                .then(place -> last != null && Objects.equals(last.seen(), view.seen()) ? Outcome.of(place)
                    : notReady(view, last == null ? "has been looked at but once" : "moves", LONGER));
        }));
    }

    private <T> Outcome<T> notReady(WidgetView view, String why, String remedy) {
        return Outcome.failed(() -> new WidgetException.NotReady(
            complaint("it " + why + " after " + patience.toMillis() + " ms: " + view.line(), remedy)));
    }

    private Outcome<WidgetView> usable(WidgetView view) {
        if (!view.showing()) {
            return notReady(view, "is hidden", "do first what has the program show it");
        }
        if (!view.enabled()) {
            return notReady(view, "is disabled", "do first what has the program enable it");
        }
        if (onScreen(view).isEmpty()) {
            reveal(view);
            return notReady(view, "is out of sight", SCROLL);
        }
        return Outcome.of(view);
    }

    private void reveal(WidgetView view) {
        if (view.role() == Role.ITEM && !view.rows().isEmpty()) {
            application.revealRow(view.id(), view.rows().get(0).path(), column);
        } else {
            application.reveal(view.id());
        }
    }

    /** A window may reach beyond the screen. */
    private static Rectangle onScreen(WidgetView view) {
        Rectangle seen = view.seen();
        return seen == null ? new Rectangle()
            : seen.intersection(NativeWindow.nativeGetRootNativeWindow().nativeGetRectangle());
    }

    private Outcome<Point> uncovered(WidgetView view, Point place, WidgetView tree) {
        List<Long> there = application.widgetsAt(place);
        return there.contains(view.id()) ? Outcome.of(place) : Outcome.failed(() -> new WidgetException.Covered(
            complaint(Covering.takesThePress(place, there, tree) + " from " + view.line(),
                "close or move that first, or activate() the window")));
    }
}
