/// Shared memory on System V segments.
#pragma once

#include "unix/sysv/SharedMemory.h"

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

/// An attached System V segment. See CSharedMemory for ownership. Making and destroying one is for one
/// process at a time: hold CSharedMemoryGuard, or the lock of the display for the blocks that come after it.
class CUnixSharedMemory : public CSharedMemory {
public:
    /// No segment yet.
    CUnixSharedMemory() = default;
    /// Attaches the segment of `blockIndex` on the display of this process, see CSharedMemoryHeader::display,
    /// which stays that of the attached block 0; see CSharedMemory::create. One of another size with the same
    /// name, which nobody has attached, makes room for it.
    CUnixSharedMemory(const char* name, int blockIndex, int size);
    ~CUnixSharedMemory() override;

    void dump(const char* file, unsigned int offset, unsigned int length) override;
    bool isRemoved() const override;

    /// Attaches the segment of `key`, made with `size` bytes and rights for everybody when it does not exist.
    /// One that exists without a process attached to it counts as new; one with other rights or another size
    /// belongs to another program and is left alone. @return whether it is attached
    bool attach(int key, int size);
    /// Detaches, and removes a segment of ours when nobody else has it attached.
    void detach();
    /// Detaches without removing anything, at the end of the process: threads that still look find a copy
    /// there. Nobody may be writing.
    void leave();
    /// Whether the segment starts with exactly this string.
    bool checkSignature(const char* name) const;
    /// The key that the system has on record for the segment; 0xFFFFFFFF when there is none.
    key_t key() const;
    int id() const { return m_memId; } ///< -1 when there is none
    /// The key that it was attached by, without asking the system.
    key_t attachedKey() const { return m_key; }
    void* base() const { return m_base; }

    /// Writes the directory to standard error.
    static void dumpDisplayTable();

private:
    bool map(int key);
    void keep(const char* display);

    int m_memId = -1;
    size_t m_size = 0;
    void* m_base = nullptr;
    key_t m_key = -1;
    bool m_keepsDisplay = false; ///< as the first segment of a display
};
