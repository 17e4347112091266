// What an allocation costs beside the lock that every shared heap needs: the peer is malloc under the same
// pair of semaphore operations.
#include "Compare.h"
#include "common/spy/SpyMemory.h"

#include <cstdlib>
#include <cstring>
#include <random>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <vector>

namespace {
constexpr int Batch = 200;

/// A bare semaphore, taken and given back as the heap mutex is.
class CBareLock {
public:
    CBareLock() : m_id(semget(IPC_PRIVATE, 1, 0600)) {}
    ~CBareLock() { semctl(m_id, 0, IPC_RMID); }
    void take()
    {
        sembuf operations[] = {{0, 0, IPC_NOWAIT}, {0, 1, SEM_UNDO}};
        semop(m_id, operations, 2);
    }
    void give()
    {
        sembuf operation{0, -1, SEM_UNDO};
        semop(m_id, &operation, 1);
    }

private:
    int m_id;
};

void* touch(void* memory)
{
    *static_cast<volatile char*>(memory) = 1;
    return memory;
}

/// Blocks of 1 to 50 bytes in the base heap, with holes between them.
void fillWith(int count)
{
    std::mt19937 random(1);
    std::vector<CSpyMemRef> blocks;
    for (int index = 0; index < count + count / 10; ++index)
        blocks.push_back(CSpyHeap::getHeap(0)->allocate(1 + random() % 50));
    for (size_t index = 5; index < blocks.size(); index += 11)
        blocks[index].free();
}

void allocateAndFree(benchmark::State& state)
{
    const auto size = static_cast<unsigned>(state.range(0));
    CSpyMemory();
    fillWith(static_cast<int>(state.range(1)));
    CBareLock bare;
    compare(
        state,
        [&] {
            const CSpyHeapLock lock;
            CSpyMemory().allocate(size, 0).free();
        },
        [&] {
            bare.take();
            std::free(touch(std::malloc(size)));
            bare.give();
        },
        Batch);
    CSpyHeap::deleteBaseHeap();
}
BENCHMARK(allocateAndFree)
    ->ArgNames({"bytes", "live"})
    ->ArgsProduct({{32, 1023, 1024, 65536}, {0, 10000}})
    ->Iterations(300)
    ->UseManualTime();

/// The first fit alone, without any lock on either side.
void allocateAndFreeUnderOneLock(benchmark::State& state)
{
    CSpyMemory();
    fillWith(static_cast<int>(state.range(1)));
    const auto size = static_cast<unsigned>(state.range(0));
    CSpyMemory::lockHeap(0);
    compare(
        state, [&] { CSpyMemory().allocate(size, 0).free(); }, [&] { std::free(touch(std::malloc(size))); },
        Batch);
    CSpyMemory::unlockHeap();
    CSpyHeap::deleteBaseHeap();
}
BENCHMARK(allocateAndFreeUnderOneLock)
    ->ArgNames({"bytes", "live"})
    ->ArgsProduct({{32, 1024}, {0, 10000}})
    ->Iterations(300)
    ->UseManualTime();

void read(benchmark::State& state)
{
    const auto size = static_cast<unsigned>(state.range(0));
    CSpyMemRef ref = CSpyHeap::getHeap(0)->allocate(size);
    ref.write('x', size);
    std::vector<char> from(size, 'x'), to(size);
    compare(
        state,
        [&] {
            ref.read(to.data(), size);
            benchmark::ClobberMemory();
        },
        [&] {
            std::memcpy(to.data(), from.data(), size);
            benchmark::ClobberMemory();
        });
    ref.free();
}
BENCHMARK(read)
    ->ArgName("bytes")
    ->Arg(64)
    ->Arg(4096)
    ->Arg(2 * 523656 - 1) // the largest block, close to 1 MiB
    ->Iterations(300)
    ->UseManualTime();
} // namespace
