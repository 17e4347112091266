/// What the last process leaves behind: nothing.
#pragma once

#include "SharedMemoryHeader.h"

/// Removes the System V objects of a directory that no process uses any more. Segments outlive the processes
/// that forget to detach, and semaphore sets always do; who finds that nobody else has the directory attached
/// knows that everything in it is unused. Hold CSharedMemoryGuard.
class CSegmentSweep {
public:
    /// Removes what is listed in the directory: heaps that nobody has attached, and the semaphore sets of the
    /// displays. What this process has attached itself goes with it. Nothing is detached, since other threads
    /// may still be at work. Anybody may have written the directory: only what is a heap of ours is removed,
    /// and a set that is like ours only with its heap.
    static void removeListed(const CSharedMemoryHeader& directory);
    /// The key of the journal that goes with the first heap of a display (see CJournalSegment).
    static key_t journalKey(key_t baseHeap) { return FirstJournal + (baseHeap & 0xFFFFFF); }
    /// A heap that this process had as the first of a display may have gone before its semaphores. Any
    /// thread.
    static void rememberBaseHeap(key_t key);
    /// When this process exits or the library is unloaded, and no other has the directory attached, removes
    /// what is listed and the directory. Children made by fork inherit it; their parent still has the
    /// directory attached then.
    static void runAtExit();

private:
    static constexpr key_t FirstJournal = 0x4A000000;

    static void sweep() noexcept;
};
