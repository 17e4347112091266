package com.talvern.test.gx.demo;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.PrintStream;
import java.nio.file.Path;
import java.util.concurrent.TimeUnit;

/** Another process that shares the map, as the demo sees it. {@link JavaPeer} says which orders it takes. */
final class Peer {
    private static final int STATUS_KILLED = 128 + 9;

    private final String name;
    private final Process process;
    private final PrintStream orders;
    private final BufferedReader answers;

    private Peer(String name, Process process) {
        this.name = name;
        this.process = process;
        orders = new PrintStream(process.getOutputStream(), true);
        answers = new BufferedReader(new InputStreamReader(process.getInputStream()));
    }

    /** Starts a program; its error messages go where the demo's go. It ends with the demo at the latest. */
    static Peer start(String name, String... command) throws IOException {
        final Process process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        Runtime.getRuntime().addShutdownHook(new Thread(process::destroyForcibly));
        return new Peer(name, process);
    }

    /** Starts a JVM like this one that runs {@link JavaPeer}. */
    static Peer startJvm(String name, String map) throws IOException {
        return start(name, Path.of(System.getProperty("java.home"), "bin", "java").toString(), "-Xmx64m",
            "-Djava.library.path=" + System.getProperty("java.library.path"), "-cp",
            System.getProperty("java.class.path"), JavaPeer.class.getName(), map);
    }

    int pid() {
        return (int) process.pid();
    }

    /** Gives an order that the answer has to confirm. */
    void order(String order) throws Exception {
        tell(order);
        confirm(order);
    }

    /** Waits until the answer confirms an order that was given. */
    void confirm(String order) throws Exception {
        final String answer = answer();
        if (!answer.equals("true")) {
            throw new AssertionError(name + " answers \"" + order + "\" with " + answer);
        }
    }

    /** Gives an order and waits for the answer. */
    String ask(String order) throws Exception {
        tell(order);
        return answer();
    }

    void tell(String order) {
        orders.println(order);
    }

    boolean hasAnswered() throws IOException {
        return answers.ready();
    }

    private String answer() throws Exception {
        Expect.soon("an answer of " + name, () -> hasAnswered() || !process.isAlive());
        final String answer = answers.readLine();
        if (answer == null) {
            throw new AssertionError(name + " has ended with status " + process.waitFor());
        }
        return answer;
    }

    /** Sends SIGKILL and does not wait. */
    void kill() {
        process.destroyForcibly();
    }

    void awaitKilled() throws Exception {
        awaitStatus(STATUS_KILLED);
    }

    /** Lets it end by itself, as it does when there are no more orders. */
    void end() throws Exception {
        orders.close();
        awaitStatus(0);
    }

    private void awaitStatus(int expected) throws Exception {
        if (!process.waitFor(1, TimeUnit.MINUTES)) {
            throw new AssertionError(name + " still runs");
        }
        if (process.exitValue() != expected) {
            throw new AssertionError(name + " has ended with status " + process.exitValue());
        }
    }
}
