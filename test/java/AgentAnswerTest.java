import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.ApplicationException;
import com.talvern.test.gx.protocol.AgentAddress;
import com.talvern.test.gx.protocol.Frame;
import com.talvern.test.gx.protocol.ListValues;
import com.talvern.test.gx.protocol.OwnDirectory;
import com.talvern.test.gx.protocol.Values;
import java.awt.Rectangle;
import java.io.IOException;
import java.net.StandardProtocolFamily;
import java.net.UnixDomainSocketAddress;
import java.nio.ByteBuffer;
import java.nio.channels.ServerSocketChannel;
import java.nio.channels.SocketChannel;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.ArrayList;
import java.util.List;
import java.util.Random;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;

/** What an engine makes of answers, with this process in the part of an application that answers as it likes. */
@Timeout(60)
class AgentAnswerTest {
    private Path place;
    private ServerSocketChannel door;
    private volatile byte[] answer;

    @BeforeEach
    void listen() throws IOException {
        place = AgentAddress.of("self").prepare();
        door = ServerSocketChannel.open(StandardProtocolFamily.UNIX).bind(UnixDomainSocketAddress.of(place));
        Thread server = new Thread(() -> {
            while (true) {
                try (SocketChannel line = door.accept()) {
                    while (new Frame.Reader().read(line)) {
                        line.write(ByteBuffer.wrap(answer));
                    }
                } catch (IOException hungUp) {
                    if (!door.isOpen()) {
                        return;
                    }
                }
            }
        });
        server.setDaemon(true);
        server.start();
    }

    @AfterEach
    void stop() throws IOException {
        door.close();
        Files.delete(place);
    }

    private static Values listOf(int count) {
        List<ListValues.Item> items = new ArrayList<>();
        for (int i = 0; i < count; ++i) {
            items.add(new ListValues.Item("item " + i, i % 2 == 0, i % 3 == 0 ? null : new Rectangle(1, i, 3, 4)));
        }
        Values values = Values.create().add(true);
        new ListValues(7, new Rectangle(1, 2, 3, 4), 0, items).write(values);
        return values;
    }

    /** Of a kind that an answer has, with a length that is right. */
    private static byte[] framed(byte[] content) throws IOException {
        byte[] frame = Frame.of(Frame.ANSWER, Values.create()).array();
        return ByteBuffer.allocate(frame.length + content.length).put(frame, 0, 4).putInt(content.length).put(content)
            .array();
    }

    @Test
    void anAnswerIsReadWholeOrNotAtAll() throws Exception {
        Application application = Application.attach(ProcessHandle.current().pid());
        answer = framed(listOf(25_000).toBytes());
        assertEquals(25_000, application.list(7).orElseThrow().items().size());

        byte[] right = listOf(5).toBytes();
        long seed = System.nanoTime();
        Random random = new Random(seed);
        for (int round = 0; round < 500; ++round) {
            byte[] wrong = round < right.length ? java.util.Arrays.copyOf(right, round) : right.clone();
            for (int changes = round < right.length ? 0 : 1 + random.nextInt(4); changes > 0; --changes) {
                wrong[random.nextInt(wrong.length)] = (byte) random.nextInt();
            }
            answer = framed(wrong);
            try {
                assertTrue(application.list(7).map(list -> list.items().size()).orElse(0) <= wrong.length);
                assertTrue(round >= right.length, "cut after " + round);
            } catch (ApplicationException.Failed expected) {
                continue;
            } catch (RuntimeException other) {
                throw new AssertionError("round " + round + " of seed " + seed, other);
            }
        }
    }

    @Test
    void otherFormatsAndAbsurdLengthsAreRefused() throws Exception {
        byte[] right = framed(listOf(1).toBytes());
        for (int changed : new int[] {0, 1, 2, 3, 4}) {
            answer = right.clone();
            answer[changed] = 99; // two letters, the version, the kind, the length
            try (Application application = Application.attach(ProcessHandle.current().pid())) {
                ApplicationException.Failed failed =
                    assertThrows(ApplicationException.Failed.class, () -> application.list(7), "byte " + changed);
                assertTrue(changed != 2 || failed.getMessage().contains("version 99"), failed.getMessage());
            }
        }
    }

    @Test
    void aNameThatIsTakenIsNotUsed() throws Exception {
        Path around = Files.createTempDirectory("gx-around");
        Path usual = around.resolve("gx-1");
        OwnDirectory directory = new OwnDirectory(usual, Files.getAttribute(around, "unix:uid").toString());
        assertEquals(usual, directory.make());
        assertEquals(usual, directory.make());
        assertEquals("rwx------", PosixFilePermissions.toString(Files.getPosixFilePermissions(usual)));
        Path aside = Files.move(usual, around.resolve("aside"));
        Files.createSymbolicLink(usual, aside);
        Path other = directory.make();
        assertTrue(other.toString().startsWith(usual + "."), "a link");
        assertEquals(List.of(other), directory.places());
        Files.delete(usual);
        Files.createDirectory(usual, PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rwxr-x---")));
        assertEquals(other, directory.make(), "open for others");
        for (Path made : List.of(usual, other, aside, around)) {
            Files.delete(made);
        }
    }

    @Test
    void anotherUserGetsNoAnswer() throws Exception {
        assumeTrue(run("setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups", "true") == 0,
            "needs the right to become another user");
        ProcessBuilder program = new ProcessBuilder(System.getProperty("gx.apps") + "/gtk3-asked");
        Path open = Files.createTempFile(Path.of("/tmp"), "gx-open", ""); // where others get, too
        try (Application application = Application.start(program, java.time.Duration.ofSeconds(60))) {
            Path socket = AgentAddress.of(Long.toString(application.pid())).places().stream().filter(Files::exists)
                .findFirst().orElseThrow();
            Files.setPosixFilePermissions(socket, PosixFilePermissions.fromString("rwxrwxrwx"));
            Files.delete(open);
            Files.createLink(open, socket);
            assertEquals(0, ask(socket));
            assertEquals(3, ask(socket, "setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups"), "the directory");
            assertEquals(4, ask(open, "setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups"), "the socket");
        } finally {
            Files.deleteIfExists(open);
        }
    }

    /** @return 0 when there is an answer, 3 when there is no way in, 4 when whoever is there hangs up */
    private static int ask(Path socket, String... prefix) throws Exception {
        List<String> command = new ArrayList<>(List.of(prefix));
        command.addAll(List.of("perl", "-e", "use IO::Socket::UNIX; $SIG{PIPE} = 'IGNORE';"
            + "$s = IO::Socket::UNIX->new(Peer => '" + socket + "') or exit 3;"
            + "print $s 'not a frame'; $s->flush; exit(sysread($s, $b, 1) ? 0 : 4)"));
        return run(command.toArray(String[]::new));
    }

    private static int run(String... command) throws Exception {
        return new ProcessBuilder(command).redirectErrorStream(true)
            .redirectOutput(ProcessBuilder.Redirect.DISCARD).start().waitFor();
    }
}
