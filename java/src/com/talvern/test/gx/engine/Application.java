package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.Frame;
import com.talvern.test.gx.protocol.Operation;
import com.talvern.test.gx.protocol.RowQuery;
import com.talvern.test.gx.protocol.ScrollBarValues;
import com.talvern.test.gx.protocol.Values;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.IOException;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.NoSuchElementException;
import java.util.Objects;
import java.util.Optional;
import java.util.concurrent.CancellationException;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.function.Consumer;
import java.util.function.Function;
import java.util.function.Supplier;
import java.util.stream.Stream;

/**
 * An application under test: a program that nobody here wrote, with an agent in it that answers for its widgets.
 *
 * <pre>{@code
 * try (Application nedit = Application.start("nedit", "/etc/passwd")) {
 *     nedit.choose("File", "Open...");
 *     FileDialogView dialog = nedit.awaitFileDialog();
 *     nedit.setFile(dialog, "group"); // nedit wants a name in the directory that its dialog shows
 *     nedit.confirm(dialog);
 * }
 * }</pre>
 *
 * <p>Each question is one message to the application and runs on its GUI thread, between two events that it sees to.
 * The answers are plain values: they say how things were then. An application that replaces itself by another program
 * is asked again once that has an agent. Applications of the own user can be asked, and by root those of any user.
 *
 * <p><b>Exceptions</b> of all questions, each within the {@linkplain #setTimeout time} set:
 *
 * <ul>
 * <li>{@link ApplicationException.Ended}: the application has ended, crashed or was killed, before or while it was asked
 * <li>{@link ApplicationException.NotInTime}: its GUI thread has something else to do; the question is dropped
 * <li>{@link ApplicationException.Failed}: it could not answer, or its answer makes no sense
 * </ul>
 *
 * <p>Motif takes a click that comes soon after an option or context menu has opened for the end of the one that opened it.
 * Questions about such a menu are therefore answered once it takes clicks, a fifth of a second later as a rule.
 *
 * <p>Any number of threads may ask at once. Clicks and keys go through the X server and questions do not: a question may
 * be answered before the application has seen a click, so wait for its effect, as the {@code await} methods do.
 */
public final class Application implements AutoCloseable, WidgetScope {
    private static final Duration DEFAULT_TIMEOUT = Duration.ofSeconds(10);
    private static final Duration DEFAULT_PATIENCE = Duration.ofSeconds(5);
    private static final String LONGER = "setTimeout gives it more time";
    private static final Duration CLOSE = Duration.ofSeconds(2);
    private static final Duration KILL = Duration.ofSeconds(1);
    /** More than anybody waits, and few enough nanoseconds to count with. */
    private static final Duration LONGEST = Duration.ofDays(365);
    /** A program that has seen to nothing else for so long is one that always has something to see to. */
    private static final Duration NEVER_IDLE = Duration.ofSeconds(1);
    /** For what an exception tells beside. */
    private static final Duration LAST_LOOK = Duration.ofSeconds(1);

    private final String name;
    private final ProcessHandle handle;
    private final Process process;
    private final boolean endsOnClose;
    private final Agent agent;
    private final Pointer pointer;
    private volatile Duration timeout;
    private volatile Duration patience = DEFAULT_PATIENCE;

    private Application(String name, ProcessHandle handle, Process process, boolean endsOnClose, Agent agent,
            Pointer pointer, Duration timeout) {
        this.name = name;
        this.handle = handle;
        this.process = process;
        this.endsOnClose = endsOnClose;
        this.agent = agent;
        this.pointer = pointer;
        this.timeout = timeout;
    }

    /** The same application, asked by somebody with less time. */
    private Application within(Duration limit) {
        return new Application(name, handle, process, endsOnClose, agent, pointer, limit);
    }

    /**
     * Starts a program with an agent in it and waits up to 30 seconds until the agent answers. What the program writes
     * to its standard output is dropped; its error messages go where those of this process go. It ends with this JVM at
     * the latest.
     *
     * @param command the program, looked for in PATH, and its arguments
     * @return the application
     * @throws ApplicationException.NoServer there is no X server
     * @throws ApplicationException.Ended the program could not be started or ended at once
     * @throws ApplicationException.NoAgent no agent answers: there is no JVM for it, or it has shown no window yet; or
     *     there cannot be one, which is said within two seconds of its first window: it uses neither Motif, GTK 2 nor
     *     GTK 3, or a script has started it. The program is ended then
     */
    public static Application start(String... command) {
        return start(LaunchOptions.DEFAULTS, new ProcessBuilder(command)
            .redirectOutput(ProcessBuilder.Redirect.DISCARD).redirectError(ProcessBuilder.Redirect.INHERIT));
    }

