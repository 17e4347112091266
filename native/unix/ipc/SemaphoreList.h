/// The semaphores that named mutexes and mailslots of a display are given. Stored form: doc/mutexes.md.
#pragma once

#include "common/spy/SpyMemory.h"
#include "unix/sysv/IpcStatus.h"
#include "unix/sysv/SemaphoreSet.h"

#include <cstddef>
#include <cstdint>

/// A table in spy memory over one semaphore set, found by its global name. Each operation takes the heap
/// mutex; hold it from here to where the semaphore's handle is stored, so that two processes do not both take
/// one for the same purpose. The errors of spy memory pass through.
class CSemaphoreList : public CSpyMemory {
public:
    static constexpr int Indices = 128; ///< places in the table
    /// In the set: an index beyond them names no semaphore.
    static constexpr int Semaphores = CSemaphoreStatus::ListSize;

    struct CRecord {
        uint32_t m_key;
        int32_t m_set;
        uint8_t m_used[Indices]; ///< 1 used, 0 free
    };

    /// Whether the handle names a semaphore of the set that belongs to the base heap, and not its first one.
    /// What is stored may name any semaphore of the machine: a handle that others stored is asked about
    /// before it is used. Asks the system.
    static bool has(CSemaphoreHandle handle);

    /// Finds the list, or makes it with its semaphores. Without semaphores the list is full, and not stored.
    CSemaphoreList();

    /// Takes the first `count` consecutive indices that are free.
    /// @return the handle of the first; null when there are none, or the list names another set (traced).
    /// Below 1: index 0, and nothing is taken.
    CSemaphoreHandle allocSemaphore(int count);
    /// Gives `count` indices back, from that of the handle on. One that is free already, or of another set,
    /// is traced and left.
    void freeSemaphore(CSemaphoreHandle handle, int count);

private:
    void make(const ITalString& name);
    void replaceGone();

    CRecord m_list{};
    CRecord* m_pList = nullptr; ///< the list, once there is one
};
static_assert(sizeof(CSemaphoreList::CRecord) == 136 && offsetof(CSemaphoreList::CRecord, m_used) == 8);
