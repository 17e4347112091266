package com.talvern.test.value;

/** An unsigned 32-bit number, 0 to 4294967295. Immutable. */
public final class UInt32 extends UnsignedNumber implements Comparable<UInt32> {
    private static final long serialVersionUID = 1L;

    /** The largest value. */
    public static final long MAX_VALUE = 0xFFFFFFFFL;

    private final long value;

    /**
     * A number of the given value.
     *
     * @param value 0 to 4294967295
     * @throws IllegalArgumentException the value is out of range
     */
    public UInt32(long value) {
        if (value < 0 || value > MAX_VALUE) {
            throw new IllegalArgumentException("not an unsigned 32-bit number: " + value);
        }
        this.value = value;
    }

    /**
     * The number that an int holds when its sign bit counts 2147483648.
     *
     * @param bits any int
     * @return 0 to 4294967295
     */
    public static UInt32 ofBits(int bits) {
        return new UInt32(Integer.toUnsignedLong(bits));
    }

    /**
     * Reads a decimal number.
     *
     * @param text digits, a leading plus sign is allowed
     * @return the number
     * @throws NumberFormatException the text is no number from 0 to 4294967295
     */
    public static UInt32 parse(String text) {
        return ofBits(Integer.parseUnsignedInt(text));
    }

    /** The same 32 bits, so that values above 2147483647 come out negative. */
    @Override
    public int intValue() {
        return (int) value;
    }

    @Override
    public long longValue() {
        return value;
    }

    @Override
    public int compareTo(UInt32 other) {
        return Long.compare(value, other.value);
    }
}