    /**
     * Starts a program as {@link #start(String...)} does, with a directory, an environment and files of its own.
     *
     * @param program what to start; {@code gxrun} is put in front of its command
     * @param limit the longest wait until the agent answers
     * @return the application
     */
    public static Application start(ProcessBuilder program, Duration limit) {
        return start(LaunchOptions.DEFAULTS.within(limit), program);
    }

    /**
     * Starts a program as {@link #start(String...)} does, in its own way.
     *
     * @param options how
     * @param program what to start; {@code gxrun} is put in front of its command
     * @return the application
     */
    public static Application start(LaunchOptions options, ProcessBuilder program) {
        Windows.requireServer();
        List<String> command = program.command();
        if (command.isEmpty()) {
            throw new IllegalArgumentException(Complaint.of("nothing to start", "no program is named", "name one, and its"
                + " arguments"));
        }
        String name = command.get(0);
        List<String> launched = options.launcher();
        launched.addAll(command);
        Process process;
        try {
            process = program.command(launched).start();
        } catch (IOException failure) {
            throw new ApplicationException.Ended(Complaint.of(name + " could not be started", failure.getMessage(),
                "gxrun, which starts it, is looked for beside libgxsys.so and in PATH unless the system property "
                    + Launcher.PROPERTY + " names it"), failure);
        } finally {
            program.command(command);
        }
        try {
            AgentSearch.Found found = new AgentSearch(name, process).await(options.limit());
            return new Application(name, found.process(), process, !options.leavesRunning(), found.agent(),
                new Pointer(), DEFAULT_TIMEOUT);
        } catch (RuntimeException nobody) {
            end(process.toHandle(), Duration.ZERO);
            throw nobody;
        }
    }

    /**
     * Finds an application that runs with an agent already: started by {@code gxrun}, by whomever.
     *
     * @param pid its process id
     * @return the application
     * @throws ApplicationException.Ended there is no such process
     * @throws ApplicationException.NoAgent it has no agent, or none yet
     */
    public static Application attach(long pid) {
        ProcessHandle process = ProcessHandle.of(pid).orElseThrow(() -> new ApplicationException.Ended(Complaint.of(
            "no agent in process " + pid, "there is no such process", "gx windows tells those of the windows"), null));
        String name = process.info().command().orElse("process " + pid);
        try {
            return new Application(name, process, null, false, Agent.of(process), new Pointer(), DEFAULT_TIMEOUT);
        } catch (IOException nobody) {
            throw AgentSearch.nobodyIn(process, nobody);
        }
    }

    /** A program as messages call it. */
    static String whom(String name, long pid) {
        String process = "process " + pid;
        return name.isEmpty() || name.equals(process) ? process : name + ", " + process;
    }

    String whom() {
        return whom(name, pid());
    }

    /** @return the program's name as it was started, or what the system knows of it */
    public String name() {
        return name;
    }

    /** @return the process id */
    public long pid() {
        return handle.pid();
    }

    /** @return the process with its input, output and exit status; null for one that {@link #attach} has found */
    public Process process() {
        return process;
    }

    /** @return whether the process still runs */
    public boolean isAlive() {
        return handle.isAlive();
    }

    /**
     * Sets how long a question may take, and how long the methods that wait for something to show wait for each such
     * thing: {@link #awaitFileDialog}, {@link #confirm}, {@link #open}, and {@link #choose} for each menu on its way.
     *
     * @param limit above 0; 10 seconds unless it is set
     * @throws IllegalArgumentException the limit is not above 0
     */
    public void setTimeout(Duration limit) {
        if (limit.isNegative() || limit.isZero()) {
            throw new IllegalArgumentException(Complaint.of("no time-out of " + limit + " for " + whom(),
                "nobody could answer in it", "give it more than 0"));
        }
        timeout = limit;
    }

