import static org.junit.jupiter.api.Assertions.assertTrue;

import java.time.Duration;
import java.util.function.BooleanSupplier;
import java.util.function.Predicate;

/** Waiting for what nothing reports. */
final class Within {
    private static final Duration LIMIT = Duration.ofSeconds(20);

    interface Question<T, E extends Exception> {
        T ask() throws E;
    }

    private Within() {}

    /** Asks until the answer fits or 20 seconds are over; the last one is answered. */
    static <T, E extends Exception> T last(Question<T, E> question, Predicate<T> fits) throws E, InterruptedException {
        long end = System.nanoTime() + LIMIT.toNanos();
        T answer = question.ask();
        for (; !fits.test(answer) && System.nanoTime() - end < 0; answer = question.ask()) {
            Thread.sleep(5);
        }
        return answer;
    }

    /** Fails when the condition has not come true within 20 seconds. */
    static void await(BooleanSupplier condition) throws InterruptedException {
        assertTrue(last(condition::getAsBoolean, Boolean::booleanValue), "in time");
    }
}
