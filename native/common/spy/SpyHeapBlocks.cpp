#include "common/spy/SpyHeapBlocks.h"

#include "common/spy/SpyHeapChange.h"
#include "common/spy/SpyJournal.h"
#include "common/spy/SpyMemRef.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr uint32_t BlockHeader = CSpyHeap::BlockHeader, FirstBlock = CSpyHeap::FirstBlock;
constexpr uint32_t SmallRequest = 1024; ///< below it the small pool is searched first
constexpr uint32_t SmallestRest = 49;   ///< bytes, header included, that are worth a block of their own
} // namespace

// Taking

CSpyMemRef CSpyHeapBlocks::take(uint32_t size)
{
    const uint32_t offset = unlisted(size);
    return offset != 0 ? stamp(offset) : CSpyMemRef();
}

/// Takes a block of `size` bytes out of the lists. @return its offset, 0 when there is none
uint32_t CSpyHeapBlocks::unlisted(uint32_t size)
{
    if (size >= SmallRequest)
        return firstFit(m_head.m_largePool, size);
    const uint32_t offset = firstFit(m_head.m_smallPool, size);
    return offset != 0 ? offset : lastFit(m_head.m_largePool, size);
}

/// The journal need not keep what lies in a free block. Headers of blocks that were joined with it in this unit
/// were kept then.
void CSpyHeapBlocks::isTaken(const CBlockCopy& found) const
{
    CSpyJournal::isFresh(m_heap, found.m_offset + BlockHeader, found.behind());
}

uint32_t CSpyHeapBlocks::firstFit(CBlock& head, uint32_t size)
{
    CFreeList list(m_heap, head);
    const auto [previous, found] = list.highest(size);
    if (found.m_offset != 0) {
        isTaken(found);
        takeStart(list, *previous, found, size, found.m_size - size >= SmallestRest);
    }
    return found.m_offset;
}

/// The first `size` bytes of a free block leave the list, or all of them.
void CSpyHeapBlocks::takeStart(CFreeList& list, CBlock& previous, const CBlockCopy& found, uint32_t size,
                               bool leavesRest)
{
    list.lost(found.m_offset);
    if (!leavesRest) {
        CSpyJournal::store(previous.m_next, found.m_next);
        return;
    }
    const uint32_t pNewBlock = split(found, size);
    GX_ASSERT(pNewBlock != 0, "pNewBlock != 0");
    CSpyJournal::store(previous.m_next, pNewBlock);
    list.has(pNewBlock, found.m_size - size - BlockHeader);
}

/// Small requests that the small pool cannot meet come off the end of the lowest block that is larger: the
/// upper blocks of the large pool stay whole for large requests.
uint32_t CSpyHeapBlocks::lastFit(CBlock& head, uint32_t size)
{
    CFreeList list(m_heap, head);
    const auto [previous, best] = list.lowest(size + 1);
    return best.m_offset != 0 ? takeEnd(list, *previous, best, size) : 0;
}

uint32_t CSpyHeapBlocks::takeEnd(CFreeList& list, CBlock& previous, const CBlockCopy& found, uint32_t size)
{
    isTaken(found);
    if (found.m_size - size >= SmallestRest) {
        const uint32_t taken = splitOffEnd(found, size);
        list.has(found.m_offset, found.m_size - size - BlockHeader);
        return taken;
    }
    CSpyJournal::store(previous.m_next, found.m_next);
    list.lost(found.m_offset);
    return found.m_offset;
}

bool CSpyHeapBlocks::areAllFree() const
{
    const uint32_t whole = m_head.m_poolBlockSize.load();
    const auto isOneWholeBlock = [&](const CBlock& head) {
        const CBlockCopy only = m_walk.firstOf(head);
        return only.m_offset != 0 && only.m_next == 0 && only.m_size >= whole;
    };
    return isOneWholeBlock(m_head.m_largePool) && isOneWholeBlock(m_head.m_smallPool);
}

CSpyMemRef CSpyHeapBlocks::takeAll()
{
    const CBlockCopy oneBigBlock = m_walk.firstOf(m_head.m_largePool);
    const CBlockCopy absorbed = m_walk.firstOf(m_head.m_smallPool);
    GX_ASSERT(oneBigBlock.m_offset != 0, "oneBigBlock != 0");
    if (absorbed.m_offset != oneBigBlock.behind())
        throw CHeapCorrupted("!!Spy Heap corrupted!! An empty heap is not of one piece");
    const uint32_t size = oneBigBlock.m_size + absorbed.m_size + BlockHeader;
    swallow(absorbed);
    isTaken(oneBigBlock);
    isTaken(absorbed);
    CSpyJournal::store(block(oneBigBlock.m_offset).m_size, size);
    CSpyJournal::store(m_head.m_poolBlockSize, size);
    CSpyJournal::store(m_head.m_largePool.m_next, 0U);
    CSpyJournal::store(m_head.m_smallPool.m_next, 0U);
    m_heap.freeIndex().drop();
    return stamp(oneBigBlock.m_offset);
}

