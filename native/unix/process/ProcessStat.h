/// What the system tells of processes and threads.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>

/// The numbers of /proc/PID/stat that tell processes apart. Any thread.
struct CProcessStat {
    std::string m_name; ///< of the program or the thread, 15 bytes at most
    char m_state = 0;   ///< 'Z': ended, and not yet waited for
    long m_threads = 0;
    uint64_t m_start = 0; ///< ticks since the system was started: with it a number that is used again shows

    /// @return none when there is no such process, or /proc is not there
    static std::optional<CProcessStat> of(pid_t process);
    static std::optional<CProcessStat> ofThread(pid_t process, pid_t thread);
    /// Another file of /proc/PID; empty when there is none. The process may go while it is read.
    static std::string file(pid_t process, const char* name);

    /// Whether all of its threads have ended. Its first one alone may do so.
    bool isZombie() const { return m_state == 'Z' && m_threads <= 1; }
};
