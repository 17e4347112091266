#include "common/spy/SpyMemory.h"

#include "common/trace/GxAssert.h"

namespace {
CSpyHeap* baseHeap()
{
    CSpyHeap* pHeap = CSpyHeap::getHeap(0);
    GX_ASSERT(pHeap, "pHeap != 0");
    return pHeap;
}
} // namespace

CSpyMemory::CSpyMemory() : m_pHeap(baseHeap()) {}

CSpyMemory::CSpyMemory(const CSpyMemRef& ref) : m_ref(ref), m_pHeap(CSpyHeap::getHeap(0))
{
    GX_ASSERT(m_pHeap, "m_pHeap != 0");
}

CSpyMemRef CSpyMemory::rawAlloc(unsigned int size, UNIQUEID transactionId)
{
    GX_ASSERT(m_pHeap, "m_pHeap != 0");
    return m_pHeap->allocate(size, transactionId);
}

CSpyMemRef CSpyMemory::allocate(unsigned int size, UNIQUEID transactionId)
{
    GX_ASSERT(m_pHeap, "m_pHeap !=0");
    return m_ref = rawAlloc(size, transactionId);
}

bool CSpyMemory::write(const void* data, unsigned int length)
try {
    m_ref.write(data, length);
    return true;
} catch (const CInvalidSpyMemRef&) {
    return false;
}

bool CSpyMemory::read(void* buffer, unsigned int length)
{
    if (!!m_ref)
        m_ref.read(buffer, length);
    return true;
}

bool CSpyMemory::free()
{
    CSpyMemRef ref = m_ref;
    ref.free();
    m_ref = CSpyMemRef();
    return true;
}

void CSpyMemory::lockHeap(int timeoutMs)
{
    baseHeap()->lock(timeoutMs);
}

void CSpyMemory::unlockHeap()
{
    baseHeap()->unlock();
}

bool CSpyMemory::isHeapLocked()
{
    return baseHeap()->islocked();
}

std::optional<CLockHolder> CSpyMemory::lockHolder()
{
    baseHeap();
    return CSpyHeapMutex::holder();
}

void CSpyMemory::abandonChange()
{
    if (isHeapLocked())
        CSpyJournal::rollBack();
}

void CSpyMemory::free(UNIQUEID transactionId)
{
    const CSpyUnit unit;
    // Each heap takes the ones that it leads to along; of two, either may have the lower number.
    for (HEAPID id = CSpyHeap::getHeapId(transactionId); id >= 1 && id <= MaxHeap;
         id = CSpyHeap::getHeapId(transactionId))
        CSpyHeap::dropHeap(id);
}
