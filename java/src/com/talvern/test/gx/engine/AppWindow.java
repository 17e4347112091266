package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.graphical.Captions;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Rectangle;
import java.time.Duration;
import java.util.List;
import java.util.Optional;
import java.util.function.Function;
import java.util.function.Predicate;
import java.util.stream.Stream;

/**
 * A window of an application under test: that very one, not another that may come later with the same caption.
 *
 * <pre>{@code
 * try (Application editor = Application.start("nedit")) {
 *     editor.choose("Search", "Goto Line Number...");
 *     AppWindow line = editor.awaitWindow("Goto Line Number");
 *     System.out.println(line.tree());
 *     line.button("Cancel").click();
 *     line.awaitGone();
 * }
 * }</pre>
 */
public final class AppWindow implements WidgetScope {
    /** Between what a window shows and the name of its program. */
    private static final List<String> DASHES = List.of(" - ", " \u2013 ", " \u2014 ");

    private final Application application;
    private final long id;
    private final long window;
    /** X window of the menu that has been torn off into this; 0 for none. See {@link Application#tearOff}. */
    private final long tornOff;
    private final String path;
    private final Duration patience;

    /** @param all windows there are */
    AppWindow(Application application, WidgetView view, List<WidgetView> all, Duration patience) {
        this.application = application;
        this.id = view.id();
        this.window = view.window();
        this.tornOff = view.children().stream().filter(each -> each.role() == Role.MENU).findFirst()
            .map(WidgetView::window).orElse(0L);
        this.path = "application." + pathTo(view, all);
        this.patience = patience;
    }

    private static String pathTo(WidgetView view, List<WidgetView> all) {
        String caption = captionOf(view);
        return all.stream().filter(each -> captionOf(each).equals(caption)).count() == 1
            ? "awaitWindow(" + WidgetQuery.literal(caption) + ")" : "windows().get(" + all.indexOf(view) + ")";
    }

    static boolean isWindow(WidgetView view) {
        return view.role() == Role.WINDOW || view.role() == Role.DIALOG;
    }

    static AppWindow await(Application application, String wanted,
            Function<List<WidgetView>, List<WidgetView>> asked, Duration patience) {
        Steps.note(application.name() + ": " + wanted);
        return application.patiently(patience, left -> {
            List<WidgetView> windows = application.tree().children().stream().filter(AppWindow::isWindow).toList();
            List<WidgetView> found = asked.apply(windows);
            if (found.size() > 1) {
                throw new WidgetException.Ambiguous(Complaint.of(wanted + " of " + application.whom(),
                    "it is " + found.size() + " of " + captions(windows), "take one of windows()"));
            }
            return found.size() == 1 ? Outcome.of(new AppWindow(application, found.get(0), windows, patience))
                : Outcome.failed(() -> new WidgetException.NotFound(Complaint.of(wanted + " of " + application.whom(),
                    "none has come up within " + patience.toMillis() + " ms; there are " + captions(windows),
                    "setPatience waits longer")));
        });
    }

    /** What is called exactly that, else what is called so beside a dash and the name of a program or file. */
    static List<WidgetView> called(String caption, List<WidgetView> windows) {
        return Stream.<Predicate<String>>of(caption::equals, each -> !caption.isEmpty() && DASHES.stream()
                .anyMatch(dash -> each.startsWith(caption + dash) || each.endsWith(dash + caption)))
            .map(asked -> windows.stream().filter(view -> asked.test(captionOf(view))).toList())
            .filter(found -> !found.isEmpty()).findFirst().orElse(List.of());
    }

    static List<String> captions(List<WidgetView> windows) {
        return windows.stream().map(view -> WidgetView.quoted(captionOf(view))).toList();
    }

    /** A program may set its title past its toolkit. */
    static String captionOf(WidgetView view) {
        return view.text().isEmpty() && view.window() != 0
            ? Captions.nameOf(view.window()) : view.text();
    }

    private Optional<WidgetView> now() {
        return now(application.tree());
    }

    private Optional<WidgetView> now(WidgetView tree) {
        return tree.children().stream().filter(view -> view.id() == id && view.window() == window).findFirst();
    }

