import com.talvern.test.gx.engine.Application;
import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.net.StandardProtocolFamily;
import java.net.UnixDomainSocketAddress;
import java.nio.ByteBuffer;
import java.nio.channels.ServerSocketChannel;
import java.nio.channels.SocketChannel;
import java.nio.file.Files;
import java.nio.file.Path;

/** An engine, the application that it asks, and a process that just answers. */
public final class EngineCalls {
    private static final ByteBuffer BUFFER = ByteBuffer.allocate(64);
    private static final int WIDGETS = 2000;
    /** Of the answer to a question for so many widgets, in pieces that a socket takes at once. */
    private static final int PIECES = 12;
    private static final ByteBuffer PIECE = ByteBuffer.allocate(32 << 10);

    private static Application application;
    private static Application large;
    private static SocketChannel echo;
    private static Process echoing;
    private static long menu;

    private EngineCalls() {}

    /** Sends back what it is sent, until it is killed. */
    public static void main(String[] arguments) throws IOException {
        try (ServerSocketChannel door = ServerSocketChannel.open(StandardProtocolFamily.UNIX)
                .bind(UnixDomainSocketAddress.of(arguments[0]))) {
            System.out.println("ready");
            SocketChannel line = door.accept();
            while (line.read(PIECE.clear()) > 0) {
                line.write(PIECE.flip());
            }
        }
    }

    public static int start(String launcher, String program, String jars) throws Exception {
        System.setProperty("com.talvern.test.gx.gxrun", launcher);
        application = Application.start(program, "20");
        large = Application.start(program, Integer.toString(WIDGETS));
        menu = application.menuBar().orElseThrow().window();
        Path socket = Files.createTempDirectory("gx-bench").resolve("echo");
        echoing = new ProcessBuilder(Path.of(System.getProperty("java.home"), "bin", "java").toString(), "-cp", jars,
            EngineCalls.class.getName(), socket.toString()).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        new BufferedReader(new InputStreamReader(echoing.getInputStream())).readLine();
        echo = SocketChannel.open(UnixDomainSocketAddress.of(socket));
        Files.delete(socket);
        Files.delete(socket.getParent());
        return 1;
    }

    public static int stop() throws Exception {
        echoing.destroyForcibly().waitFor();
        application.close();
        large.close();
        return 1;
    }

    /** A question about a window that is no menu: nothing is read. */
    public static int askNothing() {
        return application.menu(1).isEmpty() ? 1 : 0;
    }

    public static int askMenu() {
        return application.menu(menu).orElseThrow().items().size() == 20 ? 1 : 0;
    }

    public static int callEcho() throws IOException {
        echo.write(BUFFER.clear());
        return echo.read(BUFFER.clear()) == BUFFER.capacity() ? 1 : 0;
    }

    /** All widgets of an application, as plain values. */
    public static int askTree() {
        return large.tree().all().count() > WIDGETS ? 1 : 0;
    }

    public static int callEchoForTree() throws IOException {
        for (int piece = 0; piece < PIECES; ++piece) {
            echo.write(PIECE.clear());
            PIECE.clear();
            while (PIECE.hasRemaining()) {
                echo.read(PIECE);
            }
        }
        return 1;
    }
}
