import static org.junit.jupiter.api.Assertions.assertDoesNotThrow;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.sys.ApplicationNotRespondingException;
import com.talvern.test.gx.sys.InvalidMailslotException;
import com.talvern.test.gx.sys.Mailslot;
import com.talvern.test.gx.sys.Mailslot.MailslotGoneException;
import com.talvern.test.gx.sys.MailslotMessage;
import com.talvern.test.gx.sys.RequestFailedException;
import com.talvern.test.gx.sys.SpyMap;
import com.talvern.test.gx.sys.SpyMemory;
import com.talvern.test.gx.sys.SpyVector;
import java.io.IOException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.Timeout;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** Mailslots between JVMs. Each test leaves as much spy memory and as many semaphores in use as it found. */
@Timeout(100)
class MailslotTest {
    private static final int MANY = 10_000;
    private String before;

    /** What a receiving JVM does: counts numbers that are posted in order, answers texts. */
    @SuppressWarnings("try") // closed by its handler
    static void serve(String name) throws InterruptedException {
        int[] next = new int[1];
        try (Mailslot slot = Mailslot.open(name)) {
            SpyPeer.say("open");
            slot.serve(message -> {
                if (message instanceof Integer number) {
                    next[0] = number == next[0] ? number + 1 : -MANY;
                    return number;
                }
                switch (String.valueOf(message)) {
                    case "count":
                        return next[0];
                    case "hang":
                        SpyPeer.say("hanging");
                        Thread.sleep(60_000);
                        return null;
                    case "exit":
                        System.exit(3);
                        return null;
                    case "close":
                        slot.close();
                        return "closed";
                    case "fail":
                        throw new IllegalStateException("cannot");
                    default:
                        return message;
                }
            });
        }
    }

    /** What a JVM does that is killed wherever it is: opens, fills, empties and closes a mailslot for ever. */
    static void openAndClose(String name) {
        SpyPeer.say("open");
        while (true) {
            try (Mailslot slot = Mailslot.open(name)) {
                Mailslot sender = Mailslot.find(name);
                sender.post("first");
                sender.post(2);
                assertThrows(ApplicationNotRespondingException.class, () -> sender.call("asked", 0));
                assertEquals("first", slot.receive().value());
                sender.post("left");
            }
        }
    }

    /** What an asking JVM does: two threads that check that each reply is theirs. */
    static void ask(String name, int times) throws Exception {
        Mailslot slot = Mailslot.find(name);
        List<CompletableFuture<Void>> threads = new ArrayList<>();
        for (String thread : List.of("a", "b")) {
            threads.add(CompletableFuture.runAsync(() -> {
                for (int i = 0; i < times; i++) {
                    String question = thread + ProcessHandle.current().pid() + "." + i;
                    assertEquals(question, slot.send(question));
                }
            }));
        }
        for (CompletableFuture<Void> each : threads) {
            each.get();
        }
    }

    private static SpyPeer started(String... task) throws IOException {
        SpyPeer peer = SpyPeer.start(task);
        peer.await("ready");
        peer.tell("go");
        return peer;
    }

    private static SpyPeer receiver(String name) throws IOException {
        SpyPeer peer = started("serve", name);
        peer.await("open");
        return peer;
    }

    /** Semaphores given away, and bytes in use of spy memory. */
    private static String inUse() {
        int semaphores = 0;
        if (new SpyMemory().locate("%SemaphoreList%") instanceof SpyMemory list) {
            byte[] table = list.read();
            for (int i = 8; i < 136; i++) {
                semaphores += table[i];
            }
        }
        var statistics = new SpyMemory().getStats();
        return semaphores + " semaphores, " + statistics.numberUsedBlocks + " blocks";
    }

    @BeforeEach
    void count() {
        Mailslot.open("first").close(); // makes the tables that stay
        before = inUse();
    }

    @AfterEach
    void leavesNothing() {
        assertEquals(before, inUse());
    }

