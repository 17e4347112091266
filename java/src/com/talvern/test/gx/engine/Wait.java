package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.time.Duration;
import java.util.Arrays;
import java.util.List;
import java.util.Objects;
import java.util.function.BooleanSupplier;
import java.util.function.Function;
import java.util.function.Predicate;
import java.util.function.Supplier;
import java.util.regex.Pattern;

/**
 * Waiting for something that a program does, of any program: those without an agent as well.
 *
 * <pre>{@code
 * Process terminal = new ProcessBuilder("xterm", "-T", "Letter").start();
 * NativeTopLevelWindow window = Wait.forWindow("Letter", Duration.ofSeconds(20));
 * Wait.untilIdle(terminal.toHandle(), Duration.ofMillis(200), Duration.ofSeconds(20));
 * File backup = new File("/tmp/no such file");
 * Wait.until("no backup", Duration.ofSeconds(5), () -> !backup.exists());
 * terminal.destroy();
 * Wait.untilGone(window, Duration.ofSeconds(5));
 * }</pre>
 *
 * <p>No wait is without a limit. One that is over ends in {@link ApplicationException.NotInTime}, which says what there was
 * instead. A condition is asked again when the X server tells of a change on the screen, at most each 20 milliseconds, and
 * without one after 20, 40, 80, 160, and then each 320: not everything shows. It has to answer without waiting, and what
 * it throws ends the wait. One that takes long is asked less often, so that programs keep half of the time at least. Waits
 * for widgets and windows of an {@link Application} are told by its agent when its GUI thread has done something, such as
 * having a text cursor blink, and look each second in between.
 *
 * <p>What waits for windows asks for windows, so that one thread at a time may use it: see {@link NativeWindow}. The other
 * methods are for any thread. An interrupted thread ends its wait with a {@link
 * java.util.concurrent.CancellationException}.
 */
public final class Wait {
    /** Between two looks, whatever changes: what is the same at both has kept still. */
    private static final long SHORTEST_NS = 20_000_000;
    private static final long LONGEST_NS = 320_000_000;

    private Wait() {}

    /**
     * Waits until a condition holds.
     *
     * @param description of the condition, for the exception, as in "the file is there"
     * @param limit the longest wait; with zero it is asked once
     * @param condition what is waited for
     * @throws ApplicationException.NotInTime it did not hold in time; the message names the windows that there were
     */
    public static void until(String description, Duration limit, BooleanSupplier condition) {
        patiently(limit, left -> condition.getAsBoolean() ? Outcome.of(true)
            : late(description, limit, Wait::windowsNow));
    }

    /**
     * Waits until a value is as it should be.
     *
     * @param description of the condition, for the exception
     * @param limit the longest wait; with zero it is asked once
     * @param value what is looked at
     * @param condition of the value
     * @param <T> the kind of value
     * @return the value as it is then
     * @throws ApplicationException.NotInTime it did not become so in time; the message has the last value
     */
    public static <T> T until(String description, Duration limit, Supplier<T> value, Predicate<T> condition) {
        return patiently(limit, left -> {
            T now = value.get();
            return condition.test(now) ? Outcome.of(now) : late(description, limit, () -> "it was " + now);
        });
    }

    /**
     * Waits for a window of any program.
     *
     * @param caption the whole text of its title bar
     * @param limit the longest wait
     * @return the topmost window with that caption
     * @throws ApplicationException.NotInTime there is none; the message names those that there are
     */
    public static NativeTopLevelWindow forWindow(String caption, Duration limit) {
        return forWindow("a window " + WidgetView.quoted(caption), limit,
            window -> Windows.caption(window).equals(caption));
    }

    /**
     * Waits for a window of any program.
     *
     * @param caption a pattern for the whole text of its title bar
     * @param limit the longest wait
     * @return the topmost window with such a caption
     * @throws ApplicationException.NotInTime there is none; the message names those that there are
     */
    public static NativeTopLevelWindow forWindow(Pattern caption, Duration limit) {
        return forWindow("a window like " + caption, limit,
            window -> caption.matcher(Windows.caption(window)).matches());
    }

    /**
     * Waits for a window of any program.
     *
     * @param name class or instance of the program's windows, as their property WM_CLASS has them: "XTerm" or "xterm"
     * @param limit the longest wait
     * @return the topmost window of that class
     * @throws ApplicationException.NotInTime there is none; the message names those that there are
     */
    public static NativeTopLevelWindow forWindowOfClass(String name, Duration limit) {
        return forWindow("a window of class " + name, limit,
            window -> Arrays.asList(window.nativeGetWindowClassname().split(" ")).contains(name));
    }

    private static NativeTopLevelWindow forWindow(String what, Duration limit, Predicate<NativeWindow> wanted) {
        return patiently(limit, left -> {
            Windows.requireServer();
            List<NativeTopLevelWindow> windows = Windows.shown();
            return windows.stream().filter(wanted).reduce((below, above) -> above).map(Outcome::of)
                .orElseGet(() -> late(what, limit, Wait::windowsNow));
        });
    }

    /**
     * Waits until a window is no longer on the screen: destroyed, or taken off.
     *
     * @param window a window of any program
     * @param limit the longest wait
     * @throws ApplicationException.NotInTime it still is
     */
    public static void untilGone(NativeWindow window, Duration limit) {
        String name = Complaint.nameOf(window);
        until(name + " gone", limit, () -> window.nativeIsShowing() ? "on the screen" : "gone", "gone"::equals);
    }

