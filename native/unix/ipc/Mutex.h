/// Mutexes on System V semaphores.
#pragma once

#include "common/spy/SpyMemRef.h"
#include "unix/sysv/SemaphoreSet.h"
#include "unix/sysv/SpyMutex.h"

#include <array>
#include <atomic>
#include <pthread.h>

class ITalString;

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

/// A named mutex as one process sees it. The owner fields are those of whichever thread holds the semaphore;
/// a thread only ever finds itself in them.
class CUnixMutex : public CSpyMutex {
public:
    /// No semaphore yet.
    CUnixMutex() = default;
    explicit CUnixMutex(CSemaphoreHandle handle) : m_handle(handle), m_wasGiven(true) {}
    /// The lock around the spy heaps of the display in DISPLAY; see CSpyMutex::create. The name is not used.
    explicit CUnixMutex(const char* name);
    /// A view of a Java Mutex, for one call.
    CUnixMutex(JNIEnv* env, jobject mutex);
    CUnixMutex(const CUnixMutex& other);

    /// The mutex that all processes of the display know by `name` (ASCII), made by the first that asks for
    /// it. The caller deletes it; the mutex itself stays as long as spy memory does. Raises what spy memory
    /// raises.
    /// @return null when no semaphore is left
    static CSpyMutex* named(const char* name);

    /// From the Java object when there is one.
    CSemaphoreHandle handle();
    void setHandle(CSemaphoreHandle handle);

    bool create(const CJString& name) override;
    bool create(const char* name); ///< in ASCII
    /// The handle that the map of names holds for a name; null when there is none.
    CSemaphoreHandle find(const ITalString& name);
    CSemaphoreHandle find(const char* name);
    /// Stores a handle in the map of names.
    bool put(const ITalString& name, const CSemaphoreHandle& handle);
    bool put(const char* name, const CSemaphoreHandle& handle);
    static CSpyMemRef getMutexMap(JNIEnv* env);

    bool acquire(int timeoutMs) override;
    bool release() override;
    void free() override;
    bool isAcquired() override;
    std::optional<CLockHolder> holder() override;
    bool isGone() override;

    /// Reads the owner from the Java object and writes it back; without one they do nothing.
    void refresh();
    void update();

private:
    template <class Name> bool createNamed(const Name& name, const char* shownName);
    bool isMine() const;
    bool isNone() { return !m_wasGiven && handle().isNull(); }
    bool lock(int timeoutMs);
    void unlock();
    void giveBack();

    CSemaphoreHandle m_handle;
    bool m_wasGiven =
        false; ///< by native code: may be the first set of the system, and look like the null handle
    std::atomic<int> m_count = 0;
    std::atomic<pid_t> m_process = 0;
    std::atomic<pthread_t> m_thread = 0;
};

/// Five mutexes in one set under a fixed key, handed out one after another. The set stays in the system.
class CMutexList : public CSemaphoreSet {
public:
    static constexpr key_t Key = 10101010;
    static constexpr int Size = 5;

    CMutexList();
    /// The next one; callers take at most five. Good as long as this list.
    CUnixMutex& acquire() { return m_mutexes.at(static_cast<size_t>(m_next++)); }

private:
    std::array<CUnixMutex, Size> m_mutexes;
    int m_next = 0;
};
