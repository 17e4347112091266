/// Where the free blocks of a heap lie, so that none of them is walked past to find one.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

class CSpyHeap;

/// The free blocks of one list by their place. Each granule of 64 bytes has room for one: between two of a
/// list lies a used one, which has at least 48 with its header, and a free one has at least 33. Above the
/// granules lie levels of which each number is the largest of 16 below it, so that a question or a change
/// takes a few steps.
class CFreeTree {
public:
    struct CEntry {
        uint32_t m_offset, m_size;
    };
    using CFound = std::optional<CEntry>;

    explicit CFreeTree(uint32_t heapSize);

    /// Adds a block or changes its size. @return false when another one is in its granule
    bool set(uint32_t offset, uint32_t size);
    /// @return false when it was not there
    bool erase(uint32_t offset);

    CFound at(uint32_t offset) const;
    CFound highest(uint32_t leastSize) const { return below(granules(), leastSize); }
    CFound lowest(uint32_t leastSize) const { return from(0, leastSize); }
    CFound nextAbove(uint32_t offset) const;
    CFound nextBelow(uint32_t offset) const;

private:
    static constexpr uint32_t Granule = 64, Group = 16;
    static constexpr uint32_t LargestSize = 0x1000000; ///< no heap is larger
    static constexpr size_t Levels = 5; ///< 16 MiB in 64 times 16 to the fourth, and the rest in the highest

    uint32_t granules() const { return static_cast<uint32_t>(m_levels[0].size()); }
    CEntry entry(uint32_t index) const;
    void put(uint32_t index, uint32_t value);
    CEntry downTo(size_t level, uint32_t index, uint32_t least, bool highest) const;
    CFound below(uint32_t end, uint32_t leastSize) const;
    CFound from(uint32_t start, uint32_t leastSize) const;

    /// The lowest level has a number for each granule: the size of its block, and in the low 6 bits where in
    /// the granule it starts; 0 for none.
    std::array<std::vector<uint32_t>, Levels> m_levels;
};

/// What this process knows of the free blocks of one heap, in its own memory. Everything under the heap
/// mutex.
///
/// It is made when this process has walked far in lists that nobody else has changed meanwhile, and good as
/// long as nobody does: see CSpyJournal::era. Whoever uses an answer compares it with the heap first.
class CFreeIndex {
public:
    enum EPool { Large, Small };

    /// A change of the lists begins: what is out of date goes.
    void begin(const CSpyHeap& heap);
    void drop();
    /// A block was allocated by this process.
    void stamped(uint32_t stamp) { m_stamp = stamp; }
    /// Null when the lists have to be walked.
    const CFreeTree* tree(EPool pool) const { return m_trees ? &(*m_trees)[pool] : nullptr; }
    /// So many free blocks were passed in the search for one.
    void walked(uint32_t blocks) { m_walked += blocks - std::min(blocks, s_shortWalk); }

    void set(EPool pool, uint32_t offset, uint32_t size)
    {
        if (m_trees && !(*m_trees)[pool].set(offset, size)) [[unlikely]]
            drop();
    }
    void erase(EPool pool, uint32_t offset)
    {
        if (m_trees && !(*m_trees)[pool].erase(offset)) [[unlikely]]
            drop();
    }

    // What tests set to 0 to have it at once.
    static inline uint32_t s_shortWalk = 32;            ///< takes no longer than to ask
    static inline uint32_t s_worthIt = 16384;           ///< longer walks take longer than to make it
    static uint64_t timesMade() { return s_timesMade; } ///< in this process

private:
    using CTrees = std::array<CFreeTree, 2>;

    void build(const CSpyHeap& heap);
    static bool fill(CTrees& trees, const CSpyHeap& heap);

    static inline uint64_t s_timesMade = 0;

    std::unique_ptr<CTrees> m_trees;
    uint64_t m_era = 0;
    uint32_t m_stamp = 0;  ///< the latest: another one is that of a process which may have no journal
    uint64_t m_walked = 0; ///< in this era
};
