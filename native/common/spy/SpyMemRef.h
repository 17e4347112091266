/// The name of a block of spy memory that means the same in every process.
#pragma once

#include "include/SpyHeap.h"

#include <cstdint>

/// Heap, offset of the block in its heap and the stamp of its allocation. Copied by value and stored inside
/// other spy objects in this form. The default one is null. `&ref` is the address of the payload;
/// std::addressof gives the address of the reference itself.
///
/// Each access takes the heap mutex for the copy. A reference whose block was freed is refused before the
/// mutex is taken, and again under it. Errors of every access: CInvalidSpyMemRef, CSpyHeapLockedException,
/// CHeapCorrupted.
class CSpyMemRef {
public:
    CSpyMemRef() = default;
    /// Allocates `size` bytes in heap `heapId`, which exists.
    /// @throws COutOfSpyMemory
    CSpyMemRef(unsigned int size, HEAPID heapId);

    /// @param blockId  heap in the top 8 bits, offset in the low 24
    static CSpyMemRef fromWords(uint32_t blockId, UNIQUEID uid)
    {
        CSpyMemRef ref;
        ref.m_blockId = blockId;
        ref.m_uid = uid;
        return ref;
    }
    static CSpyMemRef of(HEAPID heapId, uint32_t offset, UNIQUEID uid)
    {
        return fromWords(heapId << 24 | (offset & 0xFFFFFFU), uid);
    }
    /// From the one number that Java fields keep: the block id in its low half, the stamp in its high half.
    static CSpyMemRef fromHandle(int64_t handle)
    {
        return fromWords(static_cast<uint32_t>(handle),
                         static_cast<uint32_t>(static_cast<uint64_t>(handle) >> 32));
    }
    int64_t handle() const { return static_cast<int64_t>(static_cast<uint64_t>(m_uid) << 32 | m_blockId); }

    HEAPID heapId() const { return m_blockId >> 24; }
    uint32_t blockId() const { return m_blockId & 0xFFFFFFU; } ///< offset of the block's header in its heap
    uint32_t word() const { return m_blockId; }                ///< first stored word: heap and offset
    UNIQUEID uid() const { return m_uid; }
    bool operator!() const { return m_blockId == 0 && m_uid == 0; }
    friend bool operator==(const CSpyMemRef& a, const CSpyMemRef& b)
    {
        return a.m_blockId == b.m_blockId && a.m_uid == b.m_uid;
    }

    /// Payload bytes of the block. The stamp is not checked and no lock taken; the heap has to exist.
    unsigned int size() const;
    /// The payload in this process: good while the block lives; hold the heap mutex to use it.
    /// @throws CInvalidSpyMemRef
    void* address() const;
    void* operator&() const { return address(); }
    /// @return true; an invalid reference throws CInvalidSpyMemRef
    bool isValid() const;

    /// Copies the first `length` bytes of the payload, or all of it when it is shorter.
    void read(void* buffer, unsigned int length) const;
    /// Copies `length` bytes to payload + `offset`, or as many as fit. An offset beyond the block throws
    /// CInvalidSpyMemRef.
    void write(unsigned int offset, const void* data, unsigned int length);
    void write(const void* data, unsigned int length) { write(0, data, length); }
    /// Writes the element `count` times, one after another, from payload + `offset`. When they do not all fit
    /// nothing is written and CInvalidSpyMemRef thrown.
    void write(unsigned int offset, const void* element, unsigned int elementSize, unsigned int count);
    /// Fills the first `length` bytes, or the whole payload when it is shorter.
    void write(char fill, unsigned int length);

    /// Makes the block hold at least `size` bytes; see CSpyHeap::realloc. This reference becomes the result.
    CSpyMemRef realloc(unsigned int size);
    /// Makes the block hold at least `size` bytes where it lies. @return false when what follows it does not allow
    /// that
    bool growInPlace(unsigned int size) const
    {
        const CSpyHeap::CReading reading;
        return validHeap()->growInPlace(*this, size);
    }
    /// Frees the block; this reference becomes null.
    /// @throws CInvalidSpyMemRef  it was null or stale
    void free();

private:
    CSpyHeap* validHeap() const;
    template <class Copy> void access(const char* failure, Copy copy) const;

    uint32_t m_blockId = 0;
    UNIQUEID m_uid = 0;
};
static_assert(sizeof(CSpyMemRef) == 8);

/// A reference that names no block that is allocated.
class CInvalidSpyMemRef : public CNativeFailure {
public:
    static constexpr char JavaClass[] = "com/talvern/test/gx/sys/InvalidSpyMemReference";

    /// Writes the message to the trace and, when the environment variable QUESSA_VTX_DUMP_HEAP is set and
    /// `heap` is not null, dumps the heap to the default dump file.
    explicit CInvalidSpyMemRef(const CSpyMemRef& ref, CSpyHeap* heap = nullptr);
    const CSpyMemRef& reference() const { return m_ref; }
    /// In one buffer for the whole process: good until the next call.
    const char* message() const override;
    const char* javaExceptionClass() const override { return JavaClass; }

private:
    CSpyMemRef m_ref;
};
