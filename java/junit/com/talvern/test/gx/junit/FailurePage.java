package com.talvern.test.gx.junit;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.Picture;
import com.talvern.test.gx.engine.Screen;
import com.talvern.test.gx.engine.Steps;
import com.talvern.test.gx.engine.WidgetView;
import com.talvern.test.gx.engine.Windows;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import java.awt.Rectangle;
import java.io.IOException;
import java.io.PrintWriter;
import java.io.StringWriter;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.time.LocalDateTime;
import java.time.temporal.ChronoUnit;
import java.util.Base64;
import java.util.List;
import java.util.Set;
import java.util.concurrent.Callable;
import java.util.concurrent.ConcurrentHashMap;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.junit.jupiter.api.extension.ExtensionContext;

/** What there was when a test failed, as one page with all its pictures in it, which lie beside it as well. */
final class FailurePage {
    /** An application that does not answer is no reason to wait long for its page. */
    private static final Duration PATIENCE = Duration.ofSeconds(2);
    private static final Set<Path> WRITTEN = ConcurrentHashMap.newKeySet();
    private static final String HEAD = """
        <!DOCTYPE html>
        <html lang="en"><head><meta charset="utf-8"><title>%1$s</title><style>
        body { font-family: sans-serif; margin: 1em 2em }
        pre { background: #f4f4f4; padding: 0.6em; overflow-x: auto }
        img { max-width: 100%%; border: 1px solid #888 }
        </style></head><body>
        <h1>%1$s</h1>
        <p>%2$s</p>
        """;

    private final ExtensionContext test;
    private final Throwable failure;
    private final List<Launch> launches;
    private final StringBuilder page = new StringBuilder();
    private Path folder;
    private Picture screen;
    private int pictures;

    FailurePage(ExtensionContext test, Throwable failure, List<Launch> launches) {
        this.test = test;
        this.failure = failure;
        this.launches = launches;
    }

    /** Writes it into a folder of its own. @return the page */
    Path write(Path directory) throws IOException {
        folder = folderIn(directory);
        String name = test.getRequiredTestClass().getSimpleName() + ": " + test.getDisplayName();
        page.append(HEAD.formatted(escaped(name), LocalDateTime.now().truncatedTo(ChronoUnit.SECONDS)));
        section("What went wrong", () -> text(stackTrace()));
        section("What was last asked for", () -> text(String.join("\n", Steps.last())));
        section("The screen", () -> {
            screen = Screen.capture(Screen.Option.WITH_POINTER);
            return picture(screen, "screen") + text(windows());
        });
        launches.forEach(this::describe);
        section("The last lines of the trace", () -> text(TraceTail.read()));
        return Files.writeString(folder.resolve("index.html"), page.append("</body></html>\n"));
    }

    private Path folderIn(Path directory) throws IOException {
        String name = test.getTestMethod().map(method -> method.getName()).orElse("before all");
        Path usual = directory.resolve(asFile(test.getRequiredTestClass().getName())).resolve(asFile(name));
        Path place = usual;
        for (int number = 2; !WRITTEN.add(place.toAbsolutePath()); ++number) {
            place = Path.of(usual + "-" + number); // another repetition, or other arguments
        }
        try (Stream<Path> old = Files.list(Files.createDirectories(place))) {
            for (Path each : old.filter(file -> file.toString().matches(".*\\.(png|html)")).toList()) {
                Files.delete(each);
            }
        }
        return place;
    }

    private static String asFile(String name) {
        return name.replaceAll("[^A-Za-z0-9._$-]", "_");
    }

    /** A part that cannot be had says why, and the others are there. */
    private void section(String title, Callable<String> content) {
        page.append("<h2>").append(escaped(title)).append("</h2>\n");
        try {
            page.append(content.call());
        } catch (Exception | LinkageError missing) {
            page.append(text("not to be had: " + missing));
        }
    }

    private String stackTrace() {
        StringWriter text = new StringWriter();
        failure.printStackTrace(new PrintWriter(text, true));
        return text.toString().lines().filter(line -> !line.matches("\\s+at (org\\.junit|java\\.base)[./].*"))
            .collect(Collectors.joining("\n"));
    }

    private static String windows() {
        StringBuilder text = new StringBuilder();
        for (NativeTopLevelWindow window : new NativeTopLevelWindow(0).getOwnedWindows()) {
            Rectangle box = window.nativeGetRectangle();
            text.append(String.format("\"%s\" (%s) at %d,%d %dx%d%n", Windows.caption(window),
                window.nativeGetWindowClassname(), box.x, box.y, box.width, box.height));
        }
        return text.isEmpty() ? "no window" : text.toString();
    }

    private void describe(Launch launch) {
        String command = launch.command();
        section(command, () -> "<p>" + escaped(launch.state()) + "</p>\n");
        Application application = launch.application();
        if (application != null && application.isAlive()) {
            section("Windows of " + command, () -> {
                application.setTimeout(PATIENCE);
                StringBuilder text = new StringBuilder();
                for (WidgetView window : application.tree().children()) {
                    text.append(picture(window)).append(text(window.toString()));
                }
                return text.toString();
            });
        }
        section("Standard error of " + command, () -> text(launch.errors()));
    }

    private String picture(WidgetView window) throws IOException {
        boolean shows = screen != null && screen.bounds().intersects(window.bounds());
        return shows ? picture(screen.cut(window.bounds()), "window-" + ++pictures) : "";
    }

    private String picture(Picture picture, String name) throws IOException {
        byte[] png = picture.png();
        Files.write(folder.resolve(name + ".png"), png);
        return "<p><img alt=\"" + name + "\" src=\"data:image/png;base64," + Base64.getEncoder().encodeToString(png)
            + "\"></p>\n";
    }

    private static String text(String text) {
        return "<pre>" + escaped(text.isBlank() ? "nothing" : text) + "</pre>\n";
    }

    private static String escaped(String text) {
        String plain = new String(text.getBytes(StandardCharsets.UTF_8), StandardCharsets.UTF_8); // no half characters
        return plain.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace("\"", "&quot;");
    }
}
