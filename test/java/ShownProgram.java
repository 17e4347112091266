import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.Application;
import java.lang.ProcessBuilder.Redirect;
import java.time.Duration;
import org.junit.jupiter.api.AfterEach;

/** For suites about programs of test/apps that say on their output what a user does to them. */
abstract class ShownProgram {
    Application application;
    ProgramLines output;

    void start(String program, String... arguments) throws Exception {
        ProcessBuilder command = new ProcessBuilder(arguments).redirectError(Redirect.INHERIT);
        command.command().add(0, System.getProperty("gx.apps") + "/" + program);
        application = Application.start(command, Duration.ofSeconds(60));
        application.setPatience(Duration.ofSeconds(20));
        output = new ProgramLines(application);
        assertTrue(output.readLine().startsWith("ready"));
    }

    @AfterEach
    void endApplication() {
        application.close();
    }

    void says(String line) throws Exception {
        assertEquals(line, output.readLine());
    }
}
