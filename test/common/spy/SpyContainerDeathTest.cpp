// What a process leaves that is killed while it changes containers.
#include "ChildProcess.h"
#include "Seed.h"
#include "SpyName.h"
#include "StoreCheck.h"

#include <chrono>
#include <random>
#include <thread>
#include <unistd.h>

namespace {
using namespace std::chrono_literals;

constexpr int Deaths = 200;
constexpr int Changes = 1000; ///< by a child that is not killed in time: a quarter of them are puts
constexpr int Kept = 15;      ///< entries that nobody changes
constexpr int Heaps = 32;     ///< far more than all deaths together fill
constexpr unsigned HeapSize = 0x100000;

/// Begins a store whose overflow heaps this process has attached: a heap that only the killed process had
/// would go with it.
void beginStore(int overflowHeaps)
{
    CSpyHeap::setDefaultHeapSize(HeapSize);
    CSpyHeap::deleteBaseHeap();
    const CSpyHeapLock lock;
    CSpyHeap* heap = CSpyHeap::getHeap(0);
    for (int count = 0; heap && count < overflowHeaps; ++count)
        heap = heap->overflowHeap();
    ASSERT_TRUE(heap);
}

/// Until even the smallest block comes from an overflow heap.
void fillBaseHeap()
{
    for (const unsigned size : {500, 1})
        while (CSpyMemRef(size, 0).heapId() == 0)
            continue;
}

/// A map, a vector and a mapped pair that processes share.
struct CShared {
    CSpyMemRef map, vector, pair;

    CShared()
    {
        CSpyMap newMap((CSpyMemRef()));
        CSpyVector newVector;
        CSpyMappedPair newPair;
        // It would grow after 300 collisions, which leaves chains that nobody names.
        newMap.create(CName(""), 0, 1000);
        newVector.create(0, 2, 3);
        newPair.create(0U);
        for (int number = 0; number < Kept; ++number) {
            newMap.put(kept(number), kept(number));
            newVector.addElement(CSpyVariant(kept(number), 0));
            newPair.put(kept(number), kept(number), number);
        }
        map = newMap.ref();
        vector = newVector.ref();
        pair = newPair.ref();
    }
    static CName kept(int number) { return CName("kept" + std::to_string(number)); }

    void change(std::mt19937& random) const
    {
        const CSpyUnit unit;
        const CName name("key" + std::to_string(random() % 200));
        switch (random() % 8) {
        case 0:
            removeFromVector();
            break;
        case 1:
        case 2:
            CSpyVector(vector).addElement(CSpyVariant(name, 0));
            break;
        case 3:
            CSpyMappedPair(pair).put(name, name, 1);
            break;
        case 4:
            CSpyMappedPair(pair).remove(name).free();
            break;
        case 5:
            if (CSpyMap(map).containsKey(name)) // else it counts one entry less
                CSpyMap(map).remove(name).free();
            break;
        default:
            if (!CSpyMap(map).containsKey(name)) // the value that it replaces in a chain would stay allocated
                CSpyMap(map).put(name, name);
        }
    }
    void removeFromVector() const
    {
        CSpyVector itsVector(vector);
        if (itsVector.size() <= Kept + 5)
            return;
        CSpyVariant removed = itsVector.remove(Kept + 5);
        removed.free();
    }
    /// Blocks that none of the three names, in all heaps.
    size_t strangers() const
    {
        const CSpyHeapLock lock;
        CReachable reachable;
        reachable.addMap(map);
        reachable.addVector(vector);
        reachable.addPair(pair);
        return reachable.strangers();
    }
    void expectWhole(size_t strangers) const
    {
        const CSpyHeapLock lock;
        EXPECT_EQ(strangers, this->strangers());
        const CSpyMap itsMap(map);
        std::vector<CSpyVariant> keys(itsMap.size());
        EXPECT_TRUE(itsMap.getKeys(keys.data(), static_cast<unsigned>(keys.size())));
        EXPECT_EQ(0U, CSpyVector(readHeader(pair).m_data).size() % 3);
    }
    static CSpyMappedPairHdr readHeader(const CSpyMemRef& ref)
    {
        CSpyMappedPairHdr header;
        ref.read(&header, sizeof header);
        return header;
    }
    void expectKept() const
    {
        const CSpyHeapLock lock;
        CSpyMap itsMap(map);
        CSpyVector itsVector(vector);
        CSpyMappedPair itsPair(pair);
        for (int number = 0; number < Kept; ++number) {
            EXPECT_TRUE(itsMap.get(kept(number)) == kept(number)) << number;
            EXPECT_TRUE(itsVector.get(number) == kept(number)) << number;
            CSpyVariant value;
            int itsNumber = -1;
            itsPair.get(kept(number), value, itsNumber);
            EXPECT_TRUE(value == kept(number) && itsNumber == number) << number;
        }
    }
};

TEST(SpyContainerDeathTest, LeavesEachOperationDoneOrNotBegunAndNoBlockLost)
{
    std::mt19937 random(seed());
    beginStore(Heaps);
    for (int death = 0; death < Deaths && !testing::Test::HasFailure(); ++death) {
        const CShared shared;
        const size_t strangers = shared.strangers();
        CChildProcess child([&](CChildProcess& parent) {
            parent.pass();
            for (int count = 0; count < Changes; ++count)
                shared.change(random);
            pause();
        });
        child.wait();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 6000));
        child.die();
        const auto start = std::chrono::steady_clock::now();
        shared.expectKept();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
        shared.expectWhole(strangers);
        for (int count = 0; count < 50; ++count)
            EXPECT_NO_THROW(shared.change(random));
        shared.expectKept();
        shared.expectWhole(strangers);
    }
    const CSpyHeapLock lock;
    CReachable().strangers(); // every heap is whole
}

TEST(SpyContainerDeathTest, ReportsAsGoneWhatLayInAHeapThatOnlyTheDeadHad)
{
    beginStore(0);
    CSpyMappedPair pair;
    pair.create(0U);
    CChildProcess child([&](CChildProcess& parent) {
        fillBaseHeap();
        EXPECT_TRUE(CSpyMappedPair(pair.ref()).put(CName("key"), CName("value"), 1));
        parent.pass();
        parent.wait();
    });
    ASSERT_TRUE(child.wait());
    child.die();
    const CSpyHeapLock lock;
    CSpyMappedPair itsPair(pair.ref());
    EXPECT_THROW(itsPair.containsKey(CName("key")), CInvalidSpyMemRef);
    for (int count = 0; count < 100; ++count)
        fillBaseHeap(); // goes to the heap that was made anew
    EXPECT_THROW(itsPair.containsKey(CName("key")), CInvalidSpyMemRef);
    itsPair.removeAll();
    CReachable().strangers(); // every heap is whole
}
} // namespace