    private static long millisOf(Callable<?> work, Class<? extends Exception> failure) {
        long start = System.nanoTime();
        assertThrows(failure, work::call);
        return TimeUnit.NANOSECONDS.toMillis(System.nanoTime() - start);
    }

    @Test
    void deliversEveryPostInOrderAndRequestsAfterThem() throws IOException {
        try (SpyPeer peer = receiver("order")) {
            Mailslot slot = Mailslot.find("order");
            for (int i = 0; i < MANY; i++) {
                slot.post(i);
            }
            assertEquals(MANY, slot.send("count"));
            assertEquals("closed", slot.send("close"));
            peer.await("done");
        }
    }

    @Test
    void takesAsManyMessagesAsComeOneAfterTheOther() {
        try (Mailslot slot = Mailslot.open("endless")) {
            slot.post(-1);
            for (int i = 0; i < 40_000; i++) { // more than a semaphore counts to; one always waits
                slot.post(i);
                assertEquals(i - 1, slot.receive().value());
            }
        }
    }

    static Object fieldOf(Mailslot slot, String name) {
        try {
            var field = Mailslot.class.getDeclaredField(name);
            field.setAccessible(true);
            return field.get(slot);
        } catch (ReflectiveOperationException e) {
            throw new AssertionError(e);
        }
    }

    @Test
    void goesOnAfterARequestThatIsGoneAndAnErrorOfTheHandler() {
        SpyVector gone = new SpyVector();
        gone.create(null, 0, 1, 1);
        try (Mailslot slot = Mailslot.open("robust")) {
            Mailslot sender = Mailslot.find("robust");
            sender.lock();
            ((SpyVector) fieldOf(sender, "sendMessageQueue")).addElement(gone);
            gone.free();
            sender.unlock();
            Thread server = new Thread(() -> slot.serve(message -> {
                if (message.equals("bad")) {
                    throw new AssertionError("bad one");
                }
                return message;
            }));
            server.start();
            assertThrows(RequestFailedException.class, () -> sender.call("bad", 5000));
            assertEquals("good", sender.call("good", 5000));
        }
    }

    @Test
    void answersSeveralProcessesAtOnceEachWithItsOwnReply() throws IOException {
        try (SpyPeer peer = receiver("many"); SpyPeer other = started("ask", "many", "1000")) {
            assertDoesNotThrow(() -> ask("many", 1000));
            other.await("done");
            Mailslot.find("many").send("close");
            peer.await("done");
        }
    }

    @Test
    void carriesWhatSpyMemoryStores() {
        SpyVector vector = new SpyVector();
        vector.create(null, 0, 1, 1);
        vector.addElement("inside");
        String large = "\u20ac0123456789".repeat(40_000);
        List<Object> values = Arrays.asList(null, "", "\0\ud83d\ude00", large, (byte) -1, (short) -2, 3,
                Long.MIN_VALUE, 1.5f, -0.0, true, 'x');
        try (Mailslot slot = Mailslot.open("values")) {
            Thread server = new Thread(() -> slot.serve(message -> message));
            server.start();
            for (Object value : values) {
                assertEquals(value == "" ? slot.send("") : value, slot.send(value));
            }
            assertEquals("inside", ((SpyVector) slot.send(vector)).get(0));
            assertThrows(IllegalArgumentException.class, () -> slot.post(new Object()));
            assertThrows(IllegalArgumentException.class, () -> slot.send(List.of()));
        }
        vector.free();
    }

