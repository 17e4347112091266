package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.Values;
import java.util.List;
import java.util.function.Predicate;
import java.util.regex.Pattern;
import java.util.stream.Stream;

/**
 * Asks for rows of a list, table or tree by what any cell of them says: exactly that; where no row says exactly that, what
 * differs in blanks around it, mnemonic marks, a colon or dots at its end. A pattern must match a whole cell.
 *
 * @param text what a cell says; null when it is asked for by pattern
 * @param pattern for a cell; null when it is asked for by text
 */
public record RowQuery(String text, Pattern pattern) {
    static RowQuery of(String text) {
        return new RowQuery(text, null);
    }

    static RowQuery of(Pattern pattern) {
        return new RowQuery(null, pattern);
    }

    /**
     * Picks the rows that are asked for.
     *
     * @param rows all there are
     * @return those that match
     */
    public List<WidgetView.Row> pick(List<WidgetView.Row> rows) {
        List<WidgetView.Row> exact = rows.stream().filter(this::isExact).toList();
        Predicate<List<String>> isNear = nearness();
        return exact.isEmpty() ? rows.stream().filter(row -> isNear.test(row.cells())).toList() : exact;
    }

    private boolean isExact(WidgetView.Row row) {
        return pattern == null ? row.cells().contains(text)
            : row.cells().stream().anyMatch(cell -> Query.matches(pattern, cell));
    }

    /**
     * Tells rows that may be asked for from those that are not, whatever other rows say.
     *
     * @return takes what the cells of a row say
     */
    public Predicate<List<String>> nearness() {
        Predicate<String> isNear = pattern == null ? Query.nearly(text) : cell -> Query.matches(pattern, cell);
        return cells -> cells.stream().anyMatch(isNear);
    }

    void write(Values out) {
        out.add(pattern == null).add(pattern == null ? text : pattern.pattern()).add(pattern == null ? 0 : pattern.flags());
    }

    /**
     * Takes it from another process.
     *
     * @param in has one
     * @return the query
     */
    public static RowQuery read(Values in) {
        boolean isText = in.nextBoolean();
        String text = in.nextText();
        int flags = in.nextInt();
        return isText ? of(text) : of(Pattern.compile(text, flags));
    }

    /** @return a Java expression for what is asked for */
    @Override
    public String toString() {
        return Stream.of(text).filter(each -> each != null).map(Query::literal).findFirst()
            .orElseGet(() -> Query.literal(pattern));
    }
}