    /**
     * All windows of the application that are on the screen, open menus included, with all that is in them: read in one
     * look, between two events that the application sees to.
     *
     * @return a view of the application, whose children are its windows
     */
    public WidgetView tree() {
        return WidgetView.ofApplication(name, ask(Operation.WIDGETS, in -> { }, WidgetView::readAll));
    }

    /**
     * Sets how long widgets and windows that are asked for from now on wait for what they are to find or become.
     *
     * @param limit 5 seconds unless it is set
     */
    public void setPatience(Duration limit) {
        patience = Objects.requireNonNull(limit, "a patience has a limit, and this one is null");
    }

    @Override
    public Widget find(Query query) {
        return new Widget(this, "application", "find(" + query + ")", Widget.Finder.of(WidgetQuery.of(query)::find), patience);
    }

    /** @return the windows that are on the screen, those without a caption as well; no menus */
    public List<AppWindow> windows() {
        List<WidgetView> windows = tree().children().stream().filter(AppWindow::isWindow).toList();
        return windows.stream().map(view -> new AppWindow(this, view, windows, patience)).toList();
    }

    /**
     * Waits for a window.
     *
     * @param caption the whole text of its title bar; where no window has exactly that, what stands there in front of or
     *     behind a dash, as in {@code Network List - HexChat}
     * @return the window
     * @throws WidgetException.NotFound none has come up; the message names those that there are
     * @throws WidgetException.Ambiguous there is more than one
     */
    public AppWindow awaitWindow(String caption) {
        return AppWindow.await(this, "a window " + WidgetView.quoted(caption),
            windows -> AppWindow.called(caption, windows), patience);
    }

    /**
     * Waits for a window.
     *
     * @param caption a pattern for the whole text of its title bar
     * @return the window
     * @throws WidgetException.NotFound none has come up; the message names those that there are
     * @throws WidgetException.Ambiguous there is more than one
     */
    public AppWindow awaitWindow(java.util.regex.Pattern caption) {
        return AppWindow.await(this, "a window like " + caption, windows -> windows.stream()
            .filter(view -> WidgetQuery.matches(caption, AppWindow.captionOf(view))).toList(), patience);
    }

    /**
     * Waits for a dialog, such as a message, whatever its caption: many have none.
     *
     * @return the dialog
     * @throws WidgetException.NotFound none has come up; the message names the windows that there are
     * @throws WidgetException.Ambiguous there is more than one
     */
    public AppWindow awaitDialog() {
        return AppWindow.await(this, "a dialog",
            windows -> windows.stream().filter(view -> view.role() == Role.DIALOG).toList(), patience);
    }

    /**
     * The line of Java that a test would ask for a widget by: the shortest known that finds it, and nothing else that there
     * is now.
     *
     * @param tree of this application, as {@link #tree} answers it
     * @param view one of those in it, by identity
     * @return as {@link Widget#path} or {@link AppWindow#path}; empty for what no question finds, as a hidden widget
     *     whose like show
     */
    public Optional<String> pathOf(WidgetView tree, WidgetView view) {
        return new Locator(this, tree).path(view);
    }

    /**
     * The line of Java for a row in sight of a list, table or tree: that of its first cell.
     *
     * @param tree of this application
     * @param list one of those in it, by identity
     * @param row one of its rows
     * @return as {@link Widget#path}; empty for what no question finds
     */
    public Optional<String> pathOf(WidgetView tree, WidgetView list, WidgetView.Row row) {
        return new Locator(this, tree).path(list, row);
    }

    Duration patience() {
        return patience;
    }

    Pointer pointer() {
        return pointer;
    }

    /** Ids of the widgets that a press at a point goes to, from the innermost. */
    List<Long> widgetsAt(Point place) {
        return ask(Operation.WIDGETS_AT, in -> in.add(place.x).add(place.y), several(Values::nextLong));
    }

    boolean reveal(long id) {
        return ask(Operation.REVEAL, in -> in.add(id), Values::nextBoolean);
    }

    boolean revealRow(long id, String path, int column) {
        return ask(Operation.REVEAL_ROW, in -> in.add(id).add(path).add(column), Values::nextBoolean);
    }

    List<WidgetView.Row> rows(long id, int first, int count) {
        return ask(Operation.ROWS, in -> in.add(id).add(first).add(count), several(WidgetView.Row::read));
    }

    List<WidgetView.Row> findRows(long id, RowQuery query) {
        return ask(Operation.FIND_ROWS, in -> query.write(in.add(id)), several(WidgetView.Row::read));
    }

