// The heap mutex beside the semaphore operations that it cannot do without.
#include "Compare.h"
#include "SpyMemory.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

namespace {
constexpr int Batch = 500;

void lockAndUnlock(benchmark::State& state)
{
    CSpyMemory();
    const int set = semget(IPC_PRIVATE, 1, 0600);
    sembuf take[] = {{0, 0, IPC_NOWAIT}, {0, 1, SEM_UNDO}};
    sembuf give{0, -1, SEM_UNDO};
    compare(
        state,
        [] {
            CSpyMemory::lockHeap(0);
            CSpyMemory::unlockHeap();
        },
        [&] {
            semop(set, take, 2);
            semop(set, &give, 1);
        },
        Batch);
    semctl(set, 0, IPC_RMID);
}
BENCHMARK(lockAndUnlock)->Iterations(300)->UseManualTime();

/// A nested take beside the cheapest call of the system.
void nestedLockAndUnlock(benchmark::State& state)
{
    const CSpyHeapLock outer;
    compare(
        state,
        [] {
            CSpyMemory::lockHeap(0);
            CSpyMemory::unlockHeap();
        },
        [] { benchmark::DoNotOptimize(getppid()); }, Batch);
}
BENCHMARK(nestedLockAndUnlock)->Iterations(300)->UseManualTime();
} // namespace
