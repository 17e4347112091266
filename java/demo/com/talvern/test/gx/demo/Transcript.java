package com.talvern.test.gx.demo;

import java.io.PrintStream;
import java.time.Duration;
import java.time.Instant;

/** Runs the steps of the demo one by one and says of each what it did, whether that was right and how long it took. */
final class Transcript {
    /** What a step does; it throws when something is not as it should be. */
    interface Step {
        /** @return what was found, to be shown behind the step's name; may be empty */
        String run() throws Exception;
    }

    private final PrintStream screen;
    private final PrintStream file;
    /** Colours, and a line that shows the step at work. */
    private final boolean terminal = System.getenv("GX_DEMO_TERMINAL") != null;
    private final Instant begin = Instant.now();
    private int right;
    private int wrong;

    /** A transcript on the terminal and, without its colours, in a file. */
    Transcript(PrintStream screen, PrintStream file) {
        this.screen = screen;
        this.file = file;
    }

    void heading(String text) {
        print("", "");
        print("\033[1m" + text + "\033[0m", text);
    }

    void note(String text) {
        print("                 " + text, "                 " + text);
    }

    /** Runs a step; a failure is reported and the demo goes on with the next one. */
    void step(String what, Step step) {
        if (terminal) {
            screen.print("  ...            " + what);
            screen.flush();
        }
        final Instant start = Instant.now();
        try {
            final String found = step.run();
            ++right;
            result("\033[32m", "right", start, what + (found.isEmpty() ? "" : ": " + found));
        } catch (Exception | AssertionError failure) {
            ++wrong;
            result("\033[1;31m", "WRONG", start, what);
            (failure instanceof AssertionError ? failure.getMessage() : failure.toString()).lines().forEach(this::note);
        }
    }

    /** Prints how many steps were right and how long all took. @return whether all were right */
    boolean summary() {
        final int steps = right + wrong;
        heading(String.format("%d steps: %d right, %d wrong, %.1f s", steps, right, wrong, secondsSince(begin)));
        return wrong == 0;
    }

    static double secondsSince(Instant start) {
        return Duration.between(start, Instant.now()).toMillis() / 1000.0;
    }

    private void result(String colour, String mark, Instant start, String text) {
        final String rest = String.format(" %6.2f s  %s", secondsSince(start), text);
        if (terminal) {
            screen.print("\r\033[K");
        }
        print("  " + colour + mark + "\033[0m" + rest, "  " + mark + rest);
    }

    private void print(String coloured, String plain) {
        screen.println(terminal ? coloured : plain);
        screen.flush();
        file.println(plain);
    }
}
