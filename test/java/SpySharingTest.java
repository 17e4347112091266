import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.talvern.test.gx.sys.ApplicationNotRespondingException;
import com.talvern.test.gx.sys.Mailslot;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyVector;
import java.io.IOException;
import java.util.ArrayList;
import java.util.BitSet;
import java.util.List;
import java.util.Map;
import java.util.concurrent.CompletableFuture;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

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
        Mailslot slot = Mailslot.open("kept");
        SpyVector request = new SpyVector();
        request.create(null, 0, 1, 1);
        request.addElement("asked");
        ((SpyVector) MailslotTest.fieldOf(slot, "sendMessageQueue")).addElement(request);
        slot.post("first");
        assertEquals("first", slot.receive().value()); // and has taken the request, too
        Mailslot closing = Mailslot.open("closing");
        try (SpyPeer peer = SpyPeer.start("hold", "held")) {
            peer.await("ready");
            peer.tell("go");
            peer.await("done");
            List<CompletableFuture<Void>> refused = Stream.<Executable>of(slot::receive, closing::close)
                    .map(call -> CompletableFuture.runAsync(
                            () -> assertThrows(ApplicationNotRespondingException.class, call), each -> new Thread(each).start()))
                    .toList();
            String message = assertThrows(ApplicationNotRespondingException.class, block::read).getMessage();
            assertTrue(message.startsWith("Application under test (AUT) is not responding. "), message);
            assertEquals(0, block.getStats().numberOfActiveHeaps);
            for (CompletableFuture<Void> each : refused) {
                each.get();
            }
        }
        closing.close();
        Mailslot.open("closing").close();
        slot.post("after");
        assertEquals("asked", slot.receive().value(), "lost when the lock was not to be had");
        slot.close();
        request.free();
        block.lock();
        block.lock();
        block.unlock();
        assertTrue(block.isLocked());
        block.unlock();
        assertFalse(block.isLocked());
        block.delete("held");
        block.free();
    }

    /** As between containers: who comes later sees no process that was there before, neither a holder nor a receiver. */
    @Test
    void aProcessThatCannotBeSeenKeepsTheLockAndItsMailslot() throws Exception {
        List<String> container = Stream.of(List.of("unshare", "--pid", "--fork", "--kill-child"),
                List.of("unshare", "--user", "--pid", "--fork", "--kill-child")).filter(SpySharingTest::works)
                .findFirst().orElse(null);
        assumeTrue(container != null, "process id namespaces are not allowed here");
        var store = Map.of("DISPLAY", ":container"); // of its own: it remembers that there were such processes
        try (SpyPeer first = SpyPeer.start(List.of(), store, "keep", "slot")) {
            first.await("ready");
            try (SpyPeer later = SpyPeer.startBy(container, List.of(), store, "look", "slot")) {
                assertEquals("0", later.await("held by "));
                first.tell("go");
                first.await("open");
                later.tell("on");
                later.await("ready");
                later.tell("go");
                for (SpyPeer each : List.of(first, later)) {
                    each.await("done");
                    each.tell("end");
                    assertEquals(0, each.process().waitFor());
                }
            }
        }
    }

    private static boolean works(List<String> starter) {
        try {
            List<String> command = new ArrayList<>(starter);
            command.add("true");
            return new ProcessBuilder(command).start().waitFor() == 0;
        } catch (IOException | InterruptedException e) {
            return false;
        }
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
