#include "common/spy/SpyFreeIndex.h"

#include "common/spy/SpyJournal.h"
#include "include/SpyHeap.h"

#include <new>

CFreeTree::CFreeTree(uint32_t heapSize)
{
    uint32_t count = (heapSize + Granule - 1) / Granule;
    for (auto& level : m_levels) {
        const uint32_t groups = (count + Group - 1) / Group;
        level.resize(size_t{groups} * Group);
        count = groups;
    }
}

void CFreeTree::put(uint32_t index, uint32_t value)
{
    m_levels[0][index] = value;
    for (size_t level = 1; level < Levels; ++level) {
        const uint32_t* const group = &m_levels[level - 1][index & ~(Group - 1)];
        uint32_t largest = 0;
        for (uint32_t each = 0; each < Group; ++each)
            largest = std::max(largest, group[each]);
        index /= Group;
        if (m_levels[level][index] == largest)
            return;
        m_levels[level][index] = largest;
    }
}

CFreeTree::CEntry CFreeTree::entry(uint32_t index) const
{
    const uint32_t stored = m_levels[0][index];
    return {index * Granule + stored % Granule, stored / Granule};
}

CFreeTree::CFound CFreeTree::at(uint32_t offset) const
{
    const uint32_t index = offset / Granule;
    if (m_levels[0][index] == 0 || entry(index).m_offset != offset)
        return std::nullopt;
    return entry(index);
}

bool CFreeTree::set(uint32_t offset, uint32_t size)
{
    const uint32_t index = offset / Granule;
    if (size == 0 || size > LargestSize || (m_levels[0][index] != 0 && entry(index).m_offset != offset))
        return false;
    put(index, size * Granule | offset % Granule);
    return true;
}

bool CFreeTree::erase(uint32_t offset)
{
    if (!at(offset))
        return false;
    put(offset / Granule, 0);
    return true;
}

/// The highest or the lowest granule under a number of a level that is not below `least`.
CFreeTree::CEntry CFreeTree::downTo(size_t level, uint32_t index, uint32_t least, bool highest) const
{
    while (level-- > 0) {
        index = index * Group + (highest ? Group - 1 : 0);
        while (m_levels[level][index] < least)
            index += highest ? -1U : 1U;
    }
    return entry(index);
}

/// The highest block of that size in the granules before `end`.
CFreeTree::CFound CFreeTree::below(uint32_t end, uint32_t leastSize) const
{
    const uint32_t least = std::min(leastSize, LargestSize + 1) * Granule;
    for (size_t level = 0; level < Levels; ++level) {
        const uint32_t start = end & ~(Group - 1);
        for (uint32_t index = end; index-- > start;)
            if (m_levels[level][index] >= least)
                return downTo(level, index, least, true);
        end /= Group;
    }
    return std::nullopt;
}

/// The lowest block of that size in the granules from `start` on.
CFreeTree::CFound CFreeTree::from(uint32_t start, uint32_t leastSize) const
{
    const uint32_t least = std::min(leastSize, LargestSize + 1) * Granule;
    for (size_t level = 0; level < Levels; ++level) {
        const bool isHighest = level + 1 == Levels;
        const uint32_t end = isHighest ? Group : (start + Group - 1) & ~(Group - 1);
        for (uint32_t index = start; index < end; ++index)
            if (m_levels[level][index] >= least)
                return downTo(level, index, least, false);
        start = end / Group;
    }
    return std::nullopt;
}

CFreeTree::CFound CFreeTree::nextAbove(uint32_t offset) const
{
    const uint32_t index = offset / Granule;
    return m_levels[0][index] != 0 && entry(index).m_offset > offset ? entry(index) : from(index + 1, 1);
}

CFreeTree::CFound CFreeTree::nextBelow(uint32_t offset) const
{
    const uint32_t index = offset / Granule;
    return m_levels[0][index] != 0 && entry(index).m_offset < offset ? entry(index) : below(index, 1);
}

void CFreeIndex::begin(const CSpyHeap& heap)
{
    // Who else has the heap attached is only asked for what is to be used.
    const uint64_t era = m_trees ? CSpyJournal::confirmedEra() : CSpyJournal::era();
    const uint32_t stamp = heap.header()->m_lastUid.load();
    if (m_era != era || m_stamp != stamp) {
        drop();
        m_era = era;
        m_stamp = stamp;
    }
    if (!m_trees && m_walked >= s_worthIt) [[unlikely]]
        build(heap);
}

void CFreeIndex::drop()
{
    m_trees.reset();
    m_walked = 0;
}

/// Where there is no memory for it or the lists lead astray, they are walked.
void CFreeIndex::build(const CSpyHeap& heap)
try {
    m_walked = 0;
    m_era = CSpyJournal::confirmedEra();
    auto trees = std::make_unique<CTrees>(CTrees{CFreeTree(heap.size()), CFreeTree(heap.size())});
    if (!fill(*trees, heap))
        return;
    m_trees = std::move(trees);
    ++s_timesMade;
} catch (const std::bad_alloc&) {
}

bool CFreeIndex::fill(CTrees& trees, const CSpyHeap& heap)
{
    const CSpyHeap::CHeapHeader& header = *heap.header();
    for (const EPool pool : {Large, Small}) {
        uint32_t below = heap.size();
        uint32_t offset = (pool == Large ? header.m_largePool : header.m_smallPool).m_next.load();
        while (offset != 0) {
            if (offset >= below || !heap.mayStartAt(offset))
                return false;
            const CSpyHeap::CBlockCopy found = heap.copyAt(offset);
            if (found.isUsed() || !heap.holds(found) || !trees[pool].set(offset, found.m_size))
                return false;
            below = offset;
            offset = found.m_next;
        }
    }
    return true;
}
