import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.sys.InvalidSpyMemReference;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMappedPair;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyMemoryStatistics;
import com.talvern.test.gx.sys.SpyValueClass;
import com.talvern.test.gx.sys.SpyVector;
import com.talvern.test.value.Decimal;
import com.talvern.test.value.UByte;
import com.talvern.test.value.UInt32;
import com.talvern.test.value.UInt64;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/** Values of every type go into spy memory and come back as they were, and containers keep their rules. */
class SpyValuesTest {
    private static SpyVector newVector(int startSize, int increment) {
        SpyVector vector = new SpyVector();
        assertTrue(vector.create(null, 0, startSize, increment));
        return vector;
    }

    private static SpyMap newMap(String name, int transaction, int buckets) {
        SpyMap map = new SpyMap();
        assertTrue(map.create(name, transaction, buckets));
        return map;
    }

    private static Map<String, String> described(Map<String, Object> values) {
        Map<String, String> described = new TreeMap<>();
        values.forEach((key, value) -> described.put(key, SpyValues.describe(value)));
        return described;
    }

    @Test
    void everyOverloadOfAMapStoresItsTypeAndAnotherJvmHandsItBack() throws Exception {
        SpyMap map = newMap("values", 0, 3);
        Map<String, Object> values = SpyValues.ofEveryType();
        values.forEach((key, value) -> assertEquals(true, SpyValues.call(map, "put", key, value), key));
        assertEquals(values.size(), map.size());
        Map<String, String> expected = new TreeMap<>();
        values.forEach((key, value) -> expected.put("echo of " + key, SpyValues.describe(value)));
        try (SpyPeer peer = SpyPeer.start("echo", "values")) {
            peer.await("ready");
            peer.tell("go");
            peer.await("done");
        }
        Map<String, Object> found = new TreeMap<>();
        Object[] keys = map.keys();
        Object[] elements = map.elements();
        for (int i = 0; i < keys.length; i++) {
            assertEquals(SpyValues.describe(map.get((String) keys[i])), SpyValues.describe(elements[i]));
            found.put((String) keys[i], elements[i]);
        }
        assertEquals(expected, described(found));
        assertEquals(String[].class, keys.getClass());
        map.delete("values");
        map.free();
    }

    @Test
    void everyOverloadOfAMappedPairStoresItsType() {
        SpyMappedPair pair = new SpyMappedPair();
        assertTrue(pair.create(null, 0));
        Map<String, Object> values = SpyValues.ofEveryType();
        int number = -3;
        for (var value : values.entrySet()) {
            assertEquals(true, SpyValues.call(pair, "put", value.getKey(), value.getValue(), number++));
        }
        Map<String, Object> found = new TreeMap<>();
        Object[] keys = pair.keys();
        SpyMappedPair.MappedPair filled = new SpyMappedPair.MappedPair();
        for (int i = 0; i < keys.length; i++) {
            SpyMappedPair.MappedPair made = pair.get((String) keys[i]);
            pair.get((String) keys[i], filled);
            assertEquals(i - 3, made.value2);
            assertEquals(i - 3, filled.value2);
            assertEquals(SpyValues.describe(made.value1), SpyValues.describe(filled.value1));
            assertEquals(SpyValues.describe(made.value1), SpyValues.describe(pair.elements()[i]));
            found.put((String) keys[i], pair.containsKey((String) keys[i]) ? made.value1 : "lost");
        }
        assertEquals(described(values), described(found));
        pair.get("none", filled);
        pair.get("text", (SpyMappedPair.MappedPair) null);
        assertNull(filled.value1);
        assertEquals(0, filled.value2);
        assertEquals(values.get("text"), pair.remove("text"));
        assertNull(pair.get("text").value1);
        assertEquals(values.size() - 1, pair.size());
        pair.removeAll();
        assertEquals(List.of(false, 0), List.of(pair.put("key", 1, 1), pair.size()));
        assertNull(pair.keys());
        pair.free();
    }

