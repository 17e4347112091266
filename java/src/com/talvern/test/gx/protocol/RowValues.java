package com.talvern.test.gx.protocol;

import java.awt.Rectangle;
import java.util.List;

/**
 * A row of a list, a table or a tree on its way to the engine.
 *
 * @param path its number from 0; below another row that row's path, a colon and the number
 * @param selected whether it is selected
 * @param bounds what is in sight of it, on the screen; empty for nothing
 * @param cells its cells
 * @param open whether the rows below it show; null when there are none
 * @param expander as the bounds, of what a press opens and closes it on; null when it has no such place
 */
public record RowValues(String path, boolean selected, Rectangle bounds, List<Cell> cells, Boolean open,
        Rectangle expander) {
    /**
     * A cell of a row.
     *
     * @param text what it says; empty for nothing
     * @param check whether it is ticked; null for one without a box to tick
     * @param box what is in sight of it, on the screen; empty for nothing
     */
    public record Cell(String text, Boolean check, Rectangle box) {
        private static Cell read(Values in) {
            return new Cell(in.nextTextOrEmpty(), in.nextTruth(), in.nextBox());
        }

        private void write(Values out) {
            out.add(text).add(check).add(box);
        }
    }

    /**
     * Takes a row.
     *
     * @param in has one
     * @return the row
     */
    public static RowValues read(Values in) {
        return new RowValues(in.nextText(), in.nextBoolean(), in.nextBox(), in.nextAll(Cell::read),
            in.nextTruth(), in.nextOptional(Values::nextBox).orElse(null));
    }

    /**
     * Sends the row.
     *
     * @param out is written to
     */
    public void write(Values out) {
        out.add(path).add(selected).add(bounds).addAll(cells, Cell::write).add(open)
            .addOptional(expander, (box, values) -> values.add(box));
    }

    /** @return what its cells say, empty for nothing */
    public List<String> texts() {
        return cells.stream().map(Cell::text).toList();
    }
}
