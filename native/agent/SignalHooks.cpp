#include "agent/GuestHooks.h"

#include "agent/RealFunction.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <link.h>
#include <pthread.h>
#include <sched.h>

namespace {
constexpr int faults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

constinit CRealFunction<int(int, const struct sigaction*, struct sigaction*)> s_sigaction{"sigaction"};
constinit CRealFunction<sighandler_t(int, sighandler_t)> s_signal{"signal"};
constinit CRealFunction<int(int, siginfo_t*, void*, int)> s_jvmHandles{"JVM_handle_linux_signal",
                                                                       "libjvm.so"};

/// Before main: between fork and exec, or in a handler of signals, nothing may be looked up.
[[gnu::constructor]] void lookUpReal()
{
    s_sigaction.find();
    s_signal.find();
}

thread_local bool t_isHere = false;
std::atomic_flag s_lock;
struct sigaction s_program[NSIG];  ///< what the program has set for the faults that we took over
std::atomic<bool> s_isTaken[NSIG]; ///< faults that we took over

bool isFault(int signal)
{
    return std::find(std::begin(faults), std::end(faults), signal) != std::end(faults);
}

/// Guards s_program. Signals are held off, since a program's handler may set signals.
class CSignalLock {
public:
    CSignalLock()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_mask);
        while (s_lock.test_and_set(std::memory_order_acquire))
            sched_yield();
    }
    ~CSignalLock()
    {
        s_lock.clear(std::memory_order_release);
        pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
    }
    CSignalLock(const CSignalLock&) = delete;

private:
    sigset_t m_mask;
};

/// The program's action, which is used up when it asked for that.
struct sigaction programActionFor(int signal)
{
    const CSignalLock lock;
    const struct sigaction action = s_program[signal];
    if (action.sa_flags & static_cast<int>(SA_RESETHAND))
        s_program[signal].sa_handler = SIG_DFL;
    return action;
}

/// What would have happened without a JVM. A fault happens again when its handler returns.
void handOn(int signal, siginfo_t* info, void* context)
{
    const struct sigaction action = programActionFor(signal);
    const bool wasSent = info->si_code <= 0;
    if (action.sa_flags & SA_SIGINFO)
        action.sa_sigaction(signal, info, context);
    else if (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN)
        action.sa_handler(signal);
    else if (action.sa_handler == SIG_DFL || !wasSent) {
        s_sigaction(signal, &action, nullptr);
        if (wasSent)
            raise(signal); // arrives when this handler has returned
    }
}

void onFault(int signal, siginfo_t* info, void* context)
{
    const int before = errno;
    const bool wasJava = s_jvmHandles.find() && s_jvmHandles(signal, info, context, 0) != 0;
    errno = before;
    if (!wasJava)
        handOn(signal, info, context);
}

/// Our handler, entered with the mask and on the stack that the program asked for.
void install(int signal, const struct sigaction& program)
{
    const bool hasHandler =
        (program.sa_flags & SA_SIGINFO) || (program.sa_handler != SIG_DFL && program.sa_handler != SIG_IGN);
    struct sigaction ours = program;
    ours.sa_sigaction = onFault;
    ours.sa_flags =
        SA_SIGINFO | (hasHandler ? program.sa_flags & ~static_cast<int>(SA_RESETHAND) : SA_RESTART);
    s_sigaction(signal, &ours, nullptr);
}

/// The JVM asks for a signal. It is told that there was no handler: it shall not chain to one itself.
int actForJvm(int signal, const struct sigaction* action, struct sigaction* old)
{
    if (!isFault(signal) && signal != CGuest::spareSignal())
        return s_sigaction(signal, nullptr, old);
    if (!isFault(signal))
        return s_sigaction(signal, action, old);
    if (old)
        *old = {};
    if (action && !s_isTaken[signal].load()) {
        const CSignalLock lock;
        s_sigaction(signal, nullptr, &s_program[signal]);
        install(signal, s_program[signal]);
        s_isTaken[signal].store(true);
    }
    return 0;
}

int actForProgram(int signal, const struct sigaction* action, struct sigaction* old)
{
    const struct sigaction wanted = action ? *action : (struct sigaction){};
    const CSignalLock lock;
    const struct sigaction before = s_program[signal];
    if (action) {
        s_program[signal] = wanted;
        install(signal, wanted);
    }
    if (old)
        *old = before;
    return 0;
}

/// Where the code of libgxsys.so lies. Two numbers, for sigaction may be called where nothing can be looked
/// up.
std::atomic<uintptr_t> s_refusedFrom{UINTPTR_MAX};
std::atomic<uintptr_t> s_refusedTo{0};

bool isRefused(const void* caller)
{
    const auto address = reinterpret_cast<uintptr_t>(caller);
    return address >= s_refusedFrom && address < s_refusedTo;
}

/// Notes the library whose segments hold the address.
int noteIfHolds(dl_phdr_info* library, size_t, void* wanted)
{
    uintptr_t from = UINTPTR_MAX;
    uintptr_t to = 0;
    for (int index = 0; index < library->dlpi_phnum; ++index) {
        const auto& part = library->dlpi_phdr[index];
        if (part.p_type != PT_LOAD)
            continue;
        from = std::min<uintptr_t>(from, library->dlpi_addr + part.p_vaddr);
        to = std::max<uintptr_t>(to, library->dlpi_addr + part.p_vaddr + part.p_memsz);
    }
    const auto address = reinterpret_cast<uintptr_t>(wanted);
    if (address < from || address >= to)
        return 0;
    s_refusedTo = to;
    s_refusedFrom = from;
    return 1;
}

bool isTaken(int signal)
{
    return signal > 0 && signal < NSIG && s_isTaken[signal].load(std::memory_order_acquire);
}
} // namespace

extern "C" GX_HOOK int sigaction(int signal, const struct sigaction* action, struct sigaction* old) noexcept
{
    if (t_isHere)
        return actForJvm(signal, action, old);
    if (action && isRefused(__builtin_return_address(0)))
        action = nullptr;
    return isTaken(signal) ? actForProgram(signal, action, old) : s_sigaction(signal, action, old);
}

extern "C" GX_HOOK sighandler_t signal(int signal, sighandler_t handler) noexcept
{
    if (!isTaken(signal))
        return s_signal(signal, handler);
    struct sigaction action {
    }, old;
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaddset(&action.sa_mask, signal);
    actForProgram(signal, &action, &old);
    return old.sa_handler;
}

CGuest::CGuest() : m_locale(uselocale(nullptr))
{
    t_isHere = true;
}

CGuest::~CGuest()
{
    t_isHere = false;
    uselocale(m_locale);
}

CSignalsHeldOff::CSignalsHeldOff()
{
    sigset_t all;
    sigfillset(&all);
    for (const int fault : faults)
        sigdelset(&all, fault);
    pthread_sigmask(SIG_SETMASK, &all, &m_mask);
}

CSignalsHeldOff::~CSignalsHeldOff()
{
    for (const int fault : faults)
        sigdelset(&m_mask, fault);
    pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
}

bool CGuest::isHere()
{
    return t_isHere;
}

void CGuest::refuseSignalsTo(const void* address)
{
    if (s_refusedTo == 0)
        dl_iterate_phdr(noteIfHolds, const_cast<void*>(address));
}

int CGuest::spareSignal()
{
    static const int s_spare = [] {
        int signal = SIGRTMAX - 1;
        struct sigaction now;
        while (signal > SIGRTMIN && (s_sigaction(signal, nullptr, &now) != 0 || now.sa_handler != SIG_DFL))
            --signal;
        return signal;
    }();
    return s_spare;
}
