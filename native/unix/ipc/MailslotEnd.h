/// What is left to do when a process with mailslots ends.
#pragma once

#include <atomic>
#include <csignal>
#include <sys/types.h>

/// The process recorded as the owner of its mailslots; 0 until it first waited for a message. In a child made
/// by fork it still names the parent.
extern std::atomic<pid_t> g_pid;

/// Has one handler called at exit and another at SIGTERM. When the library is unloaded, SIGTERM is left to
/// whoever had it before.
class CEndOfProcess {
public:
    using SignalHandler = void (*)(int, siginfo_t*, void*);
    CEndOfProcess(void (*atExit)(), SignalHandler atTermination);
    ~CEndOfProcess();
    CEndOfProcess(const CEndOfProcess&) = delete;
    CEndOfProcess& operator=(const CEndOfProcess&) = delete;

private:
    SignalHandler m_ours;
    struct sigaction m_previous {};
};
