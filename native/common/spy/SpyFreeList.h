/// Searches in the lists of free blocks of a heap.
#pragma once

#include "common/spy/SpyFreeIndex.h"
#include "common/spy/SpyHeapWalk.h"
#include "include/SpyHeap.h"

/// One of the two lists of a heap, during a change of it (see CHeapChange). What is asked for is found in the
/// index of the heap when there is one that agrees with the list, and else by walking: the answers are the
/// same. Whoever changes the list says so with `has` and `lost`, after it is changed.
///
/// Searches throw CHeapCorrupted when the list leads astray.
class CFreeList {
public:
    using CBlock = CSpyHeap::CHeapBlock;
    using CBlockCopy = CSpyHeap::CBlockCopy;

    /// A block of the list and what names it as the next: the one above it, or the head. For none both are
    /// none.
    struct CPlace {
        CBlock* m_previous = nullptr;
        CBlockCopy m_found;
    };
    struct CNeighbours {
        CPlace m_upper, m_lower;
    };

    CFreeList(CSpyHeap& heap, CBlock& head)
        : m_heap(heap), m_walk(heap), m_index(heap.freeIndex()), m_head(head),
          m_pool(&head == &heap.header()->m_smallPool ? CFreeIndex::Small : CFreeIndex::Large)
    {
    }
    ~CFreeList() { m_index.walked(m_passed); }
    CFreeList(const CFreeList&) = delete;
    CFreeList& operator=(const CFreeList&) = delete;

    CBlock& head() const { return m_head; }
    /// The highest block that has at least so many bytes.
    CPlace highest(uint32_t leastSize);
    /// The lowest.
    CPlace lowest(uint32_t leastSize);
    CPlace at(uint32_t offset);
    /// The next blocks above and below a place. What names the lower one, or would, is told in any case.
    CNeighbours around(uint32_t offset);

    void has(uint32_t offset, uint32_t size) { m_index.set(m_pool, offset, size); }
    void lost(uint32_t offset) { m_index.erase(m_pool, offset); }

private:
    CPlace first() const { return {&m_head, m_walk.firstOf(m_head)}; }
    void advance(CPlace& place);
    bool isWhole(const CPlace& place, const CFreeTree::CFound& sought) const;
    template <class Ask> bool isKnown(Ask ask, CPlace& place);
    CPlace placeOf(const CFreeTree& tree, const CFreeTree::CFound& sought) const;
    CPlace walkToHighest(uint32_t leastSize);
    CPlace walkToLowest(uint32_t leastSize);
    CPlace walkTo(uint32_t offset);
    CNeighbours walkAround(uint32_t offset);

    CSpyHeap& m_heap;
    CSpyHeapWalk m_walk;
    CFreeIndex& m_index;
    CBlock& m_head;
    CFreeIndex::EPool m_pool;
    uint32_t m_passed = 0;
};
