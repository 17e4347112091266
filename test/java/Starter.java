import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.LaunchOptions;
import java.io.File;
import java.time.Duration;

/**
 * A test's JVM that does not close what it has started: starts a program in the root directory, says which process it is,
 * and ends as it is told, in one of several ways.
 */
final class Starter {
    private Starter() {}

    public static void main(String[] arguments) throws Exception {
        LaunchOptions options = LaunchOptions.DEFAULTS.within(Duration.ofSeconds(60));
        Application application = Application.start(arguments[1].equals("leave") ? options.leaveRunning() : options,
            new ProcessBuilder(arguments[0]).directory(new File("/")));
        System.out.println(application.pid());
        System.in.read();
        if (arguments[1].equals("halt")) {
            Runtime.getRuntime().halt(1);
        }
    }
}
