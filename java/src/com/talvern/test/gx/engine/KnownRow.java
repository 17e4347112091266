package com.talvern.test.gx.engine;

import java.util.List;
import java.util.Optional;

/**
 * The row that an action is about. To find it the whole list is looked through, which takes a second for 50 000 rows; the
 * later looks of the same action see whether it is where it was. One action alone has it: the next one is strict again.
 */
final class KnownRow {
    private WidgetView.Row row;
    private long count;

    /** @return the row as it is now, unless it says something else, or the list has changed in length */
    Optional<WidgetView.Row> now(Application application, WidgetView list) {
        if (row == null || list.rowCount() != count) {
            return Optional.empty();
        }
        return application.rows(list.id(), Integer.parseInt(row.path()), 1).stream()
            .filter(each -> each.cells().equals(row.cells())).findFirst();
    }

    /** @param found all that match */
    List<WidgetView.Row> noted(WidgetView list, List<WidgetView.Row> found) {
        boolean isKnown = found.size() == 1 && list.role() != Role.TREE; // a tree numbers its rows in another way
        row = isKnown ? found.get(0) : null;
        count = list.rowCount();
        return found;
    }
}
