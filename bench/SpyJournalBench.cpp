// Changes of spy memory with the journal beside the same without, and how long it takes to undo what a dead
// process left.
#include "Compare.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyMappedPair.h"
#include "unix/ipc/Mailslot.h"
#include "unix/sysv/SharedMemory.h"

#include <csignal>
#include <deque>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr int Entries = 1000;

/// Containers with as many entries as there are names.
struct CContainers {
    CSpyMemRef map, vector, pair, slot;
    std::deque<std::string> texts;
    std::deque<CAsciiName> names;

    CContainers()
    {
        CSpyMap newMap((CSpyMemRef()));
        newMap.create(CAsciiName(""), 0, 2 * Entries);
        CSpyVector newVector;
        newVector.create(0, 8, 1000);
        CSpyMappedPair newPair;
        newPair.create(0U);
        for (int number = 0; number < Entries; ++number) {
            texts.push_back("window.button" + std::to_string(number));
            names.emplace_back(texts.back().c_str());
            newMap.put(names.back(), names.back());
            newVector.addElement(CSpyVariant(number));
        }
        for (int number = 0; number < 20; ++number)
            newPair.put(names[static_cast<size_t>(number)], CSpyVariant(number), number);
        map = newMap.ref();
        vector = newVector.ref();
        pair = newPair.ref();
        CSpyVector posts;
        posts.create(0, 8, 1000);
        CMailslot newSlot;
        newSlot.create(CAsciiName("posts"), {}, posts.ref());
        slot = newSlot.ref();
    }
};

void work(benchmark::State& state, const std::function<void(CContainers&, int)>& operation)
{
    CContainers containers;
    const auto all = [&] {
        for (int number = 0; number < Entries; ++number) {
            const CSpyCall call; // as from Java
            operation(containers, number);
        }
    };
    compare(
        state,
        [&] {
            CSpyJournal::attach(*CSpyHeap::getHeap(0)->sharedMemory());
            all();
        },
        [&] {
            CSpyJournal::detach();
            all();
        });
    CSpyHeap::deleteBaseHeap();
}

void put(CContainers& containers, int number)
{
    const CAsciiName& name = containers.names[static_cast<size_t>(number)];
    CSpyMap(containers.map).put(name, name);
}

void get(CContainers& containers, int number)
{
    benchmark::DoNotOptimize(CSpyMap(containers.map).get(containers.names[static_cast<size_t>(number)]));
}

void putAndRemove(CContainers& containers, int number)
{
    const CAsciiName& name = containers.names[static_cast<size_t>(number)];
    CSpyMap(containers.map).remove(name).free();
    CSpyMap(containers.map).put(name, name);
}

void add(CContainers& containers, int number)
{
    CSpyVector vector(containers.vector);
    vector.addElement(CSpyVariant(number));
    if (number == Entries - 1)
        while (vector.size() > Entries)
            vector.remove(Entries);
}

void removeFromVector(CContainers& containers, int number)
{
    CSpyVector vector(containers.vector);
    vector.remove(0);
    vector.addElement(CSpyVariant(number));
}

void putPair(CContainers& containers, int number)
{
    CSpyMappedPair(containers.pair)
        .put(containers.names[static_cast<size_t>(number % 20)], CSpyVariant(number), number);
}

/// As from Java: the message into its queue, and a signal.
void post(CContainers& containers, int number)
{
    CMailslot slot(containers.slot);
    CSpyVector posts(slot.mailbox()->m_postQueue.ref());
    posts.addElement(CSpyVariant(containers.names[static_cast<size_t>(number)], 0));
    slot.send(false);
    slot.takeSignal();
    if (number == Entries - 1)
        posts.removeAllElements();
}

BENCHMARK_CAPTURE(work, put, put)->Iterations(100)->UseManualTime();
BENCHMARK_CAPTURE(work, get, get)->Iterations(100)->UseManualTime();
BENCHMARK_CAPTURE(work, putAndRemove, putAndRemove)->Iterations(100)->UseManualTime();
BENCHMARK_CAPTURE(work, vectorAdd, add)->Iterations(100)->UseManualTime();
BENCHMARK_CAPTURE(work, vectorRemoveFirstOf1000, removeFromVector)->Iterations(100)->UseManualTime();
BENCHMARK_CAPTURE(work, pairPut, putPair)->Iterations(100)->UseManualTime();
BENCHMARK_CAPTURE(work, mailslotPost, post)->Iterations(100)->UseManualTime();

/// Taking the lock after a process was killed at the end of `put`, beside taking it.
void recovery(benchmark::State& state)
{
    CContainers containers;
    std::vector<double> after, plain;
    for (auto _ : state) {
        const pid_t child = fork();
        if (child == 0) {
            const CSpyUnit unit;
            put(containers, 1);
            raise(SIGKILL);
        }
        waitpid(child, nullptr, 0);
        const auto take = [] { const CSpyHeapLock lock; };
        after.push_back(secondsOf(take));
        plain.push_back(secondsOf(take));
        state.SetIterationTime(after.back());
    }
    state.counters["ours_us"] = medianOf(after) * 1e6;
    state.counters["peer_us"] = medianOf(plain) * 1e6;
    CSpyHeap::deleteBaseHeap();
}
BENCHMARK(recovery)->Iterations(200)->UseManualTime();
} // namespace
