import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.StringNotInCodePageException;
import com.talvern.test.gx.sys.InvalidSpyMemReference;
import com.talvern.test.gx.sys.OutOfSpyMemException;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMappedPair;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyVector;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.DynamicTest;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.TestFactory;
import org.junit.jupiter.api.function.Executable;

/** What goes wrong reaches Java as the right exception, or as a neutral answer and a line in the trace. */
class SpyFailureTest {
    private static final Path HOME = Path.of(System.getenv("HOME"));
    private static final Path DIRECTORY = HOME.resolve("Quessa").resolve("ZEMO");

    @BeforeAll
    static void switchTheTraceOn() throws IOException {
        Files.createDirectories(DIRECTORY);
        Files.writeString(DIRECTORY.resolve("vtx_log_trace.properties"),
                "enableTrace=true\ntraceComponentLevelFilter=JNI,0;Native,0\n");
    }

    /** The messages that {@code action} writes to the trace. */
    private static List<String> traceOf(Runnable action) throws IOException {
        Path trace = DIRECTORY.resolve("vtx_trace.txt");
        long before = Files.exists(trace) ? Files.readAllLines(trace).size() : 0;
        action.run();
        try (Stream<String> lines = Files.lines(trace)) {
            return lines.skip(before).map(line -> line.replaceFirst(".*,\t", ""))
                    .filter(line -> !line.isBlank()).toList();
        }
    }

    private static SpyVector newVector() {
        SpyVector vector = new SpyVector();
        vector.create(null, 0, 4, 4);
        return vector;
    }

    private static DynamicTest raises(Class<? extends Throwable> expected, String name, Executable call) {
        return DynamicTest.dynamicTest(name, () -> assertThrows(expected, call));
    }

    @TestFactory
    Stream<DynamicTest> whatWasFreedIsRefused() {
        SpyVector vector = newVector();
        SpyMap map = new SpyMap();
        map.create(null, 0, 10);
        SpyMappedPair pair = new SpyMappedPair();
        pair.create(null, 0);
        SpyMemory block = new SpyMemory();
        block.allocate(null, 8, 0);
        List<SpyMemory> stale = Stream.of(vector, map, pair, block).map(each -> {
            long handle = SpyValues.handleOf(each);
            each.free();
            assertEquals(0, SpyValues.handleOf(each));
            return SpyValues.rename(each, handle);
        }).toList();
        assertEquals(4, stale.size());
        return Stream.of(
                raises(InvalidSpyMemReference.class, "get", () -> map.get("key")),
                raises(InvalidSpyMemReference.class, "put", () -> map.put("key", "text")),
                raises(InvalidSpyMemReference.class, "keys", map::keys),
                raises(InvalidSpyMemReference.class, "addElement", () -> vector.addElement("text")),
                raises(InvalidSpyMemReference.class, "size", vector::size),
                raises(InvalidSpyMemReference.class, "pair", () -> pair.get("key")),
                raises(InvalidSpyMemReference.class, "read", block::read),
                raises(InvalidSpyMemReference.class, "write", () -> block.write(new byte[1], 0, 1)),
                raises(InvalidSpyMemReference.class, "free", block::free),
                raises(InvalidSpyMemReference.class, "free twice", map::free),
                raises(InvalidSpyMemReference.class, "nothing", new SpyMemory()::read),
                raises(InvalidSpyMemReference.class, "put into nothing", () -> new SpyMap().put("key", 1)),
                raises(InvalidSpyMemReference.class, "add to nothing", () -> new SpyVector().addElement(1)));
    }

    @TestFactory
    Stream<DynamicTest> whatSpyMemoryHasNoRoomForIsRefused() {
        SpyVector vector = newVector();
        return Stream.of(
                raises(OutOfSpyMemException.class, "block", () -> new SpyMemory().allocate(null, 1 << 30, 0)),
                raises(OutOfSpyMemException.class, "start", () -> new SpyVector().create(null, 0, 1 << 30, 1)),
                raises(OutOfSpyMemException.class, "buckets", () -> new SpyMap().create(null, 0, 1 << 30)),
                raises(OutOfSpyMemException.class, "index", () -> vector.setElementAt("text", 1 << 28)),
                raises(OutOfSpyMemException.class, "string", () -> vector.addElement("x".repeat(600_000))),
                raises(StringNotInCodePageException.class, "file", () -> vector.dumpHeap("half \uD800")));
    }

    @Test
    void sizesThatAreNoneAreRefusedAndChangeNothing() {
        SpyVector vector = newVector();
        long handle = SpyValues.handleOf(vector);
        assertAll(() -> assertFalse(new SpyMemory().allocate("name", 0, 0)),
                () -> assertFalse(new SpyMemory().allocate("name", -1, 0)),
                () -> assertFalse(vector.create("name", 0, 0, 1)), () -> assertFalse(vector.create("name", 0, -1, 1)),
                () -> assertFalse(new SpyMap().create("name", 0, Integer.MIN_VALUE)),
                () -> assertNull(vector.locate("name")), () -> assertNull(vector.locate(null)));
        assertEquals(handle, SpyValues.handleOf(vector));
        vector.free();
    }

