/// What the last process leaves behind: nothing.
#pragma once

#include "SharedMemoryHeader.h"

/// Removes the System V objects of the directory that no process uses any more. Segments outlive the
/// processes that forget to detach, and semaphore sets always do; the last process that has the directory
/// attached knows that everything in it is unused.
class CSegmentSweep {
public:
    /// Has `sweep` called when this process exits or the library is unloaded. Children made by fork inherit
    /// it; their parent still has the directory attached then, so that they remove nothing.
    static void runAtExit();
    /// When no other process has the directory attached: removes segments that nobody has attached, the
    /// semaphore sets of the displays, and marks what this process has attached, the directory included, to
    /// go with it. Nothing is detached, since other threads may still be at work.
    static void sweep() noexcept;

private:
    static void removeEntry(const CSharedMemoryHeader::CEntry& entry);
};
