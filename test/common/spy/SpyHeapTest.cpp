#include "ChildProcess.h"
#include "HeapCheck.h"
#include "HexExample.h"
#include "SpyName.h"
#include "UsedUp.h"
#include "common/spy/SpyMemory.h"
#include "session/PrivateSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {
std::atomic<int> s_allocationsLeft = 0; ///< before one fails; 0: none does
}

/// Takes the place of the library's in this program.
[[gnu::noinline]] void* operator new(size_t size)
{
    void* const place = s_allocationsLeft > 0 && --s_allocationsLeft == 0 ? nullptr : std::malloc(size);
    if (!place)
        throw std::bad_alloc();
    return place;
}
[[gnu::noinline]] void operator delete(void* place) noexcept
{
    std::free(place);
}
[[gnu::noinline]] void operator delete(void* place, size_t) noexcept
{
    std::free(place);
}

namespace {
using testing::HasSubstr;

constexpr uint32_t Half = 523672;
constexpr uint32_t FirstLarge = 1232;
constexpr uint32_t FirstSmall = FirstLarge + Half;
constexpr uint32_t PoolBlock = 523656;

class SpyHeapTest : public testing::Test {
protected:
    void TearDown() override
    {
        EXPECT_EQ("", CHeapImage(base()).fault());
        CSpyHeap::setDefaultHeapSize(0x100000);
        CSpyHeap::deleteBaseHeap();
    }
    static CSpyHeap& base() { return *CSpyHeap::getHeap(0); }
    static CSpyHeap& heapOf(const CSpyMemRef& ref) { return *CSpyHeap::getHeap(ref.heapId()); }
    static CHeapImage image() { return CHeapImage(base()); }
    static CSpyMemRef allocate(unsigned int size) { return base().allocate(size); }
    static void free(CSpyMemRef ref) { base().free(ref); }
    /// A heap of 8 KiB with two free blocks of 3464 bytes.
    static CSpyHeap& smallHeap()
    {
        CSpyHeap::setDefaultHeapSize(0x2000);
        const CSpyHeapLock lock;
        return *CSpyHeap::createHeap(1);
    }
    /// Leaves nothing free in a pool that a request could be met with.
    static void fill(CSpyHeap& heap, uint32_t pool)
    {
        const unsigned int most = pool == CHeapImage::SmallPool ? 1023 : 0x2000;
        for (CHeapImage now(heap); !now.list(pool).empty(); now = CHeapImage(heap)) {
            const unsigned int size = now.blocks().at(now.list(pool).front()).size;
            if (size < (pool == CHeapImage::SmallPool ? 32U : 1024U))
                return;
            heap.allocate(std::min(size, most));
        }
    }
    static bool isStale(CSpyMemRef ref)
    {
        try {
            return !ref.isValid();
        } catch (const CInvalidSpyMemRef&) {
            return true;
        }
    }
};

TEST_F(SpyHeapTest, PlacesBlocksByTheRulesOfItsPools)
{
    constexpr struct {
        const char* why;
        unsigned int size;
        uint32_t at, payload;
    } rows[] = {
        {"1024 bytes come from the large pool", 1024, FirstLarge, 1024},
        {"1023 bytes come from the small pool", 1023, FirstSmall, 1023},
        {"one byte takes 32, wherever the block before ended", 1, FirstSmall + 1039, 32},
        {"31 bytes take 32", 31, FirstSmall + 1039 + 48, 32},
        {"33 bytes are not rounded up", 33, FirstSmall + 1039 + 96, 33},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const CSpyMemRef ref = allocate(row.size);
        EXPECT_EQ(row.at, ref.blockId());
        EXPECT_EQ(row.payload, ref.size());
    }
}

TEST_F(SpyHeapTest, SplitsOnlyWhenTheRestCanHoldABlock)
{
    constexpr struct {
        const char* why;
        unsigned int room, request, taken;
    } rows[] = {{"exact fit", 64, 64, 64},
                {"48 bytes over: whole", 112, 64, 112},
                {"49 over: split", 113, 64, 64},
                {"the same in the large pool, 48 over", 1200, 1152, 1200},
                {"49 over", 1200, 1151, 1151}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CSpyHeap& heap = smallHeap();
        const CSpyMemRef room = heap.allocate(row.room);
        fill(heap, row.room < 1024 ? CHeapImage::SmallPool : CHeapImage::LargePool);
        heap.free(room);
        const CSpyMemRef taken = heap.allocate(row.request);
        EXPECT_EQ(room.blockId(), taken.blockId());
        EXPECT_EQ(row.taken, taken.size());
        EXPECT_EQ("", CHeapImage(heap).fault());
        heap.free();
    }
}

TEST_F(SpyHeapTest, CutsSmallRequestsOffTheEndOfTheLowestLargerBlockWhenTheSmallPoolIsFull)
{
    constexpr struct {
        const char* why;
        unsigned int room, request, taken, from;
    } rows[] = {{"much over: the tail", 1100, 500, 500, 600},
                {"49 over: the tail", 1072, 1023, 1023, 49},
                {"48 over: all of it", 1071, 1023, 1071, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CSpyHeap& heap = smallHeap();
        const CSpyMemRef room = heap.allocate(row.room);
        fill(heap, CHeapImage::LargePool);
        fill(heap, CHeapImage::SmallPool);
        heap.free(room);
        const CSpyMemRef taken = heap.allocate(row.request);
        EXPECT_EQ(room.blockId() + row.from, taken.blockId());
        EXPECT_EQ(row.taken, taken.size());
        EXPECT_EQ("", CHeapImage(heap).fault());
        heap.free();
    }
}

TEST_F(SpyHeapTest, JoinsFreedNeighboursInWhicheverOrderTheyCome)
{
    int order[] = {0, 1, 2, 3};
    do {
        CSpyMemRef blocks[] = {allocate(100), allocate(200), allocate(300), allocate(100)};
        for (const int index : order) {
            free(blocks[index]);
            ASSERT_EQ("", image().fault());
        }
        ASSERT_EQ(2U, image().blocks().size()) << "one free block a pool is left";
    } while (std::next_permutation(std::begin(order), std::end(order)));
}

TEST_F(SpyHeapTest, FreesTheLastBytesOfTheLowerHalfIntoTheSmallPool)
{
    for (const uint32_t start : {Half - 1, Half}) {
        const CSpyMemRef lower = allocate(start - FirstLarge - 16), last = allocate(1024),
                         fence = allocate(200);
        ASSERT_EQ(start, last.blockId());
        free(last);
        CHeapImage after = image();
        EXPECT_THAT(after.list(start < Half ? CHeapImage::LargePool : CHeapImage::SmallPool),
                    testing::Contains(last.blockId()));
        EXPECT_EQ("", after.fault());
        free(lower);
        free(fence);
    }
}

TEST_F(SpyHeapTest, GrowsInPlaceIntoAFreeNeighbour)
{
    constexpr struct {
        const char* why;
        unsigned int size, neighbour, grown, result;
        bool inPlace;
    } rows[] = {{"not larger: nothing happens", 100, 200, 60, 100, true},
                {"the rest is worth a block: it is split off", 100, 200, 150, 166, true},
                {"the rest is too small: all of it is taken", 100, 200, 270, 316, true},
                {"neighbour and its header exactly", 100, 200, 316, 316, true},
                {"one more: moves", 100, 200, 317, 317, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CSpyMemRef ref = allocate(row.size);
        const CSpyMemRef before = ref, neighbour = allocate(row.neighbour), fence = allocate(100);
        ref.write("grow", 4);
        free(neighbour);
        ref.realloc(row.grown);
        EXPECT_EQ(row.inPlace, ref == before);
        EXPECT_EQ(row.result, ref.size());
        EXPECT_EQ("", image().fault());
        EXPECT_EQ(0, std::memcmp(&ref, "grow", 4));
        EXPECT_EQ(!row.inPlace, isStale(before));
        free(ref);
        free(fence);
    }
}

TEST_F(SpyHeapTest, GivesOversizedRequestsAWholeHeapOfTheirOwn)
{
    const CSpyMemRef first = allocate(PoolBlock + 1), second = allocate(2 * PoolBlock - 1);
    EXPECT_EQ(1U, first.heapId());
    EXPECT_EQ(2U, second.heapId()) << "an overflow heap that is taken is passed by";
    EXPECT_EQ(1047328U, first.size());
    EXPECT_EQ(1047328U, CSpyHeap::LargestPossibleBlock);
    EXPECT_EQ("", CHeapImage(heapOf(first)).fault());
    for (const unsigned int tooMuch : {CSpyHeap::LargestPossibleBlock, 2 * PoolBlock, 0xFFFFFFFFU})
        EXPECT_THROW(allocate(tooMuch), COutOfSpyMemory) << tooMuch;
    heapOf(first).free(first);
    EXPECT_EQ("", CHeapImage(heapOf(first)).fault());
}

TEST_F(SpyHeapTest, OverflowsIntoFurtherHeapsAndDropsThemWithTheirTransaction)
{
    const HEAPID first = base().allocate(PoolBlock, 77).heapId();
    const CSpyMemRef over = base().allocate(PoolBlock, 77), further = base().allocate(PoolBlock, 77);
    EXPECT_EQ(1U, first);
    EXPECT_EQ(2U, over.heapId());
    EXPECT_EQ(3U, further.heapId());
    EXPECT_EQ(77U, CSpyHeap::getTransactionId(3));
    EXPECT_EQ(1U, CSpyHeap::getHeapId(77));
    EXPECT_EQ(4U, CSpyHeap::getStats().numberOfActiveHeaps);

    CSpyMemory::free(0U);
    EXPECT_FALSE(isStale(over)) << "transaction 0 is never dropped";
    CSpyMemory::free(77U);
    for (const CSpyMemRef& ref : {over, further})
        EXPECT_TRUE(isStale(ref));
    EXPECT_EQ(NoHeap, CSpyHeap::getHeapId(77));
    EXPECT_EQ(1U, CSpyHeap::getStats().numberOfActiveHeaps);
    const CSpyMemRef again = base().allocate(PoolBlock, 78);
    EXPECT_EQ(1U, again.heapId()) << "ids are used again";
    EXPECT_EQ(2U, again.uid()) << "stamps go on, so that old references stay invalid";
}

TEST_F(SpyHeapTest, DropsATransactionWhoseOverflowHeapHasTheLowerId)
{
    base().allocate(100, 1);
    CSpyMemRef first = base().allocate(PoolBlock, 2), over;
    CSpyMemory::free(1U);
    over = base().allocate(PoolBlock, 2);
    ASSERT_GT(first.heapId(), over.heapId());
    CSpyMemory::free(2U);
    EXPECT_EQ(NoHeap, CSpyHeap::getHeapId(2));
    EXPECT_TRUE(isStale(first) && isStale(over));

    // A link of one of its heaps that was left is not followed into what others have there.
    first = base().allocate(PoolBlock, 3);
    over = CSpyHeap::getHeap(first.heapId())->overflowHeap()->allocate(10);
    CSpyHeap::dropHeap(over.heapId());
    EXPECT_EQ(0U, CSpyHeap::getHeap(first.heapId())->header()->m_overflowHeap.load());
    const CSpyMemRef others = base().allocate(10, 4);
    ASSERT_EQ(over.heapId(), others.heapId());
    CSpyMemory::free(3U);
    EXPECT_FALSE(isStale(others));
}

TEST_F(SpyHeapTest, DetachesADroppedHeapAfterItsLastReader)
{
    const auto mappings = [] {
        std::ifstream maps("/proc/self/maps");
        int count = 0;
        for (std::string line; std::getline(maps, line);)
            count += line.find("/SYSV") != std::string::npos;
        return count;
    };
    const auto run = [] {
        for (UNIQUEID transaction = 1; transaction <= 4; ++transaction)
            base().allocate(100, transaction);
        for (UNIQUEID transaction = 1; transaction <= 4; ++transaction)
            CSpyMemory::free(transaction);
    };
    run();
    const int before = mappings();
    for (int count = 0; count < 2500; ++count)
        run();
    EXPECT_EQ(before, mappings()) << "after 10 000 transactions";
    for (UNIQUEID transaction = 1; transaction <= 3; ++transaction)
        base().allocate(100, transaction);
    const CSpyHeap& third = *CSpyHeap::getHeap(3);
    {
        const CSpyHeap::CReading reading;
        CSpyMemory::free(3U);
        EXPECT_EQ(nullptr, CSpyHeap::getHeap(3));
        third.verifyBlock(FirstLarge, 1);
        CSpyHeap::getStats();
        EXPECT_EQ(before + 1, mappings());
    }
    run();
    EXPECT_EQ(before, mappings());
}

TEST_F(SpyHeapTest, StaysOnItsDisplayWhateverDisplaySaysMeanwhile)
{
    base();
    const std::string before = getenv("DISPLAY");
    setenv("DISPLAY", ":elsewhere", 1);
    CSpyMemRef large = base().allocate(PoolBlock, 5);
    setenv("DISPLAY", before.c_str(), 1);
    large.write('x', 1);
    CChildProcess other([&](CChildProcess&) {
        CSpyHeap::deleteBaseHeap();
        char first = 0;
        large.read(&first, 1);
        EXPECT_EQ('x', first);
    });
    EXPECT_EQ(0, other.join());
}

TEST_F(SpyHeapTest, RefusesThe256thHeapAndGoesOnWhenOneIsFree)
{
    CSpyHeap::setDefaultHeapSize(0x2000);
    for (UNIQUEID transaction = 1; transaction <= 255; ++transaction)
        ASSERT_EQ(transaction, base().allocate(100, transaction).heapId());
    try {
        base().allocate(100, 256);
        FAIL();
    } catch (const COutOfSpyMemory& e) {
        EXPECT_STREQ("Can't create Spy Heap for transaction Id 256", e.message());
    }
    CSpyMemory::free(100U);
    EXPECT_EQ(100U, base().allocate(100, 256).heapId());
    EXPECT_EQ(255U, base().allocate(100, 255).heapId());
}

TEST_F(SpyHeapTest, ReportsThatTheSystemRefusesASegmentAndRecovers)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    allocate(100);
    {
        const CUsedUp noMore(CUsedUp::Segments);
        EXPECT_THROW(base().allocate(100, 5), COutOfSpyMemory);
        EXPECT_THROW(allocate(PoolBlock + 1), COutOfSpyMemory);
        EXPECT_EQ(NoHeap, CSpyHeap::getHeapId(5)) << "the id of the heap that never was is free again";
    }
    EXPECT_EQ(1U, base().allocate(100, 5).heapId());
}

TEST_F(SpyHeapTest, ReportsThatTheBaseHeapCannotBeMade)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    CSpyHeap::deleteBaseHeap();
    {
        const CUsedUp noMore(CUsedUp::Segments);
        EXPECT_THROW(CSpyMemory(), COutOfSpyMemory);
    }
    EXPECT_NO_THROW(CSpyMemory());
}

TEST_F(SpyHeapTest, IsMadeWhenMemoryHasRunOutAtAnyAllocationBefore)
{
    const auto use = [] {
        CSpyMemory().allocate(CName("name"), 10, 0);
        base().allocate(100, 5);
        CSpyMemory::free(5U);
    };
    int failures = 0;
    for (bool hasRunOut = true; hasRunOut;) {
        CSpyHeap::deleteBaseHeap();
        s_allocationsLeft = ++failures;
        try {
            use();
        } catch (const std::bad_alloc&) {
        } catch (const CSpyHeapException&) {
        }
        hasRunOut = s_allocationsLeft.exchange(0) == 0;
        ASSERT_NO_THROW(use()) << failures;
        ASSERT_EQ("", image().fault());
        ASSERT_FALSE(base().islocked());
    }
    EXPECT_GT(failures, 10);
}

TEST_F(SpyHeapTest, KeepsGlobalReferences)
{
    CSpyMemRef first = allocate(10), second = allocate(10);
    EXPECT_TRUE(base().registerGlobal(15, first));
    EXPECT_FALSE(base().registerGlobal(15, second)) << "an occupied slot stays";
    EXPECT_EQ(first, base().unregisterGlobal(15));
    EXPECT_TRUE(!base().unregisterGlobal(15));
    for (const auto& call : {std::function<void()>([&] { base().registerGlobal(16, first); }),
                             std::function<void()>([&] { base().unregisterGlobal(16); })}) {
        try {
            call();
            FAIL();
        } catch (const CInvalidGlobal* e) {
            EXPECT_EQ(16U, e->id());
            EXPECT_TRUE(base().islocked()) << "callers release the mutex";
            base().unlock();
            delete e;
        }
    }
}

TEST_F(SpyHeapTest, RefusesStaleReferencesAndWritesNothingBeyondABlock)
{
    CSpyMemRef ref = allocate(64);
    const CSpyMemRef behind = allocate(64);
    CSpyMemRef(behind).write('n', 64);
    ref.write('x', 1000);
    EXPECT_THROW(ref.write(40, "abc", 3, 9), CInvalidSpyMemRef) << "27 bytes into 24";
    ref.write(40, "abc", 3, 8);
    ref.write(63, "yz", 2);
    EXPECT_THROW(ref.write(65, "y", 1), CInvalidSpyMemRef);
    char read[100] = {};
    ref.read(read, sizeof read);
    EXPECT_EQ(std::string(40, 'x') + "abcabcabcabcabcabcabcaby", read);
    EXPECT_EQ('n', *static_cast<char*>(&behind));

    const CSpyMemRef stale = ref;
    CSpyMemRef(behind).free();
    ref.free();
    EXPECT_TRUE(!ref);
    EXPECT_THROW(ref.free(), CInvalidSpyMemRef);
    EXPECT_EQ(stale.blockId(), allocate(64).blockId()) << "the same place again";
    const CSpyMemRef rows[] = {stale,
                               ref,
                               CSpyMemRef::of(200, FirstLarge, 1),
                               CSpyMemRef::of(0, 0xFFFFFF, 1),
                               CSpyMemRef::of(0, 0xFFFFF, 1),
                               CSpyMemRef::of(0, 8, 0),
                               CSpyMemRef::of(0, FirstLarge, 0)};
    for (CSpyMemRef row : rows) {
        SCOPED_TRACE(row.word());
        EXPECT_THROW(row.read(read, 1), CInvalidSpyMemRef);
        EXPECT_THROW(row.write(read, 1), CInvalidSpyMemRef);
        EXPECT_THROW(row.realloc(100), CInvalidSpyMemRef);
        EXPECT_FALSE(CSpyMemory(row).write(read, 1));
    }
    try {
        CSpyMemRef::of(3, 0x4D0, 7).isValid();
    } catch (const CInvalidSpyMemRef& e) {
        EXPECT_STREQ("Invalid Spy Memory reference: Heap#=3 blockId=0x000004d0 uid=0x00000007", e.message());
    }
}

std::string contentsOf(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

std::string repeated(const std::string& part, int times)
{
    std::string all;
    while (times-- > 0)
        all += part;
    return all;
}

TEST_F(SpyHeapTest, DumpsListsAndBlocks)
{
    std::string payload = "A dump shows words and characters.\x01\xE9" + std::string(100, '~');
    allocate(static_cast<unsigned int>(payload.size()))
        .write(payload.data(), static_cast<unsigned int>(payload.size()));
    allocate(2000);
    const std::string path = std::string(getenv("HOME")) + "/dump";
    base().dump(path.c_str(), false);
    EXPECT_THAT(contentsOf(path), testing::StartsWith(R"(----------- Dump of CSpyHeap #0  -----------
Large block free pool
---------------------------------
First free block: 0x00000cb0
Block Id: 0x00000cb0 size = 521640
---------------------------------
Small block free pool
---------------------------------
First free block: 0x00080300
Block Id: 0x00080300 size = 523504
---------------------------------
---------------------------------Walking all blocks: 
Block Id: 0x000004d0  used
 UID: 0x00000002
 size: 2000
 next: 0x00000000
 contains:  )"));
    EXPECT_THAT(contentsOf(path),
                HasSubstr(R"(Block Id: 0x00080268  used
 UID: 0x00000001
 size: 136
 next: 0x00000000
 contains:  2041 7564 706d 7320 6f68 7377 7720 726f 7364 6120 646e 6320 6168 6172 7463 7265 2e73 e901 )" +
                          repeated("7e7e ", 14) + "\n            " + repeated("7e7e ", 32) +
                          "\n            A dump shows words and characters..." + std::string(28, '~') +
                          "\n            " + std::string(64, '~') + "\n\nBlock Id: 0x00080300  free \n"));
    const std::string link = path + ".link", pipe = path + ".pipe";
    std::ofstream(path) << "of somebody else";
    ASSERT_EQ(0, symlink(path.c_str(), link.c_str()));
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    for (const std::string& trap : {link, pipe}) {
        base().dump(trap.c_str(), false);
        CSpyHeap::heaptest(trap.c_str());
    }
    EXPECT_EQ("of somebody else", contentsOf(path));
}

TEST_F(SpyHeapTest, IsStoredAsItsPageShows)
{
    CSpyMemRef hello = allocate(5);
    hello.write("hello", 5);
    base().registerGlobal(2, hello);
    expectExample("spy-heap.md", "heap", base().header());
}

TEST_F(SpyHeapTest, RunsOutOfMemoryWithADumpInTheDirectoryOfTmp)
{
    const std::string tmp = getenv("TMP");
    for (const char* variable : {"TMP", "TEMP"}) {
        setenv(variable, tmp.c_str(), 1);
        EXPECT_THROW(allocate(2 * PoolBlock), COutOfSpyMemory);
        unsetenv(variable);
        EXPECT_TRUE(std::filesystem::remove(tmp + "/Heapdump.log")) << variable;
    }
    setenv("TMP", tmp.c_str(), 1);
}

TEST_F(SpyHeapTest, PassesItsOwnTestAndLeavesTheHeapAsItWas)
{
    const CSpyMemRef kept = allocate(500), ofItsTransaction = base().allocate(500, 2);
    const CHeapStats before = CSpyHeap::getStats();
    const std::string report = std::string(getenv("HOME")) + "/report";
    CSpyHeap::heaptest(report.c_str());
    const std::string text = contentsOf(report);
    for (const char* part :
         {"<< Test 1: Passed.", "<< Test 2: Passed.", "<< Test 3: Passed.", "<< Test 4: Passed.",
          "<<Overwrite test passed", "<< ------- End Low Level heap tests ------ >>\n\n"})
        EXPECT_THAT(text, HasSubstr(part));
    const CHeapStats after = CSpyHeap::getStats();
    EXPECT_EQ(0, std::memcmp(&before, &after, sizeof before));
    EXPECT_FALSE(isStale(kept) || isStale(ofItsTransaction));
}

TEST_F(SpyHeapTest, LetsThreadsLookAtHeapsThatAreJustMadeAndDropped)
{
    std::atomic<bool> isOver = false;
    std::vector<std::thread> readers;
    for (const HEAPID id : {1, 2, 3})
        readers.emplace_back([&, id] {
            while (!isOver) {
                const CSpyHeap::CReading reading;
                if (const CSpyHeap* heap = CSpyHeap::getHeap(id))
                    heap->verifyBlock(FirstLarge, 1);
            }
        });
    CSpyHeap::setDefaultHeapSize(0x2000);
    for (int round = 0; round < 1000; ++round) {
        std::vector<CSpyMemRef> made;
        for (UNIQUEID transaction = 5; transaction <= 7; ++transaction)
            made.push_back(base().allocate(100, transaction));
        for (const CSpyMemRef& each : made) {
            ASSERT_NO_THROW(each.isValid());
            ASSERT_EQ("", CHeapImage(heapOf(each)).fault());
        }
        for (UNIQUEID transaction = 5; transaction <= 7; ++transaction)
            CSpyMemory::free(transaction);
    }
    isOver = true;
    for (auto& reader : readers)
        reader.join();
}

TEST_F(SpyHeapTest, KeepsWhatOthersHavePutIntoOverflowHeapsWhenTheyEnd)
{
    CSpyHeap::setDefaultHeapSize(0x10000);
    const CSpyMemRef seen = base().allocate(100, 7), table = allocate(100 * sizeof(CSpyMemRef));
    CChildProcess maker([&](CChildProcess& parent) {
        CSpyHeap::deleteBaseHeap(); // and attaches anew: what a fork has from its parent does not count
        for (unsigned number = 0; number < 100; ++number) {
            CSpyMemRef made = base().allocate(number % 2 ? 20000 : 9000, number % 2 ? 0 : 7);
            made.write('s', made.size());
            CSpyMemRef(table).write(number * sizeof made, std::addressof(made), sizeof made);
        }
        base().allocate(100, 8);
        parent.pass();
        parent.wait();
    });
    maker.wait();
    char first = 0;
    seen.read(&first, 1); // any operation
    maker.die();
    int readable = 0;
    for (unsigned number = 0; number < 100; ++number) {
        CSpyMemRef made;
        std::memcpy(std::addressof(made), static_cast<char*>(table.address()) + number * sizeof made,
                    sizeof made);
        readable += !isStale(made) && *static_cast<char*>(made.address()) == 's';
    }
    EXPECT_EQ(100, readable);
    EXPECT_EQ(nullptr, CSpyHeap::attached(CSpyHeap::getHeapId(8)))
        << "a transaction that it has nothing to do with";
}

TEST_F(SpyHeapTest, LetsOneOfTwoThreadsFreeABlock)
{
    std::vector<CSpyMemRef> blocks(2000);
    std::generate(blocks.begin(), blocks.end(), [] { return allocate(32); });
    std::atomic<size_t> freed = 0;
    const auto freeAll = [&] {
        for (CSpyMemRef block : blocks)
            try {
                block.free();
                ++freed;
            } catch (const CInvalidSpyMemRef&) {
            }
    };
    std::thread other(freeAll);
    freeAll();
    other.join();
    EXPECT_EQ(blocks.size(), freed.load());
}

TEST_F(SpyHeapTest, EndsTheProcessThatFreesWhatIsNotAllocated)
{
    const CSpyMemRef ref = allocate(100);
    free(ref);
    EXPECT_DEATH(free(ref), "pBlock->isUsed\\(\\) && verifyBlock\\(ref.blockId\\(\\), ref.uid\\(\\)\\)");
}

TEST_F(SpyHeapTest, LetsAProcessSeeThatAnotherDroppedAHeap)
{
    CSpyMemRef shared = base().allocate(100, 9);
    for (HEAPID id = 2; id <= 4; ++id)
        base().allocate(100, 10 + id);
    const CSpyMemRef fourth = base().allocate(100, 14);
    ASSERT_EQ(4U, fourth.heapId());
    CChildProcess other([&](CChildProcess&) {
        CSpyMemory::free(9U);
        CSpyMemory::free(14U);
        EXPECT_EQ(1U, base().allocate(50, 30).heapId());
        EXPECT_EQ(4U, base().allocate(50, 31).heapId());
        CSpyMemory::free(31U);
    });
    EXPECT_EQ(0, other.join());
    EXPECT_TRUE(isStale(shared));
    EXPECT_TRUE(isStale(fourth));
    EXPECT_EQ(4U, base().allocate(100, 40).heapId());
    EXPECT_EQ(1U, base().allocate(100, 30).heapId());
    EXPECT_EQ("", CHeapImage(*CSpyHeap::getHeap(4)).fault());
}
} // namespace
