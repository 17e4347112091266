package com.talvern.test.gx.demo;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.concurrent.Callable;

/**
 * What the demo expects to see. Programs and window managers answer in their own time, so every expectation waits. The
 * limit is long for window managers that read the whole keyboard anew for every character that no key has.
 */
final class Expect {
    private static final long LIMIT_MS = 60_000;
    private static final long UNCHANGED_MS = 5_000;
    private static final long PAUSE_MS = 5;

    private Expect() {}

    /** Waits until the condition holds; an {@link AssertionError} that names it when that takes longer than a minute. */
    static void soon(String what, Callable<Boolean> condition) throws Exception {
        if (!within(LIMIT_MS, condition)) {
            throw new AssertionError("not so within " + LIMIT_MS / 1000 + " s: " + what);
        }
    }

    /** Waits until a value is found, that is, not null. */
    static <T> T found(String what, Callable<T> search) throws Exception {
        final Object[] result = new Object[1];
        soon(what, () -> (result[0] = search.call()) != null);
        @SuppressWarnings("unchecked")
        final T value = (T) result[0];
        return value;
    }

    /** Waits until two values are equal, and shows both when they stay different. */
    static <T> void equal(String what, T expected, Callable<T> actual) throws Exception {
        if (!within(LIMIT_MS, () -> expected.equals(actual.call()))) {
            throw new AssertionError(what + "\n  expected " + expected + "\n  found    " + actual.call());
        }
    }

    /**
     * Waits until a file holds exactly the UTF-8 bytes of a text; shows the first difference when it stays as it is for
     * 5 s and differs.
     */
    static void fileHolds(Path file, String text) throws Exception {
        final byte[] expected = text.getBytes(StandardCharsets.UTF_8);
        byte[] found = bytesOf(file);
        while (!Arrays.equals(expected, found)) {
            final byte[] before = found;
            if (!within(UNCHANGED_MS, () -> !Arrays.equals(before, bytesOf(file)))) {
                throw new AssertionError(difference(file.getFileName().toString(), expected, found));
            }
            found = bytesOf(file);
        }
    }

    /** Compares two texts at once, and shows the first difference. */
    static void same(String what, String expected, String actual) {
        if (!expected.equals(actual)) {
            throw new AssertionError(difference(what, expected.getBytes(StandardCharsets.UTF_8),
                actual.getBytes(StandardCharsets.UTF_8)));
        }
    }

    /** Waits until a file holds some text. @return all that it holds then */
    static String fileWith(Path file, String part) throws Exception {
        soon(file.getFileName() + " holds " + part, () -> textOf(file).contains(part));
        return textOf(file);
    }

    /** Waits until the condition holds. @return whether it did so within a limit in milliseconds */
    static boolean within(long limitMs, Callable<Boolean> condition) throws Exception {
        final long end = System.nanoTime() + limitMs * 1_000_000;
        while (!condition.call()) {
            if (System.nanoTime() > end) {
                return false;
            }
            Thread.sleep(PAUSE_MS);
        }
        return true;
    }

    private static byte[] bytesOf(Path file) throws IOException {
        return Files.exists(file) ? Files.readAllBytes(file) : new byte[0];
    }

    private static String textOf(Path file) throws IOException {
        return new String(bytesOf(file), StandardCharsets.UTF_8);
    }

    private static String difference(String what, byte[] expected, byte[] found) {
        final int at = Arrays.mismatch(expected, found);
        return String.format("%s: %d bytes, expected %d; they differ at byte %d%n  expected ...%s%n  found    ...%s",
            what, found.length, expected.length, at, around(expected, at), around(found, at));
    }

    private static String around(byte[] bytes, int at) {
        final int from = Math.max(0, at - 20);
        final int to = Math.min(bytes.length, at + 20);
        return from >= to ? "(end)" : new String(bytes, from, to - from, StandardCharsets.UTF_8).replace("\n", "\\n");
    }
}
