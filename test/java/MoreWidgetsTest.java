import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.CoordinateOffScreenException;
import com.talvern.test.gx.engine.AppWindow;
import com.talvern.test.gx.engine.Query;
import com.talvern.test.gx.engine.Role;
import com.talvern.test.gx.engine.Screen;
import com.talvern.test.gx.engine.UserInput;
import com.talvern.test.gx.engine.Widget;
import com.talvern.test.gx.engine.WidgetException;
import com.talvern.test.gx.engine.WidgetView;
import java.awt.Point;
import java.awt.Rectangle;
import java.io.PrintStream;
import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.NoSuchElementException;
import java.util.Optional;
import java.util.regex.Pattern;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** What is less common: choices that fail, drags, choosers of each toolkit, notebooks, containers and outlines of Motif. */
@Timeout(180)
class MoreWidgetsTest extends ShownProgram {
    private static final Duration SOON = Duration.ofMillis(200);

    /** What is pressed next must be taken, and what was chosen from in vain must open again. */
    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void aChoiceThatFailsLeavesNothingOpen(String program) throws Exception {
        start(program);
        Widget size = application.find(Query.role(Role.COMBO_BOX, Role.OPTION_MENU));
        leavesNothingOpen(() -> size.within(SOON).choose("huge"));
        leavesNothingOpen(() -> application.choose("View", "Grid"));
        leavesNothingOpen(() -> application.list().chooseFromContextMenu("Special", "As nothing"));
        if (program.startsWith("gtk3")) {
            Widget options = application.button("Options");
            leavesNothingOpen(() -> options.within(SOON).choose("More", "Shallow"));
            leavesNothingOpen(() -> options.within(SOON).choose("Nothing"));
            options.choose("Zoom");
            says("chosen zoom");
        }
        application.choose("View", "Ruler");
        says("chosen Ruler");
        size.choose("small");
        size.awaitText("small");
    }

    private void leavesNothingOpen(Executable choice) throws Exception {
        List<Long> before = shown();
        assertThrows(RuntimeException.class, choice);
        assertEquals(before, shown());
        assertTrue(application.openMenus().isEmpty());
        application.button("Save").click();
        says("clicked Save");
    }

    private List<Long> shown() {
        return application.tree().all().filter(WidgetView::showing).map(WidgetView::id).toList();
    }

    @Test
    void popoversAreChosenFrom() throws Exception {
        start("gtk3-shown");
        assertTrue(application.find(Query.role(Role.ITEM).text("Ours")).exists());
        Widget options = application.button("Options");
        options.choose("Zoom");
        says("chosen zoom");
        options.choose("Loud");
        options.choose("More", "Deep");
        says("chosen deep");
    }

    /** Tool buttons without a text or with a menu, what an expander hides, a tab that there is no room for. */
    @ParameterizedTest
    @ValueSource(strings = {"gtk2-shown", "gtk3-shown"})
    void whatGtkShowsInPartIsUsed(String program) throws Exception {
        start(program);
        assertEquals(1, application.windows().size());
        for (String[] row : new String[][] {{"cuts it", "cuts it"}, {"Print", "prints it"}, {"prints it", "prints it"}}) {
            application.button(row[0]).click();
            says("clicked " + row[1]);
        }
        Widget rare = application.button("Rare");
        for (int time = 0; time < 2; ++time) {
            assertFalse(rare.exists());
            application.toggle("More").set(true);
            rare.click();
            says("clicked Rare");
            application.toggle("More").set(false);
        }
        for (String tab : List.of("Page 40", "First", "Page 20")) {
            application.tab(tab).click();
            application.tab(tab).await("in front", WidgetView::selected);
        }
    }

