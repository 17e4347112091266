import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.Role;
import com.talvern.test.gx.engine.WidgetView;
import java.io.BufferedReader;
import java.lang.ProcessBuilder.Redirect;
import java.nio.charset.StandardCharsets;
import java.time.Duration;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** What an engine sees of the widgets of each toolkit. */
@Timeout(120)
class WidgetTreeTest {
    /** Parts of the line that every toolkit has for a widget; a part of it that one alone has stands behind "gtk" or "motif". */
    private static final List<String> LINES = List.of(
        "window \"All of them\"|at",
        "push button \"Save\"|tip \"keeps it\"|at",
        "push button \"Grey\"|disabled|at",
        "toggle \"Bold\"|unchecked|at",
        "check box \"Agree\"|unchecked|at",
        "radio button \"Red\"|checked|at",
        "radio button \"Green\"|unchecked|at",
        "text field \"Anna\" label \"Name:\"|at",
        "text field \"Gr\u00fcnau\" label \"City\"|at",
        "text field (secret) label \"Password:\"|at",
        "gtk spin button \"42\" label \"Count:\" value 42.0|at",
        "gtk combo box \"large\" label \"Size:\"|at",
        "motif option menu \"large\" label \"Size:\"|at",
        "scale label \"Loudness:\"|value 1.5|at",
        "text area \"one\\ntwo\" name \"notes\"|at",
        "gtk tab \"First\" selected|at",
        "motif container \"Colour\" name \"frame\"|at",
        "gtk label \"behind\" hidden|at",
        "push button \"number 0\"|at",
        "push button \"number 29\"|out of sight at");

    private Application start(String program, String... arguments) throws Exception {
        List<String> command = Stream.concat(Stream.of(System.getProperty("gx.apps") + "/" + program),
            Arrays.stream(arguments)).toList();
        Application started = Application.start(new ProcessBuilder(command).redirectError(Redirect.INHERIT),
            Duration.ofSeconds(60));
        BufferedReader output = started.process().inputReader(StandardCharsets.UTF_8);
        assertTrue(output.readLine().startsWith("ready"));
        return started;
    }

    private static boolean hasLine(WidgetView tree, String toolkit, String line) {
        List<String> parts = Arrays.stream(line.split("\\|"))
            .filter(part -> !part.startsWith(toolkit.equals("gtk") ? "motif " : "gtk "))
            .map(part -> part.replaceFirst("^(gtk|motif) ", "")).toList();
        return line.startsWith(toolkit.equals("gtk") ? "motif " : "gtk ")
            || tree.all().map(WidgetView::line).anyMatch(each -> each.startsWith(parts.get(0))
                && parts.stream().allMatch(each::contains));
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk2-shown", "gtk3-shown"})
    void aTreeHasWhatAUserSees(String program) throws Exception {
        try (Application application = start(program)) {
            WidgetView tree = settled(application);
            String toolkit = program.substring(0, program.startsWith("gtk") ? 3 : 5);
            assertAll(LINES.stream().map(line -> () -> assertTrue(hasLine(tree, toolkit, line), line + " in\n" + tree)));
            assertFalse(tree.toString().contains("secret-"));
            WidgetView rows = tree.all().filter(each -> !each.rows().isEmpty()).findFirst().orElseThrow();
            assertEquals(List.of("alpha", "beta", "gamma"), rows.rows().stream().map(row -> row.cells().get(0)).toList());
            assertEquals(List.of(false, true, false), rows.rows().stream().map(WidgetView.Row::selected).toList());
            assertEquals(toolkit.equals("gtk") ? 3 : 4, rows.rowCount());
            assertTrue(rows.rows().stream().allMatch(row -> rows.bounds().contains(row.bounds())), tree::toString);
            assertEquals(toolkit.equals("gtk") ? List.of("Name", "On") : List.of(), rows.columns());
            assertTrue(tree.all().filter(each -> each.seen() != null && each.role() != Role.SCROLL_BAR)
                .allMatch(each -> tree.bounds().contains(each.seen())), tree::toString);
        }
    }

    /** A window is still being placed when the program says that it is mapped. */
    private static WidgetView settled(Application application) throws Exception {
        WidgetView tree = application.tree();
        for (WidgetView before = null; tree.children().isEmpty() || !tree.equals(before); tree = application.tree()) {
            before = tree;
            Thread.sleep(100);
        }
        return tree;
    }

    @Test
    void whatIsTooMuchIsCutAndMarked() throws Exception {
        try (Application application = start("motif-shown", "25000")) {
            application.setTimeout(Duration.ofSeconds(60));
            WidgetView tree = settled(application);
            assertTrue(tree.all().count() > 15_000, () -> "only " + tree.all().count());
            assertEquals(List.of(true), tree.all().map(WidgetView::childrenCut).filter(cut -> cut).distinct().toList());
            assertTrue(tree.toString().contains("(cut here)"));
        }
    }
}
