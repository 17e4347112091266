package com.talvern.test.gx.demo;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.PrintStream;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/**
 * Another process as the demo sees it: it takes orders from its input, one a line, and answers with lines. {@link
 * JavaPeer} says which. It is the child of a shell, which tells the process id in the first line and in the last one
 * how the process ended: who starts programs with {@code OperatingSystem.exec} cannot count on the exit status of a
 * {@link Process}.
 */
final class Peer {
    private static final int STATUS_KILLED = 128 + 9;
    private static final String ENDED = "ended with status ";
    /** The shell's own remark that its child was killed is left out. */
    private static final String SCRIPT = "exec 3>&2 2>/dev/null; "
        + "(exec sh -c 'echo $$; exec \"$@\"' sh \"$@\" 2>&3 3>&-); echo " + ENDED + "$?";

    private final String name;
    /** The shell. */
    private final Process process;
    private final int pid;
    private final PrintStream orders;
    private final BufferedReader answers;

    private Peer(String name, Process process) throws Exception {
        this.name = name;
        this.process = process;
        orders = new PrintStream(process.getOutputStream(), true);
        answers = new BufferedReader(new InputStreamReader(process.getInputStream()));
        pid = Integer.parseInt(answer());
    }

    /** Starts a program; its error messages go where the demo's go. It ends with the demo at the latest. */
    static Peer start(String name, String... command) throws Exception {
        final List<String> shell = new ArrayList<>(List.of("sh", "-c", SCRIPT, "sh"));
        shell.addAll(List.of(command));
        final Process process = new ProcessBuilder(shell).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        Runtime.getRuntime().addShutdownHook(new Thread(() -> kill(process)));
        return new Peer(name, process);
    }

    /** Starts a JVM like this one that runs a class with one argument. */
    static Peer startJvm(String name, Class<?> main, String argument) throws Exception {
        return start(name, Path.of(System.getProperty("java.home"), "bin", "java").toString(), "-Xmx64m",
            "-Djava.library.path=" + System.getProperty("java.library.path"), "-cp",
            System.getProperty("java.class.path"), main.getName(), argument);
    }

    int pid() {
        return pid;
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
        final String answer = line();
        if (answer.startsWith(ENDED)) {
            throw new AssertionError(name + " has " + answer);
        }
        return answer;
    }

    private String line() throws Exception {
        Expect.soon("a line of " + name, () -> hasAnswered() || !process.isAlive());
        final String line = answers.readLine();
        if (line == null) {
            throw new AssertionError("the shell of " + name + " has ended");
        }
        return line;
    }

    /** Sends SIGKILL and does not wait. */
    void kill() {
        kill(process);
    }

    private static void kill(Process shell) {
        shell.descendants().forEach(ProcessHandle::destroyForcibly);
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
        final String line = line();
        if (!line.equals(ENDED + expected)) {
            throw new AssertionError(name + " says \"" + line + "\", expected \"" + ENDED + expected + '"');
        }
    }
}