    Optional<ScrollBarValues> scrollBar(long id) {
        return ask(Operation.SCROLL_BAR, in -> in.add(id), perhaps(ScrollBarValues::read));
    }

    long awaitChange(long known, Duration limit, Duration more) {
        return within(limit.plus(more)).ask(Operation.AWAIT_CHANGE, in -> in.add(known).add(limit.toMillis() + 1),
            Values::nextLong);
    }

    /** Looks until there is a value, or the time is over: when this application has done something, and else rarely. */
    <T> T patiently(Duration limit, Function<Duration, Outcome<T>> look) {
        return Wait.patiently(limit, () -> new ApplicationWatch(this), look);
    }

    /** Waits until the application has seen to what was played. One that has ended has. */
    void settle() {
        try {
            awaitIdle();
        } catch (ApplicationException.Ended byThat) {
            return;
        }
    }

    /** Waits until it has seen to motions as well: GTK 3 reads them, is idle, and looks at them when its next frame begins. */
    void settleMotion() {
        settle();
        UserInput.awaitFrame();
        settle();
    }

    /**
     * The first menu bar that the application has.
     *
     * @return empty when it has none, or none that is on the screen
     */
    public Optional<MenuView> menuBar() {
        return menuBar(0);
    }

    /**
     * The menu bar in a window, or the first that the application has when there is none in it.
     *
     * @param window an X window of the application
     * @return empty when it has none, or it is not on the screen
     */
    public Optional<MenuView> menuBar(long window) {
        return ask(Operation.MENU_BAR, in -> in.add(window), perhaps(MenuView::read));
    }

    /**
     * A menu or menu bar by its window, as it is now.
     *
     * @param window its X window
     * @return empty when it is none
     */
    public Optional<MenuView> menu(long window) {
        return ask(Operation.MENU, in -> in.add(window), perhaps(MenuView::read));
    }

    /** @return the menus that are open, 64 at most */
    public List<MenuView> openMenus() {
        return ask(Operation.OPEN_MENUS, in -> { }, several(MenuView::read));
    }

    /**
     * The open context menu, and not one that is cascaded from it. Under GTK it is the first menu that is open, and
     * that may be one of the menu bar.
     *
     * @return empty when there is none
     */
    public Optional<MenuView> contextMenu() {
        return ask(Operation.CONTEXT_MENU, in -> { }, perhaps(MenuView::read));
    }

    /**
     * A Motif list box by its window.
     *
     * @param window its X window
     * @return empty when it is none
     */
    public Optional<ListView> list(long window) {
        return ask(Operation.LIST, in -> in.add(window), perhaps(ListView::read));
    }

    /**
     * The Motif list box that shows at a point.
     *
     * @param place on the screen
     * @return empty when there is none
     */
    public Optional<ListView> listAt(Point place) {
        return ask(Operation.LIST_AT_POINT, in -> in.add(place.x).add(place.y), perhaps(ListView::read));
    }

    /**
     * The Motif list box that has exactly a rectangle, or that lies in a scrolled window that has it.
     *
     * @param box on the screen
     * @return empty when there is none
     */
    public Optional<ListView> listIn(Rectangle box) {
        return ask(Operation.LIST_AT_RECTANGLE, in -> in.add(box), perhaps(ListView::read));
    }

    /** @return the dialogs for files and folders that are open, the bottom of the stack first */
    public List<FileDialogView> fileDialogs() {
        return ask(Operation.FILE_DIALOGS, in -> { }, several(FileDialogView::read));
    }

    /**
     * Puts a name into the text field of a file dialog, as if it were typed; a dialog of GTK that has none to open by shows
     * one then, as it does for Control+L. The dialog shows the name when this returns.
     *
     * @param dialog the dialog; nothing happens where it has gone
     * @param file the name, absolute or in the directory that the dialog shows; for Motif it has a form in the code set of
     *     the application's locale
     */
    public void setFile(FileDialogView dialog, String file) {
        Objects.requireNonNull(file, "a file dialog is given a file name, and this one is null");
        ask(Operation.SET_FILE, in -> in.add(dialog.window()).add(file), out -> null);
    }

