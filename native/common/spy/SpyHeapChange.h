/// The mark of a change under way in a heap.
#pragma once

#include "common/spy/SpyFreeIndex.h"
#include "common/spy/SpyHeapBlocks.h"
#include "common/spy/SpyJournal.h"
#include "include/SpyHeap.h"

#include <atomic>

/// Brackets a change of the blocks and lists of one heap. Hold the heap mutex. The mark lies in the heap
/// itself, in a word of the large pool's head that nothing else uses, until the unit ends (see CSpyJournal),
/// which undoes a change that a killed process has left. A mark that no journal knows of was left by a
/// process without one: whoever begins the next change finds it and rebuilds the lists.
///
/// Blocks need no repair as long as every change of the tiling is one store: write the header of a new block
/// first, in space that still belongs to another, then `step`, then the size that uncovers or swallows it.
///
/// When the bracketed code throws, the mark stays.
class CHeapChange {
public:
    enum EState : uint32_t { None = 0, Blocks = 2, Formatting = 4 }; // bit 0 would make the head a used block

    explicit CHeapChange(CSpyHeap& heap) : m_heap(heap)
    {
        if (!CSpyJournal::hasMarked(heap)) {
            if (isMarked(heap)) [[unlikely]]
                CSpyHeapBlocks(heap).rebuild();
            CSpyJournal::mark(heap);
        }
        heap.freeIndex().begin(heap);
    }
    ~CHeapChange()
    {
        if (m_isDone)
            return;
        m_heap.freeIndex().drop();
        CSpyJournal::leaveMark(m_heap);
    }
    CHeapChange(const CHeapChange&) = delete;
    CHeapChange& operator=(const CHeapChange&) = delete;

    void done()
    {
        m_isDone = true;
        if (!CSpyJournal::hasMarked(m_heap))
            mark(m_heap, None);
    }

    static bool isMarked(const CSpyHeap& heap) { return heap.header()->m_largePool.m_used.load() != None; }

    /// Keeps the compiler from moving stores across: what a killed process leaves is a prefix of them.
    static void step() { std::atomic_signal_fence(std::memory_order_seq_cst); }
    static void mark(CSpyHeap& heap, EState state)
    {
        step();
        heap.header()->m_largePool.m_used.store(state);
        step();
    }

private:
    CSpyHeap& m_heap;
    bool m_isDone = false;
};
