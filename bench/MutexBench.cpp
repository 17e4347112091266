// The heap mutex beside the semaphore operations that it cannot do without.
#include "Compare.h"
#include "common/spy/SpyMemory.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

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

/// What each of several processes has got.
struct CShare {
    std::atomic<bool> isOver;
    std::atomic<long> takes;
    std::atomic<double> longestSeconds;
};

/// Processes that take a lock again and again for half a second. @return takes a second
template <class Take> double takesBy(int processes, CShare* shares, Take&& take)
{
    constexpr double Seconds = 0.5;
    std::vector<pid_t> children;
    shares->isOver = false;
    for (int number = 0; number < processes; ++number) {
        CShare& share = shares[number];
        share.takes = 0;
        share.longestSeconds = 0;
        children.push_back(fork());
        if (children.back() != 0)
            continue;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        while (!shares->isOver) {
            share.longestSeconds = std::max(share.longestSeconds.load(), secondsOf(take));
            ++share.takes;
        }
        _exit(0);
    }
    usleep(static_cast<useconds_t>(Seconds * 1e6));
    shares->isOver = true;
    long takes = 0;
    for (const pid_t child : children)
        waitpid(child, nullptr, 0);
    for (int number = 0; number < processes; ++number)
        takes += shares[number].takes;
    return static_cast<double>(takes) / Seconds;
}

/// The heap mutex beside a bare semaphore, whose waiters the system serves in their order.
void contended(benchmark::State& state)
{
    CSpyMemory();
    const auto processes = static_cast<int>(state.range(0));
    auto* const shares = static_cast<CShare*>(
        mmap(nullptr, sizeof(CShare) * 8, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const int set = semget(IPC_PRIVATE, 1, 0600);
    std::vector<double> ours, peers;
    double longest = 0, fairest = 1;
    for (auto _ : state) {
        ours.push_back(takesBy(processes, shares, [] {
            CSpyMemory::lockHeap(0);
            CSpyMemory::unlockHeap();
        }));
        const auto byTakes = [](const CShare& a, const CShare& b) { return a.takes.load() < b.takes.load(); };
        const auto [least, most] = std::minmax_element(shares, shares + processes, byTakes);
        fairest = std::min(fairest, static_cast<double>(least->takes) / static_cast<double>(most->takes));
        for (int number = 0; number < processes; ++number)
            longest = std::max(longest, shares[number].longestSeconds.load());
        sembuf take[] = {{0, 0, 0}, {0, 1, SEM_UNDO}};
        sembuf give{0, -1, SEM_UNDO};
        peers.push_back(takesBy(processes, shares, [&] {
            semop(set, take, 2);
            semop(set, &give, 1);
        }));
        state.SetIterationTime(1);
    }
    state.counters["takes_per_second"] = medianOf(ours);
    state.counters["peer_per_second"] = medianOf(peers);
    state.counters["ratio"] = medianOf(peers) / medianOf(ours);
    state.counters["longest_wait_ms"] = longest * 1e3;
    state.counters["least_to_most"] = fairest;
    semctl(set, 0, IPC_RMID);
    munmap(shares, sizeof(CShare) * 8);
}
BENCHMARK(contended)->ArgName("processes")->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Iterations(5)->UseManualTime();
} // namespace
