import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.talvern.test.gx.StringNotInCodePageException;
import com.talvern.test.gx.util.GxDebug;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;

/** The settings of log and trace, and the trace of native methods, which the preferences switch on. */
class GxDebugTest {
    private static final Path DIRECTORY = Path.of(System.getenv("HOME"), "Quessa", "ZEMO");

    @BeforeAll
    static void switchTheTraceOfNativeMethodsOn() throws IOException {
        Files.createDirectories(DIRECTORY);
        Files.writeString(DIRECTORY.resolve("vtx_log_trace.properties"),
                "enableTrace=true\ntraceComponentLevelFilter=JNI,0\n");
    }

    /** The messages of the component JNI that mention {@code text}. */
    private static List<String> messagesWith(String text) throws IOException {
        try (Stream<String> lines = Files.lines(DIRECTORY.resolve("vtx_trace.txt"))) {
            return lines.filter(line -> line.contains(",\tJNI,\t") && line.contains(text))
                    .map(line -> line.replaceFirst(".*,\t", "")).toList();
        }
    }

    @Test
    void valuesOutOfRangeAreIgnoredAndTheTraceLimitSetterSetsThatOfTheLog() {
        int traceLimit = GxDebug.TraceGetFileSizeLimitN();
        GxDebug.LogSetLevelN(6);
        GxDebug.TraceSetLevelN(2);
        for (int level : new int[] {8, -1, Integer.MIN_VALUE, Integer.MAX_VALUE}) {
            GxDebug.LogSetLevelN(level);
            GxDebug.TraceSetLevelN(level);
        }
        GxDebug.LogSetFileSizeLimitN(20);
        GxDebug.TraceSetFileSizeLimitN(0);
        int unchanged = GxDebug.LogGetFileSizeLimitN();
        GxDebug.TraceSetFileSizeLimitN(10);
        assertAll(() -> assertEquals(6, GxDebug.LogGetLevelN()), () -> assertEquals(2, GxDebug.TraceGetLevelN()),
                () -> assertEquals(20, unchanged), () -> assertEquals(10, GxDebug.LogGetFileSizeLimitN()),
                () -> assertEquals(traceLimit, GxDebug.TraceGetFileSizeLimitN()));
    }

    @Test
    void aNameThatHasNoNativeFormIsRefused() {
        assertAll(
                () -> assertThrows(StringNotInCodePageException.class,
                        () -> GxDebug.LogSetComponentLevelN("half \uD800 a pair", 1)),
                () -> assertThrows(StringNotInCodePageException.class,
                        () -> GxDebug.TraceSetComponentLevelN("half \uD800 a pair", 1)));
        GxDebug.LogSetComponentLevelN(null, 1);
        GxDebug.TraceSetComponentLevelN("", 1);
        GxDebug.TraceSetComponentLevelN("x".repeat(100_000), 1);
    }

    @Test
    void everyCallIsBracketedInTheTraceUntilItsComponentIsSilenced() throws IOException {
        String name = "com_talvern_test_gx_util_GxDebug_LogGetLevelN";
        GxDebug.TraceSetComponentLevelN("jNi", 0);
        int before = messagesWith(name).size();
        GxDebug.LogGetLevelN();
        List<String> messages = messagesWith(name);
        assertEquals(List.of("START - " + name, "END - " + name), messages.subList(before, messages.size()));
        GxDebug.TraceSetComponentLevelN("jNi", 8);
        GxDebug.LogGetLevelN();
        GxDebug.TraceSetEnabledN(false);
        GxDebug.TraceSetComponentLevelN("jNi", 0);
        GxDebug.LogGetLevelN();
        GxDebug.TraceSetEnabledN(true);
        assertEquals(messages.size(), messagesWith(name).size());
    }
}
