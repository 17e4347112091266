package com.talvern.test.gx.junit;

import java.io.IOException;
import java.io.RandomAccessFile;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.regex.Pattern;

/** The end of the native trace, for other eyes: without the texts that were typed, which may be passwords. */
final class TraceTail {
    private static final int LINES = 200;
    private static final int BYTES = 256 * 1024;
    private static final Pattern ENTRY = Pattern.compile("\\d{4}-\\d{2}-\\d{2}/.*");
    /** Everything behind these words was given to be typed. */
    private static final Pattern TYPED = Pattern.compile("(Got (?:KEYSTRING|INPUTCHARS) event with |The key string failed ).*");
    private static final Path USUAL = Path.of("Quessa", "ZEMO");

    private TraceTail() {}

    static String read() throws IOException {
        Path home = Path.of(System.getenv().getOrDefault("HOME", "(null)"), USUAL.toString());
        Path file = directory(home.resolve("vtx_log_trace.properties"), home).resolve("vtx_trace.txt");
        return Files.exists(file) ? String.join("\n", withoutTexts(endOf(file))) : "there is no " + file
            + ": the trace is off";
    }

    private static Path directory(Path preferences, Path usual) throws IOException {
        List<String> lines = Files.exists(preferences) ? Files.readAllLines(preferences, StandardCharsets.ISO_8859_1)
            : List.of();
        return lines.stream().map(String::strip).filter(line -> line.matches("traceFilePath\\s*=.+"))
            .map(line -> Path.of(line.substring(line.indexOf('=') + 1).strip())).reduce((first, last) -> last).orElse(usual);
    }

    private static List<String> endOf(Path file) throws IOException {
        try (RandomAccessFile trace = new RandomAccessFile(file.toFile(), "r")) {
            long start = Math.max(0, trace.length() - BYTES);
            byte[] bytes = new byte[(int) (trace.length() - start)];
            trace.seek(start);
            trace.readFully(bytes);
            List<String> lines = new String(bytes, StandardCharsets.UTF_8).lines().toList();
            return start == 0 ? lines : lines.subList(1, lines.size());
        }
    }

    /** An entry goes on in lines that begin otherwise: of one that was typed they are left out. */
    private static List<String> withoutTexts(List<String> lines) {
        List<String> kept = new ArrayList<>();
        boolean isTyped = true; // a rest at the start may be the rest of one
        for (String line : lines) {
            boolean isEntry = ENTRY.matcher(line).matches();
            isTyped = isEntry ? TYPED.matcher(line).find() : isTyped;
            if (isEntry || !isTyped) {
                kept.add(TYPED.matcher(line).replaceFirst("$1(left out)"));
            }
        }
        return kept.subList(Math.max(0, kept.size() - LINES), kept.size());
    }
}