/// What is left of a block that keeps `sizeThisBlock` becomes a free block, not yet in a list. @return its
/// offset
uint32_t CSpyHeapBlocks::split(const CBlockCopy& whole, uint32_t sizeThisBlock)
{
    GX_ASSERT(whole.m_size > sizeThisBlock + BlockHeader, "m_size > sizeThisBlock+sizeof(CHeapBlock)");
    const uint32_t rest = whole.m_offset + BlockHeader + sizeThisBlock;
    CSpyJournal::keep(block(rest));
    block(rest).store({rest, whole.m_size - sizeThisBlock - BlockHeader, 0, 0, whole.m_next});
    CHeapChange::step();
    CSpyJournal::keep(block(whole.m_offset)); // all of it, which `stamp` will find kept
    block(whole.m_offset).m_size.store(sizeThisBlock);
    return rest;
}

/// The last `sizeNewBlock` bytes of a free block become a used one. @return its offset
uint32_t CSpyHeapBlocks::splitOffEnd(const CBlockCopy& whole, uint32_t sizeNewBlock)
{
    GX_ASSERT(whole.m_size > sizeNewBlock + BlockHeader, "m_size > sizeNewBlock+sizeof(CHeapBlock)");
    const uint32_t rest = whole.m_size - sizeNewBlock - BlockHeader;
    const uint32_t end = whole.m_offset + BlockHeader + rest;
    CSpyJournal::keep(block(end));
    block(end).store({end, sizeNewBlock});
    CHeapChange::step();
    CSpyJournal::store(block(whole.m_offset).m_size, rest);
    return end;
}

/// Marks a block as allocated, the last step of every allocation.
CSpyMemRef CSpyHeapBlocks::stamp(uint32_t offset)
{
    CBlock* pBlock = m_heap.blockAt(offset);
    GX_ASSERT(pBlock, "pBlock != 0");
    // After 2^32 allocations they begin anew; 0 would be no stamp.
    const UNIQUEID uid = std::max(m_head.m_lastUid.load() + 1, 1U);
    CSpyJournal::store(m_head.m_lastUid, uid);
    m_heap.freeIndex().stamped(uid);
    CSpyJournal::keep(*pBlock);
    pBlock->m_uid.store(uid);
    pBlock->m_next.store(0);
    CHeapChange::step();
    pBlock->m_used.store(1);
    return CSpyMemRef::of(m_heap.id(), offset, uid);
}

// Freeing and growing

void CSpyHeapBlocks::free(uint32_t offset)
{
    const CBlockCopy freed = m_walk.checked(offset);
    CSpyJournal::keep(block(offset));
    CSpyJournal::isGivenUp(m_heap, offset + BlockHeader, freed.behind());
    block(offset).m_used.store(0);
    block(offset).m_uid.store(0);
    link(listFor(offset), freed);
}

/// Puts a free block into its place in a list and joins it with the neighbours that are in the same list.
void CSpyHeapBlocks::link(CBlock& head, const CBlockCopy& freed)
{
    CFreeList list(m_heap, head);
    const auto [abovePlace, belowPlace] = list.around(freed.m_offset);
    const CBlockCopy &upper = abovePlace.m_found, &lower = belowPlace.m_found;
    CBlock& stored = block(freed.m_offset);
    const bool joinsUpper = upper.m_offset != 0 && freed.behind() == upper.m_offset;
    if (joinsUpper) {
        swallow(upper);
        list.lost(upper.m_offset);
    }
    if (lower.m_offset != 0 && lower.behind() == freed.m_offset) {
        uint32_t joined = lower.m_size + freed.m_size + BlockHeader;
        if (joinsUpper) {
            joined += upper.m_size + BlockHeader;
            CSpyJournal::store(abovePlace.m_previous->m_next, lower.m_offset);
        }
        CSpyJournal::store(block(lower.m_offset).m_size, joined);
        list.has(lower.m_offset, joined);
    } else if (joinsUpper) {
        const uint32_t joined = freed.m_size + upper.m_size + BlockHeader;
        stored.m_next.store(upper.m_next);
        stored.m_size.store(joined);
        CSpyJournal::store(abovePlace.m_previous->m_next, freed.m_offset);
        list.has(freed.m_offset, joined);
    } else {
        stored.m_next.store(lower.m_offset);
        CSpyJournal::store(belowPlace.m_previous->m_next, freed.m_offset);
        list.has(freed.m_offset, freed.m_size);
    }
}

/// The header of a free block becomes part of another block, whose owner may write there.
void CSpyHeapBlocks::swallow(const CBlockCopy& found) const
{
    CSpyJournal::keep(block(found.m_offset));
}

