import com.talvern.test.gx.engine.AppWindow;
import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.LaunchOptions;
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.time.Duration;

/** A JVM of tests of scripts/many-at-once: opens a program, goes through its dialog as often as each line of input says, and says so. */
public final class ManyAtOnce {
    /** Sixteen that start at once on two processors do not get along with the limits that are there otherwise. */
    private static final Duration LIMIT = Duration.ofMinutes(3);

    private ManyAtOnce() {}

    public static void main(String[] arguments) throws Exception {
        BufferedReader orders = new BufferedReader(new InputStreamReader(System.in));
        try (Application nedit = Application.start(LaunchOptions.DEFAULTS.within(LIMIT), new ProcessBuilder("nedit"))) {
            nedit.setTimeout(LIMIT);
            nedit.setPatience(LIMIT);
            useDialog(nedit);
            System.out.println("ready");
            for (String rounds; (rounds = orders.readLine()) != null; System.out.println("done")) {
                for (int left = Integer.parseInt(rounds); left > 0; --left) {
                    useDialog(nedit);
                }
            }
        }
    }

    private static void useDialog(Application nedit) {
        nedit.choose("Search", "Find...");
        AppWindow find = nedit.awaitWindow("Find");
        find.field("String to Find:").setText("needle");
        find.toggle("Regular Expression").set(true);
        find.button("Cancel").click();
        find.awaitGone();
    }
}
