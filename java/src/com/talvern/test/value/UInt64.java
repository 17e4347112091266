package com.talvern.test.value;

import java.math.BigInteger;

/** An unsigned 64-bit number, 0 to 18446744073709551615. Immutable. */
public final class UInt64 extends Number implements Comparable<UInt64> {
    private static final long serialVersionUID = 1L;

    private static final BigInteger RANGE = BigInteger.ONE.shiftLeft(Long.SIZE);

    private final long bits;

    /**
     * The number whose 64 bits a long holds: the sign bit counts 2 to the power of 63.
     *
     * @param bits any long
     */
    public UInt64(long bits) {
        this.bits = bits;
    }

    /**
     * A number of the given value.
     *
     * @param value 0 to 18446744073709551615
     * @return the number
     * @throws IllegalArgumentException the value is out of range
     */
    public static UInt64 of(BigInteger value) {
        if (value.signum() < 0 || value.bitLength() > Long.SIZE) {
            throw new IllegalArgumentException("not an unsigned 64-bit number: " + value);
        }
        return new UInt64(value.longValue());
    }

    /**
     * Reads a decimal number.
     *
     * @param text digits, a leading plus sign is allowed
     * @return the number
     * @throws NumberFormatException the text is no number from 0 to 18446744073709551615
     */
    public static UInt64 parse(String text) {
        return new UInt64(Long.parseUnsignedLong(text));
    }

    /**
     * The exact value.
     *
     * @return 0 to 18446744073709551615
     */
    public BigInteger toBigInteger() {
        BigInteger signed = BigInteger.valueOf(bits);
        return bits < 0 ? signed.add(RANGE) : signed;
    }

    /** The low 32 bits. */
    @Override
    public int intValue() {
        return (int) bits;
    }

    /** The same 64 bits, so that values from 2 to the power of 63 come out negative. */
    @Override
    public long longValue() {
        return bits;
    }

    @Override
    public float floatValue() {
        return toBigInteger().floatValue();
    }

    @Override
    public double doubleValue() {
        return toBigInteger().doubleValue();
    }

    @Override
    public int compareTo(UInt64 other) {
        return Long.compareUnsigned(bits, other.bits);
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof UInt64 && ((UInt64) other).bits == bits;
    }

    @Override
    public int hashCode() {
        return Long.hashCode(bits);
    }

    @Override
    public String toString() {
        return Long.toUnsignedString(bits);
    }
}