    @Test
    void everyOverloadOfAVectorStoresItsType() {
        List<Object> values = new ArrayList<>(SpyValues.ofEveryType().values());
        SpyVector added = newVector(1, 3);
        SpyVector inserted = newVector(1, 3);
        SpyVector set = newVector(1, 3);
        for (int i = 0; i < values.size(); i++) {
            SpyValues.call(added, "addElement", values.get(i));
            SpyValues.call(inserted, "insertElementAt", values.get(values.size() - 1 - i), 0);
            assertNull(set.setElementAt("previous", i));
            assertEquals("previous", SpyValues.call(set, "setElementAt", values.get(i), i));
        }
        for (int i = 0; i < values.size(); i++) {
            String expected = SpyValues.describe(values.get(i));
            assertEquals(expected, SpyValues.describe(added.get(i)));
            assertEquals(expected, SpyValues.describe(inserted.remove(0)));
            assertEquals(expected, SpyValues.describe(set.get(i)));
            Object value = values.get(i);
            boolean findable = !(value instanceof Character || value instanceof SpyMappedPair
                    || value instanceof SpyValueClass || value.equals(Double.NaN));
            assertEquals(findable ? i : -1, added.indexOf(value, 0), expected);
            assertEquals(-1, added.indexOf(value, i + 1));
        }
        assertTrue(inserted.isEmpty());
        assertEquals(SpyValues.describe(values.get(0)), SpyValues.describe(added.firstElement()));
        assertEquals(SpyValues.describe(values.get(values.size() - 1)), SpyValues.describe(added.lastElement()));
        for (SpyVector vector : List.of(added, inserted, set)) {
            vector.free();
        }
    }

    @Test
    void aValueGoesOnIntoOtherContainersWhateverItsClass() {
        Map<String, Object> values = SpyValues.ofEveryType();
        values.put("nothing", null);
        SpyMap map = newMap(null, 0, 3);
        SpyVector vector = newVector(1, 3);
        SpyMappedPair pair = new SpyMappedPair();
        assertTrue(pair.create(null, 0));
        values.forEach((key, value) -> {
            assertTrue(map.put(key, value));
            vector.addElement(map.get(key));
            vector.insertElementAt(map.get(key), 0);
            vector.setElementAt(map.get(key), vector.size());
            assertTrue(pair.put(key, map.get(key), 1));
            for (Object found : Arrays.asList(vector.get(0), vector.get(vector.size() - 2), vector.lastElement(),
                    pair.get(key).value1)) {
                assertEquals(SpyValues.describe(value), SpyValues.describe(found), key);
            }
        });
        for (Executable refused : List.<Executable>of(() -> map.put("x", new Object()), () -> pair.put("x", List.of(), 1),
                () -> vector.addElement(new Object()), () -> vector.insertElementAt(new UByte((short) 1), 0),
                () -> vector.setElementAt(Map.of(), 0))) {
            assertThrows(IllegalArgumentException.class, refused);
        }
        var failure = assertThrows(IllegalArgumentException.class, () -> map.put("x", new StringBuilder()));
        assertEquals("The store takes no values of class java.lang.StringBuilder", failure.getMessage());
        assertEquals(List.of(values.size(), 3 * values.size(), values.size()), List.of(map.size(), vector.size(), pair.size()));
        map.free();
        vector.free();
        pair.free();
    }

    @Test
    void whatOnlyNativeCodeStoresComesAsValueObjects() {
        SpyMemory decimal = new SpyMemory();
        decimal.allocate(null, 32, 0);
        byte[] stored = SpyValues.bytes(32).put(2, (byte) 3).put(3, (byte) 1).putLong(8, 12345).array();
        decimal.write(stored, 0, 32);
        SpyVector vector = newVector(5, 1);
        for (int i = 0; i < 5; i++) {
            vector.addElement(0);
        }
        SpyValues.store(vector, 0, 17, 255);
        SpyValues.store(vector, 1, 19, 0xFFFFFFFFL);
        SpyValues.store(vector, 2, 20, -1);
        SpyValues.store(vector, 3, 21, SpyValues.handleOf(decimal));
        assertEquals(new UByte((short) 255), vector.get(0));
        assertEquals(new UInt32(0xFFFFFFFFL), vector.get(1));
        assertEquals(new UInt64(-1), vector.get(2));
        assertEquals(new Decimal((byte) -1, 0, 0, 12345, (byte) 3), vector.remove(3));
        assertNull(vector.get(99));
        assertThrows(InvalidSpyMemReference.class, decimal::read, "who took the decimal out owned its block");
        vector.free();
    }

