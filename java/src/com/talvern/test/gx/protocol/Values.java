package com.talvern.test.gx.protocol;

import java.awt.Rectangle;
import java.nio.ByteBuffer;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Optional;
import java.util.function.BiConsumer;
import java.util.function.Function;

/**
 * Values on their way between engine and application, in a block of bytes: one side adds them, the other takes them in
 * the same order. Each has its kind in front of it; one of another kind than is asked for is refused.
 */
public final class Values {
    private static final byte NULL = 0;
    private static final byte LONG = 1;
    private static final byte BOOLEAN = 2;
    private static final byte STRING = 3;
    private static final byte RECTANGLE = 4;
    private static final byte DOUBLE = 5;

    private ByteBuffer bytes;

    /** What another process has sent is not what was expected. */
    public static final class MalformedException extends RuntimeException {
        private static final long serialVersionUID = 1L;

        /** @param message what came instead of a value */
        public MalformedException(String message) {
            super(message);
        }
    }

    private Values(ByteBuffer bytes) {
        this.bytes = bytes;
    }

    /** @return no values yet */
    public static Values create() {
        return new Values(ByteBuffer.allocate(256));
    }

    /**
     * What another process has sent.
     *
     * @param bytes from its position to its limit; is used on
     * @return the values, from the first
     */
    public static Values of(ByteBuffer bytes) {
        return new Values(bytes);
    }

    /** @return a copy of the bytes of what was added */
    public byte[] toBytes() {
        return Arrays.copyOf(bytes.array(), bytes.position());
    }

    private ByteBuffer room(byte kind, int size) {
        if (bytes.remaining() <= size) {
            bytes = ByteBuffer.allocate(2 * bytes.capacity() + size).put(bytes.flip());
        }
        return bytes.put(kind);
    }

    /**
     * Adds a value.
     *
     * @param value a number, index, window or count
     * @return this
     */
    public Values add(long value) {
        room(LONG, Long.BYTES).putLong(value);
        return this;
    }

    /**
     * Adds a value.
     *
     * @param value a truth value
     * @return this
     */
    public Values add(boolean value) {
        room(BOOLEAN, 1).put((byte) (value ? 1 : 0));
        return this;
    }

    /**
     * Adds a value.
     *
     * @param value is added; may be null
     * @return this
     */
    public Values add(Boolean value) {
        if (value == null) {
            room(NULL, 0);
            return this;
        }
        return add(value.booleanValue());
    }

    /**
     * Adds a value.
     *
     * @param value a text, may be null
     * @return this
     */
    public Values add(String value) {
        if (value == null) {
            room(NULL, 0);
            return this;
        }
        int size = value.length() * Character.BYTES;
        room(STRING, Integer.BYTES + size).putInt(value.length());
        bytes.asCharBuffer().put(value);
        bytes.position(bytes.position() + size);
        return this;
    }

    /**
     * Adds a value.
     *
     * @param value a rectangle, may be null
     * @return this
     */
    public Values add(Rectangle value) {
        if (value == null) {
            room(NULL, 0);
        } else {
            room(RECTANGLE, 4 * Integer.BYTES).putInt(value.x).putInt(value.y).putInt(value.width).putInt(value.height);
        }
        return this;
    }

    /**
     * Adds a thing that may not be there: a truth value, whether it is, and itself.
     *
     * @param thing may be null
     * @param write adds the values that it consists of, as for {@link #addAll}
     * @param <T> its type
     * @return this
     */
    public <T> Values addOptional(T thing, BiConsumer<T, Values> write) {
        add(thing != null);
        if (thing != null) {
            write.accept(thing, this);
        }
        return this;
    }

    /**
     * Adds things of a kind: their number, and each.
     *
     * @param things from the first
     * @param write adds the values that one consists of
     * @param <T> their type
     * @return this
     */
    public <T> Values addAll(List<T> things, BiConsumer<T, Values> write) {
        add(things.size());
        things.forEach(thing -> write.accept(thing, this));
        return this;
    }