    /**
     * Waits for a file dialog that is ready.
     *
     * @return the one on top
     * @throws ApplicationException.NotInTime none has come up
     */
    public FileDialogView awaitFileDialog() {
        return awaitShown("a file dialog", this::windowsNow, asked -> {
            List<FileDialogView> dialogs = asked.fileDialogs();
            return dialogs.stream().skip(Math.max(dialogs.size() - 1, 0)).filter(FileDialogView::ready).findFirst();
        });
    }

    /**
     * Clicks on OK in a file dialog, once that keeps its place and reacts, and waits until the dialog has gone and the
     * application has nothing left to do, or a second more. It may stay: to ask whether a file is to be replaced, because
     * there is no such file, because it has opened the folder that was named, or because its OK does not react.
     *
     * @param dialog the dialog; one that has gone is not clicked on
     * @return false when it is still there: a second after another window of the application has come up, or at the end of
     *     the {@linkplain #setTimeout time}
     * @throws NoSuchElementException its OK button is not to be seen
     * @throws WidgetException.Covered something else takes the click all that time; the message names it
     */
    public boolean confirm(FileDialogView dialog) {
        return new Confirmation(this, dialog, System.nanoTime() + nanosOf(timeout)).await();
    }

    /**
     * Chooses a menu item as a user does: clicks on an item of the menu bar, waits for its menu, clicks on an item of
     * that, and so on; in a menu that is longer than the screen it turns the wheel until the item shows. When it cannot,
     * the menus are closed again. When this returns, the application has handled the last click, or has had a second.
     *
     * @param path the texts of the items, from the menu bar; one at least
     * @throws IllegalArgumentException the path is empty
     * @throws NoSuchElementException a menu has no such item, or hides it
     * @throws ApplicationException.Disabled an item is disabled
     * @throws ApplicationException.NotInTime there is no menu bar, or a menu has not opened
     */
    public void choose(String... path) {
        choose(0, path);
    }

    /**
     * Chooses a menu item of one of several windows.
     *
     * @param window an X window of the application, in which the menu bar is
     * @param path the texts of the items, from the menu bar; one at least
     */
    public void choose(long window, String... path) {
        menus().choose(window, path);
    }

    /**
     * Chooses an item of a menu that is open, such as a context menu.
     *
     * @param menu the menu
     * @param path the texts of the items, from that menu; one at least
     */
    public void choose(MenuView menu, String... path) {
        menus().choose(menu, path);
    }

    /**
     * How a menu item is: opens the menus on the way as {@link #choose} does, looks, and closes them again.
     *
     * @param path the texts of the items, from the menu bar; one at least
     * @return the item as it was while its menu was open
     * @throws NoSuchElementException a menu has no such item
     * @throws ApplicationException.Disabled an item on the way is disabled
     * @throws ApplicationException.NotInTime there is no menu bar, or a menu has not opened
     */
    public MenuView.Item menuItem(String... path) {
        return menuItem(0, path);
    }

    /**
     * How a menu item of one of several windows is.
     *
     * @param window an X window of the application, in which the menu bar is
     * @param path the texts of the items, from the menu bar; one at least
     * @return the item as it was while its menu was open
     */
    public MenuView.Item menuItem(long window, String... path) {
        return menus().item(window, path);
    }

    MenuView.Item menuItem(MenuView menu, String... path) {
        return menus().item(menu, path);
    }

    /**
     * Tears off a menu of Motif, as a user does by the dashed line at its top, and waits for its window. Items are chosen
     * there by {@link AppWindow#choose}, any number of times, until the window is closed.
     *
     * @param path the texts of the items, from the menu bar to the one that opens the menu; one at least
     * @return the window that the menu is in now
     * @throws NoSuchElementException a menu has no such item, or the last cannot be torn off
     * @throws ApplicationException.Disabled an item is disabled
     * @throws ApplicationException.NotInTime there is no menu bar, or a menu has not opened
     */
    public AppWindow tearOff(String... path) {
        return menus().tearOff(path);
    }

    MenuView awaitContextMenu() {
        return awaitShown("a context menu", this::menusNow, Application::contextMenu);
    }

    private Menus menus() {
        return new Menus(this, pointer);
    }

