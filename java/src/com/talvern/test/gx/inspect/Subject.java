package com.talvern.test.gx.inspect;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.engine.Picture;
import com.talvern.test.gx.engine.Screen;
import com.talvern.test.gx.engine.ScreenWatch;
import com.talvern.test.gx.engine.WidgetView;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Rectangle;
import java.time.Duration;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Optional;
import java.util.concurrent.CancellationException;
import java.util.concurrent.TimeUnit;
import java.util.stream.Stream;

/**
 * The program that is looked at: takes pictures of it and reads its widgets while a page is open, on a thread each, so that
 * there are pictures of a program that does not answer. Any thread.
 */
final class Subject implements AutoCloseable {
    private static final long PICTURE_NS = TimeUnit.MILLISECONDS.toNanos(100);
    private static final long TREE_NS = TimeUnit.MILLISECONDS.toNanos(400);
    /** Not all that changes in a widget is to be seen. */
    private static final long UNSEEN_NS = TimeUnit.SECONDS.toNanos(3);
    /** A program that has widgets by the thousand is left alone for the most part. */
    private static final int SHARE = 5;
    private static final Duration GLANCE = Duration.ofMillis(200);

    private final String name;
    private final Application application;
    private final Board board;
    private final Film film = new Film();
    private final Object screen = new Object(); // one thread at a time asks for windows
    private final List<Thread> threads;
    private Look look = Look.NONE;
    private long changes;
    private boolean isSeenToChange = true;

    /** @param inspected is asked by lines of this object's own, with patience of its own */
    Subject(Application inspected, Board board) {
        String path = inspected.name();
        this.name = path.substring(path.lastIndexOf('/') + 1) + ", process " + inspected.pid();
        this.application = Application.attach(inspected.pid());
        this.board = board;
        application.setTimeout(Duration.ofSeconds(5));
        application.setPatience(Duration.ZERO);
        threads = List.of(thread("pictures", this::takePictures), thread("widgets", this::readWidgets));
        threads.forEach(Thread::start);
    }

    /** What one of the threads does while a page is open. */
    private interface Work {
        void go() throws InterruptedException;
    }

    private Thread thread(String name, Work work) {
        Thread thread = new Thread(() -> {
            try {
                while (board.awaitWatched()) {
                    goOn(work, name);
                }
            } catch (InterruptedException | CancellationException closed) {
                return;
            }
        }, "gx-inspect-" + name);
        thread.setDaemon(true);
        return thread;
    }

    /** What goes wrong once may go right again. */
    private void goOn(Work work, String about) throws InterruptedException {
        try {
            work.go();
        } catch (CancellationException closed) {
            throw closed;
        } catch (RuntimeException failure) {
            board.trouble(about, "There are no new " + about + ": " + failure + ".");
            TimeUnit.SECONDS.sleep(1);
        }
    }

    String name() {
        return name;
    }

    Film film() {
        return film;
    }

    private boolean isOn() {
        return board.isWatched() && !board.state().isEnded();
    }

    private void takePictures() throws InterruptedException {
        try (ScreenWatch watch = ScreenWatch.ofScreen()) {
            long taken = System.nanoTime() - PICTURE_NS;
            long known = -1;
            boolean isOld = true;
            while (isOn()) {
                isOld = isOld || known != changesOfWindows() || watch.await(GLANCE);
                if (isOld || known != changesOfWindows()) {
                    TimeUnit.NANOSECONDS.sleep(taken + PICTURE_NS - System.nanoTime());
                    taken = System.nanoTime();
                    known = changesOfWindows();
                    isOld = false;
                    takePicture();
                }
            }
        }
    }

    private synchronized long changesOfWindows() {
        return changes;
    }

    synchronized Look look() {
        return look;
    }

    private void takePicture() {
        List<Rectangle> windows = look().windows().stream().map(WidgetView::bounds)
            .map(box -> box.intersection(Screen.bounds())).filter(box -> !box.isEmpty()).toList();
        try {
            Picture picture = windows.isEmpty() ? null
                : Screen.capture(windows.stream().reduce(Rectangle::union).orElseThrow());
            if (film.add(picture, windows)) {
                board.picture();
            }
            board.trouble("pictures", "");
        } catch (ApplicationException | IllegalArgumentException | UnsupportedOperationException none) {
            board.trouble("pictures", "There is no picture: " + none.getMessage() + ".");
        }
        synchronized (this) {
            isSeenToChange = true;
            notifyAll();
        }
    }

    private void readWidgets() throws InterruptedException {
        while (isOn()) {
            long begin = System.nanoTime();
            readOnce();
            long took = System.nanoTime() - begin;
            TimeUnit.NANOSECONDS.sleep(Math.max(TREE_NS, SHARE * took));
            awaitChange(begin + UNSEEN_NS);
        }
    }

    private synchronized void awaitChange(long end) throws InterruptedException {
        while (!isSeenToChange && end - System.nanoTime() > 0) {
            TimeUnit.NANOSECONDS.timedWait(this, Math.max(end - System.nanoTime(), 1));
        }
    }

    private void readOnce() {
        synchronized (this) {
            isSeenToChange = false;
        }
        try {
            WidgetView tree = application.tree();
            take(Look.of(tree, stack()));
            board.trouble("widgets", "");
        } catch (ApplicationException.Ended gone) {
            return; // is said once its exit status is there
        } catch (ApplicationException busy) {
            board.trouble("widgets", "The widgets may be old: " + busy.getMessage() + ".");
        }
    }

    private List<Long> stack() {
        synchronized (screen) {
            return Stream.of(new NativeTopLevelWindow(0).getOwnedWindows()).map(NativeWindow::getHandle).toList();
        }
    }

    private synchronized void take(Look next) {
        if (board.state().tree() == 0 || !next.json().equals(look.json())) {
            boolean isMoved = !boxes(next).equals(boxes(look));
            look = next;
            changes += isMoved ? 1 : 0;
            board.tree();
        }
    }

    private static List<Rectangle> boxes(Look look) {
        return look.windows().stream().map(WidgetView::bounds).toList();
    }

    /** What of a part is in sight; null for nothing. */
    Rectangle seen(String key) {
        Look.Part part = look().parts().get(key);
        return part == null ? null : part.seen();
    }

    /** The line of Java for a part. */
    Optional<String> line(String key) {
        Look now = look();
        Look.Part part = now.parts().get(key);
        if (part == null) {
            return Optional.empty();
        }
        synchronized (screen) {
            return part.row() == null ? application.pathOf(now.tree(), part.view())
                : application.pathOf(now.tree(), part.view(), part.row());
        }
    }

    /** Asks the program. */
    Line.Found ask(String line) throws Line.Unclear {
        synchronized (screen) {
            return Line.ask(application, line);
        }
    }

    static Map<String, Object> match(WidgetView view) {
        Map<String, Object> match = new LinkedHashMap<>();
        match.put("key", Look.keyOf(view));
        match.put("line", view.line());
        match.put("seen", view.showing() ? view.seen() : null);
        return match;
    }

    @Override
    public void close() {
        threads.forEach(Thread::interrupt);
        application.close();
    }
}
