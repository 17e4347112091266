package example;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.AppWindow;
import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.junit.GxTest;
import com.talvern.test.gx.junit.Program;
import org.junit.jupiter.api.Test;

@GxTest
class FindTest {
    @Test
    void theDialogKeepsWhatIsLookedFor(@Program("nedit") Application nedit) {
        nedit.choose("Search", "Find...");
        AppWindow find = nedit.awaitWindow("Find");
        find.field("String to Find:").setText("needle");
        find.toggle("Regular Expression").set(true);
        assertEquals("needle", find.field("String to Find:").text());
        assertTrue(find.button("Find").isEnabled());
        find.button("Cancel").click();
        find.awaitGone();
    }
}
