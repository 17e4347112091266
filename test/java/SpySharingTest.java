import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.sys.ApplicationNotRespondingException;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyVector;
import java.util.BitSet;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;

/** Two JVMs at once on the same objects, and calls without end. */
class SpySharingTest {
    @Test
    void twoJvmsThatAddToOneVectorLoseNothing() throws Exception {
        int count = 10_000;
        SpyVector vector = new SpyVector();
        vector.create("numbers", 0, 1, 16);
        try (SpyPeer peer = SpyPeer.start("add", "numbers", String.valueOf(count))) {
            peer.await("ready");
            peer.tell("go");
            SpyPeer.add(vector, 0, count);
            peer.await("done");
        }
        BitSet found = new BitSet();
        while (!vector.isEmpty()) {
            found.set((Integer) vector.remove(vector.size() - 1));
        }
        assertEquals(2 * count, found.cardinality());
        assertEquals(vector.getClass(), vector.delete("numbers").getClass());
        assertNull(vector.locate("numbers"));
        vector.free();
    }

    @Test
    void changesInSeveralStepsAddUpUnderTheLock() throws Exception {
        SpyMap map = new SpyMap();
        map.create("counter", 0, 10);
        map.put("count", 0);
        try (SpyPeer peer = SpyPeer.start("count", "counter", "2000")) {
            peer.await("ready");
            peer.tell("go");
            SpyPeer.count(map, 2000);
            peer.await("done");
        }
        assertEquals(4000, map.get("count"));
        assertFalse(map.isLocked());
        map.delete("counter");
        map.free();
    }

    @Test
    void aLockThatAnotherProcessKeepsIsReportedAndGoesWithIt() throws Exception {
        SpyMemory block = new SpyMemory();
        block.allocate("held", 8, 0);
        try (SpyPeer peer = SpyPeer.start("hold", "held")) {
            peer.await("ready");
            peer.tell("go");
            peer.await("done");
            String message = assertThrows(ApplicationNotRespondingException.class, block::read).getMessage();
            assertTrue(message.startsWith("Application under test (AUT) is not responding. "), message);
            assertEquals(0, block.getStats().numberOfActiveHeaps);
        }
        block.lock();
        block.lock();
        block.unlock();
        assertTrue(block.isLocked());
        block.unlock();
        assertFalse(block.isLocked());
        block.delete("held");
        block.free();
    }

    @Test
    void aHundredThousandCallsLeaveNothingBehind() throws Exception {
        SpyMap map = new SpyMap();
        map.create("loop", 0, 10);
        // One arena of the C heap, and no compiler that allocates in it.
        try (SpyPeer peer = SpyPeer.start(List.of("-Xint"), Map.of("MALLOC_ARENA_MAX", "1"), "loop", "loop")) {
            peer.await("ready");
            int before = map.getStats().numberBytesAllocated;
            peer.tell("go");
            long grown = Long.parseLong(peer.await("grown "));
            assertTrue(grown < 1_000_000, grown + " bytes of the C heap");
            peer.await("done");
            assertEquals(before, map.getStats().numberBytesAllocated);
        }
        map.delete("loop");
        map.free();
    }
}
