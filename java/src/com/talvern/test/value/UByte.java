package com.talvern.test.value;

/** An unsigned 8-bit number, 0 to 255. Immutable. */
public final class UByte extends UnsignedNumber implements Comparable<UByte> {
    private static final long serialVersionUID = 1L;

    /** The largest value. */
    public static final short MAX_VALUE = 255;

    private final short value;

    /**
     * A number of the given value.
     *
     * @param value 0 to 255
     * @throws IllegalArgumentException the value is out of range
     */
    public UByte(short value) {
        if (value < 0 || value > MAX_VALUE) {
            throw new IllegalArgumentException("not an unsigned byte: " + value);
        }
        this.value = value;
    }

    /**
     * The number that a byte holds when its sign bit counts 128.
     *
     * @param bits any byte
     * @return 0 to 255
     */
    public static UByte ofBits(byte bits) {
        return new UByte((short) Byte.toUnsignedInt(bits));
    }

    /**
     * Reads a decimal number.
     *
     * @param text digits, a leading plus sign is allowed
     * @return the number
     * @throws NumberFormatException the text is no number from 0 to 255
     */
    public static UByte parse(String text) {
        int parsed = Integer.parseInt(text);
        if (parsed < 0 || parsed > MAX_VALUE) {
            throw new NumberFormatException("not an unsigned byte: " + text);
        }
        return new UByte((short) parsed);
    }

    /** The same eight bits, so that values above 127 come out negative. */
    @Override
    public byte byteValue() {
        return (byte) value;
    }

    @Override
    public short shortValue() {
        return value;
    }

    @Override
    public int intValue() {
        return value;
    }

    @Override
    public long longValue() {
        return value;
    }

    @Override
    public int compareTo(UByte other) {
        return Short.compare(value, other.value);
    }
}
