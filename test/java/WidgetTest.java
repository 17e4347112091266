import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.AppWindow;
import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.Query;
import com.talvern.test.gx.engine.Role;
import com.talvern.test.gx.engine.Widget;
import com.talvern.test.gx.engine.WidgetException;
import com.talvern.test.gx.engine.WidgetView;
import java.io.BufferedReader;
import java.lang.ProcessBuilder.Redirect;
import java.nio.charset.StandardCharsets;
import java.time.Duration;
import java.util.List;
import java.util.function.Consumer;
import java.util.regex.Pattern;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** What an engine does to widgets of each toolkit, which say themselves what happened to them. */
@Timeout(180)
class WidgetTest {
    private static final Duration SOON = Duration.ofMillis(200);

    private Application application;
    private BufferedReader output;

    private void start(String program) throws Exception {
        application = Application.start(new ProcessBuilder(System.getProperty("gx.apps") + "/" + program)
            .redirectError(Redirect.INHERIT), Duration.ofSeconds(60));
        application.setPatience(Duration.ofSeconds(20));
        output = application.process().inputReader(StandardCharsets.UTF_8);
        assertTrue(output.readLine().startsWith("ready"));
    }

    @AfterEach
    void endApplication() {
        application.close();
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void whatIsPressedIsWhatWasAskedFor(String program) throws Exception {
        start(program);
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

    private <T extends WidgetException> void fails(Class<T> kind, String text, Widget widget, Consumer<Widget> use) {
        String message = assertThrows(kind, () -> use.accept(widget.within(SOON))).getMessage();
        assertTrue(message.contains(text), message);
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void whatCannotBeDoneIsSaidWithTheReason(String program) throws Exception {
        start(program);
        fails(WidgetException.NotFound.class, "there is:\n  push button \"Save\"", application.button("Safe"), Widget::click);
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
        }
        window.close();
        window.awaitGone();
    }
}
