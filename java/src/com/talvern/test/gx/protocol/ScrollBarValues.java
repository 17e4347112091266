package com.talvern.test.gx.protocol;

import java.awt.Rectangle;

/**
 * A scroll bar on its way to the engine.
 *
 * @param thumb what a user drags, on the screen
 * @param way that the thumb goes along, on the screen; arrows at its ends may count as part of it
 * @param least its value with the thumb at one end
 * @param most its value with the thumb at the other end
 * @param fromFarEnd whether the least is at the bottom or on the right
 */
public record ScrollBarValues(Rectangle thumb, Rectangle way, double least, double most, boolean fromFarEnd) {
    /**
     * Takes a scroll bar; the toolkits send it themselves.
     *
     * @param in has one
     * @return the scroll bar
     */
    public static ScrollBarValues read(Values in) {
        return new ScrollBarValues(in.nextBox(), in.nextBox(), in.nextDouble(), in.nextDouble(), in.nextBoolean());
    }
}
