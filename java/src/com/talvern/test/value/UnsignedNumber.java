package com.talvern.test.value;

/** A number whose value is that of its long. */
abstract class UnsignedNumber extends Number {
    private static final long serialVersionUID = 1L;

    @Override
    public float floatValue() {
        return longValue();
    }

    @Override
    public double doubleValue() {
        return longValue();
    }

    @Override
    public boolean equals(Object other) {
        return other != null && getClass() == other.getClass() && ((UnsignedNumber) other).longValue() == longValue();
    }

    @Override
    public int hashCode() {
        return Long.hashCode(longValue());
    }

    @Override
    public String toString() {
        return Long.toString(longValue());
    }
}
