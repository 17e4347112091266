/// Walks over a heap that may be damaged: they end where it cannot be followed, and never leave it.
#pragma once

#include "include/SpyHeap.h"

/// Visits copies of the blocks in memory order, as far as they can be followed. @return whether they filled
/// the heap exactly
template <class Visit> bool CSpyHeap::forEachBlock(Visit visit) const
{
    uint32_t offset = sizeof(CHeapHeader);
    while (mayStartAt(offset)) {
        const CBlockCopy found = copyAt(offset);
        if (!holds(found))
            return false;
        visit(found);
        offset = found.behind();
    }
    return offset == m_size;
}

/// Visits copies of a list of free blocks, as far as it descends.
template <class Visit> void CSpyHeap::forEachFree(const CHeapBlock& pool, Visit visit) const
{
    uint32_t below = m_size;
    uint32_t offset = pool.m_next.load();
    while (mayStartAt(offset) && offset < below) {
        const CBlockCopy found = copyAt(offset);
        visit(found);
        below = offset;
        offset = found.m_next;
    }
}
