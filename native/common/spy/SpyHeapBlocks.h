/// What becomes of the blocks of one heap: taken out of its lists of free ones, put back, joined, grown.
#pragma once

#include "common/spy/SpyFreeList.h"
#include "common/spy/SpyHeapWalk.h"
#include "include/SpyHeap.h"

/// For one change of a heap, or one look at it: see CHeapChange. Everything under the heap mutex. What the
/// bytes of the heap say is checked; where they contradict each other CHeapCorrupted is thrown.
class CSpyHeapBlocks {
public:
    explicit CSpyHeapBlocks(CSpyHeap& heap) : m_heap(heap), m_walk(heap), m_head(*heap.header()) {}

    /// A block of `size` bytes. @return a null reference when there is none
    CSpyMemRef take(uint32_t size);
    /// All of an empty heap as one block.
    CSpyMemRef takeAll();
    bool areAllFree() const;
    /// The block at `offset`, which is in use, becomes a free one.
    void free(uint32_t offset);
    /// Makes the block at `offset` hold `size` bytes, more than it has, by what is free behind it. @return false
    /// when that does not do
    bool grow(uint32_t offset, uint32_t size);

    // Not undone when the process dies: the mark that they leave has another one begin again.

    /// No block has a stamp any more that a reference could name.
    void revokeStamps();
    /// An empty heap, whatever was in it.
    void format();
    /// The lists anew, from the blocks.
    void rebuild();

private:
    using CBlock = CSpyHeap::CHeapBlock;
    using CBlockCopy = CSpyHeap::CBlockCopy;

    CBlock& block(uint32_t offset) const { return *m_heap.blockAt(offset); }
    uint32_t half() const;
    CBlock& listFor(uint32_t offset) const;

    CSpyMemRef stamp(uint32_t offset);
    void isTaken(const CBlockCopy& found) const;
    void swallow(const CBlockCopy& found) const;
    uint32_t unlisted(uint32_t size);
    uint32_t firstFit(CBlock& head, uint32_t size);
    uint32_t lastFit(CBlock& head, uint32_t size);
    uint32_t takeEnd(CFreeList& list, CBlock& previous, const CBlockCopy& found, uint32_t size);
    void takeStart(CFreeList& list, CBlock& previous, const CBlockCopy& found, uint32_t size,
                   bool leavesRest);
    uint32_t split(const CBlockCopy& whole, uint32_t sizeThisBlock);
    uint32_t splitOffEnd(const CBlockCopy& whole, uint32_t sizeNewBlock);
    void link(CBlock& head, const CBlockCopy& freed);
    bool absorbNext(const CBlockCopy& grown, uint32_t size);
    CBlockCopy relink(const CBlockCopy& found, const CBlockCopy& previous);

    CSpyHeap& m_heap;
    CSpyHeapWalk m_walk;
    CSpyHeap::CHeapHeader& m_head;
};
