package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.RowValues;
import com.talvern.test.gx.protocol.Values;
import java.awt.Rectangle;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.function.UnaryOperator;
import java.util.stream.Stream;

/**
 * A widget with all that is in it, as it was when the application was asked.
 *
 * <p>An answer has 20 000 widgets at most, 100 in one another, and of a text 8192 characters; what is left out is marked.
 * Texts have no mnemonic marks, and are empty where there is none. What a field for a password holds is never read: its
 * text is empty.
 *
 * @param toolkitClass what the toolkit calls its kind
 * @param role what it is to a user
 * @param name what the program calls it: its Xt name, its id in the builder file or its GTK name
 * @param text what it says: its label, title or content
 * @param label the text that belongs to it, as the one in front of a field: where the toolkit does not say so, the label
 *     to the left of it in its line, or else close above it
 * @param tip what shows when the pointer rests on it
 * @param value the number that it stands for; null when it stands for none
 * @param checked whether it is ticked, pressed or open; null when it cannot be
 * @param bounds where it is on the screen, though it may be scrolled out of sight there
 * @param seen the part of the bounds that what it lies in does not cut off; null when that is nothing
 * @param opener what a press opens it on, as the bounds, where that is a part of it alone: the arrow of a combo box that
 *     can be typed into; null otherwise
 * @param window its own X window; 0 when it is drawn into another widget's
 * @param id tells it from the other widgets of its application as long as it lives
 * @param rowCount how many rows it has, those out of sight as well; -1 when it has none of its own
 * @param columns the titles of its columns
 * @param rows those of its rows that are in sight
 * @param enabled whether it reacts
 * @param showing whether it is on the screen, perhaps scrolled out of sight or covered
 * @param focused whether keys go to it, when its window is active
 * @param editable whether it can be typed into
 * @param secret whether it is for a password, and hides what it holds
 * @param selected whether it is chosen among its like: a tab, or an item of a list
 * @param textCut whether a text of it was longer
 * @param childrenCut whether it has more rows in sight, or more in it, than are here
 * @param rowsToggle whether a click on one of its rows that is selected deselects that
 * @param children what is in it, in the order of the toolkit
 */
