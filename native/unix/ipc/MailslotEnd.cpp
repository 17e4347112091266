#include "unix/ipc/MailslotEnd.h"

#include "common/jni/JniDataTypes.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyVariant.h"
#include "common/trace/CTracer.h"
#include "include/Pause.h"
#include "unix/ipc/Mailslot.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <vector>

std::atomic<pid_t> g_pid = 0;

CEndOfProcess::CEndOfProcess(void (*atExit)(), SignalHandler atTermination) : m_ours(atTermination)
{
    std::atexit(atExit);
    struct sigaction action {};
    action.sa_sigaction = m_ours;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGTERM, &action, &m_previous);
}

CEndOfProcess::~CEndOfProcess()
{
    struct sigaction current {};
    sigaction(SIGTERM, nullptr, &current);
    if (current.sa_sigaction == m_ours)
        sigaction(SIGTERM, &m_previous, nullptr);
}

namespace {
/// More mailslots than a display has semaphores for: a map that says so is damaged.
constexpr unsigned int MostSlots = 1024;
constexpr unsigned int SecondsForCleaning = 2;
constexpr int LockTries = 100;

std::vector<CSpyVariant> keysOf(const CSpyMap& slots)
{
    std::vector<CSpyVariant> keys(std::min(slots.size(), MostSlots));
    slots.getKeys(keys.data(), static_cast<unsigned>(keys.size()));
    return keys;
}

/// @param key  a string in spy memory, which stays the map's until it is removed
void freeIfOwn(CSpyMap& slots, const CSpyVariant& key)
{
    std::vector<unsigned short> units(key.getStringLen() / sizeof(unsigned short));
    if (units.empty())
        return;
    std::memcpy(units.data(), key.getString(), units.size() * sizeof(unsigned short));
    const CTalString name(units.data(), static_cast<unsigned short>(units.size()));
    const CSpyVariant found = slots.get(name);
    if (!found.isa(CSpyVariant::SpyMailslot))
        return;
    CMailslot slot(found.ref());
    if (!slot.isOwn())
        return;
    slot.freeAll();
    slots.remove(name);
}

void freeOwnSlots()
{
    const CSpyVariant found = CSpyMemory::locate(CAsciiName(CMailslot::Registry));
    if (!found.isa(CSpyVariant::SpyMap))
        return;
    CSpyMap slots(found.ref());
    std::vector<CSpyVariant> keys;
    try {
        keys = keysOf(slots);
    } catch (const CInvalidSpyMemRef&) {
        CTracer::debugTrace("CInvalidSpyMemRef thrown in exitHandler (getKeys)");
    }
    for (const CSpyVariant& key : keys)
        try {
            freeIfOwn(slots, key);
        } catch (const CInvalidSpyMemRef&) {
            CTracer::debugTrace("CInvalidSpyMemRef thrown in exitHandler (free)");
        }
}

void freeOwnSlotsLocked()
{
    const CSpyHeapLock lock(1);
    const CSpyCall call; // all of them, or none
    freeOwnSlots();
}

/// A process at its end waits for nobody who keeps the lock, but most hold it for microseconds.
void freeOwnSlotsSoon()
{
    for (int tries = LockTries; tries > 1; --tries)
        try {
            return freeOwnSlotsLocked();
        } catch (const CSpyHeapLockedException&) {
            pauseFor(std::chrono::milliseconds(1));
        }
    freeOwnSlotsLocked();
}

/// Ends the process should its cleaning not come to an end.
void limitCleaning()
{
    struct sigaction action {};
    action.sa_handler = [](int) { _exit(-1); };
    sigaction(SIGALRM, &action, nullptr);
    sigset_t alarmSignal;
    sigemptyset(&alarmSignal);
    sigaddset(&alarmSignal, SIGALRM);
    pthread_sigmask(SIG_UNBLOCK, &alarmSignal, nullptr);
    alarm(SecondsForCleaning);
}
} // namespace

void CMailslot::exitHandler() noexcept
{
    if (g_pid != getpid())
        return;
    try {
        freeOwnSlotsSoon();
    } catch (...) {
        CTracer::debugTrace("The unknown exception");
    }
}

void CMailslot::sig_term(int, siginfo_t*, void*)
{
    static std::atomic_flag isEnding;
    if (isEnding.test_and_set())
        return; // another thread is at it, and ends the process
    limitCleaning();
    CSpyMemory::abandonChange();
    exitHandler();
    _exit(-1);
}