    /**
     * Opens the menu behind an item by a click on it, and waits until it shows. When the item moves meanwhile, as the
     * window manager places a new window, it is clicked on again where it is then; and so it is when the click has
     * closed another menu that was open. A menu bar is not clicked on where something else takes the click.
     *
     * @param menu a menu bar, or a menu that is open
     * @param item the text of one of its items
     * @return the menu that has opened
     * @throws NoSuchElementException the menu has no such item, or hides it
     * @throws ApplicationException.Disabled the item is disabled
     * @throws ApplicationException.NotInTime no menu has opened: the item has none, or something covers it, which the
     *     message names
     */
    public MenuView open(MenuView menu, String item) {
        return menus().open(menu, item);
    }

    /**
     * Turns the mouse wheel over a menu until an item shows that the menu has scrolled out of sight, and the menu rests.
     * In a menu that scrolls, the pointer is over it then. An application whose main loop always has something to do is
     * waited for a second at each turn.
     *
     * @param menu a menu that is open, or a menu bar
     * @param item the text of one of its items
     * @return the item as it is then, with bounds
     * @throws NoSuchElementException the menu has no such item, or hides it
     * @throws ApplicationException.Disabled the item is disabled
     * @throws ApplicationException.NotInTime it has not come into sight
     */
    public MenuView.Item reveal(MenuView menu, String item) {
        return menus().reveal(menu, item);
    }

    /** While the wheel still turns, a click comes when another item is where this one was. */
    boolean awaitIdle() {
        return ask(Operation.AWAIT_IDLE, in -> in.add(Math.min(timeout.toMillis() / 2, NEVER_IDLE.toMillis())),
            Values::nextBoolean);
    }

    /**
     * Waits until the application rests: its GUI thread has seen to all events that it and its windows had coming and had
     * nothing else to do, and for a while nothing was drawn in its windows.
     *
     * @param quiet how long nothing may be drawn; a text cursor blinks each half second
     * @param limit the longest wait
     * @throws ApplicationException.NotInTime it did not rest for so long
     */
    public void awaitIdle(Duration quiet, Duration limit) {
        long end = System.nanoTime() + nanosOf(limit);
        String what = name + " idle for " + quiet.toMillis() + " ms";
        boolean[] hasAnswered = new boolean[1];
        Wait.patiently(limit, left -> {
            Application asked = within(left);
            if (!asked.isIdle(hasAnswered)) {
                return Wait.late(what, limit, () -> "its GUI thread always had something to do");
            }
            try (ScreenWatch watch = ScreenWatch.of(Stream.concat(Stream.of(handle), handle.descendants()))) {
                boolean rests = !watch.await(Math.min(nanosOf(quiet), end - System.nanoTime())) && asked.isIdle(hasAnswered);
                return rests && System.nanoTime() - end < 0 ? Outcome.of(true)
                    : Wait.late(what, limit, () -> "something was drawn in its windows");
            }
        });
    }

    /** @param hasAnswered before: a last look may have no time left */
    private boolean isIdle(boolean[] hasAnswered) {
        try {
            boolean isIdle = awaitIdle();
            hasAnswered[0] = true;
            return isIdle;
        } catch (ApplicationException.NotInTime late) {
            if (!hasAnswered[0]) {
                throw late;
            }
            return false;
        }
    }

    /**
     * Closes all menus that are open, as a user does by the Escape key. The menu bar counts as none of them.
     *
     * @throws ApplicationException.NotInTime one is still open
     */
    public void closeMenus() {
        menus().close();
    }

    /**
     * Clicks with the left button in the middle of a rectangle. Returns when the server has played the click.
     *
     * @param box on the screen; that of an item that shows
     * @throws com.talvern.test.gx.CoordinateOffScreenException its middle is not on the screen
     */
    public void click(Rectangle box) {
        pointer.clickAtOnce(Pointer.middleOf(box));
    }

    /**
     * Ends the program that {@link #start(String...) start} has started, and what it has started: asks them by SIGTERM,
     * and after two seconds by SIGKILL. One that {@link #attach} has found, or that was to be left running, runs on.
     */
    @Override
    public void close() {
        agent.close();
        if (endsOnClose) {
            end(process.toHandle(), CLOSE);
        }
    }

    private static void end(ProcessHandle eldest, Duration patience) {
        List<ProcessHandle> family = Stream.concat(eldest.descendants(), Stream.of(eldest)).toList();
        family.forEach(ProcessHandle::destroy);
        awaitEnd(family, patience);
        family.forEach(ProcessHandle::destroyForcibly);
        awaitEnd(family, KILL);
        Agent.sweep();
    }

