/// A shared-memory segment as its owner sees it, and the guard around making one.
#pragma once

/// One attached segment of memory that processes of one X display share. It starts with a signature (its
/// name), behind which lies the area of its owner. One owner; the area may be read and written from any
/// thread, under the owner's own lock.
class CSharedMemory {
public:
    /// Attaches the segment that belongs to `blockIndex` on the display of this process, and makes it when it
    /// does not exist. For one process at a time, and so is the deletion: hold CSharedMemoryGuard for block
    /// 0, the lock around the store of the display for all others. Failures of the system are traced and
    /// leave an object without area.
    /// @param name  signature; a segment that starts with another one has no usable area
    /// @param size  bytes of the area
    /// @return the segment, which the caller deletes; the last process to do so removes the segment from the
    /// system
    /// @throws COutOfSpyMemory  the environment variable DISPLAY is not set
    static CSharedMemory* create(const char* name, int blockIndex, int size);

    virtual ~CSharedMemory() = default;
    CSharedMemory(const CSharedMemory&) = delete;
    CSharedMemory& operator=(const CSharedMemory&) = delete;

    /// Would write `length` bytes from `offset` of the area to `file`; System V has no use for it and it does
    /// nothing.
    virtual void dump(const char* file, unsigned int offset, unsigned int length) = 0;
    /// Whether the segment was removed from the system: those who have it attached are the last to use it.
    virtual bool isRemoved() const = 0;

    /// Start of the owner's area in this process, aligned to 8 bytes. Null when the segment could not be
    /// attached or carries a foreign signature: the owner has to test for it.
    void* area() const { return m_area; }
    /// Whether other processes had the segment attached when this one came: its contents are valid and must
    /// not be formatted again.
    bool existed() const { return m_existed; }

protected:
    CSharedMemory() = default;

    void* m_area = nullptr;
    bool m_existed = false;
};

/// Lets one thread of one process at a time make or remove the directory of segments and the first segment of
/// a display, with the lock for everything else, so that nobody meets a half-made one. Recursive. Released by
/// the system when its process dies. Any user can keep it: a process waits one second for it, once in its
/// life, then goes on without it and says so in the trace. Take no other lock while it is held, and do not
/// take it with the heap mutex held, save at the end of the process.
class CSharedMemoryGuard {
public:
    CSharedMemoryGuard();
    ~CSharedMemoryGuard();
    CSharedMemoryGuard(const CSharedMemoryGuard&) = delete;
    CSharedMemoryGuard& operator=(const CSharedMemoryGuard&) = delete;
};
