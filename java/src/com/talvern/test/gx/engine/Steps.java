package com.talvern.test.gx.engine;

import java.time.LocalTime;
import java.time.temporal.ChronoUnit;
import java.util.ArrayDeque;
import java.util.Deque;
import java.util.List;
import java.util.Optional;
import java.util.stream.Stream;

/** What tests have last asked applications for in this JVM, for a report of one that failed. Any thread. */
public final class Steps {
    private static final int MOST = 50;
    private static final String ENGINE = Steps.class.getPackageName() + ".";
    private static final StackWalker STACK = StackWalker.getInstance();
    private static final Deque<Step> STEPS = new ArrayDeque<>();

    /** A call from outside into the engine. */
    private record Step(LocalTime time, String caller, String call, String what) {
        boolean isSameAs(Step other) {
            return other != null && caller.equals(other.caller) && call.equals(other.call);
        }

        @Override
        public String toString() {
            return time.truncatedTo(ChronoUnit.MILLIS) + "  " + caller + "  " + call + ": " + what;
        }
    }

    private Steps() {}

    /**
     * The last 50 calls, the last one at the end: time, place in the test, method, and on what it was called. Texts that
     * were to be typed are not in it.
     *
     * @return a line a call
     */
    public static List<String> last() {
        synchronized (STEPS) {
            return STEPS.stream().map(Step::toString).toList();
        }
    }

    /** Forgets all, as what comes is another test. */
    public static void forget() {
        synchronized (STEPS) {
            STEPS.clear();
        }
    }

    /**
     * Notes the engine's method that somebody outside of it has called; of several notes in one call the first counts.
     *
     * @param what it is called on, without texts to be typed
     */
    static void note(String what) {
        Step step = STACK.walk(frames -> stepOf(frames, what));
        synchronized (STEPS) {
            if (!step.isSameAs(STEPS.peekLast())) {
                STEPS.add(step);
            }
            if (STEPS.size() > MOST) {
                STEPS.remove();
            }
        }
    }

    private static Step stepOf(Stream<StackWalker.StackFrame> frames, String what) {
        StackWalker.StackFrame[] called = new StackWalker.StackFrame[1];
        Optional<StackWalker.StackFrame> caller = frames.dropWhile(frame -> {
            boolean isOwn = frame.getClassName().startsWith(ENGINE);
            called[0] = isOwn ? frame : called[0];
            return isOwn;
        }).findFirst();
        return new Step(LocalTime.now(), caller.map(frame -> frame.toStackTraceElement().toString()).orElse("a thread"),
            called[0].getMethodName(), what);
    }
}
