#include "include/SpyHeapMutex.h"

#include "common/spy/SpyJournal.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "include/NeverDestroyed.h"
#include "include/SpyHeap.h"
#include "include/Within.h"
#include "unix/sysv/SharedMemory.h"
#include "unix/sysv/SpyMutex.h"

#include <chrono>
#include <memory>
#include <poll.h>
#include <vector>

namespace {
constexpr int DefaultTimeoutMs = 10000;

/// Mutexes that were removed: other threads, which may outlive main, may still look at them. Under the guard.
CNeverDestroyed<std::vector<const CSpyMutex*>> s_goneMutexes;

bool takenAtOnce(CSpyMutex& mutex)
try {
    return mutex.acquire(0);
} catch (const CMutexTimeoutException&) {
    return false;
}

/// The store is made anew since its lock was removed, for a scope.
std::atomic<bool> s_isBeginningAnew = false;
struct CBeginningAnew {
    CBeginningAnew() { s_isBeginningAnew = true; }
    ~CBeginningAnew() { s_isBeginningAnew = false; }
    CBeginningAnew(const CBeginningAnew&) = delete;
    CBeginningAnew& operator=(const CBeginningAnew&) = delete;
};
} // namespace

constinit std::atomic<CSpyMutex*> CSpyHeapMutex::s_mutex = nullptr;

void CSpyHeapMutex::make()
{
    [[maybe_unused]] static const int isWatching = pthread_atfork(nullptr, nullptr, holdNothing);
    s_mutex.store(CSpyMutex::create(CSpyHeap::HeapObjectName), std::memory_order_release);
}

void CSpyHeapMutex::drop(void (*giveUp)())
{
    const std::unique_ptr<CSpyMutex> mutex(s_mutex.exchange(nullptr));
    const bool held = mutex && takenAtOnce(*mutex);
    giveUp();
    if (held)
        mutex->release();
    if (mutex)
        mutex->free();
    holdNothing();
}

CSpyMutex& CSpyHeapMutex::mutex()
{
    CSpyMutex* mutex = s_mutex.load(std::memory_order_acquire);
    GX_ASSERT(mutex, "m_pMutex != 0");
    return *mutex;
}

void CSpyHeapMutex::lockFirst(int timeoutMs)
{
    CSpyMutex& known = mutex();
    const int limit = timeoutMs == 0 ? DefaultTimeoutMs : timeoutMs;
    if (take(known, limit))
        return;
    CSpyMutex* const anew = renewed(known);
    if (anew && take(*anew, limit))
        return;
    refuseAtEnd(limit); // which may be why it is gone
    throw CSpyHeapLockedException();
}

bool CSpyHeapMutex::take(CSpyMutex& mutex, int timeoutMs)
try {
    refuseAtEnd(timeoutMs);
    mutex.acquire(timeoutMs);
    s_holder = pthread_self();
    if (s_isBeginningAnew || s_mutex != &mutex) [[unlikely]] {
        s_holder = 0;
        mutex.release();
        return false;
    }
    s_depth = 1;
    backOutAtEnd(mutex, timeoutMs);
    CSpyJournal::begin();
    backOutAtEnd(mutex, timeoutMs); // what a dead process has begun may not have been finished
    CSpyHeap::lookAgain();
    return true;
} catch (const CMutexTimeoutException&) {
    return false;
}

CSpyMutex* CSpyHeapMutex::renewAlone()
{
    std::unique_ptr<CSpyMutex> made(CSpyMutex::create(CSpyHeap::HeapObjectName));
    if (made->isGone())
        return nullptr;
    s_goneMutexes->push_back(s_mutex.load());
    s_mutex.store(made.get(), std::memory_order_release);
    return made.release();
}

/// The mutex in place of one that was removed. What other threads may be looking at stays attached.
/// @return null when the mutex is there and only busy, a thread of this process is still under it, or the
/// process ends
CSpyMutex* CSpyHeapMutex::renewed(CSpyMutex& gone)
{
    if (!gone.isGone())
        return nullptr;
    const CSharedMemoryGuard guard;
    if (s_mutex.load() == &gone) {
        const CBeginningAnew beginning; // before it is asked who holds it: who takes it from now on sees that
        if (s_holder != 0 || s_leaver != 0)
            return nullptr;
        CTracer::debugTrace("The lock of spy memory was removed: beginning anew");
        if (CSpyHeap::isStoreThere())
            return renewAlone();
        s_goneMutexes->push_back(&gone);
        CSpyHeap::beginAnew();
    }
    return s_mutex.load();
}

void CSpyHeapMutex::unlockLast()
{
    CSpyMutex* mutex = s_mutex.load(std::memory_order_acquire);
    GX_ASSERT(mutex, "m_pMutex !=0");
    if (isHeldHere()) {
        CSpyJournal::end();
        CSpyHeap::deleteDropped();
        holdNothing();
    }
    mutex->release();
}

/// Also in a child made by fork, which has not got the mutex of its parent's thread.
void CSpyHeapMutex::holdNothing()
{
    s_depth = 0;
    s_holder = 0;
}

bool CSpyHeapMutex::isAcquired()
{
    return mutex().isAcquired();
}

std::optional<CLockHolder> CSpyHeapMutex::holder()
{
    return mutex().holder();
}

// At the end of the process

void CSpyHeapMutex::stopThreads()
{
    CSpyMutex* mutex = s_mutex.load();
    s_leaver = pthread_self();
    if (mutex && mutex->isAcquired())
        CSpyJournal::rollBack(); // the thread that exits in the midst of a change does not go on with it
    else if (!isLetGoSoon())
        CSpyJournal::cut();
}

/// Most hold the mutex for microseconds, and whoever takes it from now on gives it back at once.
bool CSpyHeapMutex::isLetGoSoon()
{
    return within(std::chrono::milliseconds(100), [] { return s_holder == 0; });
}

/// While the process ends, other threads than the one that ends it find the mutex taken, as long as they
/// live.
void CSpyHeapMutex::refuseAtEnd(int timeoutMs)
{
    if (s_leaver == 0) [[likely]]
        return;
    if (pthread_self() != s_leaver)
        poll(nullptr, 0, timeoutMs);
    throw CSpyHeapLockedException();
}

/// Gives the mutex back when the process ends, before anything was done under it.
void CSpyHeapMutex::backOutAtEnd(CSpyMutex& mutex, int timeoutMs)
{
    if (s_leaver == 0) [[likely]]
        return;
    holdNothing();
    mutex.release();
    refuseAtEnd(timeoutMs);
}
