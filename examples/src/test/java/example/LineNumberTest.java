package example;

import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.AppWindow;
import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.junit.GxTest;
import com.talvern.test.gx.junit.Program;
import java.time.Duration;
import org.junit.jupiter.api.Test;

@GxTest
class LineNumberTest {
    @Test
    void aDialogAsksForTheLine(@Program({"nedit", "/etc/passwd"}) Application nedit) {
        nedit.choose("Search", "Goto Line Number...");
        AppWindow line = nedit.awaitWindow("Goto Line Number");
        assertTrue(line.capture().image().getWidth() > 50);
        line.button("Cancel").click();
        line.awaitGone();
        nedit.awaitIdle(Duration.ofMillis(100), Duration.ofSeconds(10));
    }
}
