package com.talvern.test.gx.engine;

import java.time.Duration;
import java.util.concurrent.TimeUnit;

/** Is told by an application when its GUI thread has done something. One thread at a time. */
final class ApplicationWatch implements Wait.Changes {
    /** What one question waits at the most; a program may change what nobody sees just as it answers another. */
    private static final long LONGEST_NS = 1_000_000_000;
    /** For the answer, beyond the time that it waits. */
    private static final Duration ANSWER = Duration.ofSeconds(1);

    private final Application application;
    private long known = -1;
    private boolean tells = true;

    ApplicationWatch(Application application) {
        this.application = application;
        ask(0);
    }

    /** One whose GUI thread has hung since, or which cannot tell, is looked at from time to time. */
    @Override
    public boolean await(long limitNs) {
        long end = System.nanoTime() + limitNs;
        long before = known;
        for (long left = limitNs; left > 0 && tells; left = end - System.nanoTime()) {
            ask(Math.min(left, LONGEST_NS));
            if (known != before) {
                return true;
            }
        }
        Application.pause(Math.max(0, TimeUnit.NANOSECONDS.toMillis(end - System.nanoTime())));
        return false;
    }

    @Override
    public long longest() {
        return tells ? LONGEST_NS : Wait.Changes.super.longest();
    }

    private void ask(long limitNs) {
        try {
            known = application.awaitChange(known, Duration.ofNanos(limitNs), ANSWER);
        } catch (ApplicationException none) {
            tells = false; // whoever looks at it again says why
        }
    }

    @Override
    public void close() {
        // a question that is under way ends by itself
    }
}
