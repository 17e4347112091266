package com.talvern.test.gx.protocol;

import java.util.List;
import java.util.function.Function;
import java.util.function.Predicate;
import java.util.regex.Pattern;

/**
 * Asks for rows of a list, table or tree by what any cell of them says: exactly that; where no row says exactly that, what
 * differs in blanks around it, mnemonic marks, a colon or dots at its end. A pattern must match a whole cell.
 *
 * @param text what a cell says; null when it is asked for by pattern
 * @param pattern for a cell; null when it is asked for by text
 */
public record RowQuery(String text, Pattern pattern) {
    /**
     * Asks by text.
     *
     * @param text what a cell says
     * @return the query
     */
    public static RowQuery of(String text) {
        return new RowQuery(text, null);
    }

    /**
     * Asks by pattern.
     *
     * @param pattern for what a cell says
     * @return the query
     */
    public static RowQuery of(Pattern pattern) {
        return new RowQuery(null, pattern);
    }

    /**
     * Picks the rows that are asked for.
     *
     * @param rows all there are
     * @param cells what the cells of a row say
     * @param <R> what stands for a row
     * @return those that match
     */
    public <R> List<R> pick(List<R> rows, Function<R, List<String>> cells) {
        Predicate<List<String>> isNear = nearness();
        List<R> exact = rows.stream().filter(row -> isExact(cells.apply(row))).toList();
        return exact.isEmpty() ? rows.stream().filter(row -> isNear.test(cells.apply(row))).toList() : exact;
    }

    private boolean isExact(List<String> cells) {
        return pattern == null ? cells.contains(text) : nearness().test(cells);
    }

    /**
     * Tells rows that may be asked for from those that are not, whatever other rows say.
     *
     * @return takes what the cells of a row say
     */
    public Predicate<List<String>> nearness() {
        Predicate<String> isNear = pattern == null ? TextMatch.nearly(text) : cell -> TextMatch.matches(pattern, cell);
        return cells -> cells.stream().anyMatch(isNear);
    }

    /**
     * Sends the query.
     *
     * @param out is written to
     */
    public void write(Values out) {
        out.add(pattern == null).add(pattern == null ? text : pattern.pattern()).add(pattern == null ? 0 : pattern.flags());
    }

    /**
     * Takes a query.
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
}
