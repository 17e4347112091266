#include "unix/process/ChildWait.h"

#include "common/trace/CTracer.h"
#include "common/trace/ErrorString.h"

#include <cerrno>
#include <sched.h>
#include <sys/wait.h>

namespace {
/// errno of the last failure of sig_chld that is not traced yet; 0 for none.
constinit std::atomic<int> s_reapFailure = 0;
/// Handlers between the moment at which they may reap a child and the one at which its waits know.
constinit std::atomic<int> s_handlersAtWork = 0;
/// Between threads that reap a child and tell its waits. The handler cannot take it.
constinit std::mutex s_reaping;

/// The record of a wait: 0 while it belongs to none, else the process id in the high half; in the low half 0
/// while the child runs, else hasEnded and its status. One word, so that the handler changes it in one step.
using CRecord = std::atomic<uint64_t>;
constexpr uint64_t hasEnded = uint64_t{1} << 31;
static_assert(CRecord::is_always_lock_free && std::atomic<int>::is_always_lock_free, "a handler uses them");

/// Records are never freed: a handler on another thread may be on its way through them.
struct CRecordNode {
    CRecord record;
    CRecordNode* next;
};
constinit std::atomic<CRecordNode*> s_records = nullptr;

uint64_t running(pid_t pid)
{
    return static_cast<uint64_t>(pid) << 32;
}

/// In a handler, too.
void tellWaits(pid_t pid, int status) noexcept
{
    const uint64_t ended = running(pid) | hasEnded | static_cast<uint32_t>(status);
    for (CRecordNode* node = s_records; node; node = node->next) {
        uint64_t expected = running(pid);
        node->record.compare_exchange_strong(expected, ended);
    }
}

CRecord* takeRecord(pid_t pid)
{
    for (CRecordNode* node = s_records; node; node = node->next) {
        uint64_t free = 0;
        if (node->record.compare_exchange_strong(free, running(pid)))
            return &node->record;
    }
    auto* node = new CRecordNode{running(pid), s_records};
    while (!s_records.compare_exchange_weak(node->next, node)) {
    }
    return &node->record;
}

/// Nothing while the child of the record runs, as far as is known.
std::optional<CProcessEnd> endIn(uint64_t record)
{
    if (!(record & hasEnded))
        return std::nullopt;
    const int status = static_cast<int>(record & (hasEnded - 1));
    return WIFSIGNALED(status) ? CProcessEnd{CProcessEnd::killed, WTERMSIG(status)}
                               : CProcessEnd{CProcessEnd::exited, WEXITSTATUS(status)};
}

pid_t reapAndTell(pid_t pid) noexcept
{
    int status = 0;
    const pid_t reaped = waitpid(pid, &status, WNOHANG);
    if (reaped > 0)
        tellWaits(reaped, status);
    return reaped;
}
} // namespace

/// What stands in the way is a handler that has reaped a former process of the same id and has not told yet;
/// one that comes later can only reap this one.
CChildWait::CChildWait(pid_t pid) : m_pid(pid)
{
    if (pid <= 0)
        return;
    const std::lock_guard<std::mutex> lock(s_reaping);
    while (s_handlersAtWork != 0)
        sched_yield();
    m_record = takeRecord(pid);
}

CChildWait::~CChildWait()
{
    if (m_record)
        *m_record = 0;
}

std::optional<CProcessEnd> CChildWait::end()
{
    if (!m_record)
        return CProcessEnd{CProcessEnd::noChild};
    std::optional<CProcessEnd> known = endIn(*m_record);
    if (!known) {
        // A handler that was faster than waitpid may still be about to tell.
        const bool isUnknown = reapChild(m_pid) < 0 && errno == ECHILD && s_handlersAtWork == 0;
        known = endIn(*m_record);
        if (!known && isUnknown)
            known = CProcessEnd{CProcessEnd::noChild};
    }
    if (known)
        traceReapFailures();
    return known;
}

pid_t reapChild(pid_t pid)
{
    const std::lock_guard<std::mutex> lock(s_reaping);
    return reapAndTell(pid);
}

void sig_chld(int, siginfo_t*, void*) noexcept
{
    const int interrupted = errno;
    ++s_handlersAtWork;
    if (reapAndTell(-1) < 0)
        s_reapFailure = errno;
    --s_handlersAtWork;
    siginfo_t next = {};
    if (waitid(P_ALL, 0, &next, WEXITED | WNOHANG | WNOWAIT) == 0 && next.si_pid != 0)
        raise(SIGCHLD);
    errno = interrupted;
}

CChildSignals::~CChildSignals()
{
    struct sigaction current;
    if (sigaction(SIGCHLD, nullptr, &current) == 0 && current.sa_sigaction == sig_chld)
        sigaction(SIGCHLD, &m_before, nullptr);
}

void CChildSignals::takeOver()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    struct sigaction ours = {}, before;
    // Without SA_SIGINFO the handler's second and third argument mean nothing, and without SA_RESTART the
    // host's calls end early: engines count on being woken by the end of a child.
    ours.sa_sigaction = sig_chld;
    ours.sa_flags = SA_NOCLDSTOP;
    if (sigaction(SIGCHLD, &ours, &before) != 0)
        CTracer::debugTrace("exec: sigaction failed with errno %d, %s", errno, CErrorString(errno).text());
    else if (before.sa_sigaction != sig_chld)
        m_before = before;
}

CChildSignals& CChildSignals::ofLibrary()
{
    static CChildSignals s_signals;
    return s_signals;
}

void traceReapFailures() noexcept
{
    if (const int error = s_reapFailure.exchange(0))
        CTracer::debugTrace("sig_chld: waitpid failed with errno %d, %s", error, CErrorString(error).text());
}