    @Test
    void anObjectThatNamesNothingIsStoredAsNothing() {
        SpyMemory freed = new SpyMemory();
        freed.allocate(null, 1, 0);
        SpyMemory stale = SpyValues.blockAt(SpyValues.handleOf(freed));
        freed.free();
        SpyMap map = newMap(null, 0, 10);
        for (SpyMemory nothing : Arrays.asList(null, new SpyVector(), freed, stale)) {
            assertTrue(map.put("key", nothing));
            assertTrue(map.containsKey("key"));
            assertNull(map.get("key"));
        }
        assertTrue(map.put("key", (String) null));
        assertNull(map.get("key"));
        map.free();
    }

    @Test
    void indicesBeyondTheEndKeepTheirRules() {
        SpyVector vector = newVector(4, 4);
        assertNull(vector.setElementAt("far", 10));
        assertEquals(11, vector.size());
        assertNull(vector.get(9));
        vector.insertElementAt("lost", 12);
        assertEquals(11, vector.size());
        vector.insertElementAt("appended", 11);
        assertEquals("appended", vector.lastElement());
        assertNull(vector.remove(500));
        assertNull(vector.remove(-1));
        assertEquals(10, vector.size());
        vector.removeAllElements();
        assertNull(vector.remove(0));
        assertNull(vector.firstElement());
        assertEquals(-1, vector.indexOf("far", 0));
        vector.free();
    }

    @Test
    void keysThatShareABucketKeepTheirRules() {
        SpyMap map = newMap(null, 0, 1);
        map.put("a", 1);
        map.put("b", 2);
        map.put("c", "three");
        map.put("b", "two");
        assertEquals(List.of("two", "three", 3), List.of(map.get("b"), map.get("c"), map.size()));
        assertNull(map.remove("d"));
        assertEquals(2, map.size());
        assertEquals("three", map.remove("c"));
        assertArrayEquals(new Object[] {"a"}, map.keys());
        assertArrayEquals(new Object[] {1}, map.elements());
        map.remove("d");
        map.remove("d");
        assertEquals(-1, map.size());
        assertNull(map.keys());
        map.removeAll();
        assertEquals(0, map.size());
        assertNull(map.elements());
        map.free();
    }

    /** More objects than the JVM's table of local references has room for: -Xcheck:jni would complain. */
    @Test
    void thousandsOfEntriesComeInOneArray() {
        SpyMap map = newMap(null, 0, 100);
        for (int i = 0; i < 2000; i++) {
            map.put("key " + i, i % 2 == 0 ? map : null);
            map.put("text " + i, "text " + i);
        }
        Object[] keys = map.keys();
        Object[] elements = map.elements();
        assertEquals(List.of(4000, 4000), List.of(keys.length, elements.length));
        for (int i = 0; i < keys.length; i++) {
            String key = (String) keys[i];
            Object expected = key.startsWith("text") ? key : Integer.parseInt(key.substring(4)) % 2 == 0 ? map : null;
            assertEquals(SpyValues.describe(expected), SpyValues.describe(elements[i]));
        }
        map.free();
    }

    @Test
    void aNullKeyIsRefused() {
        SpyMap map = newMap(null, 0, 10);
        SpyMappedPair pair = new SpyMappedPair();
        pair.create(null, 0);
        assertEquals(List.of(false, false, false, false), List.of(map.put(null, 1), map.containsKey(null),
                pair.put(null, "text", 1), pair.containsKey(null)));
        assertEquals(Arrays.asList(null, null, null, null),
                Arrays.asList(map.get(null), map.remove(null), pair.get(null), pair.remove(null)));
        pair.get(null, new SpyMappedPair.MappedPair());
        assertTrue(map.put("", "empty"));
        assertEquals("empty", map.get(""));
        map.free();
        pair.free();
    }

    @Test
    void aTransactionGoesWithItsStrings() {
        SpyMemoryStatistics before = new SpyMemory().getStats();
        SpyVector vector = new SpyVector();
        vector.create(null, 77, 10, 10);
        SpyMap map = newMap(null, 77, 10);
        for (int i = 0; i < 500; i++) {
            vector.addElement("text " + i);
            map.put("key " + i, "text");
        }
        assertEquals(List.of(77, 77), List.of(vector.transactionId(), map.transactionId()));
        assertEquals(before.numberOfActiveHeaps + 1, vector.getStats().numberOfActiveHeaps);
        vector.free(77);
        vector.free(0);
        assertEquals(before.numberBytesAllocated, vector.getStats().numberBytesAllocated);
    }
}
