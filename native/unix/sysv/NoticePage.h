/// What processes tell each other beside the journal. Stored form: doc/journal.md.
#pragma once

#include "unix/sysv/IpcStatus.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <sys/types.h>

/// Who holds a semaphore. A line of the cache each: who takes one lock does not slow down who takes another.
struct alignas(64) CHoldRecord {
    static constexpr size_t NameWords = 2;

    std::atomic<int64_t> m_since;  ///< nanoseconds of the clock that nobody sets; 0: not held
    std::atomic<uint64_t> m_start; ///< of the process, see CProcessStat
    std::atomic<pid_t> m_process;  ///< as the holder sees them
    std::atomic<pid_t> m_thread;
    std::atomic<uint64_t> m_name[NameWords]; ///< of the process, filled up with 0
};
static_assert(sizeof(CHoldRecord) == 64 && offsetof(CHoldRecord, m_name) == 24);

/// The page behind the journal of the display.
struct CNoticePage {
    static constexpr size_t Bells = 512;

    CHoldRecord m_records[CSemaphoreStatus::ListSize]; ///< 0: the heap mutex, others: named mutexes
    std::atomic<uint32_t> m_bells[Bells];              ///< see CAnswerBell

    /// It is there until `leave`.
    static void use(void* page, bool isNew);
    /// It is about to be detached. Threads of this process that are just at it go on with a page of nobody's
    /// in its place.
    static void leave();
    /// Null when there is none. Any thread.
    static CNoticePage* get();
};
static_assert(sizeof(CNoticePage) == 4096 && offsetof(CNoticePage, m_bells) == 2048);
static_assert(std::atomic<int64_t>::is_always_lock_free && std::atomic<uint32_t>::is_always_lock_free);