    @Override
    public Widget find(Query query) {
        return new Widget(application, path, "find(" + query + ")",
            new Widget.Finder(tree -> now(tree).stream().toList(), WidgetQuery.of(query)::find), patience);
    }

    /**
     * @return the window with all that is in it
     * @throws WidgetException.NotFound it has gone
     */
    @Override
    public WidgetView tree() {
        return now().orElseThrow(() -> new WidgetException.NotFound(Complaint.of(called(), "it has gone",
            "one that comes later with its caption is another: ask for that anew")));
    }

    private String called() {
        return path + " of " + application.whom() + String.format(", window 0x%x", window);
    }

    /** @return {@link #path} */
    @Override
    public String toString() {
        return path;
    }

    /** @return a line of Java that finds a window with its caption */
    public String path() {
        return path;
    }

    /** @return its X window */
    public long window() {
        return window;
    }

    /** @return the text in its title bar; empty when it has none */
    public String caption() {
        return captionOf(tree());
    }

    /** @return what its labels say, as the texts of a message, in the order of the tree */
    public List<String> texts() {
        return tree().all().filter(view -> view.role() == Role.LABEL && view.showing() && !view.text().isEmpty())
            .map(WidgetView::text).toList();
    }

    /** @return what its buttons say, in the order of the tree */
    public List<String> buttons() {
        return Kinds.BUTTON.find(tree()).stream().filter(view -> view.showing() && !view.text().isEmpty())
            .map(WidgetView::text).toList();
    }

    /** @return where it is on the screen, without the frame of a window manager */
    public Rectangle bounds() {
        return tree().bounds();
    }

    /**
     * Takes a picture of what is on the screen where the window is.
     *
     * @param options how
     * @return the picture
     * @throws IllegalArgumentException nothing of the window is on the screen
     */
    public Picture capture(Screen.Option... options) {
        return Screen.capture(bounds(), options);
    }

    /** @return whether keys go to it */
    public boolean isActive() {
        NativeWindow foreground = NativeWindow.nativeGetForeground();
        return foreground.getHandle() == Windows.topOf(new NativeWindow(window)).getHandle();
    }

    /**
     * Brings it to the front and has keys go to it, as a user does by its title bar.
     *
     * @throws WidgetException.NotSo it has not become active
     */
    public void activate() {
        NativeTopLevelWindow top = new NativeTopLevelWindow(window);
        top.nativeSetForeground();
        if (!isActive()) {
            top.nativeSetFocus();
        }
        await("active", this::isActive);
        application.settle();
    }

    /** Asks the application to close it, as the close button does; the application may refuse, or ask back. */
    public void close() {
        new NativeTopLevelWindow(window).close();
        application.settle();
    }

    /**
     * Chooses an item of the menus of this window.
     *
     * @param item the texts of the items, from the menu bar or the menu that has been torn off; one at least
     */
    public void choose(String... item) {
        tornOff().ifPresentOrElse(menu -> application.choose(menu, item), () -> application.choose(window, item));
    }

    /**
     * How an item of the menus of this window is; see {@link Application#menuItem}.
     *
     * @param item the texts of the items, from the menu bar or the menu that has been torn off; one at least
     * @return the item as it was while its menu was open
     */
    public MenuView.Item menuItem(String... item) {
        return tornOff().map(menu -> application.menuItem(menu, item)).orElseGet(() -> application.menuItem(window, item));
    }

    private Optional<MenuView> tornOff() {
        return tornOff == 0 ? Optional.empty() : application.menu(tornOff);
    }

    /**
     * Waits until it is no longer on the screen. With the application it has gone, too.
     *
     * @throws WidgetException.NotSo it still is
     */
    public void awaitGone() {
        try {
            await("gone", () -> now().isEmpty());
        } catch (ApplicationException.Ended withAll) {
            return;
        }
    }

    private void await(String what, java.util.function.BooleanSupplier condition) {
        application.patiently(patience, left -> condition.getAsBoolean() ? Outcome.of(true) : Outcome.failed(
            () -> new WidgetException.NotSo(Complaint.of(called(), "it is not " + what + " after " + patience.toMillis()
                + " ms; keys go to " + Complaint.nameOf(NativeWindow.nativeGetForeground()), "setPatience waits longer"))));
    }
}
