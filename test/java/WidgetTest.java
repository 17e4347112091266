import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.AppWindow;
import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.FileDialogView;
import com.talvern.test.gx.engine.Query;
import com.talvern.test.gx.engine.Role;
import com.talvern.test.gx.engine.Widget;
import com.talvern.test.gx.engine.WidgetException;
import com.talvern.test.gx.engine.WidgetView;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.List;
import java.util.concurrent.CompletableFuture;
import java.util.function.Consumer;
import java.util.regex.Pattern;
import javax.tools.ToolProvider;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** What an engine does to widgets of each toolkit, which say themselves what happened to them. */
@Timeout(180)
class WidgetTest extends ShownProgram {
    private static final Duration SOON = Duration.ofMillis(200);

    @TempDir Path folder;

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void whatIsPressedIsWhatWasAskedFor(String program) throws Exception {
        start(program);
        aPathIsALineOfJavaThatFindsItAgain();
        for (String name : List.of("Save", "Bold", "number 29", "number 3", "Save", "Save")) {
            application.button(name).click();
            assertEquals("clicked " + name, output.readLine());
        }
        Widget agree = application.toggle("Agree:");
        agree.set(true);
        agree.set(true);
        assertEquals("clicked Agree", output.readLine());
        assertTrue(agree.isSelected());
        application.toggle("Green").set(true);
        assertFalse(application.toggle("Red").isSelected());
        application.find(Query.role(Role.COMBO_BOX, Role.OPTION_MENU).called("Size")).choose("small");
        for (String line = output.readLine(); !line.equals("size small"); line = output.readLine()) {
            assertTrue(line.startsWith("clicked "), line);
        }
        application.find(Query.role(Role.COMBO_BOX, Role.OPTION_MENU)).awaitText("small");
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void fieldsHoldWhatWasTypedIntoThem(String program) throws Exception {
        start(program);
        Widget name = application.field("Name:");
        name.setText("Gr\u00fc\u00dfe aus K\u00f6ln");
        name.awaitText("Gr\u00fc\u00dfe aus K\u00f6ln");
        name.setText("");
        name.awaitText("");
        application.field("City").type("-West");
        application.field("City").awaitText(Pattern.compile("Gr.nau-West"));
        Widget loudness = application.slider("Loudness");
        for (double value : new double[] {7.3, 0, 10, 1.5}) {
            loudness.set(value);
            assertEquals(value, loudness.view().value(), 1e-9);
        }
        Widget louder = loudness.within(Duration.ofSeconds(2));
        assertTrue(assertThrows(WidgetException.NotSo.class, () -> louder.set(10.1)).getMessage().contains("value 10.0"));
        fails(WidgetException.NotReady.class, "no slider and no scroll bar", name, asked -> asked.set(1.5));
        Widget notes = application.find(Query.name("notes"));
        notes.setText("three\nfour");
        notes.awaitText("three\nfour");
        application.field("Password").setText("new-secret");
        assertEquals("", application.field("Password").text());
        Widget rows = application.list();
        rows.select("gamma");
        assertEquals(List.of(false, false, true), rows.view().rows().stream().map(WidgetView.Row::selected).toList());
        assertEquals("alpha", rows.cell(0, 0).text());
        assertEquals("gamma", rows.cell("gamma", 0).text());
        assertFalse(application.tree().toString().contains("new-secret"));
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void rowsOutOfSightAreScrolledThereAndUsed(String program) throws Exception {
        start(program);
        application.tab("Rows").click();
        Widget table = application.find(Query.role(Role.TABLE, Role.LIST).name("table"));
        List<List<String>> rows = table.rows();
        assertEquals(300, rows.size());
        assertEquals("row 299", rows.get(299).get(0));
        for (String row : List.of("row 250", "row 7:", "row 251")) { // down, up, and down again
            table.select(row);
            assertTrue(table.cell(row, 0).isSelected());
        }
        table.select(298);
        assertEquals(List.of("row 298"), table.view().rows().stream().filter(WidgetView.Row::selected)
            .map(row -> row.cells().get(0)).toList());
        fails(WidgetException.NotFound.class, ".name(\"table\")).cell(\"row 300\", 0) of ", table,
            asked -> asked.select("row 300"));
        fails(WidgetException.NotFound.class, "there is:\n  item \"row 29", table, asked -> asked.cell("row 30x", 0).click());
        fails(WidgetException.Ambiguous.class, "item \"row 29\"", table,
            asked -> asked.cell(Pattern.compile("row 2[0-9]"), 0).click());
        if (program.startsWith("gtk")) {
            cellsOfGtkAreTickedAndWritten(table);
            listsOfOtherKindsAreScrolled(program);
        }
    }

    private void cellsOfGtkAreTickedAndWritten(Widget table) throws Exception {
        assertEquals(List.of("Row", "Done"), table.columns());
        table.header("Done").click();
        says("title Done");
        table.cell("row 120", 1).set(true);
        says("toggled 120");
        table.cell("row 5", 0).edit("five");
        says("edited 5");
        assertEquals("five", table.cell(5, 0).text());
        table.cell("row 6", 0).edit("");
        says("edited 6");
        assertEquals("", table.cell(6, 0).text());
        assertEquals(List.of("row 120", "true"), table.rows().get(120));
    }

    /** The tree has two rows. */
    private void rowsAreOpenedAndClosed(String name, String first, String second) throws Exception {
        Widget tree = application.find(Query.name(name));
        tree.expand(second);
        says("expanded 1");
        tree.expand(second + "39"); // with one that says the same below it
        says("expanded 1:39");
        tree.expand(second + "39");
        assertTrue(tree.view().rows().stream().anyMatch(row -> row.depth() == 1 && Boolean.TRUE.equals(row.open())));
        fails(WidgetException.NotReady.class, "it has no rows below it", tree, asked -> asked.expand(second + "7"));
        tree.expand(Pattern.compile(second));
        tree.collapse(second);
        says("collapsed 1");
        tree.expand(0);
        tree.collapse(0);
        tree.collapse(first);
    }

    private void listsOfOtherKindsAreScrolled(String program) throws Exception {
        Widget tree = application.find(Query.name("tree"));
        assertEquals(42, tree.rows().size()); // the rows below the second are closed
        tree.select("fruit35");
        assertEquals("fruit35", tree.cell(36, 0).text());
        tree.select("bread");
        rowsAreOpenedAndClosed("tree", "fruit", "bread");
        says("collapsed 0");
        application.find(Query.name("icons")).select("icon 55");
        application.find(Query.name("icons")).select(3);
        if (program.startsWith("gtk3")) {
            application.find(Query.name("lines")).select("line 25");
            application.find(Query.name("flow")).select(28);
            assertEquals(List.of("card 7"), application.find(Query.name("flow")).rows().get(7));
        }
        application.tab("Trees").click();
        for (String name : List.of("opened inside", "mirrored")) {
            rowsAreOpenedAndClosed(name, "north", "south");
            says("expanded 0");
            says("collapsed 0");
        }
        rowsAreOpenedAndClosed("without expanders", "spring", "autumn");
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void menusSayHowTheyAreAndAreChosenFrom(String program) throws Exception {
        start(program);
        AppWindow window = application.awaitWindow("All of them");
        assertEquals(Boolean.TRUE, window.menuItem("View", "Ruler").checked());
        assertFalse(window.menuItem("View", "Grid").enabled());
        window.choose("View", "Ruler");
        says("chosen Ruler");
        assertEquals(Boolean.FALSE, application.menuItem("View", "Ruler").checked());
        Widget list = application.list();
        assertEquals(List.of("Cut", "Special"), list.contextMenu().texts());
        application.closeMenus();
        list.chooseFromContextMenu("Special", "As text");
        says("chosen As text");
        application.choose("File", "Ask...");
        AppWindow question = application.awaitDialog();
        assertTrue(question.texts().contains("Really?"), question.tree()::toString);
        String yes = program.startsWith("motif") ? "OK" : "Yes";
        assertTrue(question.buttons().contains(yes), question.tree()::toString);
        fails(WidgetException.Covered.class, "takes the press", application.button("Save"), Widget::click);
        question.button(yes).click();
        says("answer Yes");
        question.awaitGone();
        application.tab("Rows").click();
        assertTrue(application.tab("Rows").isSelected());
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void filesAreNamedInDialogs(String program) throws Exception {
        start(program);
        Path there = Files.writeString(folder.resolve("Gr\u00fc\u00dfe.txt"), "there");
        Files.writeString(folder.resolve("Gr\u00fc\u00dfe.txt.old"), "begins as the other does");
        for (int dialog = 0; dialog < 2; ++dialog) {
            named("Open...", there.toString(), true);
            says("file " + there);
        }
        if (program.startsWith("motif")) {
            okIsNotPressedThroughOthers(program);
            return;
        }
        named("Folder...", folder.toString(), true);
        says("file " + folder);
        named("Save...", folder.resolve("new").toString(), true);
        says("file " + folder.resolve("new"));
        FileDialogView saved = named("Save...", there.toString(), false);
        assertEquals(List.of(saved), application.fileDialogs());
        okIsCovered(saved, "GtkMessageDialog");
        application.find(Query.role(Role.PUSH_BUTTON).text("Replace")).click();
        says("file " + there);
        FileDialogView open = named("Open...", folder.toString(), false); // goes into it
        application.awaitWindow(open.caption()).button("Cancel").click(); // not where it was before that
        assertTrue(output.readLine().startsWith("no file "));
    }

    /** The other program lies above. */
    private void okIsNotPressedThroughOthers(String program) throws Exception {
        application.choose("File", "Open...");
        FileDialogView dialog = application.awaitFileDialog();
        try (Application above = Application.start(System.getProperty("gx.apps") + "/" + program)) {
            above.button("Save").click();
            okIsCovered(dialog, "window \"All of them\"");
        }
        application.setTimeout(Duration.ofSeconds(20));
        assertTrue(application.confirm(dialog));
        assertTrue(output.readLine().startsWith("file "));
    }

    private void okIsCovered(FileDialogView dialog, String by) {
        application.setTimeout(Duration.ofSeconds(2));
        String message = assertThrows(WidgetException.Covered.class, () -> application.confirm(dialog)).getMessage();
        assertTrue(message.contains(by), message);
    }

    private FileDialogView named(String item, String file, boolean goes) {
        application.setTimeout(Duration.ofSeconds(20));
        application.choose("File", item);
        FileDialogView dialog = application.awaitFileDialog();
        application.setFile(dialog, file);
        application.setTimeout(Duration.ofSeconds(goes ? 20 : 3));
        assertEquals(goes, application.confirm(dialog));
        return goes ? null : application.fileDialogs().get(0);
    }

    /** Each line of Java that {@link Widget#path} gives is compiled, and has to find the same widget. */
    private void aPathIsALineOfJavaThatFindsItAgain() throws Exception {
        AppWindow window = application.awaitWindow("All of them");
        List<Widget> widgets = List.of(application.button("Save"), window.button(Pattern.compile("Sa.e")),
            application.toggle("Agree"), window.field("Name"), application.field(Pattern.compile("Cit\\w")), window.label("City"),
            application.list(), window.table(), application.comboBox("Size"), window.optionMenu(Pattern.compile("S\\w+:")),
            application.tab("Rows"), application.slider(), application.list().cell(2, 0), window.list().cell("beta", 0),
            window.find(Query.any().text(Pattern.compile("save", Pattern.CASE_INSENSITIVE))),
            application.find(Query.role(Role.RADIO_BUTTON, Role.TOGGLE).at(1).in(Query.role(Role.WINDOW))),
            application.find(Query.role(Role.RADIO_BUTTON)).all().get(1),
            application.find(Query.role(Role.WINDOW)).find(Query.role(Role.TEXT_AREA).named("notes")));
        StringBuilder code = new StringBuilder("import com.talvern.test.gx.engine.*;\nimport java.util.List;\n"
            + "import java.util.regex.Pattern;\npublic class Paths {\n"
            + "public static List<Widget> all(Application application) {\nreturn List.of(\n");
        code.append(String.join(",\n", widgets.stream().map(Widget::path).toList())).append(");\n}\n}\n");
        Path source = Files.writeString(folder.resolve("Paths.java"), code);
        assertEquals(0, ToolProvider.getSystemJavaCompiler().run(null, null, null, "-cp", System.getProperty("gx.jar"),
            "-d", folder.toString(), source.toString()), code::toString);
        try (URLClassLoader loader = new URLClassLoader(new URL[] {folder.toUri().toURL()})) {
            List<?> again = (List<?>) loader.loadClass("Paths").getMethod("all", Application.class).invoke(null, application);
            for (int index = 0; index < widgets.size(); ++index) {
                assertEquals(widgets.get(index).view().line(), ((Widget) again.get(index)).view().line());
            }
        }
    }

    /** What is chosen waits until the other program, which lies above, has gone. */
    private void menusAreNotPressedThroughOthers(Application above) throws Exception {
        application.setTimeout(Duration.ofSeconds(20));
        CompletableFuture<Void> chosen = CompletableFuture.runAsync(() -> application.choose("View", "Ruler"));
        for (int look = 0; look < 20; ++look) {
            assertEquals(List.of(), above.openMenus());
        }
        above.close();
        chosen.get();
        says("chosen Ruler");
    }

    private <T extends WidgetException> void fails(Class<T> kind, String text, Widget widget, Consumer<Widget> use) {
        String message = assertThrows(kind, () -> use.accept(widget.within(SOON))).getMessage();
        assertTrue(message.contains(text), message);
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void whatCannotBeDoneIsSaidWithTheReason(String program) throws Exception {
        start(program);
        fails(WidgetException.NotFound.class, "there is:\n  push button \"Save\"", application.button("Safe"), Widget::click);
        fails(WidgetException.NotFound.class, "there is:\n  push button \"Save\"", application.button("keeps at"), Widget::click);
        fails(WidgetException.Ambiguous.class, "radio button \"Green\"", application.find(Query.role(Role.RADIO_BUTTON)),
            Widget::view);
        fails(WidgetException.NotReady.class, "is disabled", application.button("Grey"), Widget::click);
        fails(WidgetException.NotReady.class, "cannot be typed into", application.button("Save"), save -> save.setText("x"));
        fails(WidgetException.NotReady.class, "nothing to tick", application.button("Save"), save -> save.set(true));
        fails(WidgetException.NotSo.class, "text field \"Anna\"", application.field("Name"), name -> name.awaitText("Berta"));
        fails(WidgetException.NotSo.class, "still there", application.button("Save"), Widget::awaitGone);
        assertThrows(WidgetException.NotFound.class, () -> {
            application.setPatience(SOON);
            application.awaitWindow("None of them");
        });
        assertFalse(application.button("Safe").exists());
        assertEquals("application.find(Query.role(Role.RADIO_BUTTON)).at(1)",
            application.find(Query.role(Role.RADIO_BUTTON)).all().get(1).path());
        AppWindow window = application.awaitWindow(Pattern.compile("All .*"));
        assertEquals("All of them", window.caption());
        assertEquals(1, application.windows().size());
        try (Application above = Application.start(System.getProperty("gx.apps") + "/" + program)) {
            above.button("Save").click(); // without a window manager the newer one lies on the older one
            fails(WidgetException.Covered.class, "window \"All of them\"", application.button("Save"), Widget::click);
            menusAreNotPressedThroughOthers(above);
        }
        window.close();
        window.awaitGone();
    }
}
