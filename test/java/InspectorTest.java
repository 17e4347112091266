import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.Picture;
import com.talvern.test.gx.engine.Screen;
import com.talvern.test.gx.engine.Wait;
import com.talvern.test.gx.inspect.Inspector;
import com.talvern.test.gx.sys.graphical.Highlighter;
import java.awt.Rectangle;
import java.io.BufferedReader;
import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.net.ConnectException;
import java.net.Socket;
import java.net.URI;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpRequest.BodyPublishers;
import java.net.http.HttpResponse;
import java.net.http.HttpResponse.BodyHandlers;
import java.nio.charset.StandardCharsets;
import java.time.Duration;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.locks.LockSupport;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import javax.imageio.ImageIO;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** What the inspector answers to pages, and to others. */
@Timeout(120)
class InspectorTest {
    private static final Duration SOON = Duration.ofSeconds(20);
    private static final int MARK = 0xE61E78;

    static {
        System.setProperty("sun.net.httpserver.maxReqTime", "2");
    }

    private final HttpClient client = HttpClient.newHttpClient();
    private Application application;
    private Inspector inspector;

    private void inspect(String program) throws IOException {
        application = Application.start(System.getProperty("gx.apps") + "/" + program);
        inspector = Inspector.serve(application, 0);
    }

    @AfterEach
    void endAll() {
        if (inspector != null) {
            inspector.close();
        }
    }

    private <T> HttpResponse<T> get(String name, HttpResponse.BodyHandler<T> handler) throws Exception {
        return client.send(HttpRequest.newBuilder(inspector.address().resolve(name)).build(), handler);
    }

    private String get(String name) throws Exception {
        HttpResponse<String> response = get(name, BodyHandlers.ofString());
        assertEquals(200, response.statusCode(), name + ": " + response.body());
        return response.body();
    }

    private String post(String name, String body) throws Exception {
        HttpResponse<String> response = client.send(HttpRequest.newBuilder(inspector.address().resolve(name))
            .POST(BodyPublishers.ofString(body)).build(), BodyHandlers.ofString());
        assertEquals(200, response.statusCode(), name + ": " + response.body());
        return response.body();
    }

    /** Waits as a page does. @return the numbers that it has then */
    private String look(String seen) throws Exception {
        return numbersOf(get("look?" + seen));
    }

    private static String numbersOf(String answer) {
        StringBuilder numbers = new StringBuilder();
        for (String name : List.of("picture", "tree", "news")) {
            numbers.append(numbers.isEmpty() ? "" : ".").append(valueOf(answer, name));
        }
        return numbers.toString();
    }

    private static String valueOf(String json, String name) {
        Matcher found = Pattern.compile("\"" + name + "\":(\"(?:[^\"\\\\]|\\\\.)*\"|[^,}\\]]*)").matcher(json);
        assertTrue(found.find(), name + " in " + json);
        String value = found.group(1);
        return value.startsWith("\"") ? value.substring(1, value.length() - 1).replaceAll("\\\\(.)", "$1") : value;
    }

    /** Waits until there is a tree and a picture. */
    private String looked() throws Exception {
        String seen = "0.0.0";
        while (seen.startsWith("0.") || seen.contains(".0.")) {
            seen = look(seen);
        }
        return seen;
    }

    private List<String> nodes() throws Exception {
        looked();
        return Arrays.asList(get("tree").split("(?=\\{\"key\")"));
    }

    private String keyOf(String text) throws Exception {
        return nodes().stream().filter(node -> node.contains("\"text\":\"" + text + "\"")).findFirst()
            .map(node -> valueOf(node, "key")).orElseThrow();
    }

    private static Rectangle box(String numbers) {
        int[] box = Stream.of(numbers.split(",")).mapToInt(Integer::parseInt).toArray();
        return new Rectangle(box[0], box[1], box[2], box[3]);
    }

    private String raw(String request) throws IOException {
        try (Socket socket = new Socket("127.0.0.1", inspector.address().getPort())) {
            socket.getOutputStream().write(request.replace("\n", "\r\n").getBytes(StandardCharsets.ISO_8859_1));
            return new String(socket.getInputStream().readAllBytes(), StandardCharsets.ISO_8859_1);
        }
    }

