package com.talvern.test.gx.demo;

import com.talvern.test.gx.sys.OperatingSystem;
import com.talvern.test.gx.sys.ProcessInformation;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.stream.Collectors;

/**
 * A program that {@link OperatingSystem#exec} has started, by way of a shell that waits for it and writes its exit
 * status to a file: the native layer reaps children as soon as they end, and who waits for one may come too late to be
 * told the status.
 */
final class Program {
    private static final int LIMIT_MS = 60_000;
    private static final String SCRIPT = "\"$@\"; status=$?; echo $status >\"$0\"; exit $status";

    private final String name;
    private final ProcessInformation process;
    /** The shell. */
    private final ProcessHandle handle;
    private final Path status;

    private Program(String name, ProcessInformation process, Path status) {
        this.name = name;
        this.process = process;
        handle = ProcessHandle.of(process.processId).orElse(null);
        this.status = status;
    }

    /** Starts a program in a directory; a file gets all that it prints. It ends with the demo at the latest. */
    static Program start(Path directory, Path output, String... command) throws Exception {
        return start(directory.toString(), output.toString(), false, command);
    }

    /** Starts a program that prints where the demo prints, and waits for its end. */
    static void run(String... command) throws Exception {
        start(null, null, true, command).awaitEnd();
    }

    private static Program start(String directory, String output, boolean keepFds, String... command) throws Exception {
        final Path status = Files.createTempFile(Path.of(System.getenv("HOME")), "program", ".status");
        final String shell = "sh -c " + quoted(SCRIPT) + ' ' + quoted(status.toString()) + ' '
            + Arrays.stream(command).map(Program::quoted).collect(Collectors.joining(" "));
        final ProcessInformation process = OperatingSystem.exec(shell, directory, output, output, keepFds);
        if (process.processId == -1) {
            throw new AssertionError(command[0] + ": " + process.errorMessage);
        }
        final Program program = new Program(Path.of(command[0]).getFileName().toString(), process, status);
        Runtime.getRuntime().addShutdownHook(new Thread(program::kill));
        return program;
    }

    /** One word for the shell, whatever is in it. */
    private static String quoted(String word) {
        return '\'' + word.replace("'", "'\\''") + '\'';
    }

    String name() {
        return name;
    }

    /**
     * Waits until the program has ended by itself and successfully. One that still runs after a minute is killed.
     *
     * @return the exit status, which is 0: there is an {@link AssertionError} otherwise
     */
    int awaitEnd() throws Exception {
        OperatingSystem.waitWithTimeout(process, 2 * LIMIT_MS); // the wait lasts half the limit
        if (OperatingSystem.isAlive(process)) {
            kill();
            OperatingSystem.wait(process);
            throw new AssertionError(name + " did not end within " + LIMIT_MS / 1000 + " s and was killed");
        }
        final String found = Files.readString(status).strip();
        if (!found.equals("0")) {
            throw new AssertionError(name + " has ended with status " + found);
        }
        return Integer.parseInt(found);
    }

    /** SIGKILL, for SIGTERM is blocked in what exec starts; the shell ends when the program has ended. */
    private void kill() {
        if (handle != null && handle.isAlive()) {
            handle.descendants().forEach(ProcessHandle::destroyForcibly);
        }
    }
}
