// Rules of vectors, maps and mapped pairs that random walks do not reach.
#include "SpyName.h"
#include "StoreCheck.h"
#include "common/spy/IVariantIterator.h"

#include <cmath>
#include <functional>
#include <limits>
#include <type_traits>

namespace {
template <class T>
constexpr bool isValueWithKind = std::is_constructible_v<CSpyVariant, CSpyVariant::EType, T>;
static_assert(isValueWithKind<CSpyMemRef>);
static_assert(!isValueWithKind<const int*> && !isValueWithKind<bool> && !isValueWithKind<int> &&
              !isValueWithKind<unsigned long>);

class SpyContainerTest : public testing::Test {
protected:
    ~SpyContainerTest() override { CSpyHeap::deleteBaseHeap(); }

    static uint32_t usedBlocks() { return CSpyHeap::getStats().numberUsedBlocks; }
    static CSpyVector& filled(CSpyVector& vector, int count)
    {
        vector.create(0, 4, 4);
        for (int number = 0; number < count; ++number)
            vector.addElement(CSpyVariant(number));
        return vector;
    }
};

TEST_F(SpyContainerTest, VariantsAreEqualByTheRuleOfTheirKind)
{
    const CName text("ab"), same("ab"), longer("abc"), nothing("");
    CSpyVector object;
    object.create(0, 1, 1);
    const CSpyMemRef block(10, 0);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char* why;
        CSpyVariant one, other;
        bool equal;
    } rows[] = {
        {"bytes", CSpyVariant(static_cast<signed char>(-1)), CSpyVariant(static_cast<signed char>(-1)), true},
        {"shorts", CSpyVariant(static_cast<short>(-2)), CSpyVariant(static_cast<short>(-2)), true},
        {"other short", CSpyVariant(static_cast<short>(-2)), CSpyVariant(static_cast<short>(2)), false},
        {"longs beyond 32 bits", CSpyVariant(1L << 40), CSpyVariant(1L << 41), false},
        {"int and unsigned", CSpyVariant(1), CSpyVariant(1U), false},
        {"zeros of either sign", CSpyVariant(0.0), CSpyVariant(-0.0), true},
        {"double NaN", CSpyVariant(nan), CSpyVariant(nan), false},
        {"float NaN", CSpyVariant(NAN), CSpyVariant(NAN), false},
        {"strings", CSpyVariant(text, 0), CSpyVariant(same, 0), true},
        {"longer string", CSpyVariant(text, 0), CSpyVariant(longer, 0), false},
        {"empty strings", CSpyVariant(nothing, 0), CSpyVariant(nothing, 0), true},
        {"blocks", CSpyVariant(block), CSpyVariant(block), true},
        {"block and vector", CSpyVariant(object.ref()), CSpyVariant(object), false},
        {"empty", CSpyVariant(), CSpyVariant(), false},
        {"characters", CSpyVariant(7, true), CSpyVariant(7, true), false},
        {"unsigned shorts", CSpyVariant(7, false), CSpyVariant(7, false), false},
        {"mapped pairs", CSpyVariant(CSpyVariant::SpyMappedPair, block),
         CSpyVariant(CSpyVariant::SpyMappedPair, block), false},
        {"mailslots", CSpyVariant(CSpyVariant::SpyMailslot, block),
         CSpyVariant(CSpyVariant::SpyMailslot, block), true},
        {"decimals", CSpyVariant(CSpyVariant::SpyDecimal, block), CSpyVariant(CSpyVariant::SpyDecimal, block),
         false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.equal, row.one == row.other) << row.why;
}

TEST_F(SpyContainerTest, StringsOwnOneBlockThatIsFreedOnce)
{
    CSpyVariant text(CName("ab"), 0), copy = text;
    EXPECT_TRUE(text == CName("ab"));
    EXPECT_FALSE(text == CName("abc"));
    EXPECT_FALSE(CSpyVariant(7) == CName(""));
    EXPECT_EQ(4U, text.getStringLen());
    text.free();
    text.free();
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(0U, usedBlocks());
    EXPECT_THROW(copy.getStringLen(), CInvalidSpyMemRef);
    EXPECT_THROW(static_cast<void>(copy == CName("ab")), CInvalidSpyMemRef);

    const CSpyVariant empty(CName(""), 0);
    EXPECT_TRUE(empty.isa(CSpyVariant::SpyString) && !empty.ref());
    EXPECT_EQ(0, *empty.getString());
    EXPECT_EQ(nullptr, CSpyVariant(7).getString());
}

TEST_F(SpyContainerTest, AStringLongerThanItsBlockIsReported)
{
    CSpyVariant text(CName("ab"), 0);
    const uint32_t wrong = 1000;
    CSpyMemRef block = text.ref();
    block.write(0, &wrong, sizeof wrong);
    EXPECT_THROW(text.getStringLen(), CHeapCorrupted);
    EXPECT_THROW(static_cast<void>(text == CName("ab")), CHeapCorrupted);
}

TEST_F(SpyContainerTest, VectorsGrowAsFarAsAnIndexAsks)
{
    const struct {
        const char* why;
        int elements, index;
        unsigned size, capacity;
    } rows[] = {
        {"inside", 3, 1, 3, 4},
        {"at the end", 3, 3, 4, 4},
        {"first beyond the room", 4, 4, 5, 8},
        {"far beyond", 0, 10, 11, 14},
        {"one below the room", 0, 3, 4, 4},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CSpyVector vector;
        filled(vector, row.elements).set(row.index, CSpyVariant(99));
        EXPECT_EQ(row.size, vector.size());
        EXPECT_EQ(row.capacity, vector.capacity());
        for (int gap = row.elements; gap < row.index; ++gap)
            EXPECT_TRUE(vector.get(gap).isEmpty());
        for (unsigned slot = row.size; slot < row.capacity; ++slot)
            EXPECT_TRUE(vector[slot].isEmpty());
        EXPECT_THROW(vector[row.capacity], COutOfSpyMemory);
    }
}

TEST_F(SpyContainerTest, IndicesThatNoHeapCanHoldChangeNothing)
{
    for (const int index : {-1, -5, std::numeric_limits<int>::max(), 0x10000000}) {
        CSpyVector vector;
        filled(vector, 2);
        EXPECT_THROW(vector.set(index, CSpyVariant(1)), COutOfSpyMemory) << index;
        EXPECT_TRUE(vector.get(index).isEmpty());
        EXPECT_EQ(CSpyVector::NotFound, vector.indexOf(CSpyVariant(0), index));
        CSpyVariant text(CName("freed"), 0);
        vector.insertElement(text, index);
        EXPECT_TRUE(text.isEmpty());
        EXPECT_EQ(2U, vector.size());
        vector.free();
    }
    EXPECT_EQ(0U, usedBlocks());
}

TEST_F(SpyContainerTest, AFreedOrStaleVectorIsReported)
{
    CSpyVector vector, other;
    filled(vector, 2).update();
    CSpyVector late(vector.ref());
    vector.free();
    EXPECT_THROW(vector.addElement(CSpyVariant(1)), CInvalidSpyMemRef);
    EXPECT_THROW(vector.free(), CInvalidSpyMemRef);
    EXPECT_THROW(late.addElement(CSpyVariant(1)), CInvalidSpyMemRef);
    EXPECT_THROW(late.get(0), CInvalidSpyMemRef);

    CSpyVariant text(CName("freed by another"), 0), copy = text;
    filled(other, 1).addElement(text);
    copy.free();
    other.removeAllElements();
    EXPECT_TRUE(other.isEmpty());

    CSpyVectorHdr header;
    CSpyMemRef block = other.ref();
    block.read(&header, sizeof header);
    header.m_size = header.m_capacity = 1000;
    block.write(0, &header, sizeof header);
    EXPECT_THROW(CSpyVector(other.ref()).get(7), CHeapCorrupted);
    EXPECT_THROW(CSpyVector(other.ref()).indexOf(CSpyVariant(7), 0), CHeapCorrupted);
}

/// Numbers of 0 to 899, each a key with the same sum.
std::string sameSum(int number)
{
    std::string key = "aaa";
    for (char& place : key) {
        place = static_cast<char>('a' + number % 10);
        number /= 10;
    }
    int sum = 0;
    for (const char place : key)
        sum += place - 'a';
    return key + std::string(static_cast<size_t>(27 - sum), 'b') + std::string(static_cast<size_t>(sum), 'a');
}

TEST_F(SpyContainerTest, MapsGrowAfterTheThirtiethCollisionOfAHundredBuckets)
{
    CSpyMap map;
    const auto capacity = [&] {
        CSpyMapHdr header;
        map.ref().read(&header, sizeof header);
        return CSpyVector(header.m_data).capacity();
    };
    int keys = 0;
    const auto put = [&] { return map.put(CName(sameSum(keys++)), CName("v")); };
    while (keys < 31)
        ASSERT_TRUE(put());
    map.update();
    EXPECT_EQ(200U, capacity());
    ASSERT_TRUE(put());
    EXPECT_EQ(300U, capacity());
    for (int number = 0; number < keys; ++number)
        EXPECT_TRUE(map.get(CName(sameSum(number))) == CName("v")) << number;
}

TEST_F(SpyContainerTest, AMapWhoseKeysAllMeetStaysUsable)
{
    CSpyMap map((CSpyMemRef()));
    map.create(CName(""), 3, 1);
    for (int number = 0; number < 900; ++number)
        ASSERT_TRUE(map.put(CName(sameSum(number)), CSpyVariant(number)));
    EXPECT_EQ(900U, map.size());
    for (int number = 0; number < 900; ++number)
        ASSERT_TRUE(map.get(CName(sameSum(number))) == CSpyVariant(number));
}

TEST_F(SpyContainerTest, ChainsKeepTheirOddities)
{
    CSpyMap map;
    const CName first(sameSum(1)), second(sameSum(2)), absent(sameSum(3));
    map.put(first, CName(sameSum(2)));
    map.put(second, CName("hidden"));
    EXPECT_FALSE(map.containsKey(second)) << "a value that equals the key comes first";
    EXPECT_TRUE(map.get(second).isEmpty());
    map.remove(absent);
    EXPECT_EQ(1U, map.size()) << "an absent key counts where there is a chain";
    map.remove(CName("no chain here"));
    EXPECT_EQ(1U, map.size());

    CSpyVariant keys[2];
    EXPECT_FALSE(map.getKeys(keys, 2)) << "more keys than the size says";
    EXPECT_TRUE(keys[1] == second);
    EXPECT_FALSE(map.getKeys(keys, 0));
}

TEST_F(SpyContainerTest, ContainersFreeWhatTheyRefuseOrReplace)
{
    CSpyMap map;
    CSpyMappedPair pair;
    pair.create(0U);
    map.put(CName("key"), CName("value"));
    pair.put(CName("key"), CName("value"), 1);
    const uint32_t used = usedBlocks();
    CSpyVariant nothing;
    const struct {
        const char* why;
        std::function<bool()> put;
        bool taken;
    } rows[] = {
        {"the same key again", [&] { return map.put(CName("key"), CName("other")); }, true},
        {"an empty key", [&] { return map.put(nothing, CSpyVariant(CName("freed"), 0)); }, false},
        {"the value it has", [&] { return map.put(CName("key"), map.get(CName("key"))); }, true},
        {"the same key again", [&] { return pair.put(CName("key"), CName("other"), 2); }, true},
        {"an empty key", [&] { return pair.put(nothing, CSpyVariant(CName("freed"), 0), 2); }, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.taken, row.put()) << row.why;
        EXPECT_EQ(used, usedBlocks()) << row.why;
    }
    EXPECT_TRUE(map.get(CName("key")) == CName("other"));
    pair.removeAll();
    EXPECT_FALSE(CSpyMappedPair(pair.ref()).put(CName("key"), CName("value"), 1))
        << "no data vector in any process";
    pair.free();
    map.free();
    EXPECT_EQ(0U, usedBlocks());
}

TEST_F(SpyContainerTest, AStaleMapOrMappedPairIsReported)
{
    CSpyMap map;
    CSpyMappedPair pair;
    pair.create(0U);
    CSpyMap lateMap(map.ref());
    CSpyMappedPair latePair(pair.ref());
    map.free();
    pair.free();
    EXPECT_THROW(lateMap.get(CName("key")), CInvalidSpyMemRef);
    EXPECT_THROW(lateMap.put(CName("key"), CName("value")), CInvalidSpyMemRef);
    EXPECT_THROW(lateMap.refresh(), CInvalidSpyMemRef);
    EXPECT_THROW(latePair.put(CName("key"), CName("value"), 1), CInvalidSpyMemRef);
    EXPECT_THROW(latePair.refresh(), CInvalidSpyMemRef);
    CSpyMap none((CSpyMemRef()));
    EXPECT_THROW(none.get(CName("key")), CInvalidSpyMemRef);
    EXPECT_EQ(nullptr, CSpyMap(none).keys());
    EXPECT_EQ(0U, usedBlocks());
}
} // namespace