    /** Labels half down, of switches and boxes to tick, buttons and entries with two texts, a box that opens at its arrow. */
    @ParameterizedTest
    @ValueSource(strings = {"gtk2-shown", "gtk3-shown"})
    void formsOfGtkAreFilledIn(String program) throws Exception {
        start(program);
        application.choose("File", "Form...");
        AppWindow form = application.awaitWindow("Form");
        form.field("Remarks").setText("none");
        form.field("Remarks").awaitText("none");
        form.field("Folder").setText("/tmp");
        form.field("Folder").awaitText("/tmp");
        form.toggle("Wireless").set(true);
        says("switched it");
        assertEquals("", form.comboBox("Port").view().name());
        for (String name : List.of("Port", "Mirrored")) {
            Widget port = form.comboBox(name);
            port.choose("22");
            port.awaitText("22");
            port.setText("80");
            port.awaitText("80");
        }
        for (String name : List.of("Au", "79")) {
            form.button(name).click();
            says("clicked Au");
        }
        form.label("Ag").click();
        says("clicked Ag");
        Widget queue = form.find(Query.name("queue"));
        for (String row : List.of("first", "third", "second")) { // which move before the second may be clicked on
            queue.select(row);
        }
        queue.cell("new", 0).controlClick();
        assertEquals(List.of(true, false, true, false), selectedIn(queue));
        queue.cell("first", 0).controlClick();
        queue.cell("third", 0).shiftClick();
        assertEquals(List.of(false, true, true, true), selectedIn(queue));
        assertEquals("2024-02-29", form.find(Query.any().text(Pattern.compile("\\d+-\\d+-\\d+"))).text());
        if (program.startsWith("gtk3")) {
            Widget people = form.list("People");
            assertEquals(List.of(List.of("Anna", "at home"), List.of("Bert", "away")), people.rows());
            people.select("away");
            people.cell("Bert", 0).await("selected", WidgetView::selected);
            assertEquals("away", people.cell(1, 1).text());
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void whatThePointerDoesBesidesClicksIsTaken(String program) throws Exception {
        start(program);
        Widget list = application.list();
        list.cell("gamma", 0).doubleClick();
        says("activated 2");
        application.button("Save").hover();
        application.label("keeps it").view();
        application.field("Name").doubleClick();
        application.field("City").middleClick();
        application.field("City").await("with what was selected", view -> view.text().contains("Anna"));
        assertEquals(1, application.windows().size());
        list.cell("alpha", 0).dragTo(list.cell("gamma", 0));
        if (program.startsWith("motif")) { // the selection follows
            list.cell("gamma", 0).await("selected", WidgetView::selected);
            return;
        }
        list.await("in another order", view -> view.rows().get(0).cells().get(0).equals("beta"));
    }

    @Test
    void whatReachesBeyondTheScreenIsPressedWhereItShows() throws Exception {
        start("motif-shown", "-geometry", "+1210+0");
        application.field("Name").setText("Berta");
        application.field("Name").awaitText("Berta");
        String message = assertThrows(WidgetException.NotReady.class, () -> application.toggle("Green").within(SOON).click())
            .getMessage();
        assertTrue(message.contains("it is out of sight"), message);
    }

    /** It opens as before meanwhile, and is none of the menus that are open while it stands by itself. */
    @Test
    void aMenuThatIsTornOffIsChosenFrom() throws Exception {
        start("motif-shown");
        AppWindow torn = application.tearOff("View");
        assertEquals(List.of(), application.openMenus());
        assertEquals(Optional.empty(), application.contextMenu());
        for (Boolean checked : List.of(false, true, false)) { // told at once, although the window manager holds back the press
            torn.choose("Ruler");
            assertEquals(checked, torn.menuItem("Ruler").checked());
            says("chosen Ruler");
        }
        assertFalse(application.menuItem("View", "Grid").enabled());
        application.choose("View", "Ruler");
        says("chosen Ruler");
        torn.find(Query.role(Role.ITEM).text("Ruler")).click();
        says("chosen Ruler");
        torn.close();
        torn.awaitGone();
        assertEquals(Boolean.FALSE, application.menuItem("View", "Ruler").checked());
        String message = assertThrows(NoSuchElementException.class, () -> application.tearOff("File")).getMessage();
        assertTrue(message.contains("it cannot be torn off"), message);
        assertEquals(List.of(), application.openMenus());
    }

    @Test
    void aRowIsSelectedThatAClickWouldDeselect() throws Exception {
        start("motif-shown");
        application.tab("Many").click();
        Widget many = application.find(Query.name("many"));
        for (String row : List.of("red", "blue", "red")) {
            many.select(row);
        }
        assertEquals(List.of(true, false, true), many.view().rows().stream().map(WidgetView.Row::selected).toList());
        many.cell("red", 0).click();
        assertFalse(many.cell("red", 0).isSelected());
    }

    /** The middle button is what Motif drags with of itself. */
    @Test
    void motifDropsWhatIsDragged() throws Exception {
        start("motif-shown");
        Widget row = application.find(Query.name("list")).cell("beta", 0);
        row.middleDragTo(application.field("City"));
        assertTrue(application.field("City").text().contains("beta"));
        row.dragTo(application.field("Name"));
        assertEquals("Anna", application.field("Name").text());
        application.close();
        start("motif-shown", "-xrm", "*enableBtn1Transfer: button2_transfer");
        row = application.find(Query.name("list")).cell("beta", 0);
        row.dragTo(application.field("City"));
        assertTrue(application.field("City").text().contains("beta"));
    }

    /** The thumb goes by the pixel, some of which stand for 10 and more; one bar goes from right to left. */
    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void scrollBarsAreDragged(String program) throws Exception {
        start(program);
        Widget across = application.find(Query.name("across"));
        for (double value : new double[] {50, 7, 100, 98, 0, 33}) {
            across.set(value);
            assertEquals(value, across.view().value(), 0.5);
        }
        String message = assertThrows(WidgetException.NotSo.class, () -> across.set(100.5)).getMessage();
        assertTrue(message.contains("it goes from 0.0 to 100.0"), message);
        Widget first = application.button("number 0");
        Widget down = application.find(Query.name("scrolled")).find(Query.role(Role.SCROLL_BAR)).all().stream()
            .filter(bar -> bar.view().bounds().height > bar.view().bounds().width).findFirst().orElseThrow();
        down.set(200);
        assertEquals(200, down.view().value(), 10);
        assertEquals(null, first.view().seen());
        down.set(0);
        assertTrue(first.view().seen() != null);
        assertThrows(WidgetException.NotReady.class, () -> application.list().within(SOON).set(1.5));
    }

    /** Its loop waits for the display alone, and forever. */
    @Test
    void aProgramWithAMainLoopOfItsOwnIsWoken() throws Exception {
        start("motif-shown", "30", "300", "-1");
        application.choose("View", "Ruler");
        says("chosen Ruler");
        application.button("Save").click();
        says("clicked Save");
        application.awaitIdle(Duration.ofMillis(10), Duration.ofSeconds(20));
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void programsAreUsedOnAScreenThatChanges(String program) throws Exception {
        start(program);
        String small = "small-" + program;
        setScreen("--newmode", small, "40", "800", "800", "800", "800", "600", "600", "600", "600");
        setScreen("--addmode", "screen", small);
        try (UserInput user = new UserInput()) {
            isUsedOnAScreen(new Rectangle(800, 600), small, user);
            isUsedOnAScreen(new Rectangle(1280, 1024), "1280x1024", user);
        } finally {
            setScreen("--output", "screen", "--mode", "1280x1024");
        }
    }

    private void isUsedOnAScreen(Rectangle screen, String mode, UserInput user) throws Exception {
        setScreen("--output", "screen", "--mode", mode);
        assertEquals(screen, Screen.capture().bounds());
        assertThrows(CoordinateOffScreenException.class, () -> user.click(new Point(screen.width + 9, 0)));
        user.click(new Point(screen.width - 1, 0));
        application.choose("File", "Ask...");
        AppWindow question = application.awaitDialog();
        question.button(question.buttons().contains("Yes") ? "Yes" : "OK").click();
        says("answer Yes");
        question.awaitGone();
    }

    private static void setScreen(String... arguments) throws Exception {
        List<String> command = new ArrayList<>(List.of("xrandr"));
        command.addAll(List.of(arguments));
        assertEquals(0, new ProcessBuilder(command).inheritIO().start().waitFor());
    }

    /** Motif's own dialogs and menus are not all that keeps presses from the rest. */
    @Test
    void whatHasAGrabIsNamed() throws Exception {
        start("motif-shown");
        PrintStream orders = new PrintStream(application.process().getOutputStream(), true);
        Widget save = application.button("Save");
        for (String[] row : new String[][] {{"bare", "dialog \"bare\""}, {"list", "list name \"list\""},
            {"hidden", "something of the program that does not show, and has a grab,"}}) {
            orders.println(row[0]);
            says("held by " + row[0]);
            String message = assertThrows(WidgetException.Covered.class, () -> save.within(SOON).click()).getMessage();
            assertTrue(message.contains(", where " + row[1]), message);
        }
        orders.println("list");
        says("held by list");
        application.list().select("gamma");
        orders.println("nobody");
        says("held by nobody");
        save.click();
        says("clicked Save");
    }

    @ParameterizedTest
    @ValueSource(strings = {"gtk2-shown", "gtk3-shown"})
    void coloursAndFontsAreChosen(String program) throws Exception {
        start(program);
        boolean isOld = program.startsWith("gtk2");
        application.choose("File", "Colour...");
        AppWindow colours = application.awaitWindow("Colour");
        if (isOld) {
            colours.field("Color name:").setText("#00FF00\n");
        } else {
            colours.toggle("Red").set(true);
        }
        colours.button(isOld ? "OK" : "Select").click();
        says(isOld ? "colour #0000ffff0000" : "colour rgb(224,27,36)");
        application.choose("File", "Font...");
        AppWindow fonts = application.awaitWindow("Font");
        if (isOld) {
            fonts.list("Style").select("Bold");
            fonts.field("Size").setText("20");
        } else {
            fonts.find(Query.role(Role.LIST)).select("Sans Bold");
            fonts.find(Query.role(Role.SPIN_BUTTON)).setText("20\t");
        }
        fonts.button(isOld ? "OK" : "Select").click();
        says("font Sans Bold 20");
    }

    private Widget named(Role role, String name) {
        return application.find(Query.role(role).named(name));
    }

    private static List<Boolean> selectedIn(Widget list) {
        return list.view().rows().stream().map(WidgetView.Row::selected).toList();
    }

    @Test
    void notebooksContainersColumnsAndOutlinesOfMotifAreUsed() throws Exception {
        start("motif-rows");
        for (String tab : List.of("right two", "top three", "right three", "top two", "right one", "top one")) {
            application.tab(tab).click();
            says("clicked " + tab);
            application.tab(tab).await("in front", WidgetView::selected);
        }
        Widget columns = named(Role.TABLE, "list");
        assertEquals(List.of("Number", "Square"), columns.view().columns());
        assertEquals(40, columns.rows().size());
        for (String row : List.of("line 0", "is 900", "line 39", "is 4")) {
            columns.select(row);
            assertTrue(columns.cell(row, 1).isSelected());
        }
        assertEquals("is 1521", columns.cell(39, 1).text());
        Widget details = named(Role.TABLE, "details");
        assertEquals(List.of("Name", "Size"), details.view().columns());
        assertEquals(30, details.rows().size()); // the first file is in the folder, which is closed
        for (String row : List.of("file 20", "file 1", "file 29")) {
            details.select(row);
            assertEquals(row.substring(5), details.cell(row, 1).text());
        }
        named(Role.LIST, "icons").select("file 2");
        assertEquals(List.of(false, false, true), selectedIn(named(Role.LIST, "icons")));
        Widget outline = named(Role.TREE, "outline");
        assertFalse(outline.cell("file 0", 0).exists());
        for (Widget container : List.of(outline, details)) { // of which the second shows no buttons
            container.collapse("folder");
            container.expand("folder");
            assertEquals(true, container.view().rows().get(0).open());
        }
        assertThrows(WidgetException.NotReady.class, () -> outline.within(SOON).expand("file 2"));
        outline.select("file 0");
        assertEquals(List.of(false, true, false, false), selectedIn(outline));
        assertEquals("0:0", outline.view().rows().get(1).path());
        outline.cell("file 2", 0).doubleClick();
        says("opened file 2");
        for (String name : List.of("nodes", "tree")) {
            Widget nodes = named(Role.TREE, name);
            assertEquals(List.of("root", "left", "right"), nodes.rows().stream().map(row -> row.get(0)).toList());
            nodes.cell("right", 0).click();
            says("clicked right");
            nodes.button("left").click();
            says("clicked left");
            nodes.expand("root");
            nodes.collapse("root");
            assertEquals(1, nodes.view().rowCount());
            assertFalse(nodes.button("left").exists());
        }
    }

    @Test
    void coloursAndFontsOfMotifAreChosen() throws Exception {
        start("motif-rows");
        Widget colours = application.find(Query.name("colours"));
        colours.toggle("Color List").set(true);
        colours.list().select("Navy");
        colours.label(Pattern.compile("Navy .*")).view();
        application.toggle("Bold").set(true);
        application.comboBox("Size").choose("14");
        application.comboBox("Size").awaitText("14");
        for (String name : List.of("port", "mirrored")) {
            Widget port = named(Role.COMBO_BOX, name);
            port.choose("80");
            port.awaitText("80");
        }
    }
}
