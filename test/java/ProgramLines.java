import com.talvern.test.gx.engine.Application;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;
import java.util.concurrent.TimeUnit;

/** What a program says on its output, line by line. A line that does not come fails the test, with what shows instead. */
final class ProgramLines {
    private static final long LONGEST_SECONDS = 60;

    private final Application application;
    private final BlockingQueue<String> lines = new LinkedBlockingQueue<>();

    ProgramLines(Application application) {
        this.application = application;
        Thread reader = new Thread(this::read);
        reader.setDaemon(true);
        reader.start();
    }

    private void read() {
        try {
            application.process().inputReader(StandardCharsets.UTF_8).lines().forEach(lines::add);
        } catch (UncheckedIOException closed) {
            return; // with the application
        }
    }

    String readLine() throws InterruptedException {
        String line = lines.poll(LONGEST_SECONDS, TimeUnit.SECONDS);
        if (line == null) {
            throw new AssertionError("no line came in " + LONGEST_SECONDS + " s; there is\n" + application.tree());
        }
        return line;
    }
}
