// Work on a store that another process writes to meanwhile, without the lock and without sense.
#include "ChildProcess.h"
#include "HeapCheck.h"
#include "Seed.h"
#include "SpyName.h"
#include "common/spy/IVariantIterator.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyMappedPair.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

/// Takes the place of the system's call in this program: every segment lies between pages that nobody may
/// touch.
extern "C" void* shmat(int id, const void*, int flags) noexcept
{
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    shmid_ds status;
    if (shmctl(id, IPC_STAT, &status) != 0)
        return reinterpret_cast<void*>(-1);
    const size_t size = (status.shm_segsz + page - 1) / page * page;
    void* const fence =
        mmap(nullptr, size + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return reinterpret_cast<void*>(
        syscall(SYS_shmat, id, static_cast<char*>(fence) + page, flags | SHM_REMAP));
}

namespace {
constexpr UNIQUEID Transaction = 3;
constexpr uint32_t Filler = 32;
/// With the signature two pages: the first byte behind it is a fence's.
constexpr uint32_t HeapSize = 0x2000 - 48;

/// A small heap with a container of each kind, and free blocks between them; or without any in the small
/// pool, so that small blocks come off the end of large ones.
struct CStore {
    CSpyHeap* heap = nullptr;
    CSpyMemRef vector, map, pair, text;

    explicit CStore(bool isFull)
    {
        CSpyHeap::setDefaultHeapSize(HeapSize);
        const CSpyHeapLock lock;
        heap = CSpyHeap::createHeap(Transaction);
        CSpyVector newVector;
        newVector.create(Transaction, 4, 4);
        CSpyMap newMap((CSpyMemRef()));
        newMap.create(CName(""), Transaction, 4);
        CSpyMappedPair newPair;
        newPair.create(Transaction);
        for (int number = 0; number < 6; ++number) {
            const CName name("name" + std::to_string(number));
            newVector.addElement(CSpyVariant(name, heap->id()));
            newMap.put(name, name);
            newPair.put(name, name, number);
            CSpyMemRef gap = heap->allocate(40 + 30 * static_cast<unsigned>(number));
            heap->allocate(33);
            gap.free();
        }
        while (isFull && !CHeapImage(*heap).list(CHeapImage::SmallPool).empty())
            heap->allocate(Filler);
        vector = newVector.ref();
        map = newMap.ref();
        pair = newPair.ref();
        text = newVector.get(0).ref();
    }
};

/// Writes senseless numbers to a heap, each for a few steps of somebody else's.
class CGlitches {
public:
    /// Sizes and links in the header of the heap and in those of the free blocks, which half of the glitches
    /// are for; behind them those of used ones, and what containers keep at the start of theirs.
    CGlitches(const CSpyHeap& heap, std::mt19937& random)
        : m_area(reinterpret_cast<char*>(heap.header())),
          m_random(random), m_places{1192, CHeapImage::LargePool, CHeapImage::SmallPool, 1228}
    {
        const CHeapImage image(heap);
        for (const auto& [offset, block] : image.blocks())
            if (!(block.used & 1))
                m_places.insert(m_places.end(), {offset, offset + 12});
        m_vital = m_places.size();
        for (const auto& [offset, block] : image.blocks())
            if ((block.used & 1) && block.size != Filler)
                m_places.insert(m_places.end(), {offset, offset + 16, offset + 24, offset + 28});
    }
    void step()
    {
        if (m_left > 0 && --m_left == 0)
            end();
        if (m_left == 0 && m_random() % 4 == 0)
            begin();
    }
    void end()
    {
        if (m_place && m_place->load() == m_other)
            m_place->store(m_known);
        m_place = nullptr;
    }

private:
    void begin()
    {
        const uint32_t at = m_places[m_random() % (m_random() % 2 ? m_vital : m_places.size())];
        m_place = reinterpret_cast<CShared<uint32_t>*>(m_area + at);
        m_known = m_place->load();
        const uint32_t others[] = {0, m_known + 64, HeapSize - 48, 0xFFFFFFF0U};
        m_other = others[m_random() % std::size(others)];
        m_place->store(m_other);
        m_left = 1 + m_random() % 12;
    }

    char* m_area;
    std::mt19937& m_random;
    std::vector<uint32_t> m_places;
    size_t m_vital = 0;
    CShared<uint32_t>* m_place = nullptr;
    uint32_t m_known = 0, m_other = 0;
    unsigned m_left = 0;
};

using Operation = std::function<void(CStore&)>;

const Operation operations[] = {
    [](CStore& store) { store.heap->allocate(40).free(); },
    [](CStore& store) { store.heap->allocate(700); },
    [](CStore& store) { store.heap->allocate(1300); },
    [](CStore& store) { store.heap->allocate(HeapSize - 2000); },
    [](CStore& store) { store.vector.realloc(100); },
    [](CStore& store) { store.map.realloc(900); },
    [](CStore& store) { store.text.write('w', 4000); },
    [](CStore& store) { store.text.free(); },
    [](CStore&) { CSpyHeap::getStats(); },
    [](CStore& store) { CSpyVector(store.vector).addElement(CSpyVariant(1)); },
    [](CStore& store) { CSpyVector(store.vector).remove(1).free(); },
    [](CStore& store) { CSpyVector(store.vector).indexOf(CName("name3"), 0); },
    [](CStore& store) { CSpyMap(store.map).get(CName("name3")); },
    [](CStore& store) { CSpyMap(store.map).put(CName("name7"), CName("value")); },
    [](CStore& store) {
        const CSpyMap map(store.map);
        for (auto keys = map.keys(); keys->hasMoreElements();)
            static_cast<void>(keys->nextElement() == CName("name5"));
    },
    [](CStore& store) { CSpyMappedPair(store.pair).put(CName("name2"), CName("value"), 1); },
};

enum EResult { Refused = SIGUSR1, Done = SIGUSR2, Asserted = SIGABRT };

/// What a child does that is watched: it stops before and after the operation.
void perform(const Operation& operation, CStore& store)
{
    int result = Done;
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    try {
        operation(store);
    } catch (const CSpyHeapException&) {
        result = Refused;
    } catch (const CInvalidSpyMemRef&) {
        result = Refused;
    }
    raise(result);
}

/// Lets a child perform the operation, with glitches between its instructions. @return the signal that it
/// stopped with
int resultOf(const Operation& operation, CStore& store, std::mt19937& random)
{
    constexpr int MostSteps = 4000; // what throws takes many more: it goes on untouched
    CGlitches glitches(*store.heap, random);
    CChildProcess child([&](CChildProcess&) { perform(operation, store); });
    int status = 0;
    waitpid(child.pid(), &status, 0);
    EXPECT_TRUE(WIFSTOPPED(status)) << "ptrace is not allowed here";
    const auto isStepping = [&] { return WIFSTOPPED(status) && WSTOPSIG(status) == SIGTRAP; };
    for (int step = 0; step < MostSteps && (step == 0 || isStepping()); ++step) {
        glitches.step();
        ptrace(PTRACE_SINGLESTEP, child.pid(), nullptr, nullptr);
        waitpid(child.pid(), &status, 0);
    }
    glitches.end();
    if (isStepping()) {
        ptrace(PTRACE_CONT, child.pid(), nullptr, nullptr);
        waitpid(child.pid(), &status, 0);
    }
    child.die();
    return WIFSTOPPED(status) ? WSTOPSIG(status) : -1;
}

TEST(SpyStormTest, NeverReadsOrWritesBehindASegmentWhateverOthersWriteMeanwhile)
{
    constexpr int Rounds = 50;
    std::mt19937 random(seed());
    std::map<int, int> results;
    for (int round = 0; round < Rounds && !testing::Test::HasFailure(); ++round) {
        CStore store(random() % 2 != 0);
        const size_t operation = random() % std::size(operations);
        const int result = resultOf(operations[operation], store, random);
        // An assertion ends the process on purpose: it was about to free somebody else's block.
        EXPECT_TRUE(result == Done || result == Refused || result == Asserted)
            << strsignal(result) << ": operation " << operation << ", GX_SEED=" << seed();
        ++results[result];
        CSpyMemory::free(Transaction);
    }
    std::printf("%d processes: %d reported damage, %d were ended by an assertion\n", Rounds, results[Refused],
                results[Asserted]);
    EXPECT_GT(results[Done], Rounds / 4);
    CSpyHeap::setDefaultHeapSize(0x100000);
    CSpyHeap::deleteBaseHeap();
}
} // namespace
