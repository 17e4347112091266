package com.talvern.test.gx.inspect;

import java.time.Duration;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.TimeUnit;
import java.util.stream.Collectors;

/** Where it stands what there is to look at, for the pages that wait for something newer. Any thread. */
final class Board {
    /** A page that has not asked for so long has gone. */
    private static final long GONE_NS = TimeUnit.SECONDS.toNanos(3);
    /** More pages than one has open, and fewer than there are threads to answer them. */
    private static final int MOST_WAITING = 8;

    /**
     * What there is.
     *
     * @param picture number of the newest picture; 0 for none yet
     * @param tree number of the newest tree; 0 for none yet
     * @param news number of the newest trouble or end
     * @param trouble why what is shown may be old; empty while all is well
     * @param end how the program or the inspector has ended; empty as long as neither has
     */
    record State(long picture, long tree, long news, String trouble, String end) {
        boolean isEnded() {
            return !end.isEmpty();
        }
    }

    private final Map<String, String> troubles = new TreeMap<>();
    private State state = new State(0, 0, 0, "", "");
    private int waiting;
    private int answering;
    private long asked = System.nanoTime() - GONE_NS;
    private boolean isTold;

    synchronized State state() {
        return state;
    }

    synchronized void picture() {
        set(new State(state.picture + 1, state.tree, state.news, state.trouble, state.end));
    }

    synchronized void tree() {
        set(new State(state.picture, state.tree + 1, state.news, state.trouble, state.end));
    }

    /**
     * Says what is wrong.
     *
     * @param about what was to be had
     * @param trouble why it was not; empty when it was
     */
    synchronized void trouble(String about, String trouble) {
        troubles.put(about, trouble);
        String all = troubles.values().stream().filter(text -> !text.isEmpty()).collect(Collectors.joining(" "));
        if (!all.equals(state.trouble)) {
            set(new State(state.picture, state.tree, state.news + 1, all, state.end));
        }
    }

    /** The first end counts. */
    synchronized void end(String end) {
        if (!state.isEnded()) {
            set(new State(state.picture, state.tree, state.news + 1, state.trouble, end));
        }
    }

    private void set(State next) {
        state = next;
        notifyAll();
    }

    /**
     * Waits for something newer, for a page.
     *
     * @param seen what the page has
     * @return what there is then; null when too many wait
     */
    synchronized State await(State seen, Duration limit) throws InterruptedException {
        if (waiting == MOST_WAITING) {
            return null;
        }
        ++waiting;
        notifyAll(); // those who look only when somebody watches
        try {
            long end = System.nanoTime() + limit.toNanos();
            while (isKnown(seen) && !state.isEnded() && System.nanoTime() - end < 0) {
                TimeUnit.NANOSECONDS.timedWait(this, Math.max(end - System.nanoTime(), 1));
            }
            isTold |= state.isEnded();
            return state;
        } finally {
            --waiting;
            asked = System.nanoTime();
            notifyAll();
        }
    }

    private boolean isKnown(State seen) {
        return seen.picture >= state.picture && seen.tree >= state.tree && seen.news >= state.news;
    }

    /** Whether a page is open. */
    synchronized boolean isWatched() {
        return waiting > 0 || System.nanoTime() - asked < GONE_NS;
    }

    /** Waits until a page is open. @return false when there is nothing to look at any more */
    synchronized boolean awaitWatched() throws InterruptedException {
        while (!isWatched() && !state.isEnded()) {
            wait();
        }
        return !state.isEnded();
    }

    synchronized void awaitEnd() throws InterruptedException {
        while (!state.isEnded()) {
            wait();
        }
    }

    synchronized void begin() {
        ++answering;
    }

    synchronized void end() {
        --answering;
        notifyAll();
    }

    /** Waits until the pages that are open know of the end, and all has been answered. */
    synchronized void awaitTold(Duration limit) throws InterruptedException {
        long end = System.nanoTime() + limit.toNanos();
        while ((answering > 0 || isWatched() && !isTold) && System.nanoTime() - end < 0) {
            TimeUnit.NANOSECONDS.timedWait(this, Math.max(end - System.nanoTime(), 1));
        }
    }
}
