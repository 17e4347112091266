package com.talvern.test.gx.application;

import com.talvern.test.gx.engine.FileDialogView;
import com.talvern.test.gx.engine.ListView;
import com.talvern.test.gx.engine.MenuView;
import com.talvern.test.gx.engine.Operation;
import com.talvern.test.gx.engine.Values;
import com.talvern.test.gx.sys.ApplicationNotRespondingException;
import com.talvern.test.gx.sys.Mailslot;
import com.talvern.test.gx.sys.graphical.FileDialog;
import java.awt.Point;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.CancellationException;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.function.BiConsumer;
import java.util.function.Consumer;
import java.util.function.Function;

/**
 * Answers the engine's questions about this application's widgets: receives them at a mailslot, looks on the GUI
 * thread, and writes what it saw.
 */
public final class RequestServer implements ApplicationService {
    private Mailslot mailslot;

    /** Made by the service loader. */
    public RequestServer() {}

    @Override
    public void start(GuiThread gui) {
        mailslot = Mailslot.open(Operation.mailslotOf(ProcessHandle.current().pid()));
        Thread thread = new Thread(() -> serve(gui), "gx-requests");
        thread.setDaemon(true);
        thread.start();
    }

    @Override
    public void stop() {
        mailslot.close();
    }

    /** Goes on whatever comes: nobody would take this thread's place. */
    private void serve(GuiThread gui) {
        boolean open = true;
        while (open) {
            try {
                open = serveNext(gui);
            } catch (ApplicationNotRespondingException stopped) {
                // A process that holds the lock of shared memory does not run: that took ten seconds. Try again.
            }
        }
    }

    /** @return false once the mailslot is closed */
    private boolean serveNext(GuiThread gui) {
        Mailslot.Message message = mailslot.receive();
        if (message == null) {
            return false;
        }
        try {
            answer(gui, Values.of(message.value()));
            message.reply(true);
        } catch (TimeoutException | CancellationException | ApplicationNotRespondingException noAnswer) {
            // The engine notices by itself that its time is over, or that the application ends.
        } catch (Exception | LinkageError failure) {
            message.fail(failure.toString()); // nobody hears it when the engine has given up and freed the request
        }
        return true;
    }

    private static void answer(GuiThread gui, Values request) throws Exception {
        Operation operation = Operation.valueOf(request.nextString());
        long end = request.nextLong();
        Values answer = request.nextValues();
        onGuiThread(gui, look(operation, request), end).accept(answer);
        if (operation == Operation.SET_FILE) {
            onGuiThread(gui, () -> null, end); // the name is set after the work that asked for it
        }
    }

    /** @param end on the clock of {@link System#nanoTime}, which all processes of a machine share */
    private static <T> T onGuiThread(GuiThread gui, Callable<T> work, long end) throws Exception {
        try {
            return gui.call(work, TimeUnit.NANOSECONDS.toMillis(end - System.nanoTime()) + 1); // what is left counts
        } catch (ExecutionException failure) {
            throw failure.getCause() instanceof Exception cause ? cause : failure;
        }
    }

    /** Reads what goes with the request. @return what to do on the GUI thread; that answers how to write what it saw */
    private static Callable<Consumer<Values>> look(Operation operation, Values in) {
        return switch (operation) {
            case MENU_BAR -> with(in.nextLong(), window -> perhaps(Widgets.menuBar(window), MenuView::write));
            case MENU -> with(in.nextLong(), window -> perhaps(Widgets.menu(window), MenuView::write));
            case OPEN_MENUS -> () -> all(Widgets.openMenus(), MenuView::write);
            case CONTEXT_MENU -> () -> perhaps(Widgets.contextMenu(), MenuView::write);
            case LIST -> with(in.nextLong(), window -> perhaps(Widgets.list(window), ListView::write));
            case LIST_AT_POINT -> with(new Point(in.nextInt(), in.nextInt()),
                place -> perhaps(Widgets.listAt(place), ListView::write));
            case LIST_AT_RECTANGLE -> with(in.nextRectangle(),
                box -> perhaps(Widgets.listIn(box), ListView::write));
            case FILE_DIALOGS -> () -> all(Widgets.fileDialogs(), FileDialogView::write);
            case SET_FILE -> {
                FileDialog dialog = new FileDialog(in.nextLong());
                String file = in.nextString();
                yield () -> {
                    dialog.setFile(file);
                    return out -> { };
                };
            }
        };
    }

    private static <T, R> Callable<R> with(T value, Function<T, R> work) {
        return () -> work.apply(value);
    }

    private static <T> Consumer<Values> perhaps(T view, BiConsumer<T, Values> write) {
        return out -> {
            out.add(view != null);
            if (view != null) {
                write.accept(view, out);
            }
        };
    }

    private static <T> Consumer<Values> all(List<T> views, BiConsumer<T, Values> write) {
        return out -> {
            out.add(views.size());
            views.forEach(view -> write.accept(view, out));
        };
    }
}
