#include "common/spy/SpyFreeList.h"

void CFreeList::advance(CPlace& place)
{
    place.m_previous = m_heap.blockAt(place.m_found.m_offset);
    place.m_found = m_walk.after(place.m_found);
    ++m_passed;
}

// In the index

/// The place in the heap of a block that the index has found; none when it has found none.
CFreeList::CPlace CFreeList::placeOf(const CFreeTree& tree, const CFreeTree::CFound& sought) const
{
    if (!sought)
        return {};
    const CFreeTree::CFound above = tree.nextAbove(sought->m_offset);
    return {above ? m_heap.blockAt(above->m_offset) : &m_head, m_heap.copyAt(sought->m_offset)};
}

/// Whether the heap agrees with what the index has found, if it has found anything. Only damage makes them differ.
bool CFreeList::isWhole(const CPlace& place, const CFreeTree::CFound& sought) const
{
    if (!sought)
        return true;
    const CBlockCopy& found = place.m_found;
    return place.m_previous->isFree() && place.m_previous->m_next.load() == found.m_offset &&
           found.isFree() && found.m_size == sought->m_size && found.m_next < found.m_offset;
}

/// @return whether the index had the answer
template <class Ask> bool CFreeList::isKnown(Ask ask, CPlace& place)
{
    const CFreeTree* const tree = m_index.tree(m_pool);
    if (!tree)
        return false;
    const CFreeTree::CFound sought = ask(*tree);
    place = placeOf(*tree, sought);
    if (isWhole(place, sought)) [[likely]]
        return true;
    m_index.drop();
    return false;
}

CFreeList::CPlace CFreeList::highest(uint32_t leastSize)
{
    CPlace place;
    const auto ask = [&](const CFreeTree& tree) { return tree.highest(leastSize); };
    return isKnown(ask, place) ? place : walkToHighest(leastSize);
}

CFreeList::CPlace CFreeList::lowest(uint32_t leastSize)
{
    CPlace place;
    const auto ask = [&](const CFreeTree& tree) { return tree.lowest(leastSize); };
    return isKnown(ask, place) ? place : walkToLowest(leastSize);
}

CFreeList::CPlace CFreeList::at(uint32_t offset)
{
    CPlace place;
    const auto ask = [&](const CFreeTree& tree) { return tree.at(offset); };
    return isKnown(ask, place) ? place : walkTo(offset);
}

CFreeList::CNeighbours CFreeList::around(uint32_t offset)
{
    CNeighbours found;
    const auto askUpper = [&](const CFreeTree& tree) { return tree.nextAbove(offset); };
    const auto askLower = [&](const CFreeTree& tree) { return tree.nextBelow(offset); };
    if (!isKnown(askUpper, found.m_upper) || !isKnown(askLower, found.m_lower))
        return walkAround(offset);
    CBlock& between =
        found.m_upper.m_found.m_offset != 0 ? *m_heap.blockAt(found.m_upper.m_found.m_offset) : m_head;
    found.m_lower.m_previous = &between;
    if (between.m_next.load() == found.m_lower.m_found.m_offset) [[likely]]
        return found;
    m_index.drop();
    return walkAround(offset);
}

// In the heap

CFreeList::CPlace CFreeList::walkToHighest(uint32_t leastSize)
{
    CPlace place = first();
    while (place.m_found.m_offset != 0 && place.m_found.m_size < leastSize)
        advance(place);
    return place;
}

CFreeList::CPlace CFreeList::walkToLowest(uint32_t leastSize)
{
    CPlace lowest;
    for (CPlace place = first(); place.m_found.m_offset != 0; advance(place))
        if (place.m_found.m_size >= leastSize)
            lowest = place;
    return lowest;
}

CFreeList::CPlace CFreeList::walkTo(uint32_t offset)
{
    CPlace place = first();
    while (place.m_found.m_offset > offset)
        advance(place);
    return place.m_found.m_offset == offset ? place : CPlace();
}

CFreeList::CNeighbours CFreeList::walkAround(uint32_t offset)
{
    CNeighbours found;
    found.m_lower = first();
    while (found.m_lower.m_found.m_offset > offset) {
        found.m_upper = found.m_lower;
        advance(found.m_lower);
    }
    return found;
}
