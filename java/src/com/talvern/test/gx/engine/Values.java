package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.SpyVector;
import java.awt.Rectangle;

/**
 * Values on their way between engine and application: one side writes them to a vector in shared memory, the other
 * reads them in the same order.
 */
public final class Values {
    private final SpyVector vector;
    private int next;

    private Values(SpyVector vector) {
        this.vector = vector;
    }

    /**
     * Room for values, which {@link #free} gives back.
     *
     * @param expected how many values there will be, more or less
     * @return no values yet
     */
    public static Values create(int expected) {
        SpyVector vector = new SpyVector();
        vector.create(null, 0, expected, 64);
        return new Values(vector);
    }

    /**
     * What another process has written.
     *
     * @param vector a vector, as a message or among values
     * @return the values, from the first
     */
    public static Values of(Object vector) {
        return new Values((SpyVector) vector);
    }

    /** @return what travels */
    public SpyVector vector() {
        return vector;
    }

    /** Frees the values, and with them their strings. */
    public void free() {
        vector.free();
    }

    /**
     * Writes a value.
     *
     * @param value a number, index or window
     * @return this
     */
    public Values add(long value) {
        vector.addElement(value);
        return this;
    }

    /**
     * Writes a value.
     *
     * @param value a truth value
     * @return this
     */
    public Values add(boolean value) {
        vector.addElement(value);
        return this;
    }

    /**
     * Writes a value.
     *
     * @param value a text, may be null
     * @return this
     */
    public Values add(String value) {
        vector.addElement(value);
        return this;
    }

    /**
     * Writes a value.
     *
     * @param value a rectangle, may be null
     * @return this
     */
    public Values add(Rectangle value) {
        if (value == null) {
            return add((String) null);
        }
        return add(pair(value.x, value.y)).add(pair(value.width, value.height));
    }

    /**
     * Writes other values as one, by reference.
     *
     * @param value who made it frees it
     * @return this
     */
    public Values add(Values value) {
        vector.addElement(value.vector);
        return this;
    }

    /** @return the next value */
    public long nextLong() {
        return (Long) next();
    }

    /** @return the next value */
    public int nextInt() {
        return Math.toIntExact(nextLong());
    }

    /** @return the next value */
    public boolean nextBoolean() {
        return (Boolean) next();
    }

    /** @return the next value, may be null */
    public String nextString() {
        return (String) next();
    }

    /** @return the next value, may be null */
    public Rectangle nextRectangle() {
        Object first = next();
        if (first == null) {
            return null;
        }
        long place = (Long) first;
        long size = nextLong();
        return new Rectangle(high(place), low(place), high(size), low(size));
    }

    /** @return values that were written as one */
    public Values nextValues() {
        return of(next());
    }

    private Object next() {
        return vector.get(next++);
    }

    private static long pair(int high, int low) {
        return (long) high << 32 | low & 0xFFFFFFFFL;
    }

    private static int high(long pair) {
        return (int) (pair >> 32);
    }

    private static int low(long pair) {
        return (int) pair;
    }
}
