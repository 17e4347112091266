/// The crash handler.
#pragma once

#include <csignal>

/// Holds the action of a handler that traces a crash, then lets the process end by its signal with a core
/// file. It is installed for no signal: the JVM and the application under test have handlers of their own. A
/// host that wants it passes action() to sigaction.
class DebugClass {
public:
    DebugClass() noexcept;
    const struct sigaction& action() const noexcept { return m_action; }

    /// Not async-signal-safe: it formats and takes the trace's lock. Meant for a process that is lost anyway.
    static void signalHandler(int signal) noexcept;

private:
    struct sigaction m_action = {};
};
