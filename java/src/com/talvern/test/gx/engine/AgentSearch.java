package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.NativeLibrary;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.Duration;
import java.util.List;
import java.util.stream.Stream;

/** Looks for the agent in a program that has just been started, and in those that it starts. */
final class AgentSearch {
    /** What an agent serves, as the files are called that a process has mapped. */
    private static final List<String> TOOLKITS = List.of("/libXt.so", "/libgdk-x11-2.0.so", "/libgdk-3.so");
    private static final String AGENT = "/libgxagent.so";
    private static final long POLL_MS = 10;
    private static final long HOPELESS_POLL_NS = Duration.ofMillis(100).toNanos();
    /** Between its first window and its last library a program may take its time. */
    private static final long HOPELESS_NS = Duration.ofSeconds(1).toNanos();

    private final String name;
    private final Process program;
    private final ProcessHandle started;
    private long nextLook;
    private long hopelessSince;

    /** An agent, and the process that it is in. */
    record Found(ProcessHandle process, Agent agent) {}

    static {
        NativeLibrary.load();
    }

    AgentSearch(String name, Process program) {
        this.name = name;
        this.program = program;
        this.started = program.toHandle();
        this.nextLook = System.nanoTime();
    }

    /**
     * Waits for an agent.
     *
     * @throws ApplicationException.Ended all of the program has ended
     * @throws ApplicationException.NoAgent there is none in time, or there cannot be one
     */
    Found await(Duration limit) {
        long end = System.nanoTime() + Application.nanosOf(limit);
        while (true) {
            List<ProcessHandle> family = family();
            for (ProcessHandle process : family) {
                Agent agent = Agent.find(process);
                if (agent != null) {
                    return new Found(process, agent);
                }
            }
            if (!started.isAlive() && family.size() <= 1) {
                throw ended();
            }
            giveUpHopeless(family);
            if (System.nanoTime() - end >= 0) {
                throw new ApplicationException.NoAgent(Complaint.of(asked(), "none has answered within " + limit.toMillis()
                    + " ms, as " + whyNone(family), "within(limit) of LaunchOptions gives it more time"));
            }
            Application.pause(POLL_MS);
        }
    }

    private String asked() {
        return "no agent in " + Application.whom(name, started.pid());
    }

    private ApplicationException.Ended ended() {
        return new ApplicationException.Ended(Complaint.of(asked(), Complaint.ending(program) + " before its agent answered",
            remedyForEnd()), null);
    }

    /** By the exit statuses of gxrun. */
    private String remedyForEnd() {
        return switch (program.isAlive() ? 0 : program.exitValue()) {
            case 127 -> "there may be no such program: give its path, or put its directory into PATH";
            case 126 -> "it may be no program that can be run";
            case 125 -> "gxrun has said why on standard error";
            default -> "its standard error may say why, as may a run by itself";
        };
    }

    /** Of a process that runs already, and whose agent has not answered. */
    static ApplicationException.NoAgent nobodyIn(ProcessHandle process, IOException refusal) {
        String program = process.info().command().orElse("");
        String asked = "no agent in " + Application.whom(program, process.pid());
        if (refusal instanceof AgentLine.ForeignException) {
            return new ApplicationException.NoAgent(Complaint.of(asked, refusal.getMessage(), "ask as that user, or as root"));
        }
        if (!mappedBy(process).contains(AGENT)) {
            return new ApplicationException.NoAgent(Complaint.of(asked, "it runs without an agent",
                "start it with: gx run " + (program.isEmpty() ? "PROGRAM" : program)));
        }
        return new ApplicationException.NoAgent(Complaint.of(asked, "none answers, as " + whyNone(List.of(process)),
            "ask again once it has shown its window"));
    }

    /** Why none of them answers yet. */
    private static String whyNone(List<ProcessHandle> family) {
        List<String> files = family.stream().map(AgentSearch::mappedBy).filter(each -> each.contains(AGENT)).toList();
        if (files.isEmpty()) {
            return "no agent was loaded into it: it is linked statically, or runs with other rights than its user's";
        }
        return files.stream().noneMatch(each -> TOOLKITS.stream().anyMatch(each::contains))
            ? "it has loaded none of Xt (Motif), GDK 2 and GDK 3 (GTK) yet"
            : "the agent in it has found no Java, which TALVERN_GX_JRE may name, or its GUI thread stands still";
    }

    private List<ProcessHandle> family() {
        return Stream.concat(Stream.of(started), started.descendants()).toList();
    }

    /** A program that shows a window and has no toolkit that an agent serves will not get one. */
    private void giveUpHopeless(List<ProcessHandle> family) {
        long now = System.nanoTime();
        if (now - nextLook < 0) {
            return;
        }
        nextLook = now + HOPELESS_POLL_NS;
        String reason = whyHopeless(family);
        if (reason == null) {
            hopelessSince = now;
        } else if (now - hopelessSince >= HOPELESS_NS) {
            throw new ApplicationException.NoAgent(Complaint.of(asked(), "there will be none, as " + reason, null));
        }
    }

    /** @return null while there is hope */
    private static String whyHopeless(List<ProcessHandle> family) {
        boolean toolkit = false;
        for (ProcessHandle process : family) {
            String files = mappedBy(process);
            if (TOOLKITS.stream().anyMatch(files::contains)) {
                if (files.contains(AGENT)) {
                    return null;
                }
                toolkit = true;
            }
        }
        if (!showsWindow(family.stream().mapToLong(ProcessHandle::pid).toArray())) {
            return null;
        }
        return toolkit ? "what shows the window was started by the program, which LaunchOptions.follow() would follow"
            : "it shows a window, and uses neither Xt (Motif) nor GDK 2 or 3 (GTK);"
                + " clicks, keys, pictures and waits work with it all the same (UserInput, Screen, Wait)";
    }

    /** The names of the files that a process has mapped, among other things; empty when it does not let us look. */
    private static String mappedBy(ProcessHandle process) {
        try {
            return Files.readString(Path.of("/proc", Long.toString(process.pid()), "maps"), StandardCharsets.ISO_8859_1);
        } catch (IOException gone) {
            return "";
        }
    }

    /**
     * Whether one of the processes has a window on the screen. On a connection of its own; any thread.
     *
     * @param processes their ids
     * @return false, too, where the X server does not say whose a window is
     */
    private static native boolean showsWindow(long[] processes);
}
