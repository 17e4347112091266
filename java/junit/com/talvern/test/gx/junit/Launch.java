package com.talvern.test.gx.junit;

import com.talvern.test.gx.engine.Application;
import com.talvern.test.gx.engine.Complaint;
import com.talvern.test.gx.engine.LaunchOptions;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.Arrays;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import org.junit.jupiter.api.extension.ExtensionContext;

/** A program that was started for a test, or should have been. */
final class Launch implements ExtensionContext.Store.CloseableResource {
    private static final Pattern PROPERTY = Pattern.compile("\\$\\{([^}]*)}");
    private static final int LONGEST_ERRORS = 64 * 1024;

    private final List<String> command;
    private final Path errors;
    private Application application;

    Launch(Program program) throws IOException {
        command = Arrays.stream(program.value()).map(Launch::expanded).toList();
        errors = Files.createTempFile("gx-errors", ".txt");
    }

    private static String expanded(String word) {
        return PROPERTY.matcher(word).replaceAll(
            found -> Matcher.quoteReplacement(System.getProperty(found.group(1), found.group())));
    }

    Application start(Program program) {
        LaunchOptions options = LaunchOptions.DEFAULTS.within(Duration.ofSeconds(program.limit()));
        options = program.follow() ? options.follow() : options;
        options = program.leaveRunning() ? options.leaveRunning() : options;
        application = Application.start(options, new ProcessBuilder(command)
            .redirectOutput(ProcessBuilder.Redirect.DISCARD).redirectError(errors.toFile()));
        return application;
    }

    String command() {
        return String.join(" ", command);
    }

    /** Null for one that could not be started. */
    Application application() {
        return application;
    }

    /** The last part of what it has written to its standard error. */
    String errors() throws IOException {
        byte[] bytes = Files.readAllBytes(errors);
        int first = Math.max(0, bytes.length - LONGEST_ERRORS);
        return (first > 0 ? "...\n" : "") + new String(bytes, first, bytes.length - first, StandardCharsets.UTF_8);
    }

    String state() {
        if (application == null) {
            return "has not started";
        }
        Process process = application.process();
        return process.isAlive() ? "runs as process " + application.pid() : Complaint.ending(process);
    }

    @Override
    public void close() throws IOException {
        if (application != null) {
            application.close();
        }
        Files.deleteIfExists(errors);
    }
}
