/// Who has the heaps of a display attached, as far as the segments need to know it.
#pragma once

class CSharedMemory;

/// Segments are attached, used and given up by whoever keeps heaps in them; what belongs to the display as a
/// whole, its semaphores and what dead processes have left, is found by its segments. Any thread.
class ISegmentOwner {
public:
    /// The segment of a heap of this process's view; null when it is not attached.
    /// @param block  number of the heap
    virtual CSharedMemory* attached(unsigned int block) const = 0;
    /// For the end of the process: from now on nobody here begins to change anything.
    virtual void stopThreads() = 0;
    /// Afterwards: gives the first segment up by `giveUp`. Hold CSharedMemoryGuard.
    virtual void leave(void (*giveUp)(CSharedMemory&)) = 0;

protected:
    ~ISegmentOwner() = default;
};
