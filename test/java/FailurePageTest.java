import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.platform.engine.discovery.DiscoverySelectors.selectClass;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.junit.GxTest;
import com.talvern.test.gx.junit.Program;
import com.talvern.test.gx.util.GxDebug;
import java.io.ByteArrayInputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Base64;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import javax.imageio.ImageIO;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.MethodOrderer;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.TestMethodOrder;
import org.junit.jupiter.api.io.TempDir;
import org.junit.platform.launcher.LauncherDiscoveryRequest;
import org.junit.platform.launcher.core.LauncherDiscoveryRequestBuilder;
import org.junit.platform.launcher.core.LauncherFactory;
import org.junit.platform.launcher.listeners.SummaryGeneratingListener;

/** What is left of a test that fails. */
class FailurePageTest {
    private static final String TYPED = "open sesame";

    @TempDir Path folder;

    /** Run by the test below. */
    @GxTest
    @TestMethodOrder(MethodOrderer.MethodName.class)
    static class Failing {
        static final List<Application> STARTED = new ArrayList<>();

        @BeforeEach
        void begin(@Program({"sh", "-c", "echo '<complaint> & more' >&2; exec ${gx.apps}/motif-shown"}) Application shown) {
            STARTED.add(shown);
        }

        @Test
        void typesAPassword(@Program("${gx.apps}/gtk3-shown") Application shown) {
            STARTED.add(shown);
            shown.field("Password:").setText(TYPED);
            shown.button("Save").click();
            assertEquals("a", "b", "what the test says");
        }

        @Test
        void passes() {
            assertEquals(1, STARTED.get(0).windows().size());
        }

        @Test
        void startsNothing(@Program("no such program") Application none) {}
    }

    private static String textOf(Path page) throws Exception {
        return Files.readString(page.resolve("index.html"));
    }

    @Test
    void aFailedTestLeavesAPageAndNoProgram() throws Exception {
        GxDebug.TraceSetComponentLevelN("native", 0);
        GxDebug.TraceSetEnabledN(true);
        LauncherDiscoveryRequest request = LauncherDiscoveryRequestBuilder.request().selectors(selectClass(Failing.class))
            .configurationParameter("gx.failures", folder.toString()).build();
        SummaryGeneratingListener listener = new SummaryGeneratingListener();
        LauncherFactory.create().execute(request, listener);
        assertEquals(2, listener.getSummary().getTestsFailedCount(), listener.getSummary().getFailures().toString());
        assertEquals(List.of(), Failing.STARTED.stream().filter(Application::isAlive).toList());

        Path pages = folder.resolve("FailurePageTest$Failing");
        try (Stream<Path> names = Files.list(pages)) {
            assertEquals(List.of("startsNothing", "typesAPassword"),
                names.map(page -> page.getFileName().toString()).sorted().toList());
        }
        assertTrue(textOf(pages.resolve("startsNothing")).contains("has not started"));
        String page = textOf(pages.resolve("typesAPassword"));
        for (String part : List.of("what the test says", "FailurePageTest.java", "click: application.button(&quot;Save&quot;)",
                "push button &quot;Save&quot;", "text field (secret)", "&lt;complaint&gt; &amp; more", "runs as process",
                "Got INPUTCHARS event with (left out)", "Click: clicking at location")) {
            assertTrue(page.contains(part), part + " is not in " + page.replaceAll("base64,[^\"]*", ""));
        }
        assertEquals(2, Pattern.compile("<p>runs as process").matcher(page).results().count());
        assertFalse(page.contains("Failing.passes("), "what another test has asked for");
        for (String secret : List.of(TYPED, "secret-word", "secret-pin")) {
            assertFalse(page.contains(secret), secret);
        }
        assertEquals(1280, imageOf(page, "screen"));
        assertTrue(imageOf(page, "window-1") < 1280);
        assertTrue(Files.size(pages.resolve("typesAPassword/window-2.png")) > 0);
    }

    private static int imageOf(String page, String name) throws Exception {
        Matcher image = Pattern.compile("<img alt=\"" + name + "\" src=\"data:image/png;base64,([^\"]*)\"").matcher(page);
        assertTrue(image.find(), name);
        return ImageIO.read(new ByteArrayInputStream(Base64.getDecoder().decode(image.group(1)))).getWidth();
    }
}
