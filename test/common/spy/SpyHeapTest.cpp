#include "HeapCheck.h"
#include "SpyMemory.h"

#include <gtest/gtest.h>

namespace {
class SpyHeapTest : public testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_EQ("", CHeapImage(*CSpyHeap::getHeap(0)).fault());
        CSpyHeap::deleteBaseHeap();
    }
    static CSpyHeap& base() { return *CSpyHeap::getHeap(0); }
};

TEST_F(SpyHeapTest, PlacesBlocksByTheRulesOfItsPools)
{
    constexpr uint32_t small = 1232 + 523672;
    EXPECT_EQ(1232U, base().allocate(1024).blockId());
    EXPECT_EQ(small, base().allocate(1023).blockId());
    EXPECT_EQ(small + 1039, base().allocate(1).blockId());
    EXPECT_EQ(small + 1039 + 48, base().allocate(32).blockId());
    CSpyMemRef a = base().allocate(100), b = base().allocate(50), c = base().allocate(60);
    base().free(b);
    base().free(a);
    base().free(c);
}
} // namespace