    /**
     * Adds values that native code has put into a block of this form.
     *
     * @param block whole values
     * @return this
     */
    public Values addBlock(byte[] block) {
        if (bytes.remaining() < block.length) {
            bytes = ByteBuffer.allocate(bytes.capacity() + Math.max(bytes.capacity(), block.length)).put(bytes.flip());
        }
        bytes.put(block);
        return this;
    }

    /**
     * Takes a value.
     *
     * @return the next value
     * @throws MalformedException it is none of that kind, as all that take a value say
     */
    public long nextLong() {
        expect(LONG, Long.BYTES);
        return bytes.getLong();
    }

    /** @return the next value */
    public int nextInt() {
        long value = nextLong();
        if (value != (int) value) {
            throw new MalformedException(value + " is too large a number");
        }
        return (int) value;
    }

    /**
     * Takes what {@link #addOptional} has added.
     *
     * @param read takes the values that it consists of
     * @param <T> its type
     * @return it, if it is there
     */
    public <T> Optional<T> nextOptional(Function<Values, T> read) {
        return nextBoolean() ? Optional.of(read.apply(this)) : Optional.empty();
    }

    /**
     * Takes what {@link #addAll} has added.
     *
     * @param read takes the values that one consists of, one value at least
     * @param <T> their type
     * @return the things from the first
     */
    public <T> List<T> nextAll(Function<Values, T> read) {
        List<T> things = new ArrayList<>();
        for (int left = nextCount(); left > 0; --left) {
            things.add(read.apply(this));
        }
        return things;
    }

    private int nextCount() {
        int count = nextInt();
        if (count < 0 || count > bytes.remaining()) {
            throw new MalformedException(count + " things in " + bytes.remaining() + " bytes");
        }
        return count;
    }

    /** @return the next value */
    public boolean nextBoolean() {
        expect(BOOLEAN, 1);
        return bytes.get() != 0;
    }

    /** @return the next value, a truth value; may be null */
    public Boolean nextTruth() {
        return isNull() ? null : Boolean.valueOf(nextBoolean());
    }

    /** @return the next value, may be null */
    public Double nextDouble() {
        if (isNull()) {
            return null;
        }
        expect(DOUBLE, Double.BYTES);
        return bytes.getDouble();
    }

    /** @return the next value, may be null */
    public String nextString() {
        return isNull() ? null : nextText();
    }

    /** @return the next value, a text that is there */
    public String nextText() {
        expect(STRING, Integer.BYTES);
        int length = bytes.getInt();
        if (length < 0 || length > bytes.remaining() / Character.BYTES) {
            throw new MalformedException("a text of " + length + " characters in " + bytes.remaining() + " bytes");
        }
        String text = bytes.asCharBuffer().subSequence(0, length).toString();
        bytes.position(bytes.position() + length * Character.BYTES);
        return text;
    }

    /** @return the next value, a text; empty for null */
    public String nextTextOrEmpty() {
        return isNull() ? "" : nextText();
    }

    /** @return the next value, may be null */
    public Rectangle nextRectangle() {
        return isNull() ? null : nextBox();
    }

    /** @return the next value, a rectangle that is there */
    public Rectangle nextBox() {
        expect(RECTANGLE, 4 * Integer.BYTES);
        return new Rectangle(bytes.getInt(), bytes.getInt(), bytes.getInt(), bytes.getInt());
    }

    /** Makes sure that all values have been taken. */
    public void end() {
        if (bytes.hasRemaining()) {
            throw new MalformedException(bytes.remaining() + " bytes too many");
        }
    }

    private boolean isNull() {
        boolean isNull = bytes.hasRemaining() && bytes.get(bytes.position()) == NULL;
        if (isNull) {
            bytes.get();
        }
        return isNull;
    }

    private void expect(byte kind, int size) {
        byte found = bytes.hasRemaining() ? bytes.get() : -1;
        if (found != kind || bytes.remaining() < size) {
            throw new MalformedException("a value of kind " + found + " with " + bytes.remaining()
                + " bytes left, where one of kind " + kind + " belongs");
        }
    }
}
