#include "common/spy/SpyMemRef.h"

#include "common/spy/SpyJournal.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {
constexpr char ReadFailed[] = "Exception in CSpyMemRef::read: attempt to read past end of heap!";
constexpr char WriteFailed[] = "Exception in CSpyMemRef::write: attempt to write past end of heap!";

CSpyHeap* existingHeap(HEAPID id)
{
    CSpyHeap* pHeap = CSpyHeap::getHeap(id);
    GX_ASSERT(pHeap, "pHeap != 0");
    return pHeap;
}

/// A mutex that cannot be given back means a damaged heap.
void giveBack(CSpyHeapLock& lock, const char* failure, CSpyHeap* heap)
try {
    lock.giveBack();
} catch (...) {
    throw CHeapCorrupted(failure, heap);
}
} // namespace

CSpyMemRef::CSpyMemRef(unsigned int size, HEAPID heapId) : CSpyMemRef(existingHeap(heapId)->allocate(size)) {}

unsigned int CSpyMemRef::size() const
{
    const CSpyHeap::CReading reading;
    return existingHeap(heapId())->sizeAt(blockId());
}

CSpyHeap* CSpyMemRef::validHeap() const
{
    CSpyHeap* heap = CSpyHeap::getHeap(heapId());
    if (!heap || !heap->verifyBlock(blockId(), uid()))
        throw CInvalidSpyMemRef(*this, heap);
    return heap;
}

void* CSpyMemRef::address() const
{
    const CSpyHeap::CReading reading;
    return validHeap()->blockAt(blockId())->payload();
}

bool CSpyMemRef::isValid() const
{
    const CSpyHeap::CReading reading;
    validHeap();
    return true;
}

/// Calls `copy` with payload and size of the block, under the heap mutex.
template <class Copy> void CSpyMemRef::access(const char* failure, Copy copy) const
{
    const CSpyHeap::CReading reading;
    CSpyHeap* heap = validHeap();
    const bool mayWait = !CSpyHeapMutex::isHeldHere();
    CSpyHeapLock lock;
    if (mayWait) // another thread or process may have freed the block meanwhile
        heap = validHeap();
    const auto* pHeapAddress = heap->header();
    GX_ASSERT(pHeapAddress, "pHeapAddress != 0");
    const CSpyHeap::CBlockCopy found = heap->copyAt(blockId());
    if (!heap->holds(found))
        throw CHeapCorrupted(failure, heap);
    copy(heap->blockAt(blockId())->payload(), found.m_size);
    giveBack(lock, failure, heap);
}

void CSpyMemRef::read(void* buffer, unsigned int length) const
{
    access(ReadFailed, [&](const unsigned char* payload, unsigned int size) {
        std::memcpy(buffer, payload, std::min(length, size));
    });
}

void CSpyMemRef::write(unsigned int offset, const void* data, unsigned int length)
{
    access(WriteFailed, [&](unsigned char* payload, unsigned int size) {
        if (offset > size)
            throw CInvalidSpyMemRef(*this, nullptr);
        length = std::min(length, size - offset);
        CSpyJournal::keep(payload + offset, length);
        std::memcpy(payload + offset, data, length);
    });
}

void CSpyMemRef::write(unsigned int offset, const void* element, unsigned int elementSize, unsigned int count)
{
    access(WriteFailed, [&](unsigned char* payload, unsigned int size) {
        if (offset > size || uint64_t{count} * elementSize > size - offset)
            throw CInvalidSpyMemRef(*this, nullptr);
        CSpyJournal::keep(payload + offset, size_t{count} * elementSize);
        for (unsigned int index = 0; index < count; ++index)
            std::memcpy(payload + offset + size_t{index} * elementSize, element, elementSize);
    });
}

void CSpyMemRef::write(char fill, unsigned int length)
{
    access(WriteFailed, [&](unsigned char* payload, unsigned int size) {
        length = std::min(length, size);
        CSpyJournal::keep(payload, length);
        std::memset(payload, fill, length);
    });
}

CSpyMemRef CSpyMemRef::realloc(unsigned int size)
{
    const CSpyHeap::CReading reading;
    validHeap();
    const CSpyHeapLock lock;
    // Under the mutex once more: to grow or free what somebody else has just freed would end the process.
    *this = validHeap()->realloc(*this, size);
    return *this;
}

void CSpyMemRef::free()
{
    const CSpyHeap::CReading reading;
    validHeap();
    const CSpyHeapLock lock;
    validHeap()->free(*this); // see realloc
    *this = CSpyMemRef();
}

CInvalidSpyMemRef::CInvalidSpyMemRef(const CSpyMemRef& ref, CSpyHeap* heap) : m_ref(ref)
{
    CTracer::debugTrace("%s", message());
    if (heap && std::getenv("QUESSA_VTX_DUMP_HEAP")) {
        try {
            heap->dump(nullptr, false);
        } catch (...) {
            // The reference is what is reported.
        }
    }
}

const char* CInvalidSpyMemRef::message() const
{
    static thread_local char text[128];
    std::snprintf(text, sizeof text, "Invalid Spy Memory reference: Heap#=%d blockId=0x%08x uid=0x%08x",
                  static_cast<int>(m_ref.heapId()), m_ref.blockId(), m_ref.uid());
    return text;
}
