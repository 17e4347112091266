package com.talvern.test.gx.inspect;

import com.talvern.test.gx.sys.graphical.Highlighter;
import java.awt.Rectangle;
import java.time.Duration;
import java.util.concurrent.ScheduledExecutorService;
import java.util.concurrent.ScheduledFuture;
import java.util.concurrent.TimeUnit;

/**
 * The frame on the real screen. It goes when nobody has asked for it again for a while, so that it is left by no page that was
 * closed and no connection that broke. Any thread.
 */
final class Marker implements AutoCloseable {
    static final Duration LEASE = Duration.ofSeconds(3);
    private static final int THICKNESS = 3;
    private static final int RED = 0xE6;
    private static final int GREEN = 0x1E;
    private static final int BLUE = 0x78;

    private final ScheduledExecutorService clock;
    private Highlighter frame;
    private ScheduledFuture<?> end;
    private boolean isClosed;

    Marker(ScheduledExecutorService clock) {
        this.clock = clock;
    }

    /** Frames a rectangle of the screen from outside; null for none. */
    synchronized void show(Rectangle box) {
        if (end != null) {
            end.cancel(false);
        }
        if (box == null || isClosed) {
            clear();
            return;
        }
        Rectangle around = new Rectangle(box);
        around.grow(THICKNESS, THICKNESS);
        if (frame == null) {
            frame = Highlighter.create(around, RED, GREEN, BLUE, THICKNESS, 0, 0);
        } else {
            frame.move(around.x, around.y, around.width, around.height);
        }
        end = clock.schedule(() -> show(null), LEASE.toMillis(), TimeUnit.MILLISECONDS);
    }

    private void clear() {
        if (frame != null) {
            frame.destroy();
            frame = null;
        }
    }

    @Override
    public synchronized void close() {
        isClosed = true;
        clear();
    }
}
