/// Locks between processes on System V semaphores.
#pragma once

#include "unix/sysv/SemaphoreSet.h"
#include "unix/sysv/SpyMutex.h"

#include <atomic>
#include <pthread.h>

/// A short-lived view of one semaphore as a lock: 0 is free, 1 is held. The system undoes what a process that
/// dies held. Any thread; not recursive.
class CMutex : public CSemaphoreSet {
public:
    CMutex() = default;
    explicit CMutex(CSemaphoreHandle handle) : CSemaphoreSet(handle.m_set), m_index(handle.m_index) {}

    /// Waits until the semaphore is free, and leaves this process on record as the last one that looked at
    /// it.
    bool initialize(int semnum) override;
    /// Takes the semaphore. Blocks up to `timeoutMs`, of which whole seconds count: below 1000 it is tried
    /// once, below 0 it blocks without limit. @return false when the time is over or the semaphore is gone
    bool lock(int timeoutMs);
    bool unlock();

private:
    bool take(short waitFlags);
    bool takeBlocking();
    bool takeInAMoment();
    bool takeWithin(int timeoutMs);

    int m_index = 0;
};

/// The lock on a semaphore that somebody else finds: that of the heaps by the directory, named ones by their
/// name. The owner fields are those of whichever thread holds the semaphore; a thread only ever finds itself
/// in them.
class CRecursiveMutex : public CSpyMutex {
public:
    /// No semaphore yet.
    CRecursiveMutex() = default;
    explicit CRecursiveMutex(CSemaphoreHandle handle) : m_handle(handle), m_wasGiven(true) {}
    /// The lock around the spy heaps of the display in DISPLAY; see CSpyMutex::create. The name is not used.
    explicit CRecursiveMutex(const char* name);
    /// A view of a Java Mutex, for one call.
    CRecursiveMutex(JNIEnv* env, jobject mutex);
    CRecursiveMutex(const CRecursiveMutex& other);

    /// From the Java object when there is one.
    CSemaphoreHandle handle();
    void setHandle(CSemaphoreHandle handle);

    /// Finds nothing: names are for CUnixMutex.
    bool create(const CJString&) override { return false; }
    bool acquire(int timeoutMs) override;
    bool release() override;
    void free() override;
    bool isAcquired() override;
    std::optional<CLockHolder> holder() override;
    bool isGone() override;

    /// Reads the owner from the Java object and writes it back; without one they do nothing.
    void refresh();
    void update();

protected:
    /// What this object holds, whichever thread took it.
    void giveBack();

private:
    bool isMine() const;
    bool isNone() { return !m_wasGiven && handle().isNull(); }
    bool lock(int timeoutMs);
    void unlock();

    CSemaphoreHandle m_handle;
    /// By native code: may be the first set of the system, and look like the null handle.
    bool m_wasGiven = false;
    std::atomic<int> m_count = 0;
    std::atomic<pid_t> m_process = 0;
    std::atomic<pthread_t> m_thread = 0;
};
