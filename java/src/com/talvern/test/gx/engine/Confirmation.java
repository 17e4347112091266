package com.talvern.test.gx.engine;

import java.awt.Rectangle;
import java.util.List;
import java.util.NoSuchElementException;
import java.util.Optional;
import java.util.concurrent.TimeUnit;

/**
 * A click on OK in a file dialog, and what comes of it. OK may not react at once: GTK 3 has it greyed out until the folder
 * has been read, and what is pressed then is lost.
 */
final class Confirmation {
    /** A dialog that closes with another window coming up has gone after so long. */
    private static final long ASKS_BACK = TimeUnit.SECONDS.toNanos(1);

    private final Application application;
    private final FileDialogView dialog;
    private final long end;
    private final Press press = new Press();
    private Rectangle place;
    private List<Long> windows;
    private long asksUntil;

    /** @param end on the clock of nanoTime */
    Confirmation(Application application, FileDialogView dialog, long end) {
        this.application = application;
        this.dialog = dialog;
        this.end = end;
        asksUntil = end;
    }

    /** @return whether the dialog has gone */
    boolean await() {
        try (Wait.Pace pace = new Wait.Pace(end, () -> new ApplicationWatch(application))) {
            while (true) {
                Optional<FileDialogView> now = application.fileDialogs().stream()
                    .filter(open -> open.window() == dialog.window()).findFirst();
                if (now.isEmpty()) {
                    settle();
                    return true;
                }
                look(now.get());
                if (System.nanoTime() - asksUntil >= 0) {
                    requirePressed();
                    return false;
                }
                pace.await();
            }
        }
    }

    /** What the application does with the file may come after the dialog has gone. */
    private void settle() {
        if (windows != null) {
            application.settle();
        }
    }

    private void look(FileDialogView now) {
        if (windows == null && rests(now) && press.reaches(application, now.okId(), place)) {
            windows = windowIds();
            application.click(place);
        } else if (windows != null && asksUntil == end && !windows.containsAll(windowIds())) {
            asksUntil = Math.min(end, System.nanoTime() + ASKS_BACK);
        }
    }

    private void requirePressed() {
        if (press.hindrance().isPresent()) {
            throw new WidgetException.Covered(Complaint.of(unclicked(), press.hindrance().get(), "close or move that first"));
        }
    }

    private String unclicked() {
        return "no click on OK of the file dialog " + WidgetView.quoted(dialog.caption()) + " of " + application.whom();
    }

    /** A window manager may still be placing the dialog. */
    private boolean rests(FileDialogView now) {
        if (now.ok() == null) {
            throw new NoSuchElementException(Complaint.of(unclicked(), "that button is not to be seen",
                "scroll or enlarge the dialog, or use another button of it"));
        }
        boolean hasMoved = !now.ok().equals(place);
        place = now.ok();
        return !hasMoved && now.ready() && now.enabled();
    }

    private List<Long> windowIds() {
        return application.tree().children().stream().map(WidgetView::id).toList();
    }
}