    /**
     * Waits until a window is on the screen: it and all that it lies in are mapped. It may be covered.
     *
     * @param window a window of any program
     * @param limit the longest wait
     * @throws ApplicationException.NotInTime it is not
     */
    public static void untilViewable(NativeWindow window, Duration limit) {
        patiently(limit, left -> window.nativeIsShowing() ? Outcome.of(true)
            : late(Complaint.nameOf(window) + " on the screen", limit, Wait::windowsNow));
    }

    /**
     * Waits until a program and those that it has started rest: none of its windows was drawn into for a while, and the
     * processes took less than a hundredth of that time. One that has ended rests. Where the X server does not know whose a
     * window is, as one outside of the program's container, only the time counts. Of an application with an agent {@link
     * Application#awaitIdle} knows more.
     *
     * @param program the process
     * @param quiet how long it has to rest
     * @param limit the longest wait
     * @throws ApplicationException.NotInTime it did not rest for so long
     */
    public static void untilIdle(ProcessHandle program, Duration quiet, Duration limit) {
        long end = System.nanoTime() + Application.nanosOf(limit);
        String[] busy = {"there was no time for it"};
        while (!rests(program, Math.min(Application.nanosOf(quiet), end - System.nanoTime()), busy)
                || end - System.nanoTime() < 0) {
            if (end - System.nanoTime() <= 0) {
                throw notInTime("process " + program.pid() + " idle for " + quiet.toMillis() + " ms", limit, busy[0]);
            }
        }
    }

    private static boolean rests(ProcessHandle program, long quietNs, String[] busy) {
        ProcessorTime before = ProcessorTime.of(program);
        try (ScreenWatch watch = ScreenWatch.of(before.family())) {
            if (watch.await(quietNs)) {
                busy[0] = "something was drawn in its windows";
                return false;
            }
        }
        long used = ProcessorTime.of(program).nanoseconds() - before.nanoseconds();
        busy[0] = "it used " + used / 1_000_000 + " ms of processor time in " + quietNs / 1_000_000 + " ms";
        return used < quietNs / 100;
    }

    /**
     * Looks until there is a value, or the time is over: at changes of the screen, and in between more and more rarely.
     *
     * @param look is given the time that is left, at least a nanosecond
     */
    static <T> T patiently(Duration limit, Function<Duration, Outcome<T>> look) {
        return patiently(limit, ScreenChanges::new, look);
    }

    static <T> T patiently(Duration limit, Supplier<Changes> changes, Function<Duration, Outcome<T>> look) {
        Objects.requireNonNull(limit, "a wait has a limit, and this one is null");
        long end = System.nanoTime() + Application.nanosOf(limit);
        try (Pace pace = new Pace(end, changes)) {
            while (true) {
                Outcome<T> outcome = look.apply(Duration.ofNanos(Math.max(end - System.nanoTime(), 1)));
                if (outcome.failure() == null) {
                    return outcome.value();
                }
                if (System.nanoTime() - end >= 0) {
                    throw outcome.failure().get();
                }
                pace.await();
            }
        }
    }

    /** Tells when to look again, from when it was made. */
    interface Changes extends AutoCloseable {
        /**
         * Waits for a change since the last call, or since this object was made.
         *
         * @param limitNs the longest wait in nanoseconds
         * @return whether something has changed
         */
        boolean await(long limitNs);

        /** @return the longest time without a look, in nanoseconds: there are changes that it is not told of */
        default long longest() {
            return LONGEST_NS;
        }

        @Override
        void close();
    }

    private static final class ScreenChanges implements Changes {
        private final ScreenWatch watch = ScreenWatch.ofScreen();

        @Override
        public boolean await(long limitNs) {
            return watch.await(limitNs);
        }

        @Override
        public void close() {
            watch.close();
        }
    }

    /** When to look again: made before the first look, at the latest until its end on the clock of nanoTime. */
    static final class Pace implements AutoCloseable {
        private final long end;
        private long looked = System.nanoTime();
        private long pause = SHORTEST_NS;
        private final Supplier<Changes> changes;
        private Changes watch;

        Pace(long end, Supplier<Changes> changes) {
            this.end = end;
            this.changes = changes;
        }

        void await() {
            long took = System.nanoTime() - looked;
            if (watch == null) {
                watch = changes.get(); // before the next look: what changes after that one is not missed
            }
            sleep(Math.max(took, SHORTEST_NS));
            watch.await(Math.min(pause - SHORTEST_NS, end - System.nanoTime()));
            pause = Math.min(2 * pause, watch.longest());
            looked = System.nanoTime();
        }

        private void sleep(long nanoseconds) {
            Application.pause(Math.max(0, Math.min(nanoseconds, end - System.nanoTime())) / 1_000_000);
        }

        @Override
        public void close() {
            if (watch != null) {
                watch.close();
            }
        }
    }

    static <T> Outcome<T> late(String what, Duration limit, Supplier<String> instead) {
        return Outcome.failed(() -> notInTime(what, limit, instead.get()));
    }

    private static ApplicationException.NotInTime notInTime(String what, Duration limit, String instead) {
        return new ApplicationException.NotInTime(Complaint.of("not within " + limit.toMillis() + " ms", what + "; " + instead,
            "a longer limit gives it more time"), null);
    }

    private static String windowsNow() {
        return "there are the windows " + Windows.shown().stream().map(Complaint::nameOf).toList();
    }
}