    @Test
    void writesKeepToTheBlock() {
        SpyMemory block = new SpyMemory();
        block.allocate(null, 40, 0);
        byte[] data = new byte[60];
        Arrays.fill(data, (byte) 'a');
        block.write(new byte[40], 0, 40);
        record Row(String why, int offset, int length, boolean written) {}
        for (Row row : List.of(new Row("whole", 0, 40, true), new Row("less the offset it fits", 20, 60, true),
                new Row("nothing at the end", 40, 0, true), new Row("too long", 0, 41, false),
                new Row("too long less the offset", 20, 61, false), new Row("offset beyond", 41, 1, false),
                new Row("negative offset", -1, 1, false), new Row("negative length", 0, -1, false))) {
            String before = new String(block.read());
            Executable write = () -> block.write(data, row.offset, row.length);
            if (row.written) {
                assertAll(row.why, write);
            } else {
                String text = assertThrows(OutOfSpyMemException.class, write, row.why).getMessage();
                assertEquals("Internal Error: Attempt to write past the end of allocated memory", text);
                assertEquals(before, new String(block.read()));
            }
        }
        assertArrayEquals("a".repeat(40).getBytes(), block.read());
        assertThrows(OutOfSpyMemException.class, () -> block.write(new byte[2], 0, 3));
        assertThrows(OutOfSpyMemException.class, () -> block.write(null, 0, 1));
        block.free();
    }

    @Test
    void valuesThatCannotBeAreTracedAndComeAsNull() throws IOException {
        SpyVector vector = newVector();
        vector.addElement("text");
        vector.addElement(1);
        SpyValues.store(vector, 1, 30, 0);
        List<String> unknown = traceOf(() -> assertNull(vector.get(1)));
        assertTrue(unknown.contains("Invalid SpyVariant type! ->30"), unknown::toString);
        assertTrue(unknown.stream().anyMatch(line -> line.matches("Unknown exception: .*\\.(cpp|h):\\d+")),
                unknown::toString);
        assertEquals("END - com_talvern_test_gx_sys_SpyVector_get return 0", unknown.get(unknown.size() - 1));
        SpyValues.store(vector, 0, 9, 0x0000_0001_0000_1000L);
        List<String> stale = traceOf(() -> assertNull(vector.remove(0)));
        assertTrue(stale.contains("SpyVariant with Invalid SpyMemory reference type =9"), stale::toString);
        vector.removeAllElements();
        vector.free();
    }

    @Test
    void keysThatAreNoStringsAreTraced() throws IOException {
        SpyMappedPair pair = new SpyMappedPair();
        pair.create(null, 0);
        pair.put("key", 1, 2);
        byte[] header = SpyValues.blockAt(SpyValues.handleOf(pair)).read();
        long elements = SpyValues.bytes(8).put(0, header, 0, 8).getLong(0);
        SpyValues.store((SpyVector) SpyValues.rename(new SpyVector(), elements), 0, 4, 5);
        List<String> foreign = traceOf(() -> assertNull(pair.keys()));
        assertTrue(foreign.contains("Error - keys must be strings!!!"), foreign::toString);
        List<String> missing = traceOf(() -> assertFalse(pair.put(null, "text", 1)));
        String name = "com_talvern_test_gx_sys_SpyMappedPair_put__Ljava_lang_String_2Ljava_lang_String_2I";
        assertEquals(List.of("START - " + name, "Error - keys must be strings!!!", "END - " + name), missing);
        pair.free();
    }

    @Test
    void aFailureIsMarkedInTheEndLineByTheKindOfItsAnswer() throws IOException {
        SpyMap map = new SpyMap();
        map.create(null, 0, 10);
        long handle = SpyValues.handleOf(map);
        map.free();
        SpyValues.rename(map, handle);
        List<String> messages = traceOf(() -> {
            for (Executable call : List.<Executable>of(() -> map.get("key"), () -> map.put("key", (byte) 1), map::size,
                    map::keys, map::removeAll)) {
                assertThrows(InvalidSpyMemReference.class, call);
            }
        });
        String name = "END - com_talvern_test_gx_sys_SpyMap_";
        assertEquals(List.of(name + "get return 0", name + "put__Ljava_lang_String_2B FALSE", name + "size returning 0",
                name + "keys returning NULL", name + "removeAll"),
                messages.stream().filter(line -> line.startsWith("END")).toList());
    }

    @Test
    void theSelfTestAndTheDumpWriteTheirFiles() throws IOException {
        SpyMemory memory = new SpyMemory();
        Path report = HOME.resolve("selftest.log");
        Path dump = HOME.resolve("dump.log");
        memory.heaptest(report.toString());
        memory.dumpHeap(dump.toString());
        assertTrue(Files.readString(report).contains("<< Test 4: Passed."));
        assertTrue(Files.readString(dump).startsWith("****** Heap Dump ******\n----------- Dump of CSpyHeap #0"));
        memory.dumpHeap("/no/such/directory/dump");
        memory.dumpHeap(null);
    }
}
