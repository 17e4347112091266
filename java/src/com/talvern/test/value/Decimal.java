package com.talvern.test.value;

import java.math.BigDecimal;
import java.math.BigInteger;

/**
 * A decimal number: a magnitude of up to 192 bits, a sign and a power of ten. Immutable. Numbers of the same value are
 * equal whatever their scales: 1.0 equals 1.00.
 */
public final class Decimal extends Number implements Comparable<Decimal> {
    private static final long serialVersionUID = 1L;

    private static final int MAGNITUDE_BITS = 3 * Long.SIZE;

    private final BigDecimal value;

    /**
     * A number from its parts: signum times magnitude, divided by ten to the power of scale.
     *
     * @param signum -1, 0 or 1; 0 exactly when the magnitude is 0
     * @param high bits 128 to 191 of the magnitude, unsigned
     * @param mid bits 64 to 127, unsigned
     * @param low bits 0 to 63, unsigned
     * @param scale digits after the decimal point; negative for zeros before it
     * @throws IllegalArgumentException signum does not go with the magnitude
     */
    public Decimal(byte signum, long high, long mid, long low, byte scale) {
        BigInteger magnitude = word(high).shiftLeft(2 * Long.SIZE).or(word(mid).shiftLeft(Long.SIZE)).or(word(low));
        if (signum < -1 || signum > 1 || (signum == 0) != (magnitude.signum() == 0)) {
            throw new IllegalArgumentException("signum " + signum + " with magnitude " + magnitude);
        }
        value = new BigDecimal(signum < 0 ? magnitude.negate() : magnitude, scale);
    }

    /**
     * A number of the given value.
     *
     * @param value its unscaled value has at most 192 bits, its scale is that of a byte
     * @throws IllegalArgumentException the value does not fit
     */
    public Decimal(BigDecimal value) {
        if (value.unscaledValue().abs().bitLength() > MAGNITUDE_BITS || value.scale() != (byte) value.scale()) {
            throw new IllegalArgumentException("too long for a decimal: " + value);
        }
        this.value = value;
    }

    private static BigInteger word(long bits) {
        return new UInt64(bits).toBigInteger();
    }

    /**
     * The sign.
     *
     * @return -1, 0 or 1
     */
    public int signum() {
        return value.signum();
    }

    /**
     * The number of digits after the decimal point.
     *
     * @return -128 to 127; negative for zeros before the point
     */
    public int scale() {
        return value.scale();
    }

    /**
     * The exact value with this number's scale.
     *
     * @return never null
     */
    public BigDecimal toBigDecimal() {
        return value;
    }

    /** The integral part; where it is too large, its low 32 bits. */
    @Override
    public int intValue() {
        return value.intValue();
    }

    /** The integral part; where it is too large, its low 64 bits. */
    @Override
    public long longValue() {
        return value.longValue();
    }

    @Override
    public float floatValue() {
        return value.floatValue();
    }

    @Override
    public double doubleValue() {
        return value.doubleValue();
    }

    @Override
    public int compareTo(Decimal other) {
        return value.compareTo(other.value);
    }

    @Override
    public boolean equals(Object other) {
        return other instanceof Decimal && compareTo((Decimal) other) == 0;
    }

    @Override
    public int hashCode() {
        return value.stripTrailingZeros().hashCode();
    }

    /** The number in plain notation with its scale, such as "-12.50". */
    @Override
    public String toString() {
        return value.toPlainString();
    }
}
