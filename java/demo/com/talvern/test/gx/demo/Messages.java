package com.talvern.test.gx.demo;

import com.talvern.test.gx.sys.Mailslot;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.TimeUnit;

/** A second JVM answers through a mailslot, until it is killed while this one waits for a reply. */
final class Messages {
    private static final int COUNT = 1000;
    private static final long LIMIT_MS = 60_000;
    private static final double GONE_WITHIN_MS = 1000;

    private final Transcript transcript;
    private final String name = "demo-" + ProcessHandle.current().pid();
    private Peer peer;
    private Mailslot slot;

    Messages(Transcript transcript) {
        this.transcript = transcript;
    }

    void play() {
        transcript.heading("Talk to a second JVM through a mailslot");
        transcript.step("a second JVM opens the mailslot " + name + ", this one finds it", () -> {
            peer = Peer.startJvm("the second JVM", Answerer.class, name);
            peer.confirm("open");
            slot = Expect.found("the mailslot", () -> Mailslot.find(name));
            return "";
        });
        if (slot != null) {
            exchange();
            killReceiver();
        }
    }

    private void exchange() {
        transcript.step("post " + COUNT + " messages, ask how many have come in their order", () -> {
            final long start = System.nanoTime();
            for (int i = 0; i < COUNT; ++i) {
                slot.post(i);
            }
            expect(COUNT, slot.call("count", LIMIT_MS));
            return String.format("all, within %.0f ms", millisecondsSince(start));
        });
        transcript.step("call " + COUNT + " times, compare the replies", () -> {
            final long start = System.nanoTime();
            for (int i = 0; i < COUNT; ++i) {
                expect("CALL " + i, slot.call("call " + i, LIMIT_MS));
            }
            return String.format("%.0f microseconds a call", millisecondsSince(start) * 1000 / COUNT);
        });
    }

    private void killReceiver() {
        transcript.step("kill the second JVM (SIGKILL) while a call waits: MailslotGoneException", () -> {
            final CompletableFuture<Object> reply = CompletableFuture.supplyAsync(() -> slot.call("sleep", LIMIT_MS));
            peer.confirm("sleep");
            final long start = System.nanoTime();
            peer.kill();
            final Throwable thrown = failureOf(reply);
            final double ms = millisecondsSince(start);
            peer.awaitKilled();
            if (!(thrown instanceof Mailslot.MailslotGoneException) || ms > GONE_WITHIN_MS) {
                throw new AssertionError(String.format("%s after %.0f ms", thrown, ms));
            }
            return String.format("%.0f ms after the kill, \"%s\"", ms, thrown.getMessage());
        });
        transcript.step("it is found no more, and nothing can be posted to it", () -> {
            expect(null, Mailslot.find(name));
            try {
                slot.post(COUNT);
            } catch (Mailslot.MailslotGoneException gone) {
                return gone.getMessage();
            }
            throw new AssertionError("a message was taken");
        });
    }

    private static Throwable failureOf(CompletableFuture<Object> reply) throws Exception {
        try {
            throw new AssertionError("a reply came: " + reply.get(LIMIT_MS, TimeUnit.MILLISECONDS));
        } catch (ExecutionException failure) {
            return failure.getCause();
        }
    }

    private static void expect(Object expected, Object found) {
        Expect.same("reply", String.valueOf(expected), String.valueOf(found));
    }

    private static double millisecondsSince(long start) {
        return (System.nanoTime() - start) / 1e6;
    }
}
