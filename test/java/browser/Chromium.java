import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.net.URI;
import java.net.URLDecoder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Base64;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** A browser without a window, driven over the pipe that it has for that: messages of JSON that end in a zero each. */
final class Chromium implements AutoCloseable {
    private static final String START = "exec 3<&0 4>&1 </dev/null >&2; exec chromium --headless=new --no-sandbox "
        + "--disable-gpu --disable-dev-shm-usage --no-first-run --remote-debugging-pipe \"$@\"";

    private final Process process;
    private final InputStream in;
    private final String session;
    private int number;

    Chromium(Path profile, URI page, int width, int height, String... more) throws IOException {
        List<String> command = new ArrayList<>(List.of("sh", "-c", START, "sh", "--user-data-dir=" + profile));
        command.addAll(Arrays.asList(more));
        process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.DISCARD).start();
        in = process.getInputStream();
        String target = textOf(send("Target.createTarget", "\"url\":\"about:blank\"", ""), "targetId");
        session = ",\"sessionId\":\"" + textOf(send("Target.attachToTarget", "\"targetId\":\"" + target + "\",\"flatten\":true", ""),
            "sessionId") + "\"";
        size(width, height);
        ask("Page.navigate", "\"url\":\"" + page + "\"");
    }

    void size(int width, int height) throws IOException {
        ask("Emulation.setDeviceMetricsOverride", "\"width\":" + width + ",\"height\":" + height
            + ",\"deviceScaleFactor\":1,\"mobile\":false");
    }

    void dark() throws IOException {
        ask("Emulation.setEmulatedMedia", "\"features\":[{\"name\":\"prefers-color-scheme\",\"value\":\"dark\"}]");
    }

    private String ask(String method, String parameters) throws IOException {
        return send(method, parameters, session);
    }

    /** Events in between are dropped. */
    private String send(String method, String parameters, String to) throws IOException {
        String message = "{\"id\":" + (++number) + ",\"method\":\"" + method + "\",\"params\":{" + parameters + "}" + to + "}\0";
        process.getOutputStream().write(message.getBytes(StandardCharsets.UTF_8));
        process.getOutputStream().flush();
        for (String answer = next(); ; answer = next()) {
            if (answer.startsWith("{\"id\":" + number + ",")) {
                assertTrue(!answer.contains("\"error\":{"), message + answer);
                return answer;
            }
        }
    }

    private String next() throws IOException {
        ByteArrayOutputStream message = new ByteArrayOutputStream();
        for (int each = in.read(); each != 0; each = in.read()) {
            if (each < 0) {
                throw new IOException("the browser has ended, or is not there (Debian package chromium)");
            }
            message.write(each);
        }
        return message.toString(StandardCharsets.UTF_8);
    }

    private static String textOf(String json, String name) {
        Matcher found = Pattern.compile("\"" + name + "\":\"([^\"]*)\"").matcher(json);
        assertTrue(found.find(), name + " in " + json);
        return found.group(1);
    }

    /** @param script an expression */
    String value(String script) throws IOException {
        String coded = script.replace("\\", "\\\\").replace("\"", "\\\"").replace("\n", "\\n");
        return URLDecoder.decode(textOf(ask("Runtime.evaluate", "\"expression\":\"(async () => encodeURIComponent(String(" + coded
            + ")))()\",\"returnByValue\":true,\"awaitPromise\":true"), "value").replace("+", "%2B"), StandardCharsets.UTF_8);
    }

    int number(String script) throws IOException {
        return (int) Math.round(Double.parseDouble(value(script)));
    }

    void mouse(String type, int x, int y) throws IOException {
        String button = type.equals("mouseMoved") ? "none" : "left";
        ask("Input.dispatchMouseEvent", "\"type\":\"" + type + "\",\"x\":" + x + ",\"y\":" + y + ",\"button\":\"" + button
            + "\",\"clickCount\":" + (button.equals("none") ? 0 : 1));
    }

    void click(int x, int y) throws IOException {
        mouse("mousePressed", x, y);
        mouse("mouseReleased", x, y);
    }

    void key(String name) throws IOException {
        String text = name.equals("Enter") ? ",\"text\":\"\\r\",\"windowsVirtualKeyCode\":13" : name.equals("Tab")
            ? ",\"windowsVirtualKeyCode\":9" : "";
        ask("Input.dispatchKeyEvent", "\"type\":\"keyDown\",\"key\":\"" + name + "\",\"code\":\"" + name + "\"" + text);
        ask("Input.dispatchKeyEvent", "\"type\":\"keyUp\",\"key\":\"" + name + "\",\"code\":\"" + name + "\"");
    }

    void type(String text) throws IOException {
        ask("Input.insertText", "\"text\":\"" + text.replace("\\", "\\\\").replace("\"", "\\\"") + "\"");
    }

    byte[] picture() throws IOException {
        return Base64.getDecoder().decode(textOf(ask("Page.captureScreenshot", "\"format\":\"png\""), "data"));
    }

    /** Gone at once, as if it had crashed. */
    @Override
    public void close() {
        process.descendants().forEach(ProcessHandle::destroyForcibly);
        process.destroyForcibly().onExit().join();
    }
}