    @Test
    void givesUpInTimeAndDropsALateReply() throws Exception {
        try (Mailslot slot = Mailslot.open("late")) {
            CountDownLatch late = new CountDownLatch(1);
            CompletableFuture<Boolean> lateReply = new CompletableFuture<>();
            new Thread(() -> {
                MailslotMessage first = slot.receive();
                try {
                    late.await();
                } catch (InterruptedException e) {
                    throw new IllegalStateException(e);
                }
                lateReply.complete(first.reply("late"));
                slot.serve(message -> message);
            }).start();
            Mailslot sender = Mailslot.find("late");
            long waited = millisOf(() -> sender.call("first", 300), ApplicationNotRespondingException.class);
            assertTrue(waited >= 300 && waited < 1300, waited + " ms");
            assertThrows(ApplicationNotRespondingException.class, () -> sender.call("never seen", 50));
            late.countDown();
            assertFalse(lateReply.get(5, TimeUnit.SECONDS));
            assertEquals("second", sender.call("second", 5000));
        }
    }

    @Test
    void tellsTheSenderThatARequestFailed() throws IOException {
        try (SpyPeer peer = receiver("fail")) {
            Mailslot slot = Mailslot.find("fail");
            var failure = assertThrows(RequestFailedException.class, () -> slot.send("fail"));
            assertTrue(failure.getMessage().contains("cannot"));
            slot.post("fail");
            assertEquals("still there", slot.send("still there"));
            slot.post("close");
            peer.await("done");
        }
    }

    @Test
    void reportsAKilledReceiverWithinASecond() throws Exception {
        Mailslot slot;
        CompletableFuture<Long> during;
        try (SpyPeer peer = receiver("killed")) {
            slot = Mailslot.find("killed");
            Mailslot asking = slot;
            during = CompletableFuture.supplyAsync(() -> {
                assertThrows(MailslotGoneException.class, () -> asking.send("hang"));
                return System.nanoTime();
            });
            peer.await("hanging");
        }
        long killed = System.nanoTime();
        assertTrue(during.get() - killed < 1_000_000_000L, "sent before the kill");
        var failure = assertThrows(MailslotGoneException.class, () -> slot.post("after"));
        assertEquals("Mailslot [killed] disappeared during send", failure.getMessage());
        assertThrows(MailslotGoneException.class, () -> slot.send("after"));
        assertNull(Mailslot.find("killed"));
        Mailslot.open("killed").close();
    }

    @Test
    void givesBackWhatAReceiverHadThatIsKilledAndNeverSentTo() throws Exception {
        for (int round = 0; round < 3; round++) {
            receiver("restarted").close();
        }
        assertNull(Mailslot.find("restarted"));
    }

    @Test
    void losesNothingWhereverItIsKilled() throws Exception {
        for (int round = 0; round < 4; round++) {
            try (SpyPeer peer = started("open", "anywhere")) {
                peer.await("open");
                Thread.sleep((long) (Math.random() * 300)); // the moment of its death
            }
            assertNull(Mailslot.find("anywhere"));
            assertEquals(before, inUse(), "round " + round);
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"exit", "SIGTERM"})
    void vanishesWithTheEndOfItsProcess(String way) throws Exception {
        try (SpyPeer peer = receiver("ends")) {
            assertThrows(IllegalStateException.class, () -> Mailslot.open("ends"));
            Mailslot slot = Mailslot.find("ends");
            if (way.equals("exit")) {
                assertThrows(MailslotGoneException.class, () -> slot.send("exit"));
            } else {
                peer.process().destroy();
            }
            assertEquals(way.equals("exit") ? 3 : 255, peer.process().waitFor());
            SpyMap registry = (SpyMap) new SpyMemory().locate("MailSlots");
            assertFalse(registry.containsKey("ends"));
            assertThrows(MailslotGoneException.class, () -> slot.post(1));
        }
    }

    /** The system counts signals up to 32767: looking whether the receiver lives must not use them up. */
    @Test
    void isSignalledOnceByASenderThatWaits() throws Exception {
        try (Mailslot slot = Mailslot.open("busy")) {
            long before = signalsOf(slot);
            assertThrows(ApplicationNotRespondingException.class, () -> Mailslot.find("busy").call("question", 1100));
            assertEquals(before + 1, signalsOf(slot));
        }
    }