    private static void awaitEnd(List<ProcessHandle> family, Duration patience) {
        try {
            CompletableFuture.allOf(family.stream().map(ProcessHandle::onExit).toArray(CompletableFuture[]::new))
                .get(patience.toMillis(), TimeUnit.MILLISECONDS);
        } catch (InterruptedException interrupted) {
            Thread.currentThread().interrupt();
        } catch (ExecutionException | TimeoutException stillThere) {
            return;
        }
    }

    /**
     * Asks until there is an answer. A question that comes late has the time that is left.
     *
     * @param instead what there is in place of it
     */
    <T> T awaitShown(String what, Supplier<String> instead, Function<Application, Optional<T>> question) {
        Duration limit = timeout;
        boolean[] hasAnswered = new boolean[1];
        return patiently(limit, left -> {
            Optional<T> found = Optional.empty();
            try {
                found = question.apply(within(left));
                hasAnswered[0] = true;
            } catch (ApplicationException.NotInTime late) {
                if (!hasAnswered[0]) { // else the last look had no time left
                    throw late;
                }
            }
            return found.map(Outcome::of).orElseGet(() -> Outcome.failed(() -> new ApplicationException.NotInTime(
                Complaint.of(whom() + " has not shown " + what + " within " + limit.toMillis() + " ms", instead.get(), LONGER),
                null)));
        });
    }

    String windowsNow() {
        return insteadOf(asked -> "its windows are " + AppWindow.captions(asked.tree().children()));
    }

    String menusNow() {
        return insteadOf(asked -> "its open menus are " + asked.openMenus().stream().map(MenuView::texts).toList());
    }

    private String insteadOf(Function<Application, String> look) {
        try {
            return look.apply(within(LAST_LOOK));
        } catch (ApplicationException.NotInTime busy) {
            return "it no longer answers: its GUI thread does something else, or stands still";
        } catch (ApplicationException silent) {
            return "it does not say what it shows instead";
        }
    }

    static long nanosOf(Duration limit) {
        return (limit.compareTo(LONGEST) < 0 ? limit : LONGEST).toNanos();
    }

    private static <T> Function<Values, Optional<T>> perhaps(Function<Values, T> read) {
        return out -> out.nextOptional(read);
    }

    private static <T> Function<Values, List<T>> several(Function<Values, T> read) {
        return out -> out.nextAll(read);
    }

    private <T> T ask(Operation operation, Consumer<Values> arguments, Function<Values, T> read) {
        Steps.note(name);
        Duration limit = timeout;
        Values question = Values.create().add(operation.name()).add(nanosOf(limit));
        arguments.accept(question);
        try {
            Frame.Reader answer = agent.ask(Frame.of(Frame.QUESTION, question), System.nanoTime() + nanosOf(limit));
            Values content = answer.content();
            if (answer.kind() != Frame.ANSWER) {
                throw failed(operation, content.nextText(), null);
            }
            T result = read.apply(content);
            content.end();
            return result;
        } catch (Agent.EndedException gone) {
            throw new ApplicationException.Ended(Complaint.of(whom() + " has not answered " + operation,
                Complaint.ending(process != null && process.pid() == pid() ? process : null), "its standard error may say why"),
                gone);
        } catch (TimeoutException busy) {
            throw new ApplicationException.NotInTime(Complaint.of(whom() + " has not answered " + operation + " within "
                + limit.toMillis() + " ms", agent.whyLate(), LONGER), busy);
        } catch (Frame.ProtocolException | Values.MalformedException foreign) {
            throw failed(operation, foreign.getMessage(), foreign);
        }
    }

    private ApplicationException failed(Operation operation, String reason, Exception cause) {
        return new ApplicationException.Failed(Complaint.of(whom() + " could not answer " + operation, reason,
            "an agent of another version has to be started anew, and asked again may be what has changed meanwhile"), cause);
    }

    static void pause(long milliseconds) {
        try {
            Thread.sleep(milliseconds);
        } catch (InterruptedException interrupted) {
            Thread.currentThread().interrupt();
            throw interrupted("it waited for an application");
        }
    }

    /** @param what the thread did */
    static CancellationException interrupted(String what) {
        return new CancellationException(Complaint.of("interrupted",
            "the thread " + Thread.currentThread().getName() + ", while " + what, "it asks nothing until that is cleared"));
    }
}
