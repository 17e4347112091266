/// The mutex around all heaps of an X display, as this process has it.
#pragma once

#include <atomic>
#include <optional>
#include <pthread.h>

class CSpyMutex;
struct CLockHolder;

/// There is one for the process, made with the base heap. Any thread. Nested takes by the holder cost no call
/// of the system. With the first take of a thread what a dead process has begun in the store is undone, with
/// the last release this thread's unit ends (CSpyJournal).
///
/// When the mutex was removed from the system, this process begins anew: with another mutex, and when the
/// segments were removed, too, with another store.
class CSpyHeapMutex {
public:
    /// Blocks.
    /// @param timeoutMs  longest wait in milliseconds, see CSpyMutex::acquire; 0 stands for 10 000
    /// @throws CSpyHeapLockedException
    static void lock(int timeoutMs)
    {
        if (isHeldHere())
            ++s_depth;
        else
            lockFirst(timeoutMs);
    }
    static void unlock()
    {
        if (isHeldHere() && s_depth > 1)
            --s_depth;
        else
            unlockLast();
    }
    /// Whether the calling thread has it.
    static bool isHeldHere() { return s_holder.load(std::memory_order_relaxed) == pthread_self(); }
    /// The same, as the mutex itself knows it.
    static bool isAcquired();
    /// Who holds it; see CSpyMutex::holder.
    static std::optional<CLockHolder> holder();

    static bool isThere() { return s_mutex.load(std::memory_order_acquire) != nullptr; }
    /// Makes it, or finds the display's. Hold CSharedMemoryGuard.
    static void make();
    /// Forgets it. What is given up with it is given up by `giveUp`, under it if it is free, so that nobody
    /// attaches what is being removed.
    static void drop(void (*giveUp)());
    /// For the end of the process: from now on nobody here gets the mutex. The calling thread is refused at
    /// once, others when they have waited for it. What the calling thread has begun is undone; another one
    /// that has the mutex gets a tenth of a second, after which its unit never ends (CSpyJournal::cut).
    static void stopThreads();

private:
    static void lockFirst(int timeoutMs);
    static void unlockLast();
    static CSpyMutex& mutex();
    static void holdNothing();
    static bool take(CSpyMutex& mutex, int timeoutMs);
    static CSpyMutex* renewed(CSpyMutex& gone);
    static CSpyMutex* renewAlone();
    static void refuseAtEnd(int timeoutMs);
    static void backOutAtEnd(CSpyMutex& mutex, int timeoutMs);
    static bool isLetGoSoon();

    static std::atomic<CSpyMutex*> s_mutex;
    static inline unsigned s_depth = 0;                ///< of the thread that holds it
    static inline std::atomic<pthread_t> s_holder = 0; ///< the thread of this process that has the mutex
    static inline std::atomic<pthread_t> s_leaver = 0; ///< the thread that ends the process
};
