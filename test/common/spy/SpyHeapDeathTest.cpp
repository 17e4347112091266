// What a process leaves that is killed inside a change of the heap.
#include "ChildProcess.h"
#include "HeapCheck.h"
#include "Seed.h"
#include "common/spy/SpyMemory.h"
#include "include/Within.h"

#include <gtest/gtest.h>

#include <csignal>
#include <random>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
using namespace std::chrono_literals;
using Operation = std::function<void(CSpyHeap&, std::vector<CSpyMemRef>&)>;

constexpr uint32_t HeapSize = 0x1000;
constexpr UNIQUEID Transaction = 3;

/// A small heap with used and free blocks of every kind; the references are those in use.
std::vector<CSpyMemRef> prepare(CSpyHeap*& heap)
{
    CSpyHeap::setDefaultHeapSize(HeapSize);
    const CSpyHeapLock lock;
    heap = CSpyHeap::createHeap(Transaction);
    std::vector<CSpyMemRef> refs;
    for (const unsigned size : {100, 50, 120, 40, 300, 60})
        refs.push_back(heap->allocate(size));
    heap->free(refs[1]);
    heap->free(refs[3]);
    refs = {refs[0], refs[2], refs[4], refs[5]};
    for (CSpyMemRef& ref : refs)
        ref.write('k', ref.size());
    return refs;
}

/// Lets a traced child run until it has changed the bytes of the heap `changes` times.
/// @return false when it ended before
bool runUntilChange(pid_t child, const CSpyHeap& heap, int changes)
{
    const auto* area = reinterpret_cast<const unsigned char*>(heap.header());
    std::vector<unsigned char> before(area, area + HeapSize);
    while (changes > 0) {
        int status;
        if (ptrace(PTRACE_SINGLESTEP, child, nullptr, nullptr) != 0 || waitpid(child, &status, 0) != child ||
            !WIFSTOPPED(status) || WSTOPSIG(status) == SIGUSR1)
            return false;
        if (std::memcmp(before.data(), area, HeapSize) == 0)
            continue;
        before.assign(area, area + HeapSize);
        --changes;
    }
    return true;
}

/// Has a child perform `operation` and kills it right after its n-th store. @return false when it does fewer
bool killAtStore(const Operation& operation, CSpyHeap& heap, std::vector<CSpyMemRef>& refs, int n)
{
    CChildProcess child([&](CChildProcess&) {
        const CIndexUse walking(false); // which are fewer steps
        CSpyMemory::lockHeap(0);        // what a process does once is not stepped through
        CSpyMemory::unlockHeap();
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        operation(heap, refs);
        raise(SIGUSR1); // nothing of the way out is stepped through
    });
    int status;
    waitpid(child.pid(), &status, 0);
    EXPECT_TRUE(WIFSTOPPED(status)) << "ptrace is not allowed here";
    const bool died = runUntilChange(child.pid(), heap, n);
    child.die();
    return died;
}

void expectWorkingHeap(CSpyHeap& heap, std::vector<CSpyMemRef>& refs, size_t untouched)
{
    const auto start = std::chrono::steady_clock::now();
    heap.free(heap.allocate(10));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_EQ("", CHeapImage(heap).fault());
    for (size_t index = 0; index < refs.size(); ++index) {
        if (index == untouched)
            continue;
        std::vector<char> bytes(refs[index].size());
        refs[index].read(bytes.data(), static_cast<unsigned>(bytes.size()));
        EXPECT_EQ(std::string(bytes.size(), 'k'), std::string(bytes.begin(), bytes.end()));
    }
}

TEST(SpyHeapDeathTest, LeavesAWholeHeapWhereverAProcessIsKilled)
{
    const struct {
        const char* name;
        size_t changed; ///< the block it works on, which is excused
        Operation operation;
    } rows[] = {
        {"allocate, splitting", 9, [](CSpyHeap& heap, auto&) { heap.allocate(40); }},
        {"allocate, taking a whole block", 9, [](CSpyHeap& heap, auto&) { heap.allocate(590); }},
        {"allocate, cutting off the end", 9, [](CSpyHeap& heap, auto&) { heap.allocate(1000); }},
        {"free between two free blocks", 1, [](CSpyHeap& heap, auto& refs) { heap.free(refs[1]); }},
        {"free below a free block", 0, [](CSpyHeap& heap, auto& refs) { heap.free(refs[0]); }},
        {"free above a free block", 2, [](CSpyHeap& heap, auto& refs) { heap.free(refs[2]); }},
        {"grow, splitting the neighbour", 0, [](CSpyHeap&, auto& refs) { refs[0].realloc(110); }},
        {"grow, taking the neighbour", 1, [](CSpyHeap&, auto& refs) { refs[1].realloc(170); }},
        {"grow, moving", 2, [](CSpyHeap&, auto& refs) { refs[2].realloc(320); }},
        {"drop", 0,
         [](CSpyHeap& heap, auto& refs) {
             heap.free();
             refs.clear();
         }},
    };
    int deaths = 0;
    std::mt19937 random(seed());
    const CIndexUse outdated(true); // by what the dead process did
    for (const auto& row : rows)
        for (int n = 1;; n += 1 + static_cast<int>(random() % 2)) { // other stores in each run
            SCOPED_TRACE(std::string(row.name) + ", killed after store " + std::to_string(n));
            CSpyHeap* heap = nullptr;
            std::vector<CSpyMemRef> refs = prepare(heap);
            const bool died = killAtStore(row.operation, *heap, refs, n);
            if (std::string(row.name) == "drop")
                refs.clear();
            deaths += died;
            if (died)
                expectWorkingHeap(*heap, refs, row.changed);
            CSpyMemory::free(Transaction);
            if (!died || testing::Test::HasFailure()) {
                EXPECT_GT(n, 4) << "the heap was not watched";
                break;
            }
        }
    std::printf("%d deaths\n", deaths);
    CSpyHeap::setDefaultHeapSize(0x100000);
    CSpyHeap::deleteBaseHeap();
}

