import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.sys.Mailslot;
import com.talvern.test.gx.sys.NativeLibrary;
import java.nio.file.Path;

/** An engine, the application that it asks, and a process that just answers. */
public final class EngineCalls {
    private static final String ECHO = "echo";

    private static Application application;
    private static Mailslot echo;
    private static Process echoing;
    private static long menu;

    private EngineCalls() {}

    /** Answers what it is asked, until it is killed. */
    public static void main(String[] arguments) {
        Mailslot.open(ECHO).serve(message -> message);
    }

    public static int start(String launcher, String program, String jars) throws Exception {
        System.setProperty("com.talvern.test.gx.gxrun", launcher);
        application = Application.start(program, "20");
        menu = application.menuBar().orElseThrow().window();
        echoing = new ProcessBuilder(Path.of(System.getProperty("java.home"), "bin", "java").toString(), "-cp", jars,
            "-D" + NativeLibrary.PATH_PROPERTY + "=" + System.getProperty(NativeLibrary.PATH_PROPERTY),
            EngineCalls.class.getName()).inheritIO().start();
        while (echo == null) {
            Thread.sleep(10);
            echo = Mailslot.find(ECHO);
        }
        return 1;
    }

    public static int stop() throws Exception {
        echoing.destroyForcibly().waitFor();
        application.close();
        return 1;
    }

    /** A question about a window that is no menu: nothing is read. */
    public static int askNothing() {
        return application.menu(1).isEmpty() ? 1 : 0;
    }

    public static int askMenu() {
        return application.menu(menu).orElseThrow().items().size() == 20 ? 1 : 0;
    }

    public static int callEcho() {
        return echo.call(1, 10_000).equals(1) ? 1 : 0;
    }
}