    @Test
    void onlyWhoHasTheAddressIsAnsweredAndNoOtherSite() throws Exception {
        inspect("motif-shown");
        URI address = inspector.address();
        String token = address.getPath().replace("/", "");
        assertTrue(token.matches("[0-9a-f]{32,}"), token);
        String here = "Host: 127.0.0.1:" + address.getPort();
        String wrong = (token.charAt(0) == '0' ? '1' : '0') + token.substring(1);
        String page = "GET /T/ HTTP/1.1\n";
        String[][] rows = {
            {"the address", page + here, "200"},
            {"through a tunnel", page + "Host: localhost:8123", "200"},
            {"a page of its own", page + here + "\nOrigin: http://127.0.0.1:" + address.getPort(), "200"},
            {"typed in a browser", page + here + "\nSec-Fetch-Site: none", "200"},
            {"a name that leads here", page + "Host: evil.example:" + address.getPort(), "403"},
            {"one that begins so", page + "Host: 127.0.0.1.evil.example", "403"},
            {"one with a user", page + "Host: localhost@evil.example", "403"},
            {"two hosts", page + here + "\nHost: evil.example", "403"},
            {"no host", "GET /T/ HTTP/1.0", "403"},
            {"another site", page + here + "\nOrigin: http://evil.example", "403"},
            {"another server here", page + here + "\nOrigin: http://127.0.0.1:1", "403"},
            {"a page of nobody", page + here + "\nOrigin: null", "403"},
            {"a link elsewhere", page + here + "\nSec-Fetch-Site: cross-site", "403"},
            {"a page of another port", page + here + "\nSec-Fetch-Site: same-site", "403"},
            {"another site asks for a frame", "POST /T/frame HTTP/1.1\n" + here + "\nContent-Length: 0\nOrigin: http://evil.example", "403"},
            {"no token", "GET / HTTP/1.1\n" + here, "403"},
            {"another token", "GET /" + wrong + "/ HTTP/1.1\n" + here, "403"},
            {"half of it", "GET /" + token.substring(0, 20) + "/ HTTP/1.1\n" + here, "403"},
            {"behind something", "GET //T/tree HTTP/1.1\n" + here, "403"},
            {"a file of the page", "GET /page.js HTTP/1.1\n" + here, "403"},
            {"the tree", "GET /tree HTTP/1.1\n" + here, "403"},
            {"a file of the machine", "GET /T/../../../../../../etc/passwd HTTP/1.1\n" + here, "404"},
            {"the same in disguise", "GET /T/%2e%2e/%2e%2e/etc/passwd HTTP/1.1\n" + here, "404"},
            {"an absolute one", "GET /T//etc/passwd HTTP/1.1\n" + here, "404"},
            {"a class of the jar", "GET /T/Inspector.class HTTP/1.1\n" + here, "404"},
            {"another way to ask", "PUT /T/ HTTP/1.1\n" + here + "\nContent-Length: 0", "405"},
            {"what other sites ask first", "OPTIONS /T/query HTTP/1.1\n" + here + "\nOrigin: http://127.0.0.1:"
                + address.getPort(), "405"},
            {"a frame by a link", "GET /T/frame HTTP/1.1\n" + here, "405"},
            {"too long an address", "GET /T/" + "x".repeat(3000) + " HTTP/1.1\n" + here, "414"},
            {"too long a query", "POST /T/query HTTP/1.1\n" + here + "\nContent-Length: 5000", "413"},
            {"no numbers", "GET /T/look?1.2 HTTP/1.1\n" + here, "400"},
            {"too large a number", "GET /T/picture?" + "9".repeat(30) + " HTTP/1.1\n" + here, "400"},
        };
        for (String[] row : rows) {
            String body = row[2].equals("413") ? "x".repeat(5000) : "";
            String answer = raw(row[1].replace("/T", "/" + token) + "\nConnection: close\n\n" + body);
            assertTrue(answer.startsWith("HTTP/1.1 " + row[2]), row[0] + ": " + answer);
            for (String header : List.of("no-store", "nosniff", "no-referrer", "default-src 'none'", "frame-ancestors 'none'")) {
                assertTrue(answer.contains(header), row[0] + ": " + answer);
            }
            boolean tells = answer.contains("root:") || !row[2].equals("200") && (answer.contains(token)
                || answer.contains("<html") || answer.contains("Save"));
            assertFalse(tells, row[0] + ": " + answer);
        }
        assertThrows(IOException.class, () -> {
            String endless = raw(page.replace("/T", "/" + token) + here + "\nX: " + "y".repeat(1 << 20) + "\n\n");
            throw new IOException(endless.isEmpty() || endless.startsWith("HTTP/1.1 4") ? "refused" : null);
        });
        assertThrows(ConnectException.class, () -> new Socket("127.0.0.2", address.getPort()).close());
    }

