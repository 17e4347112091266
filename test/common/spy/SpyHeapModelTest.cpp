// Random sequences of heap operations against a plain model.
#include "ChildProcess.h"
#include "HeapCheck.h"
#include "Seed.h"
#include "common/spy/SpyMemory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <random>
#include <thread>

namespace {
// A sanitizer finds in fewer operations what is to be found, and takes many times as long for each.
constexpr int Operations = GX_SANITIZED ? 80000 : 150000; // other ones in each run
constexpr int OperationsOfEachProcess = 20000;
constexpr int OperationsOfEachThread = GX_SANITIZED ? 10000 : 50000;
constexpr int Processes = 4;
constexpr int ComparedOperations = GX_SANITIZED ? 6000 : 15000;
constexpr int BetweenDisturbances = 150;
constexpr int BetweenChecks = 400;

/// What a process believes to own: references, and the byte that each block is filled with.
class CModel {
public:
    CModel(unsigned seed, size_t mostBlocks) : m_random(seed), m_most(mostBlocks) {}

    void step()
    {
        const unsigned dice = m_random() % 100;
        if (m_blocks.empty() || (dice < 45 && m_blocks.size() < m_most))
            allocate();
        else if (dice < 75)
            grow(pick());
        else if (dice < 80)
            check(m_blocks[pick()]);
        else
            free(pick());
    }
    void checkAll() const
    {
        for (const auto& each : m_blocks)
            check(each);
    }
    void freeAll()
    {
        while (!m_blocks.empty())
            free(m_blocks.size() - 1);
    }
    /// Allocated blocks and bytes of this model in one heap.
    std::pair<size_t, uint64_t> totals(HEAPID heap) const
    {
        std::pair<size_t, uint64_t> sum;
        for (const auto& each : m_blocks)
            if (each.ref.heapId() == heap) {
                ++sum.first;
                sum.second += each.ref.size();
            }
        return sum;
    }

private:
    struct CBlock {
        CSpyMemRef ref;
        unsigned size;
        char fill;
    };

    size_t pick() { return m_random() % m_blocks.size(); }
    /// Mostly small, sometimes around the limits of the pools, seldom most of a heap.
    unsigned size()
    {
        switch (m_random() % 20) {
        case 0:
            return 1000 + m_random() % 50;
        case 1:
            return 1 + m_random() % 20000;
        case 2:
            return m_random() % 200 ? 33 : 400000 + m_random() % 600000;
        default:
            return 1 + m_random() % 300;
        }
    }
    void allocate()
    {
        const unsigned wanted = size();
        CBlock block{CSpyHeap::getHeap(0)->allocate(wanted, m_random() % 3 ? 0 : 5), wanted,
                     static_cast<char>(m_random())};
        ASSERT_GE(block.ref.size(), wanted);
        block.ref.write(block.fill, wanted);
        m_blocks.push_back(block);
    }
    void grow(size_t index)
    {
        CBlock& block = m_blocks[index];
        const unsigned wanted = block.size + m_random() % 500;
        check(block);
        block.ref.realloc(wanted);
        ASSERT_GE(block.ref.size(), wanted);
        check(block);
        block.ref.write(block.fill, block.size = wanted);
    }
    void free(size_t index)
    {
        check(m_blocks[index]);
        m_blocks[index].ref.free();
        m_blocks[index] = m_blocks.back();
        m_blocks.pop_back();
    }
    static void check(const CBlock& block)
    {
        thread_local std::vector<char> read;
        read.resize(block.size);
        block.ref.read(read.data(), block.size);
        ASSERT_EQ(block.size, static_cast<size_t>(std::count(read.begin(), read.end(), block.fill)));
    }

