package com.talvern.test.gx.engine;

import java.time.Duration;
import java.util.ArrayList;
import java.util.List;
import java.util.Objects;

/**
 * How {@link Application#start(LaunchOptions, ProcessBuilder)} starts a program. Each method answers options that differ
 * in one thing:
 *
 * <pre>{@code
 * LaunchOptions behindAScript = LaunchOptions.DEFAULTS.follow().within(Duration.ofMinutes(1));
 * try (Application editor = Application.start(behindAScript, new ProcessBuilder("sh", "-c", "nedit; true"))) {
 *     System.out.println(editor.menuBar().orElseThrow().texts());
 * }
 * }</pre>
 *
 * @param follows whether the programs that it starts get an agent, too. The first that answers is the application
 * @param domain test domain to load in the program; null for none
 * @param leavesRunning whether the program outlives {@link Application#close} and this JVM
 * @param limit the longest wait until an agent answers
 */
public record LaunchOptions(boolean follows, String domain, boolean leavesRunning, Duration limit) {
    /**
     * Half a minute for an agent in the very process that is started, no domain. The program ends with this JVM at the
     * latest, whatever way that ends.
     */
    public static final LaunchOptions DEFAULTS = new LaunchOptions(false, null, false, Duration.ofSeconds(30));

    /** Options as given. */
    public LaunchOptions {
        Objects.requireNonNull(limit, "a start has a limit, and this one is null");
    }

    /** @return the options for a program that a script or another program starts */
    public LaunchOptions follow() {
        return new LaunchOptions(true, domain, leavesRunning, limit);
    }

    /**
     * @param name of a test domain
     * @return the options with that domain in the program
     */
    public LaunchOptions domain(String name) {
        return new LaunchOptions(follows, name, leavesRunning, limit);
    }

    /** @return the options for a program that nobody ends but itself */
    public LaunchOptions leaveRunning() {
        return new LaunchOptions(follows, domain, true, limit);
    }

    /**
     * @param longest wait until an agent answers
     * @return the options with that limit
     */
    public LaunchOptions within(Duration longest) {
        return new LaunchOptions(follows, domain, leavesRunning, longest);
    }

    /** What stands in front of the program's own command. */
    List<String> launcher() {
        List<String> command = new ArrayList<>(Launcher.command());
        if (follows) {
            command.add("--follow");
        }
        if (domain != null) {
            command.addAll(List.of("--domain", domain));
        }
        if (!leavesRunning) {
            command.addAll(List.of("--end-with", Long.toString(ProcessHandle.current().pid())));
        }
        return command;
    }
}
