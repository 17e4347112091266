/// Questions about processes and the system, waiting for children and ending processes.
#pragma once

#include "unix/process/ChildWait.h"

#include <optional>
#include <string>
#include <sys/types.h>

/// Any thread. An id of 0 or below never stands for a process here: for the system it would mean a whole
/// group of processes, or every process of the user.
class COperatingSystem {
public:
    /// Waits for the end of a child, whoever reaps it (CChildWait). Asks without a pause, which keeps a processor busy as long as nobody
    /// else wants it: engines that wait this way measure how long a program takes.
    static CProcessEnd wait(pid_t pid);
    /// Waits for the end of a child, asking every 10 ms. The time left shrinks by twice the pause, as engines
    /// reckon with: the wait lasts half the limit.
    /// @param timeoutMs  the limit in milliseconds, -1 for 120 seconds. The environment variable
    ///                   TALVERN_EXEC_MAX_WAIT_TIME, when set, replaces it by that many seconds.
    static CProcessEnd waitWithTimeout(pid_t pid, int timeoutMs);
    /// Whether a signal could be sent to the process. A zombie lives; a process of another user does not.
    static bool isAlive(pid_t pid);
    /// Sends SIGTERM and waits until the process is gone, at most 5 seconds, counted by the wall clock in
    /// whole ones. A process that survives is left alone; its command line is traced.
    static void kill(pid_t pid);
    /// The parent of a process; -1 when there is no such process.
    static pid_t getppid(pid_t pid);
    /// Name, release and version of the system with a blank between them; nothing when the system does not
    /// say.
    static std::optional<std::string> getVersion();
    /// Whether this process may write to a file that exists; null is none.
    static bool isFileWriteable(const char* path);
    /// Traces the command line of a process: its arguments with a blank between them.
    static void printOutCommandLineForPid(pid_t pid);
};
