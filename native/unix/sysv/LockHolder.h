/// Who holds a lock between processes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

/// As it was when it was asked for. Names are those that the system shows, 15 bytes at most; Java gives its
/// threads theirs.
struct CLockHolder {
    pid_t m_process = 0;       ///< 0: it lives where its number cannot be seen from here (another container)
    std::string m_processName; ///< empty when it is not known
    pid_t m_thread = 0;        ///< as the system numbers threads; 0 when it is not known
    std::string m_threadName;  ///< empty when it is not known or the thread has ended
    /// For how long it has held the lock, in milliseconds, a few more or less; none when it is not known.
    std::optional<int64_t> m_forMs;
    /// Whether the process lives; one that cannot be seen counts as alive. The system gives back what a dead
    /// process held, so that this says of a lock that is taken and not held: it will stay taken.
    bool m_isAlive = true;
};
