/// Walks over a heap that may be damaged: they end where it cannot be followed, and never leave it.
#pragma once

#include "SpyHeap.h"

/// Visits the blocks in memory order, as far as they can be followed. @return whether they filled the heap
/// exactly
template <class Visit> bool CSpyHeap::forEachBlock(Visit visit) const
{
    uint32_t offset = sizeof(CHeapHeader);
    while (mayStartAt(offset) && sizeAt(offset) == block(offset).m_size) {
        visit(offset, block(offset));
        offset = behind(offset);
    }
    return offset == m_size;
}

/// Visits a list of free blocks, as far as it descends.
template <class Visit> void CSpyHeap::forEachFree(const CHeapBlock& pool, Visit visit) const
{
    uint32_t below = m_size;
    for (uint32_t offset = pool.m_next; mayStartAt(offset) && offset < below; offset = block(offset).m_next) {
        visit(offset, block(offset));
        below = offset;
    }
}