public record WidgetView(String toolkitClass, Role role, String name, String text, String label, String tip,
        Double value, Boolean checked, Rectangle bounds, Rectangle seen, Rectangle opener, long window, long id,
        long rowCount,
        List<String> columns, List<Row> rows, boolean enabled, boolean showing, boolean focused, boolean editable,
        boolean secret, boolean selected, boolean textCut, boolean childrenCut, boolean rowsToggle,
        List<WidgetView> children) {
    /** No answer has more in one another. */
    private static final int DEEPEST = 101;

    /**
     * A row of a list, a table or a tree.
     *
     * @param path its number from 0; below another row that row's path, a colon and the number
     * @param selected whether it is selected
     * @param bounds what is in sight of it, on the screen; empty for nothing
     * @param cells what its cells say, "true" or "false" for a box to tick
     * @param checks whether cells are ticked, null for those without a box to tick
     * @param boxes as the bounds, for the cells
     * @param open whether the rows below it show; null when it has none
     * @param expander as the bounds, of what a press opens and closes it on; null when it shows no such place
     */
    public record Row(String path, boolean selected, Rectangle bounds, List<String> cells, List<Boolean> checks,
            List<Rectangle> boxes, Boolean open, Rectangle expander) {
        /** A row that nobody changes any more. */
        public Row {
            cells = List.copyOf(cells);
            checks = Collections.unmodifiableList(new ArrayList<>(checks));
            boxes = List.copyOf(boxes);
        }

        static Row read(Values in) {
            RowValues row = RowValues.read(in);
            return new Row(row.path(), row.selected(), row.bounds(), row.texts(),
                row.cells().stream().map(RowValues.Cell::check).toList(),
                row.cells().stream().map(RowValues.Cell::box).toList(), row.open(), row.expander());
        }

        /** @return how many rows it is below; 0 for the outermost */
        public int depth() {
            return (int) path.chars().filter(each -> each == ':').count();
        }
    }

    /** A widget that nobody changes any more. */
    public WidgetView {
        columns = List.copyOf(columns);
        rows = List.copyOf(rows);
        children = List.copyOf(children);
    }

    /** All windows of an application. */
    static WidgetView ofApplication(String name, List<WidgetView> windows) {
        Rectangle bounds = windows.stream().map(WidgetView::bounds).reduce(Rectangle::union).orElse(new Rectangle());
        return new WidgetView("", Role.APPLICATION, name, "", "", "", null, null, bounds, bounds, null, 0, 0, -1, List.of(),
            List.of(), true, true, false, false, false, false, false, false, false, windows);
    }

    /** What stands for a cell of a row: an item with its text and row, in the place of the widget that has it. */
    WidgetView cell(Row row, int column) {
        Rectangle box = row.boxes().get(column);
        Rectangle part = seen == null ? null : clipped(box, seen);
        return new WidgetView("", Role.ITEM, "", row.cells().get(column), "", "", null, row.checks().get(column), box,
            part, null, 0, id, -1, List.of(), List.of(row), enabled, showing, false, false, false, row.selected(),
            false, false, rowsToggle, List.of());
    }

    /** What stands for the place at which a row is opened and closed, as {@link #cell} does for a cell. */
    WidgetView expander(Row row) {
        Rectangle box = row.expander() == null ? new Rectangle() : row.expander();
        Rectangle part = seen == null ? null : clipped(box, seen);
        return new WidgetView(toolkitClass, Role.ITEM, "", String.join(" | ", row.cells()), "", "", null, row.open(), box,
            part, null, 0, id, -1, List.of(), List.of(row), enabled, showing, false, false, false, row.selected(), false, false,
            rowsToggle, List.of());
    }

    WidgetView withLabels(java.util.Map<Long, String> labels) {
        return with(labels.getOrDefault(id, label), seen, child -> child.withLabels(labels));
    }

    private WidgetView with(String newLabel, Rectangle newSeen, UnaryOperator<WidgetView> child) {
        return new WidgetView(toolkitClass, role, name, text, newLabel, tip, value, checked, bounds, newSeen, opener, window,
            id, rowCount, columns, rows, enabled, showing, focused, editable, secret, selected, textCut, childrenCut,
            rowsToggle, children.stream().map(child).toList());
    }

    /** @return this widget and all that is in it, each before what is in it */
    public Stream<WidgetView> all() {
        return Stream.concat(Stream.of(this), children.stream().flatMap(WidgetView::all));
    }

    /** What the labels in it say, which it keeps only where one text is not all that it says. */
    List<String> parts() {
        return labels().map(WidgetView::text).toList();
    }

    Stream<WidgetView> labels() {
        return all().skip(1).filter(each -> each.role() == Role.LABEL && each.showing() && !each.text().isEmpty());
    }

    /** Takes the windows of an answer. */
    static List<WidgetView> readAll(Values in) {
        return in.nextAll(window -> FieldLabels.completed(read(window, 0).seenWithin(null)));
    }

    /**
     * Takes a widget. Arguments are taken in the order of the components, in which native code sends them
     * (native/unix/widget/WidgetFacts.h): give each its place there, and all of them stay in one constructor's call.
     */
    private static WidgetView read(Values in, int depth) {
        if (depth > DEEPEST) {
            throw new Values.MalformedException("more than " + DEEPEST + " widgets in one another");
        }
        return new WidgetView(in.nextTextOrEmpty(), role(in.nextTextOrEmpty()), in.nextTextOrEmpty(),
            in.nextTextOrEmpty(), in.nextTextOrEmpty(), in.nextTextOrEmpty(), in.nextDouble(), in.nextTruth(),
            in.nextBox(), null, in.nextOptional(Values::nextBox).orElse(null), in.nextLong(), in.nextLong(), in.nextLong(),
            in.nextAll(Values::nextTextOrEmpty), in.nextAll(Row::read), in.nextBoolean(), in.nextBoolean(), in.nextBoolean(),
            in.nextBoolean(), in.nextBoolean(), in.nextBoolean(), in.nextBoolean(), in.nextBoolean(), in.nextBoolean(),
            in.nextAll(child -> read(child, depth + 1)));
    }

    /** What was read, with the parts that are seen: {@code around} cuts them off, null nothing. */
    private WidgetView seenWithin(Rectangle around) {
        Rectangle part = showing ? clipped(bounds, around) : null;
        Rectangle inside = part == null ? new Rectangle() : part;
        return with(label, part, child -> child.seenWithin(inside));
    }

    private static Rectangle clipped(Rectangle bounds, Rectangle around) {
        Rectangle part = around == null ? bounds : bounds.intersection(around);
        return part.isEmpty() ? null : part;
    }

    private static Role role(String name) {
        try {
            return Role.valueOf(name);
        } catch (IllegalArgumentException unknown) {
            throw new Values.MalformedException("a role " + name);
        }
    }

    /** @return the tree for people to read: a line a widget or row, what is in it below and further to the right */
    @Override
    public String toString() {
        StringBuilder out = new StringBuilder();
        print(out, "");
        return out.toString();
    }

    /** @return this widget without what is in it, in one line */
    public String line() {
        StringBuilder out = new StringBuilder(role.toString());
        if (secret) {
            out.append(" (secret)");
        } else if (!text.isEmpty()) {
            out.append(' ').append(quoted(text)).append(textCut ? " (cut here)" : "");
        }
        quoted(out, "label", label);
        quoted(out, "name", name);
        quoted(out, "tip", tip);
        if (value != null) {
            out.append(" value ").append(value);
        }
        if (checked != null) {
            out.append(checked ? " checked" : " unchecked");
        }
        out.append(selected ? " selected" : "").append(enabled ? "" : " disabled").append(showing ? "" : " hidden")
            .append(showing && seen == null ? " out of sight" : "").append(focused ? " focused" : "");
        out.append(String.format(" at %d,%d %dx%d", bounds.x, bounds.y, bounds.width, bounds.height));
        return toolkitClass.isEmpty() ? out.toString() : out.append(" (").append(toolkitClass).append(')').toString();
    }

    private void print(StringBuilder out, String indent) {
        out.append(indent).append(line()).append('\n');
        String deeper = indent + "  ";
        if (!columns.isEmpty()) {
            out.append(deeper).append("columns ").append(columns).append('\n');
        }
        for (Row row : rows) {
            out.append(deeper).append("row ").append(row.path()).append(row.selected() ? " selected" : "");
            out.append(row.open() == null ? " " : row.open() ? " open " : " closed ");
            out.append(String.join(" | ", row.cells().stream().map(WidgetView::quoted).toList())).append('\n');
        }
        children.forEach(child -> child.print(out, deeper));
        if (childrenCut) {
            out.append(deeper).append("(cut here)\n");
        }
    }

    private static void quoted(StringBuilder out, String what, String text) {
        if (!text.isEmpty()) {
            out.append(' ').append(what).append(' ').append(quoted(text));
        }
    }

    /** On one line, and no more of it than a line holds. */
    static String quoted(String text) {
        String line = text.replace("\\", "\\\\").replace("\n", "\\n").replace("\"", "\\\"");
        return '"' + (line.length() > 200 ? line.substring(0, 200) + "..." : line) + '"';
    }
}
