// The worked examples of doc/ against a real heap.
#include "HexExample.h"
#include "SpyName.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyMappedPair.h"

namespace {
class SpyFormatTest : public testing::Test {
protected:
    ~SpyFormatTest() override { CSpyHeap::deleteBaseHeap(); }
    static const void* area() { return CSpyHeap::getHeap(0)->header(); }
};

TEST_F(SpyFormatTest, StoresVariantsAndStringsAsDocumented)
{
    const CSpyVariant text(CName("ab"), 0);
    expectExample("spy-variant.md", "variant", &text);
    expectExample("spy-variant.md", "string", area());
}

TEST_F(SpyFormatTest, StoresVectorsAsDocumented)
{
    CSpyVector vector;
    vector.create(0, 2, 4);
    vector.addElement(CSpyVariant(7));
    vector.addElement(CSpyVariant(CName("ab"), 0));
    vector.update();
    expectExample("spy-vector.md", "vector", area());
}

TEST_F(SpyFormatTest, StoresMapsAsDocumented)
{
    CSpyMap map((CSpyMemRef()));
    map.create(CName(""), 0, 2);
    map.put(CName("a"), CSpyVariant(7));
    map.put(CName("c"), CSpyVariant(8));
    map.update();
    expectExample("spy-map.md", "map", area());
}

TEST_F(SpyFormatTest, StoresMappedPairsAsDocumented)
{
    CSpyMappedPair pair;
    pair.create(0U);
    pair.put(CName("a"), CSpyVariant(7), 3);
    expectExample("spy-mapped-pair.md", "pair", area());
}
} // namespace
