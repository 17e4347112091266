package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.RowQuery;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Stream;

/** The rows of a list, table or tree, in sight or not, and the entries of a list that is made of widgets. */
final class Rows {
    /** As many as one question asks for: few enough that the application does not stop for them. */
    private static final int AT_ONCE = 1000;
    /** More than anybody looks through. */
    private static final int MOST = 100_000;

    /** In place of the number of a column: what opens and closes the row. */
    static final int EXPANDER = -2;

    private final Application application;
    private final WidgetView list;

    Rows(Application application, WidgetView list) {
        this.application = application;
        this.list = list;
    }

    private boolean isOfWidgets() {
        return list.rowCount() < 0;
    }

    private List<WidgetView> entries() {
        return Query.role(Role.ITEM).find(list);
    }

    /** Rows below rows that are open are not counted by the toolkit. */
    private boolean areAllInSight() {
        return list.role() != Role.TREE && list.rows().size() == list.rowCount();
    }

    List<List<String>> texts() {
        if (isOfWidgets()) {
            return entries().stream().map(Rows::textsOf).toList();
        }
        return (areAllInSight() ? list.rows() : all()).stream().map(WidgetView.Row::cells).toList();
    }

    private List<WidgetView.Row> all() {
        List<WidgetView.Row> rows = new ArrayList<>();
        int before = -1;
        while (rows.size() > before && rows.size() % AT_ONCE == 0 && rows.size() < MOST) {
            before = rows.size();
            rows.addAll(application.rows(list.id(), before, AT_ONCE));
        }
        return rows;
    }

    /** @return one, or none */
    List<WidgetView> cell(int row, int column) {
        if (row < 0) {
            return List.of();
        }
        if (isOfWidgets()) {
            return partOf(entries().stream().skip(row).limit(1).toList(), column);
        }
        String path = String.valueOf(row);
        Stream<WidgetView.Row> inSight = list.role() == Role.TREE ? Stream.of()
            : list.rows().stream().filter(each -> each.path().equals(path));
        List<WidgetView> known = cells(inSight.toList(), column);
        return known.isEmpty() ? cells(application.rows(list.id(), row, 1), column) : known;
    }

    /** @return as many as match */
    List<WidgetView> cells(RowQuery query, int column) {
        return cells(query, column, new KnownRow());
    }

    /** @param known the row, if it has been looked for before in the same action */
    List<WidgetView> cells(RowQuery query, int column, KnownRow known) {
        if (isOfWidgets()) {
            return partOf(WidgetQuery.matching(() -> query.pick(entries(), Rows::textsOf)), column);
        }
        if (areAllInSight()) {
            return cells(WidgetQuery.matching(() -> query.pick(list.rows(), WidgetView.Row::cells)), column);
        }
        return cells(known.now(application, list).map(List::of)
            .orElseGet(() -> known.noted(list, application.findRows(list.id(), query))), column);
    }

    /** An entry is one cell, or as many as it has labels. */
    private static List<String> textsOf(WidgetView entry) {
        List<String> parts = entry.parts();
        return parts.size() > 1 ? parts : List.of(entry.text());
    }

    /** The first cell stands for the whole entry. */
    private static List<WidgetView> partOf(List<WidgetView> entries, int column) {
        return column == 0 || column == EXPANDER ? entries : entries.stream().filter(each -> textsOf(each).size() > 1)
            .flatMap(each -> each.labels().skip(Math.max(column, 1)).limit(column > 0 ? 1 : 0)).toList();
    }

    private List<WidgetView> cells(List<WidgetView.Row> rows, int column) {
        if (column == EXPANDER) { // one that can be opened is meant, if another says the same
            boolean canAnyBeOpened = rows.stream().anyMatch(row -> row.open() != null);
            return rows.stream().filter(row -> row.open() != null || !canAnyBeOpened).map(list::expander).toList();
        }
        return rows.stream().filter(row -> column >= 0 && column < row.cells().size())
            .map(row -> list.cell(row, column)).toList();
    }
}