    std::mt19937 m_random;
    size_t m_most;
    std::vector<CBlock> m_blocks;
};

std::pair<size_t, uint64_t> totals(const CHeapImage& image)
{
    std::pair<size_t, uint64_t> sum;
    for (const auto& [at, block] : image.blocks())
        if (block.used & 1) {
            ++sum.first;
            sum.second += block.size;
        }
    return sum;
}

/// The invariants of every heap in use, and, for the only model there is, its totals.
void checkHeaps(const CModel* only)
{
    const CSpyHeapLock lock;
    for (HEAPID id = 0; id <= MaxHeap; ++id)
        if (CSpyHeap* heap = CSpyHeap::getHeap(id)) {
            const CHeapImage image(*heap);
            ASSERT_EQ("", image.fault()) << "heap " << id;
            const auto found = totals(image);
            ASSERT_EQ(only ? only->totals(id) : found, found) << "heap " << id;
        }
}

void walk(CModel& model, int operations, bool alone)
{
    for (int count = 1; count <= operations && !testing::Test::HasFatalFailure(); ++count) {
        model.step();
        if (count % BetweenChecks == 0)
            checkHeaps(alone ? &model : nullptr);
    }
    model.checkAll();
    model.freeAll();
}

/// Every byte of every heap.
size_t digest()
{
    const CSpyHeapLock lock;
    size_t sum = 0;
    for (HEAPID id = 0; id <= MaxHeap; ++id)
        if (const CSpyHeap* heap = CSpyHeap::getHeap(id)) {
            EXPECT_EQ("", CHeapImage(*heap).fault()) << "heap " << id;
            sum = 31 * sum + std::hash<std::string_view>()(
                                 {reinterpret_cast<const char*>(heap->header()), heap->size()});
        }
    return sum;
}

int s_stepsLeft = 0;

/// Another process changes the lists and is killed at a step of that.
void dieAtWork(unsigned seed)
{
    CChildProcess child([&](CChildProcess& parent) {
        s_stepsLeft = 1 + static_cast<int>(seed % 150);
        CSpyJournal::s_step = [] {
            if (--s_stepsLeft == 0)
                raise(SIGKILL);
        };
        std::mt19937 random(seed);
        for (int count = 0; count < 10; ++count) {
            CSpyMemRef kept(1 + random() % 2000, 0), freed(1 + random() % 2000, 0);
            freed.free();
        }
        parent.pass(); // which it seldom gets to
        parent.wait();
    });
    child.wait();
    child.die();
}

/// A process that is there all the time and mostly frees, which leaves no other trace than the lists.
void workBeside(CChildProcess& parent)
{
    const CIndexUse walking(false);
    std::mt19937 random(1);
    std::vector<CSpyMemRef> refs;
    while (parent.wait(std::chrono::minutes(2))) {
        if (refs.empty())
            for (int count = 0; count < 30; ++count)
                refs.emplace_back(1 + random() % 2000, 0);
        std::swap(refs.back(), refs[random() % refs.size()]);
        refs.back().free();
        refs.pop_back();
        parent.pass();
    }
}

void disturb(CChildProcess& beside, unsigned number)
{
    if (number % 4 < 2) {
        beside.pass();
        beside.wait();
    } else if (number % 4 == 2) {
        dieAtWork(number);
    } else {
        const CSpyHeapLock lock;
        CSpyMemRef(100, 0);
        CSpyMemory::abandonChange();
    }
}

/// What a store goes through, as digests.
std::vector<size_t> story(bool withIndex)
{
    const CIndexUse use(withIndex);
    std::vector<size_t> digests;
    CModel model(seed() + 200, 3000);
    CSpyMemory();
    {
        CChildProcess beside(workBeside);
        for (int count = 1; count <= ComparedOperations && !testing::Test::HasFailure(); ++count) {
            model.step();
            if (count % BetweenDisturbances == 0) {
                digests.push_back(digest());
                disturb(beside, static_cast<unsigned>(count / BetweenDisturbances));
            }
        }
        model.freeAll();
        digests.push_back(digest());
        beside.die();
    }
    CSpyHeap::deleteBaseHeap();
    return digests;
}

TEST(SpyHeapModelTest, ChoosesTheSameBlocksWithTheIndexAsWithoutIt)
{
    const std::vector<size_t> walked = story(false);
    const uint64_t made = CFreeIndex::timesMade();
    const std::vector<size_t> found = story(true);
    const auto firstDifferent = std::mismatch(walked.begin(), walked.end(), found.begin(), found.end()).first;
    EXPECT_TRUE(walked == found) << "after " << firstDifferent - walked.begin() << " disturbances";
    // One for a heap that others have changed, not one for each operation.
    const uint64_t perDisturbance = (CFreeIndex::timesMade() - made) / walked.size();
    EXPECT_GE(perDisturbance, 1U);
    EXPECT_LE(perDisturbance, 6U);
}

TEST(SpyHeapModelTest, AgreesWithAModelOverRandomOperations)
{
    CModel model(seed(), 300);
    walk(model, Operations, true);
    checkHeaps(&model);
    EXPECT_EQ(0U, CSpyHeap::getStats().numberUsedBlocks);
    CSpyHeap::deleteBaseHeap();
}

TEST(SpyHeapModelTest, AgreesWithTheModelsOfTwoThreadsAtOnce)
{
    const CIndexUse use(true);
    const auto work = [](unsigned number) {
        CModel model(seed() + 100 + number, 60);
        walk(model, OperationsOfEachThread, false);
    };
    std::thread other(work, 1);
    work(2);
    other.join();
    checkHeaps(nullptr);
    EXPECT_EQ(0U, CSpyHeap::getStats().numberUsedBlocks);
    CSpyHeap::deleteBaseHeap();
}

TEST(SpyHeapModelTest, AgreesWithTheModelsOfFourProcessesAtOnce)
{
    CSpyMemory();
    {
        std::vector<std::unique_ptr<CChildProcess>> children;
        for (int number = 0; number < Processes; ++number)
            children.push_back(std::make_unique<CChildProcess>([number](CChildProcess&) {
                CModel model(seed() + static_cast<unsigned>(number), 60);
                walk(model, OperationsOfEachProcess, false);
            }));
    }
    checkHeaps(nullptr);
    EXPECT_EQ(0U, CSpyHeap::getStats().numberUsedBlocks);
    CSpyHeap::deleteBaseHeap();
}
} // namespace
