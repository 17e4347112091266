package com.talvern.test.gx.engine;

import java.io.IOException;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.stream.Stream;

/**
 * Processor time that a process and those it has started have used, to the nanosecond where the kernel says so.
 *
 * @param processes those that there are
 */
record ProcessorTime(List<ProcessHandle> processes, long nanoseconds) {

    static ProcessorTime of(ProcessHandle eldest) {
        List<ProcessHandle> family = Stream.concat(Stream.of(eldest), eldest.descendants()).toList();
        return new ProcessorTime(family, family.stream().mapToLong(ProcessorTime::usedBy).sum());
    }

    Stream<ProcessHandle> family() {
        return processes.stream();
    }

    /** A thread that ends takes its time along, and wakes another in doing so. */
    private static long usedBy(ProcessHandle process) {
        try (Stream<Path> threads = Files.list(Path.of("/proc", Long.toString(process.pid()), "task"))) {
            return threads.mapToLong(ProcessorTime::usedByThread).sum();
        } catch (IOException | UncheckedIOException ended) {
            return 0;
        }
    }

    private static long usedByThread(Path thread) {
        try {
            return Long.parseLong(Files.readString(thread.resolve("schedstat")).split(" ")[0]);
        } catch (IOException noSuchFile) {
            return ticksOf(thread);
        }
    }

    /** In hundredths of a second, which every kernel counts. */
    private static long ticksOf(Path thread) {
        try {
            String[] behindTheName = Files.readString(thread.resolve("stat")).replaceFirst("(?s).*\\) ", "").split(" ");
            return (Long.parseLong(behindTheName[11]) + Long.parseLong(behindTheName[12])) * 10_000_000;
        } catch (IOException ended) {
            return 0;
        }
    }
}
