#include "common/spy/SpyHeapWalk.h"

CSpyHeap::CBlockCopy CSpyHeapWalk::checked(uint32_t offset) const
{
    if (m_heap.mayStartAt(offset))
        if (const CBlockCopy found = m_heap.copyAt(offset); m_heap.holds(found))
            return found;
    throw CHeapCorrupted("!!Spy Heap corrupted!! A block lies outside of its heap");
}

CSpyHeap::CBlockCopy CSpyHeapWalk::listed(uint32_t offset, uint32_t below) const
{
    if (offset == 0)
        return {};
    if (offset < below)
        if (const CBlockCopy found = checked(offset); found.isFree())
            return found;
    throw CHeapCorrupted("!!Spy Heap corrupted!! A list of free blocks leads astray");
}
