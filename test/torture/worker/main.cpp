// torture-worker KIND SEED REPORT: one of many processes that the torture starts, kills and starts again.
// Ends with status 0 when it is told to, with 1 when it has seen what must not be.
#include "ThrownText.h"
#include "TortureStore.h"
#include "unix/ipc/Mailslot.h"
#include "unix/ipc/Mutex.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

static std::atomic<time_t> s_jump = 0;

/// Takes the place of the system's in this program: the wall clock that mutexes look at.
extern "C" time_t time(time_t* answer) noexcept
{
    timespec now;
    syscall(SYS_clock_gettime, CLOCK_REALTIME, &now);
    const time_t jumped = now.tv_sec + s_jump;
    if (answer)
        *answer = jumped;
    return jumped;
}

namespace {
constexpr int Threads = 8;
constexpr UNIQUEID Transactions = 5;

void expect(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "torture-worker %d: %s\n", getpid(), what);
    _exit(1);
}

/// Runs it, whatever it throws of what spy memory may throw.
void attempt(CReport& report, const std::function<void()>& operation)
{
    try {
        operation();
        ++report.operations;
    } catch (const CSpyHeapException&) {
        ++report.refused;
    } catch (const CInvalidSpyMemRef&) {
        ++report.refused;
    } catch (const CSpyMutexException&) {
        ++report.refused;
    } catch (const CMailslotException&) {
        ++report.refused;
    } catch (...) {
        expect(false, thrownText().c_str());
    }
}

void inThreads(int count, unsigned seed, const std::function<void(std::mt19937&, int)>& work)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&, number] {
            std::mt19937 random(seed + static_cast<unsigned>(number));
            work(random, number);
        });
    for (std::thread& each : threads)
        each.join();
}

// Kinds

/// All threads of all processes begin at once.
void firstUse(CReport& report, unsigned seed)
{
    inThreads(Threads, seed, [&](std::mt19937&, int number) {
        const CName name(std::to_string(getpid()) + "." + std::to_string(number));
        const CSpyMemRef map = CContainers().map;
        {
            const CSpyUnit unit;
            CSpyMap(map).put(name, name);
        }
        ++report.operations;
        while (!report.isOver)
            usleep(1000);
        const CSpyUnit unit;
        expect(CSpyMap(map).get(name) == name, "what was put is lost");
    });
}

void inMutex()
{
    CUnixMutex mutex;
    if (!mutex.create("torture"))
        return;
    mutex.acquire(2000);
    mutex.release();
}

void inTransaction(std::mt19937& random)
{
    const UNIQUEID transaction = 1 + random() % Transactions;
    for (int count = 0; count < 3; ++count)
        CSpyHeap::getHeap(0)->allocate(1 + random() % 20000, transaction);
    if (random() % 2)
        CSpyMemory::free(transaction);
}

void mailslotForAMoment()
{
    const CSpyUnit unit;
    CMailslot slot;
    if (slot.create(CName("moment"), {}, {}))
        slot.freeAll();
}

void operate(std::mt19937& random)
{
    switch (random() % 8) {
    case 0:
        return inMutex();
    case 1:
        return inTransaction(random);
    case 2:
        return mailslotForAMoment();
    case 3:
        CSpyHeap::getStats();
        return;
    default:
        CContainers().change(random);
    }
}

void work(CReport& report, unsigned seed)
{
    inThreads(2, seed, [&](std::mt19937& random, int) {
        while (!report.isOver)
            attempt(report, [&] { operate(random); });
    });
}

/// While the wall clock goes to and fro.
void clock(CReport& report, unsigned seed)
{
    std::thread jumping([&] {
        for (std::mt19937 random(seed); !report.isOver; usleep(2000))
            s_jump = static_cast<time_t>(random() % 7200) - 3600;
    });
    work(report, seed);
    jumping.join();
}

/// Has a mailslot and waits there until it is ended by a signal; another thread works.
void receive(CReport& report, unsigned seed)
{
    CMailslot slot;
    attempt(report, [&] {
        const CSpyUnit unit;
        CSpyMemory known(CName("MailSlots"));
        CSpyMap slots(known.ref());
        if (slot.create(CName("slot"), {}, {}))
            slots.put(CName("slot" + std::to_string(getpid())), CSpyVariant(slot));
    });
    std::thread([&, seed] { work(report, seed); }).detach();
    ++report.ready;
    while (slot.mailbox() && !report.isOver)
        attempt(report,
                [&] { expect(slot.waitForMessage() || report.isOver, "a receiver has no mailslot"); });
    _exit(0);
}

/// Bytes of the heaps change under it. Nothing it reads can be relied on, and it must come to an end.
void flip(CReport& report, unsigned seed)
{
    alarm(20);
    std::mt19937 random(seed);
    attempt(report, [&] { inTransaction(random); });
    for (int count = 0; count < 400 && !report.isOver; ++count) {
        attempt(report, [&] { operate(random); });
        CSpyHeap* const heap = CSpyHeap::attached(static_cast<HEAPID>(random() % 3));
        if (heap && random() % 4 == 0) {
            // Headers and first blocks are what counts.
            const size_t near = random() % 2 ? 4096 : heap->size();
            reinterpret_cast<unsigned char*>(heap->header())[random() % near] ^= 1U << random() % 8;
        }
    }
    _exit(0); // what leaving would look at is spoilt
}

const struct {
    const char* name;
    void (*run)(CReport&, unsigned);
} kinds[] = {{"first", firstUse}, {"work", work}, {"clock", clock}, {"receive", receive}, {"flip", flip}};
} // namespace

int main(int argc, char** argv)
{
    if (argc != 4)
        return 2;
    CReport& report = CReport::at(argv[3]);
    for (const auto& kind : kinds)
        if (!std::strcmp(kind.name, argv[1]))
            kind.run(report, static_cast<unsigned>(std::atol(argv[2])));
    return 0;
}
