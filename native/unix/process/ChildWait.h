/// The ends of children: the handler of SIGCHLD, which may reap any child first, and the waits, which get the
/// status all the same.
#pragma once

#include <atomic>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <optional>
#include <sys/types.h>

/// How a wait for a child ended.
struct CProcessEnd {
    enum Kind {
        noChild, ///< there is no such child, or it was reaped before the wait began
        exited,  ///< `code` is its exit status
        killed,  ///< `code` is the number of the signal that ended it
        expired, ///< it still ran when the time was over
    };
    Kind kind;
    int code = 0;
};

/// A wait for a child that is under way. Whatever part of this library reaps the child meanwhile (sig_chld,
/// another wait, reapChild) leaves its status here; any number of waits for one child get it. How a child
/// ended that somebody else has reaped (a host that calls waitpid itself) is not known. One thread; other
/// threads may wait beside it.
class CChildWait {
public:
    explicit CChildWait(pid_t pid);
    ~CChildWait();
    CChildWait(const CChildWait&) = delete;

    /// How the child ended; nothing while it runs. Does not block.
    std::optional<CProcessEnd> end();

private:
    const pid_t m_pid;
    std::atomic<uint64_t>* m_record = nullptr; ///< null: the id stands for no process
};

/// Reaps one child if it has ended, and leaves its status to the waits that are under way for it. Any thread;
/// does not block. Not for handlers of signals.
/// @return as waitpid with WNOHANG, errno included
pid_t reapChild(pid_t pid);

/// The handler of SIGCHLD: reaps one exited child of any kind, without blocking. While more of them wait to
/// be reaped it raises the signal anew, since several that end at once make one signal only: so no child
/// stays a zombie, waited for or not. The exit of a child that somebody else has reaped is a failure, which
/// traceReapFailures() reports.
void sig_chld(int signal, siginfo_t* information, void* context) noexcept;

/// Makes SIGCHLD this library's own. Its destructor gives the signal back to the handler that stood there
/// before, unless somebody has replaced sig_chld meanwhile. Any thread.
class CChildSignals {
public:
    CChildSignals() = default;
    ~CChildSignals();
    CChildSignals(const CChildSignals&) = delete;

    /// May be repeated: a host that has taken the signal back loses it again, and its latest handler counts.
    void takeOver();
    /// The one that ends when the library is unloaded or the process exits.
    static CChildSignals& ofLibrary();

private:
    std::mutex m_mutex;
    struct sigaction m_before = {};
};

/// Traces the last failure of sig_chld since the last call: a signal handler cannot, as it may have
/// interrupted the trace itself. Called by every start and at the end of every wait.
void traceReapFailures() noexcept;