bool CSpyHeapBlocks::grow(uint32_t offset, uint32_t size)
{
    return absorbNext(m_walk.checked(offset), size);
}

bool CSpyHeapBlocks::absorbNext(const CBlockCopy& grown, uint32_t size)
{
    if (grown.behind() >= m_heap.size())
        return false;
    const CBlockCopy next = m_walk.checked(grown.behind());
    const uint32_t need = size - grown.m_size;
    uint32_t taken = next.m_size + BlockHeader;
    if (next.isUsed() || need > taken)
        return false;
    // A block that starts in the last bytes of the lower half may be in either list.
    CFreeList large(m_heap, m_head.m_largePool), small(m_heap, m_head.m_smallPool);
    CBlock* const inLarge = large.at(next.m_offset).m_previous;
    CFreeList& list = inLarge ? large : small;
    CBlock* const prevFree = inLarge ? inLarge : small.at(next.m_offset).m_previous;
    GX_ASSERT(prevFree && prevFree->isFree(), "prevFree != 0 && prevFree->isFree()");
    swallow(next);
    isTaken(next);
    const bool leavesRest = taken - need >= SmallestRest;
    takeStart(list, *prevFree, next, need, leavesRest);
    if (leavesRest)
        taken = need + BlockHeader;
    // The size of the grown block is what takes the next one in: it is written in one piece.
    CHeapChange::step();
    CSpyJournal::store(block(grown.m_offset).m_size, grown.m_size + taken);
    return true;
}

uint32_t CSpyHeapBlocks::half() const
{
    return (m_heap.size() - FirstBlock) >> 1;
}

// The limit is half, not FirstBlock + half where the small pool begins: a block that starts in the last bytes
// of the lower half changes pools when it is freed. All processes have to agree on this.
CSpyHeap::CHeapBlock& CSpyHeapBlocks::listFor(uint32_t offset) const
{
    return offset >= half() ? m_head.m_smallPool : m_head.m_largePool;
}

// The whole heap

/// Formatting leaves old block headers where they are, of a heap that is dropped or one whose processes were
/// all killed: without their stamps no reference that others still store is taken for valid.
void CSpyHeapBlocks::revokeStamps()
{
    if (m_head.m_poolBlockSize.load() == 0)
        return; // never formatted: its pages need not be touched
    if (!m_walk.forEachBlock([this](const CBlockCopy& each) { block(each.m_offset).m_uid.store(0); }))
        std::memset(&block(FirstBlock), 0, m_heap.size() - FirstBlock);
}

void CSpyHeapBlocks::format()
{
    const uint32_t small = FirstBlock + half();
    m_heap.freeIndex().drop();
    CHeapChange::mark(m_heap, CHeapChange::Formatting);
    m_head.m_changeCount.store(0);
    // Upper block first: until the lower one has its new size, whoever walks the blocks never gets here.
    block(small).store({small, m_heap.size() - BlockHeader - small});
    block(FirstBlock).store({FirstBlock, half() - BlockHeader});
    m_head.m_largePool.m_next.store(FirstBlock);
    m_head.m_smallPool.m_next.store(small);
    m_head.m_overflowHeap.store(0);
    m_head.m_poolBlockSize.store(half() - BlockHeader);
    CHeapChange::mark(m_heap, CHeapChange::None);
}

void CSpyHeapBlocks::rebuild()
{
    CTracer::debugTrace("A process died while it changed spy heap %d: rebuilding the lists of free blocks",
                        static_cast<int>(m_heap.id()));
    m_heap.freeIndex().drop();
    if (m_head.m_largePool.m_used.load() == CHeapChange::Formatting) {
        format();
        return;
    }
    m_head.m_largePool.m_next.store(0);
    m_head.m_smallPool.m_next.store(0);
    CBlockCopy previous;
    for (uint32_t offset = FirstBlock; offset != m_heap.size(); offset = previous.behind())
        previous = relink(m_walk.checked(offset), previous);
}

/// Puts a block that is free into its list, or joins it with the one before it; they come in ascending order.
/// @return the block that now ends where this one does
CSpyHeap::CBlockCopy CSpyHeapBlocks::relink(const CBlockCopy& found, const CBlockCopy& previous)
{
    CBlock& stored = block(found.m_offset);
    CBlock& head = listFor(found.m_offset);
    stored.m_next.store(0);
    if (found.isUsed())
        return found;
    stored.m_uid.store(0);
    const uint32_t first = head.m_next.load();
    if (previous.m_offset != 0 && first == previous.m_offset) {
        CBlockCopy joined = previous;
        joined.m_size += found.m_size + BlockHeader;
        block(joined.m_offset).m_size.store(joined.m_size);
        return joined;
    }
    stored.m_next.store(first);
    head.m_next.store(found.m_offset);
    return found;
}