/// Everything that reads or changes a heap. @return whether damage was reported
bool useDamaged(CSpyHeap& heap, std::vector<CSpyMemRef>& refs, std::mt19937& random)
{
    const std::function<void()> uses[] = {
        [&] { heap.allocate(1 + random() % 3000); },
        [&] { refs.at(random() % refs.size()).realloc(1 + random() % 3000); },
        [&] { refs.at(random() % refs.size()).write('w', 4000); },
        [&] { CSpyMemRef(refs.at(random() % refs.size())).free(); },
        [&] { CSpyHeap::getStats(); },
        [&] { heap.dump((std::string(getenv("HOME")) + "/dump").c_str(), false); },
        [&] { heap.isEmpty(); },
    };
    bool reported = false;
    for (int count = 0; count < 30; ++count)
        try {
            uses[random() % std::size(uses)]();
        } catch (const CHeapCorrupted&) {
            reported = true;
        } catch (const CSpyHeapException&) {
        } catch (const CInvalidSpyMemRef&) {
        }
    CSpyMemory::free(Transaction);
    return reported;
}

TEST(SpyHeapDeathTest, ReportsDamagedBytesAndNeverLeavesTheHeapOrTheTime)
{
    constexpr int Rounds = 200;
    std::mt19937 random(seed());
    int ended = 0, reported = 0;
    for (int round = 0; round < Rounds && !testing::Test::HasFailure(); ++round) {
        const unsigned seed = random();
        CSpyHeap* heap = nullptr;
        std::vector<CSpyMemRef> refs = prepare(heap);
        CChildProcess child([&](CChildProcess& parent) {
            alarm(5);
            std::mt19937 own(seed);
            const CIndexUse use(round % 2);
            heap->free(heap->allocate(1)); // which makes an index of what is damaged next
            auto* area = reinterpret_cast<unsigned char*>(heap->header());
            for (int flips = 1 + static_cast<int>(own() % 4); flips > 0; --flips) {
                const uint32_t at =
                    own() % 2 ? 1188 + own() % 44 : refs[own() % refs.size()].blockId() + own() % 16;
                area[at] ^= static_cast<unsigned char>(1U << own() % 8);
            }
            if (!freopen("/dev/null", "w", stderr) || useDamaged(*heap, refs, own))
                parent.pass();
        });
        const int status = child.join();
        // The assertion of a free that would free somebody else's block ends the process on purpose.
        EXPECT_TRUE(status == 0 || status == 128 + SIGABRT) << "status " << status << ", seed " << seed;
        ended += status != 0;
        reported += child.wait(std::chrono::milliseconds(0));
        CSpyMemory::free(Transaction);
    }
    std::printf("%d processes: %d reported damage, %d were ended by an assertion\n", Rounds, reported, ended);
    EXPECT_GT(reported, Rounds / 10);
    EXPECT_LT(ended, Rounds / 4);
    CSpyHeap::setDefaultHeapSize(0x100000);
    CSpyHeap::deleteBaseHeap();
}

void workForever(unsigned seed)
{
    std::mt19937 random(seed);
    CSpyHeap& base = *CSpyHeap::getHeap(0);
    std::vector<CSpyMemRef> refs;
    for (;;) {
        const CSpyHeapLock lock;
        if (refs.size() < 20 && random() % 2) {
            refs.push_back(base.allocate(1 + random() % 5000, Transaction));
        } else if (!refs.empty()) {
            refs.back().realloc(refs.back().size() + random() % 100);
            refs.back().free();
            refs.pop_back();
        }
    }
}

TEST(SpyHeapDeathTest, GivesTheLockBackWithinASecondHoweverOftenHoldersAreKilled)
{
    constexpr int Rounds = 300;
    std::mt19937 random(seed());
    CSpyHeap& base = *CSpyHeap::getHeap(0);
    std::chrono::steady_clock::duration longest{};
    for (int round = 0; round < Rounds && !testing::Test::HasFailure(); ++round) {
        {
            CChildProcess first([&](CChildProcess&) { workForever(random()); });
            CChildProcess second([&](CChildProcess&) { workForever(random() + 1); });
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
            first.die();
            const auto start = std::chrono::steady_clock::now();
            {
                const CSpyHeapLock lock;
                longest = std::max(longest, std::chrono::steady_clock::now() - start);
            }
            second.die();
        }
        base.free(base.allocate(1));
        base.allocate(10, Transaction);
        const CSpyHeapLock lock;
        EXPECT_EQ("", CHeapImage(base).fault());
        for (HEAPID id = CSpyHeap::getHeapId(Transaction); id != 0 && id <= MaxHeap;
             id = CSpyHeap::getHeap(id)->header()->m_overflowHeap.load())
            EXPECT_EQ("", CHeapImage(*CSpyHeap::getHeap(id)).fault());
        CSpyMemory::free(Transaction);
    }
    EXPECT_LT(longest, 1s);
    std::printf("longest wait for a killed holder's lock: %.1f ms\n",
                std::chrono::duration<double, std::milli>(longest).count());
    CSpyHeap::deleteBaseHeap();
}
} // namespace
