import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.fail;

import com.talvern.test.gx.sys.InvalidSpyMemReference;
import com.talvern.test.gx.sys.OutOfSpyMemException;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMappedPair;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyVector;
import java.nio.ByteBuffer;
import java.util.List;
import java.util.Random;
import java.util.Set;
import org.junit.jupiter.api.Test;

/** Whatever another process wrote over a container, Java gets an answer or an exception, and the JVM lives on. */
class SpyDamageTest {
    private static final int TRANSACTION = 9;

    private final long seed = System.nanoTime();
    private final Random random = new Random(seed);

    private static SpyVector vector() {
        SpyVector vector = new SpyVector();
        vector.create(null, TRANSACTION, 2, 3);
        for (String text : List.of("a", "b", "c")) {
            vector.addElement(text);
        }
        vector.addElement(1.5);
        return vector;
    }

    private static SpyMap map() {
        SpyMap map = new SpyMap();
        map.create(null, TRANSACTION, 2);
        for (String key : List.of("a", "b", "c", "d", "")) {
            map.put(key, key);
        }
        return map;
    }

    private static SpyMappedPair pair() {
        SpyMappedPair pair = new SpyMappedPair();
        pair.create(null, TRANSACTION);
        pair.put("a", "a", 1);
        pair.put("b", 2.5f, 2);
        return pair;
    }

    /** A block of the container: its header, the vector the header names, or what that one names. */
    private SpyMemory someBlockOf(SpyMemory container) {
        SpyMemory block = SpyValues.blockAt(SpyValues.handleOf(container));
        for (int depth = random.nextInt(container instanceof SpyVector ? 2 : 3); depth > 0; depth--) {
            block = SpyValues.blockAt(SpyValues.bytes(8).put(0, block.read(), 0, 8).getLong(0));
        }
        return block;
    }

    private void damage(SpyMemory container) {
        SpyMemory block = someBlockOf(container);
        ByteBuffer bytes = SpyValues.bytes(block.read().length).put(0, block.read());
        int used = Math.min(bytes.capacity(), 200);
        int word = random.nextInt(used / 4) * 4;
        int value = random.nextBoolean() ? random.nextInt() : random.nextInt(32);
        // Kind 18 has no form in Java, and to meet one ends the process.
        bytes.putInt(word, value == 18 ? 0 : value);
        block.write(bytes.array(), 0, bytes.capacity());
    }

    @Test
    void namesTheKeysThatThereAreWhateverTheCount() {
        for (int more : new int[] {1, 7}) {
            SpyMap map = map();
            SpyMemory header = SpyValues.blockAt(SpyValues.handleOf(map));
            ByteBuffer bytes = SpyValues.bytes(header.read().length).put(0, header.read());
            bytes.putInt(8, bytes.getInt(8) + more);
            header.write(bytes.array(), 0, bytes.capacity());
            assertEquals(Set.of("a", "b", "c", "d", ""), Set.of(map.keys()));
            assertEquals(5, map.elements().length);
            map.free();
        }
    }

    private static void attempt(Runnable call) {
        try {
            call.run();
        } catch (InvalidSpyMemReference | OutOfSpyMemException expected) {
            // One of the answers that there are.
        }
    }

    private static void use(SpyMemory object) {
        if (object instanceof SpyVector vector) {
            for (Runnable call : List.<Runnable>of(() -> vector.get(1), vector::lastElement,
                    () -> vector.indexOf("c", 0), () -> vector.addElement("d"),
                    () -> vector.insertElementAt("e", 1), () -> vector.setElementAt("f", 2),
                    () -> vector.remove(0), vector::size, vector::removeAllElements)) {
                attempt(call);
            }
        } else if (object instanceof SpyMap map) {
            for (Runnable call : List.<Runnable>of(map::keys, map::elements, () -> map.get("c"),
                    () -> map.put("b", "x"), () -> map.put("e", map), () -> map.remove("a"),
                    () -> map.containsKey("d"), map::size, map::removeAll)) {
                attempt(call);
            }
        } else if (object instanceof SpyMappedPair pair) {
            for (Runnable call : List.<Runnable>of(pair::keys, pair::elements, () -> pair.get("b"),
                    () -> pair.put("a", "x", 3), () -> pair.put("c", pair, 3), () -> pair.remove("a"), pair::size,
                    pair::removeAll)) {
                attempt(call);
            }
        }
        attempt(object::free);
    }

    @Test
    void damagedContainersAnswerOrRaise() {
        System.out.println("seed " + seed);
        for (int round = 0; round < 3000; round++) {
            for (SpyMemory container : List.of(vector(), map(), pair())) {
                attempt(() -> damage(container));
                try {
                    use(container);
                } catch (RuntimeException e) {
                    fail("seed " + seed + ", round " + round, e);
                }
            }
            new SpyMemory().free(TRANSACTION);
        }
    }
}
