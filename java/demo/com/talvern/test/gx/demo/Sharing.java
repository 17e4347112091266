package com.talvern.test.gx.demo;

import com.talvern.test.gx.sys.SpyMap;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.Callable;

/**
 * This JVM, another one and a C++ program share a map. The other JVM is killed while it holds the lock around all spy
 * memory; the two that are left go on.
 */
final class Sharing {
    private static final long HELD_MS = 300;
    private static final double FREE_WITHIN_MS = 1000;

    private final Transcript transcript;
    private final String programPath;
    /** Other programs may share the display's spy memory: the name is this process's own. */
    private final String name = "demo-" + ProcessHandle.current().pid();
    private final SpyMap map = new SpyMap();
    /** What the map should hold. */
    private final Map<String, Integer> expected = new TreeMap<>();
    private Peer jvm;
    private Peer program;

    Sharing(Transcript transcript, String programPath) {
        this.transcript = transcript;
        this.programPath = programPath;
    }

    void play() {
        transcript.heading("Share a map among two JVMs and a C++ program");
        makeMap();
        startPeers();
        if (jvm != null && program != null) {
            compareViews();
            killHolder();
            goOn();
        }
        freeMap();
    }

    private void makeMap() {
        transcript.step("make the map " + name + " in spy memory and put an entry, this process's id", () -> {
            if (!map.create(name, 0, 100)) {
                throw new AssertionError("the map could not be made");
            }
            putOwn("demo");
            return JavaPeer.entriesOf(map);
        });
    }

    private void startPeers() {
        transcript.step("a second JVM finds the map by its name and puts an entry", () -> {
            final Peer started = Peer.startJvm("the second JVM", JavaPeer.class, name);
            final String entry = putByPeer(started, "second-jvm");
            jvm = started;
            return entry;
        });
        transcript.step("a C++ program finds the map by its name and puts an entry", () -> {
            final Peer started = Peer.start("the C++ program", programPath, name);
            final String entry = putByPeer(started, "c++");
            program = started;
            return entry;
        });
    }

    private void compareViews() {
        compareView("this JVM sees all three entries", () -> JavaPeer.entriesOf(map));
        compareView("the second JVM sees all three entries", () -> jvm.ask("entries"));
        compareView("the C++ program sees all three entries", () -> program.ask("entries"));
    }

    private void killHolder() {
        transcript.step("the second JVM takes the lock; an entry of the C++ program has to wait", () -> {
            jvm.order("lock");
            program.tell("put c++-after");
            if (Expect.within(HELD_MS, program::hasAnswered)) {
                throw new AssertionError("it did not wait");
            }
            return "no answer for " + HELD_MS + " ms";
        });
        transcript.step("kill the second JVM (SIGKILL) and take the lock", () -> {
            final long start = System.nanoTime();
            jvm.kill();
            map.lock();
            final double ms = (System.nanoTime() - start) / 1e6;
            map.unlock();
            jvm.awaitKilled();
            if (ms > FREE_WITHIN_MS) {
                throw new AssertionError(String.format("it was free after %.1f ms only", ms));
            }
            return String.format("free %.1f ms after the kill", ms);
        });
    }

    private void goOn() {
        transcript.step("the C++ program, which waited, has put its entry", () -> {
            program.confirm("put c++-after");
            return expectEntry("c++-after", program.pid());
        });
        transcript.step("this JVM puts another entry", () -> {
            putOwn("demo-after");
            return "demo-after=" + map.get("demo-after");
        });
        compareView("the C++ program sees all five entries, that of the killed JVM among them",
            () -> program.ask("entries"));
        transcript.step("end the C++ program", () -> {
            program.end();
            return "";
        });
    }

    private void freeMap() {
        transcript.step("free the map and its name", () -> {
            map.delete(name);
            map.free();
            if (map.locate(name) != null) {
                throw new AssertionError("the name is still known");
            }
            return "";
        });
    }

    private void putOwn(String key) {
        if (!JavaPeer.putProcess(map, key)) {
            throw new AssertionError("refused: " + key);
        }
        expected.put(key, (int) ProcessHandle.current().pid());
    }

    private String putByPeer(Peer peer, String key) throws Exception {
        peer.order("put " + key);
        return expectEntry(key, peer.pid());
    }

    private String expectEntry(String key, int value) {
        expected.put(key, value);
        final Object found = map.get(key);
        if (!Integer.valueOf(value).equals(found)) {
            throw new AssertionError(key + " is " + found + " instead of " + value);
        }
        return key + "=" + found;
    }

    private void compareView(String what, Callable<String> view) {
        transcript.step(what, () -> {
            final String all = expected.toString();
            final String found = view.call();
            if (!all.equals("{" + found + "}")) {
                throw new AssertionError("expected " + all + "\nfound    {" + found + "}");
            }
            return found;
        });
    }
}
