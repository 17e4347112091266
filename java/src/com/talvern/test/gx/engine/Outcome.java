package com.talvern.test.gx.engine;

import java.util.function.Function;
import java.util.function.Supplier;

/**
 * What came of a look: a value, or why there is none.
 *
 * @param failure what to throw when that is the last look; null when there is a value
 */
record Outcome<T>(T value, Supplier<? extends RuntimeException> failure) {
    static <T> Outcome<T> of(T value) {
        return new Outcome<>(value, null);
    }

    static <T> Outcome<T> failed(Supplier<? extends RuntimeException> failure) {
        return new Outcome<>(null, failure);
    }

    <R> Outcome<R> then(Function<T, Outcome<R>> next) {
        return failure == null ? next.apply(value) : failed(failure);
    }
}