    /** The values of all semaphores that are in the set of a mailslot. */
    private static long signalsOf(Mailslot slot) throws IOException {
        Process ipcs = new ProcessBuilder("ipcs", "-s", "-i", String.valueOf(fieldOf(slot, "eventHandle"))).start();
        return ipcs.inputReader().lines().filter(line -> line.matches("[0-9]+ .*"))
            .mapToLong(line -> Long.parseLong(line.split(" +")[1])).sum();
    }

    @Test
    void leavesNothingOfAMailslotThatGetsNoSemaphores() {
        List<Mailslot> slots = new ArrayList<>();
        assertThrows(IllegalStateException.class, () -> {
            while (true) {
                slots.add(Mailslot.open("one of " + slots.size()));
            }
        });
        assertEquals(15, slots.size());
        slots.forEach(Mailslot::close);
    }

    /** By ipcrm, or at the end of a session: while each operation that waits does, and between all of them. */
    @Test
    void isGoneForAllWhenItsSemaphoresAreRemoved() throws Exception {
        Mailslot slot = Mailslot.open("robbed");
        Mailslot sender = Mailslot.find("robbed");
        var asking = CompletableFuture.supplyAsync(
                () -> millisOf(() -> sender.call("question", 60_000), MailslotGoneException.class));
        MailslotMessage question = slot.receive();
        var receiving = CompletableFuture.supplyAsync(slot::receive);
        var waiting = CompletableFuture.supplyAsync(() -> sender.sendIPC(true));
        String set = String.valueOf(fieldOf(slot, "eventHandle"));
        assertEquals(0, new ProcessBuilder("ipcrm", "-s", set).inheritIO().start().waitFor());
        assertNull(receiving.get(5, TimeUnit.SECONDS));
        assertFalse(waiting.handle((replied, failure) -> failure == null && replied).get(5, TimeUnit.SECONDS));
        assertTrue(asking.get(5, TimeUnit.SECONDS) < 5000);
        assertFalse(question.reply("late"));
        assertThrows(MailslotGoneException.class, () -> sender.post(1));
        assertNull(Mailslot.find("robbed"));
        slot.close();
        Mailslot.open("robbed").close();
    }

    @Test
    void isClosedForItsReceiverAndItsSenders() throws Exception {
        Mailslot slot = Mailslot.open("closed");
        Mailslot sender = Mailslot.find("closed");
        CompletableFuture<MailslotMessage> receiving = CompletableFuture.supplyAsync(slot::receive);
        sender.close();
        assertThrows(InvalidMailslotException.class, () -> sender.post(1));
        assertThrows(IllegalStateException.class, () -> Mailslot.find("closed").receive());
        Mailslot waiting = Mailslot.find("closed");
        slot.close();
        slot.close();
        assertNull(receiving.get(5, TimeUnit.SECONDS));
        assertThrows(MailslotGoneException.class, () -> waiting.send(1));
        assertThrows(InvalidMailslotException.class, () -> slot.post(1));
        assertNull(Mailslot.find("closed"));
    }

    /** The calls that the others are made of. */
    @Test
    void wakesASenderOfTheLowerLevelByReplyAndByDetach() throws Exception {
        for (String way : List.of("reply", "detach")) {
            Mailslot slot = new Mailslot();
            assertFalse(slot.pingMailslot());
            assertThrows(InvalidMailslotException.class, () -> slot.sendIPC(false));
            assertFalse(slot.waitForIncomingMessage() || slot.replyTo() || slot.create(null));
            assertTrue(slot.create(way) && slot.pingMailslot());
            CompletableFuture<Boolean> sending = CompletableFuture.supplyAsync(() -> slot.sendIPC(true));
            assertTrue(slot.waitForIncomingMessage());
            if (way.equals("reply")) {
                assertTrue(slot.replyTo());
            } else {
                slot.detach();
                assertFalse(slot.pingMailslot());
            }
            assertTrue(sending.get(5, TimeUnit.SECONDS));
            slot.detach();
            slot.free();
        }
    }
}