    @Test
    void whoIsSlowKeepsNobodyWaitingAndIsHungUpOn() throws Exception {
        inspect("motif-shown");
        List<Socket> slow = new ArrayList<>();
        for (int count = 0; count < 30; ++count) {
            Socket socket = new Socket("127.0.0.1", inspector.address().getPort());
            socket.getOutputStream().write("GET / HT".getBytes(StandardCharsets.ISO_8859_1));
            slow.add(socket);
        }
        looked();
        for (Socket socket : slow) {
            socket.setSoTimeout(15_000);
            assertEquals(-1, readOf(socket));
            socket.close();
        }
    }

    private static int readOf(Socket socket) throws IOException {
        try {
            return socket.getInputStream().read();
        } catch (java.net.SocketException reset) {
            return -1;
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk3-shown"})
    void eachWidgetHasALineThatFindsItAndNoSecretIsTold(String program) throws Exception {
        inspect(program);
        application.field("Password").setText("open-sesame");
        List<String> nodes = nodes();
        StringBuilder all = new StringBuilder(String.join("", nodes));
        int found = 0;
        for (String node : nodes.subList(1, nodes.size())) {
            String key = valueOf(node, "key");
            String line = valueOf(get("line?" + key), "line");
            assertFalse(line.isEmpty() && !valueOf(node, "seen").equals("null"), node);
            String answer = line.isEmpty() || line.equals("application") ? "" : post("query", line);
            all.append(line).append(answer);
            if (!answer.isEmpty()) {
                assertEquals("1", valueOf(answer, "count"), line + " for " + node + ": " + answer);
                assertEquals(key, valueOf(answer, "key"), line + " for " + node + ": " + answer);
                ++found;
            }
        }
        assertTrue(found > 50, nodes::toString);
        for (String each : List.of("application.button(\"Save\")", "application.field(\"Name:\")", ".cell(\"beta\", 0)")) {
            assertTrue(all.toString().contains(each), each);
        }
        all.append(post("query", "field(\"Password:\")"));
        assertEquals("0", valueOf(post("query", "open-sesame"), "count"));
        for (String secret : List.of("open-sesame", "secret-word", "secret-pin")) {
            assertFalse(all.toString().contains(secret), secret);
        }
        assertTrue(all.toString().contains("\"secret\""));
    }

    @Test
    void queriesAreLinesOfJavaThatAskAndDoNothing() throws Exception {
        inspect("gtk3-shown");
        application.find(com.talvern.test.gx.engine.Query.name("notes")).setText("a".repeat(60) + "b");
        String[][] rows = {
            {"button(\"Save\")", "\"count\":1"},
            {"application.button(\"Save\");", "\"line\":\"application.button(\\\"Save\\\")\""},
            {"Save", "\"count\":1"},
            {"\"Save\"", "Query.any().called(\\\"Save\\\")"},
            {"button(Pattern.compile(\"number \\\\d\"))", "\"count\":10"},
            {"find(Query.role(Role.RADIO_BUTTON, Role.CHECK_BOX))", "\"count\":3"},
            {"find(Query.role(Role.RADIO_BUTTON).at(1).in(Query.role(Role.WINDOW)))", "Green"},
            {"awaitWindow(\"All of them\").toggle(\"Agree\")", "\"count\":1"},
            {"windows().get(0)", "window \\\"All of them\\\""},
            {"list().cell(\"beta\", 0)", "\"count\":1"},
            {"button(\"Sav\")", "\"count\":0"},
            {"awaitWindow(\"None\")", "there are [\\\"All of them\\\"]"},
            {"button(\"Save\").click()", "\\\"click\\\" asks for nothing here"},
            {"process().destroy()", "\\\"process\\\" asks for nothing here"},
            {"getClass()", "\\\"getClass\\\" asks for nothing here"},
            {"find(Query.getClass())", "\\\"getClass\\\" asks for nothing here"},
            {"find(Query.text(\"x\"))", "\\\"text\\\" asks for nothing here; there is: any, name, role"},
            {"find(Query.role(Role.LABEL).any())", "\\\"any\\\" asks for nothing here"},
            {"find(Query.name(\"notes\").role(Role.TEXT_AREA, Role.LABEL))", "\"count\":1"},
            {"find(Query.role(Role.LABEL).name(\"notes\"))", "\"count\":0"},
            {"button(\"Save\"", "is missing at the end"},
            {"button(\"Save", "the text has no end"},
            {"button(7)", "does not take that"},
            {"find(Query.role(Role.SUN))", "there is no role SUN"},
            {"button(Pattern.compile(\"(\"))", "the pattern is wrong"},
            {"find(Query.role(Role.TEXT_AREA).text(Pattern.compile(\"(.*a){20}c\")))", "takes more than 3 seconds"},
            {"<script>", "\\u003cscript>"},
            {"", "a name is missing"},
        };
        for (String[] row : rows) {
            String answer = post("query", row[0]);
            assertTrue(answer.contains(row[1]), row[0] + ": " + answer);
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk3-shown"})
    void thereAreTenPicturesASecondOrNone(String program) throws Exception {
        inspect(program);
        String seen = rests(looked());
        HttpResponse<byte[]> whole = get("picture?0", BodyHandlers.ofByteArray());
        Rectangle bounds = box(whole.headers().firstValue("X-Box").orElseThrow());
        var image = ImageIO.read(new ByteArrayInputStream(whole.body()));
        Picture screen = Screen.capture(application.windows().get(0).bounds());
        assertEquals(screen.bounds(), bounds);
        int[] shown = image.getRGB(0, 0, bounds.width, bounds.height, null, 0, bounds.width);
        int[] real = screen.image().getRGB(0, 0, bounds.width, bounds.height, null, 0, bounds.width);
        assertTrue(Arrays.equals(shown, real));

        var next = client.sendAsync(HttpRequest.newBuilder(inspector.address().resolve("look?" + seen)).build(),
            BodyHandlers.ofString());
        assertThrows(java.util.concurrent.TimeoutException.class, () -> next.get(1200, TimeUnit.MILLISECONDS));
        Highlighter moving = Highlighter.create(new Rectangle(bounds.x + 10, bounds.y + 10, 60, 40), 255, 255, 0, 2, 0, 0);
        next.get();
        int pictures = 0;
        int largest = 0;
        String last = seen;
        boolean[] goesOn = {true};
        Thread mover = new Thread(() -> {
            for (int step = 0; goesOn[0]; step = (step + 1) % 50) {
                moving.move(bounds.x + 10 + step, bounds.y + 10, 60, 40);
                LockSupport.parkNanos(TimeUnit.MILLISECONDS.toNanos(20));
            }
        });
        mover.start();
        long begin = System.nanoTime();
        for (; System.nanoTime() - begin < TimeUnit.SECONDS.toNanos(2); ++pictures) {
            String before = last;
            last = look(last);
            var change = get("picture?" + before.split("\\.")[0], BodyHandlers.ofByteArray());
            largest = Math.max(largest, box(change.headers().firstValue("X-Part").orElse("0,0,0,0")).width);
        }
        goesOn[0] = false;
        mover.join();
        moving.destroy();
        assertTrue(pictures > 1 && pictures <= 22, pictures + " pictures in two seconds");
        assertTrue(largest < bounds.width, "what has changed is a part: " + largest);
    }

    /** Until a second passes in which nothing changes, as programs draw themselves bit by bit. */
    private String rests(String seen) throws Exception {
        String last = seen;
        while (true) {
            var next = client.sendAsync(HttpRequest.newBuilder(inspector.address().resolve("look?" + last)).build(),
                BodyHandlers.ofString());
            try {
                next.get(1, TimeUnit.SECONDS);
            } catch (java.util.concurrent.TimeoutException quiet) {
                return last;
            }
            last = look("0.0.0");
        }
    }

    private static boolean isFramed(Rectangle box) {
        Picture below = Screen.capture(new Rectangle(box.x + box.width / 2, box.y + box.height + 1, 1, 1));
        return (below.image().getRGB(0, 0) & 0xFFFFFF) == MARK;
    }

    @ParameterizedTest
    @ValueSource(strings = {"motif-shown", "gtk3-shown"})
    void whatThePointerIsOverIsFramedOnTheScreenAndNoLonger(String program) throws Exception {
        inspect(program);
        String key = keyOf("Save");
        Rectangle save = application.button("Save").view().seen();
        assertFalse(isFramed(save));
        assertEquals("true", valueOf(post("frame", key), "framed"));
        assertTrue(isFramed(save));
        assertEquals("false", valueOf(post("frame", ""), "framed"));
        awaitUnframed(save, Duration.ofSeconds(2));
        post("frame", key);
        post("frame", keyOf("Bold"));
        awaitUnframed(save, Duration.ofSeconds(2));
        assertEquals("false", valueOf(post("frame", "no such key"), "framed"));
        post("frame", key); // and the page is never heard of again
        assertTrue(isFramed(save));
        awaitUnframed(save, Duration.ofSeconds(10));
    }

    /** The program draws anew what the frame has covered. */
    private static void awaitUnframed(Rectangle box, Duration limit) {
        Wait.until("no frame", limit, () -> !isFramed(box));
    }

    @Test
    void thePageIsToldOfTheEndOfTheProgram() throws Exception {
        inspect("motif-shown");
        String seen = rests(looked());
        application.process().destroyForcibly();
        String end = ": it has ended with exit status 137, as by SIGKILL.";
        String told = "";
        while (told.isEmpty()) { // its windows may go before it is known why
            String state = get("look?" + seen);
            told = valueOf(state, "end");
            seen = numbersOf(state);
        }
        assertTrue(told.endsWith(end), told);
        assertTrue(inspector.awaitEnd().endsWith(end));
    }

    private static Process main(String... arguments) throws IOException {
        List<String> command = new ArrayList<>(List.of("java", "-cp", System.getProperty("gx.jar"),
            "-Djava.library.path=" + System.getProperty("java.library.path"), Inspector.class.getName()));
        command.addAll(List.of(arguments));
        return new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
    }

    @Test
    void theCommandEndsWithTheProgramAndTheProgramWithTheCommand() throws Exception {
        Object[][] rows = {{2, "--port", "65536", "xterm"}, {1, "999999999"}, {1, "no such program"}};
        for (Object[] row : rows) {
            Process process = main(Arrays.copyOfRange(row, 1, row.length, String[].class));
            assertTrue(process.waitFor(60, TimeUnit.SECONDS));
            assertEquals(row[0], process.exitValue(), Arrays.toString(row));
        }
        for (boolean byTheProgram : new boolean[] {true, false}) {
            Process process = main(System.getProperty("gx.apps") + "/motif-shown");
            BufferedReader output = process.inputReader();
            Matcher name = Pattern.compile("motif-shown, process ([0-9]+), is inspected at").matcher(output.readLine());
            assertTrue(name.matches());
            ProcessHandle program = ProcessHandle.of(Long.parseLong(name.group(1))).orElseThrow();
            URI address = URI.create(output.readLine());
            var told = client.sendAsync(HttpRequest.newBuilder(address.resolve("look?999.999.0")).build(),
                BodyHandlers.ofString());
            assertEquals(200, client.send(HttpRequest.newBuilder(address.resolve("tree")).build(), BodyHandlers.discarding())
                .statusCode());
            assertTrue(byTheProgram ? program.destroy() : process.toHandle().destroy());
            assertTrue(process.waitFor(20, TimeUnit.SECONDS));
            assertEquals(byTheProgram ? 0 : 143, process.exitValue());
            assertTrue(told.get().body().contains("has ended"), told.get().body());
            Wait.until("the program has ended", SOON, () -> !program.isAlive());
        }
    }
}
