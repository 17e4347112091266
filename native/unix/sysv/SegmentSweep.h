/// What the last process leaves behind: nothing.
#pragma once

#include "unix/sysv/SegmentOwner.h"
#include "unix/sysv/SharedMemoryHeader.h"

#include <vector>

class CUnixSharedMemory;

/// Removes the System V objects that no process uses any more. A display is in use while its first heap is
/// attached: a process that ends gives up what it has attached, under the guard, and so one of those that end
/// together is the last. Segments outlive the processes that are killed, and semaphore sets always do. Hold
/// CSharedMemoryGuard.
class CSegmentSweep {
public:
    /// Whose segments these are; once in a process, when the library is loaded.
    static bool setOwner(ISegmentOwner& owner);
    /// The segment of a heap that this process has attached; null for none.
    static const CUnixSharedMemory* ownSegment(unsigned int block);
    /// Removes the heaps, journals and semaphore sets of the displays that nobody uses, be they in the
    /// directory or too many for it. Anybody may have written the directory: only what is a heap of ours is
    /// removed, and a set that is like ours only with its heap, when that names it as its list, or when
    /// nobody else has used it as its lock.
    static void removeUnused(const CSharedMemoryHeader& directory) noexcept;
    /// For a first heap that was just made: removes the semaphore sets at its keys that belong to a store
    /// whose segments were removed from the system while processes use them, so that those begin anew, too.
    static void removeOrphanedSets(const CSharedMemoryHeader& directory, key_t base) noexcept;
    /// Makes room for a segment that could not be attached: removes one with this signature that nobody has
    /// attached, left by processes that were killed and whose heaps had another size. @return whether it did
    static bool removeAbandoned(key_t key, const char* signature) noexcept;
    /// The key of the journal that goes with the first heap of a display (see CJournalSegment).
    /// @param number  1 or more: of a further segment
    static key_t journalKey(key_t baseHeap, int number = 0)
    {
        return static_cast<key_t>(FirstJournal + (static_cast<uint32_t>(number) << 24) +
                                  (static_cast<uint32_t>(baseHeap) & 0xFFFFFF));
    }
    /// A heap that this process had as the first of a display may have gone before its semaphores. Any
    /// thread.
    static void rememberBaseHeap(key_t key);
    /// That semaphore set is a display's, whatever the store says by the end: this process has made it, or
    /// found it in use as the lock of a heap that others have attached.
    static void rememberSet(int set);
    /// When this process exits or the library is unloaded, gives up what it has attached (see
    /// ISegmentOwner::leave) and removes what nobody uses then; the directory, too. Children made by fork inherit
    /// it; their parent still has the directory attached then.
    /// @return false when it is too late for that
    static bool runAtExit();

private:
    static constexpr uint32_t FirstJournal = 0x4A000000;

    /// The keys of a display's heaps.
    struct CStore {
        key_t m_base = 0; ///< 0: unknown
        std::vector<key_t> m_heaps;
    };

    static void sweep() noexcept;
    static CStore storeOf(const CSharedMemoryHeader& directory, uint32_t name);
    static CStore ownStore();
    static void removeIfUnused(const CSharedMemoryHeader* directory, const CStore& store);
    static void removeSets(const CSharedMemoryHeader* directory, key_t base, bool isListNamed,
                           bool isLockOurs);
    static void removeJournal(key_t base);
    static void removeNameless(const CSharedMemoryHeader& directory);
    static const CSharedMemoryHeader::CEntry* entryOf(const CSharedMemoryHeader& directory, key_t key);
    static bool isBaseInUse(const CSharedMemoryHeader* directory, key_t key);
};
