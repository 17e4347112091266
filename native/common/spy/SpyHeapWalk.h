/// Looks at the blocks of a heap and its lists of free ones. The heap may be damaged: nothing is read beyond it.
#pragma once

#include "include/SpyHeap.h"

class CSpyHeapWalk {
public:
    using CBlock = CSpyHeap::CHeapBlock;
    using CBlockCopy = CSpyHeap::CBlockCopy;

    explicit CSpyHeapWalk(const CSpyHeap& heap) : m_heap(heap) {}

    /// Visits copies of the blocks in memory order, as far as they can be followed. @return whether they filled
    /// the heap exactly
    template <class Visit> bool forEachBlock(Visit visit) const
    {
        uint32_t offset = CSpyHeap::FirstBlock;
        while (m_heap.mayStartAt(offset)) {
            const CBlockCopy found = m_heap.copyAt(offset);
            if (!m_heap.holds(found))
                return false;
            visit(found);
            offset = found.behind();
        }
        return offset == m_heap.size();
    }

    /// Visits copies of a list of free blocks, as far as it descends.
    template <class Visit> void forEachFree(const CBlock& head, Visit visit) const
    {
        uint32_t below = m_heap.size();
        uint32_t offset = head.m_next.load();
        while (m_heap.mayStartAt(offset) && offset < below) {
            const CBlockCopy found = m_heap.copyAt(offset);
            visit(found);
            below = offset;
            offset = found.m_next;
        }
    }

    /// The block at `offset`, which came out of shared memory.
    /// @throws CHeapCorrupted  it does not lie inside the heap
    CBlockCopy checked(uint32_t offset) const;
    /// The first block of a list of free ones, or the one after another; none at its end. The lists descend, so
    /// that a damaged one cannot lead round in a circle.
    /// @throws CHeapCorrupted  the list leads astray
    CBlockCopy firstOf(const CBlock& head) const { return listed(head.m_next.load(), m_heap.size()); }
    CBlockCopy after(const CBlockCopy& node) const { return listed(node.m_next, node.m_offset); }

private:
    CBlockCopy listed(uint32_t offset, uint32_t below) const;

    const CSpyHeap& m_heap;
};
