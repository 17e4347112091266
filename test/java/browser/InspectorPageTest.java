import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.Screen;
import com.talvern.test.gx.engine.Wait;
import com.talvern.test.gx.inspect.Inspector;
import java.awt.Rectangle;
import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

/** The page of the inspector as its user has it. Leaves pictures of it in the directory gx.pictures. */
@Timeout(180)
class InspectorPageTest {
    private static final Duration SOON = Duration.ofSeconds(30);
    private static final int MARK = 0xE61E78;

    @TempDir Path profile;
    private Application application;
    private Inspector inspector;
    private Chromium browser;

    @AfterEach
    void endAll() {
        if (browser != null) {
            browser.close();
        }
        if (inspector != null) {
            inspector.close();
        }
    }

    private void open(String... command) throws IOException {
        application = Application.start(command);
        inspector = Inspector.serve(application, 0);
        browser = new Chromium(profile, inspector.address(), 1280, 860);
        is("typeof watch == 'function' && nodes.length > 0 && box[2] > 0", "true");
    }

    private void is(String script, String value) {
        Wait.until(script, SOON, () -> {
            try {
                return browser.value(script);
            } catch (IOException gone) {
                throw new UncheckedIOException(gone);
            }
        }, value::equals);
    }

    private static boolean isFramed(Rectangle box) {
        return (Screen.capture(new Rectangle(box.x + box.width / 2, box.y + box.height + 1, 1, 1)).image().getRGB(0, 0)
            & 0xFFFFFF) == MARK;
    }

    private static void framed(boolean whether, Rectangle box) {
        Wait.until(whether ? "a frame" : "no frame", SOON, () -> isFramed(box) == whether);
    }

    private void save(String name) throws IOException {
        Path folder = Files.createDirectories(Path.of(System.getProperty("gx.pictures", profile.toString())));
        Files.write(folder.resolve("inspector-" + name + ".png"), browser.picture());
    }

    /** Moves the pointer to where the picture shows a place of the screen. */
    private void point(Rectangle box) throws IOException {
        String place = "(canvas.getBoundingClientRect().%s + (%d - box[%d]) * scale)";
        browser.mouse("mouseMoved", browser.number(place.formatted("left", (int) box.getCenterX(), 0)),
            browser.number(place.formatted("top", (int) box.getCenterY(), 1)));
    }

    @ParameterizedTest
    @CsvSource({"motif-shown, XmPushButton", "gtk3-shown, GtkButton"})
    void whatIsPointedAtIsFramedAndCanBeAskedFor(String program, String type) throws Exception {
        open(System.getProperty("gx.apps") + "/" + program);
        Rectangle save = application.button("Save").view().seen();
        point(save);
        framed(true, save);
        is("$('news').textContent", "");
        is("byKey.get(over).text", "Save");
        is("document.querySelectorAll('#frames .over').length", "1");
        browser.mouse("mouseMoved", 5, 5);
        framed(false, save);
        point(save);
        browser.click(browser.number("canvas.getBoundingClientRect().left + (" + save.getCenterX() + " - box[0]) * scale"),
            browser.number("canvas.getBoundingClientRect().top + (" + save.getCenterY() + " - box[1]) * scale"));
        is("$('line').value", "application.button(\"Save\")");
        assertTrue(browser.value("$('properties').textContent").contains(type));
        assertEquals("true", browser.value("document.querySelector('[aria-selected=true]').textContent.includes('Save')"));
        save(program);
        browser.click(browser.number("$('copy').getBoundingClientRect().x + 9"), browser.number("$('copy').getBoundingClientRect().y + 9"));
        is("$('copy').textContent", "Copied");

        browser.value("$('tree').focus()");
        browser.key("Home");
        is("byKey.get(chosen).role", "application");
        browser.key("ArrowDown");
        is("byKey.get(chosen).role", "window");
        browser.key("ArrowLeft");
        is("shown.length", "2");
        assertEquals("false", browser.value("document.getElementById($('tree').getAttribute('aria-activedescendant')).ariaExpanded"));
        browser.key("ArrowRight");
        browser.key("ArrowRight");
        is("byKey.get(chosen).depth", "2");
        browser.key("End");
        is("lineOf(chosen) === shown.length - 1", "true");
        browser.key("Enter");
        is("document.activeElement.id", "line");

        browser.value("$('query').focus()");
        browser.type("find(Query.role(Role.RADIO_BUTTON))");
        browser.key("Enter");
        is("document.querySelectorAll('#frames .match').length", "2");
        framed(true, application.toggle("Red").view().seen());
        is("$('found').textContent", "application.find(Query.role(Role.RADIO_BUTTON)) finds 2:");
        save(program + "-query");
        browser.dark();
        browser.size(600, 1400);
        is("document.documentElement.scrollWidth <= innerWidth", "true");
        save(program + "-dark-narrow");

        point(save);
        framed(true, save);
        browser.close();
        framed(false, save);
    }

    @Test
    void aTreeOfThousandsIsSmoothAndTheEndIsSaid() throws Exception {
        open(System.getProperty("gx.apps") + "/gtk3-shown", "2000");
        is("nodes.length > 2000", "true");
        browser.value("$('tree').focus()");
        browser.key("End");
        is("lineOf(chosen) === shown.length - 1", "true");
        String perFrame = "await (async () => { const all = []; let last = performance.now();"
            + " for (let n = 0; n < 60; ++n) { $('tree').scrollTop = n * 700; $('tree').dispatchEvent(new Event('scroll'));"
            + " const before = performance.now(); showRows(); document.body.offsetHeight; all.push(performance.now() - before);"
            + " await new Promise(requestAnimationFrame); } return all.sort((a, b) => a - b)[30]; })()";
        assertTrue(browser.number(perFrame) < 16, "a step of scrolling takes a frame's time");
        assertTrue(browser.number("document.querySelectorAll('.row').length") < 100);
        application.process().destroy();
        is("document.body.classList.contains('over')", "true");
        assertTrue(browser.value("$('news').textContent").contains("has ended"));
        save("ended");
        assertFalse(browser.value("document.documentElement.outerHTML").contains("secret-word"));
    }
}
