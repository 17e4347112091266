/// What the containers of spy memory own, read from their stored forms.
#pragma once

#include "HeapCheck.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyMappedPair.h"

#include <gtest/gtest.h>

#include <set>

/// The blocks that containers reach. Each has one owner: a second one is a failure. Hold the heap mutex.
class CReachable {
public:
    void addVector(const CSpyMemRef& ref)
    {
        const auto header = read<CSpyVectorHdr>(ref);
        add(header.m_elements);
        ASSERT_LE(header.m_size, header.m_capacity);
        for (unsigned index = 0; index < header.m_size; ++index)
            addValue(header[index]);
    }
    void addMap(const CSpyMemRef& ref) { addVector(read<CSpyMapHdr>(ref).m_data); }
    void addPair(const CSpyMemRef& ref)
    {
        const auto header = read<CSpyMappedPairHdr>(ref);
        if (!!header.m_data)
            addVector(header.m_data);
    }
    /// Allocated blocks of all heaps that are not among them.
    size_t strangers() const
    {
        size_t used = 0;
        for (HEAPID id = 0; id <= MaxHeap; ++id)
            if (CSpyHeap* heap = CSpyHeap::getHeap(id)) {
                const CHeapImage image(*heap);
                EXPECT_EQ("", image.fault()) << "heap " << id;
                for (const auto& [offset, block] : image.blocks())
                    used += block.used & 1;
            }
        EXPECT_GE(used, m_blocks.size());
        return used - m_blocks.size();
    }

private:
    void add(const CSpyMemRef& ref)
    {
        ref.isValid();
        EXPECT_TRUE(m_blocks.insert(ref.word()).second) << "two owners of " << ref.word();
    }
    void addValue(const CSpyVariant& value)
    {
        if (value.isa(CSpyVariant::SpyString) && !!value.ref())
            add(value.ref());
        if (value.isa(CSpyVariant::SpyVector))
            addVector(value.ref());
    }
    template <class Header> Header read(const CSpyMemRef& ref)
    {
        add(ref);
        Header header;
        ref.read(&header, sizeof header);
        return header;
    }

    std::set<uint32_t> m_blocks;
};
