/// The invariants of a spy heap, read from its bytes alone.
#pragma once

#include "common/spy/SpyFreeIndex.h"
#include "include/SpyHeap.h"

#include <cstring>
#include <map>
#include <string>
#include <vector>

/// A heap as its stored form shows it. Hold the heap mutex while it is made.
class CHeapImage {
public:
    struct CBlock {
        uint32_t size, used, uid, next;
    };

    explicit CHeapImage(const CSpyHeap& heap)
        : CHeapImage(reinterpret_cast<const unsigned char*>(heap.header()), heap.size())
    {
    }
    CHeapImage(const unsigned char* area, uint32_t size) : m_area(area), m_size(size)
    {
        if (readBlocks())
            checkLists();
    }

    /// Empty when blocks tile the area and the lists hold exactly the free blocks in descending order.
    const std::string& fault() const { return m_fault; }
    const std::map<uint32_t, CBlock>& blocks() const { return m_blocks; }
    std::vector<uint32_t> list(uint32_t headAt)
    {
        std::vector<uint32_t> found;
        for (uint32_t at = word(headAt); at != 0; at = m_blocks[at].next) {
            if (!m_blocks.count(at) || (!found.empty() && at >= found.back())) {
                complain("a list leads astray", at);
                break;
            }
            found.push_back(at);
        }
        return found;
    }
    uint32_t word(uint32_t at) const
    {
        uint32_t value;
        std::memcpy(&value, m_area + at, sizeof value);
        return value;
    }

private:
    bool readBlocks()
    {
        uint32_t at = 1232;
        while (at < m_size) {
            CBlock block;
            if (m_size - at < sizeof block)
                return complain("a block header ends beyond the heap", at);
            std::memcpy(&block, m_area + at, sizeof block);
            if (block.size > m_size - at - sizeof block)
                return complain("a block ends beyond the heap", at);
            m_blocks[at] = block;
            at += static_cast<uint32_t>(sizeof block) + block.size;
        }
        return true;
    }
    void checkLists()
    {
        std::map<uint32_t, int> listed;
        for (uint32_t head : {LargePool, SmallPool})
            for (uint32_t at : list(head))
                ++listed[at];
        for (const auto& [at, block] : m_blocks) {
            if (listed[at] != ((block.used & 1) ? 0 : 1))
                complain(block.used & 1 ? "a used block is in a list" : "a free block is not in one list",
                         at);
            if (!(block.used & 1) && block.uid != 0)
                complain("a free block has a stamp", at);
        }
        if (word(LargePool - 8) != 0)
            complain("a change is marked as under way", LargePool - 8);
    }
    bool complain(const char* what, uint32_t at)
    {
        m_fault += std::string(what) + " at " + std::to_string(at) + "; ";
        return false;
    }

public:
    static constexpr uint32_t LargePool = 1208;
    static constexpr uint32_t SmallPool = 1224;

private:
    const unsigned char* m_area;
    uint32_t m_size;
    std::map<uint32_t, CBlock> m_blocks;
    std::string m_fault;
};

/// Whether free blocks are found by the index from the first one on, or never.
class CIndexUse {
public:
    explicit CIndexUse(bool always)
    {
        CFreeIndex::s_shortWalk = always ? 0 : ~0U;
        CFreeIndex::s_worthIt = always ? 0 : ~0U;
    }
    ~CIndexUse()
    {
        CFreeIndex::s_shortWalk = m_shortWalk;
        CFreeIndex::s_worthIt = m_worthIt;
    }

private:
    const uint32_t m_shortWalk = CFreeIndex::s_shortWalk, m_worthIt = CFreeIndex::s_worthIt;
};
