#include "ChildProcess.h"
#include "Seed.h"
#include "TraceCapture.h"
#include "common/spy/SpyMemory.h"
#include "include/Within.h"
#include "unix/ipc/MutexList.h"
#include "unix/sysv/HoldRecords.h"
#include "unix/sysv/NoticePage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <random>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/time.h>
#include <thread>

namespace {
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// A mutex on a set of its own.
class MutexTest : public testing::Test {
protected:
    MutexTest()
    {
        m_set.create(0x7357, 1, true);
        m_mutex.setHandle(handle());
    }
    ~MutexTest() override { m_set.free(); }

    CSemaphoreHandle handle() const { return {m_set.id(), 0}; }
    int value() const { return semctl(m_set.id(), 0, GETVAL); }
    static bool fails(CSpyMutex& mutex, int timeoutMs)
    {
        try {
            return !mutex.acquire(timeoutMs);
        } catch (const CMutexTimeoutException&) {
            return true;
        }
    }

    CMutex m_set;
    CUnixMutex m_mutex;
};

TEST_F(MutexTest, IsFreeWhenItsOwnerHasReleasedItAsOftenAsAcquired)
{
    EXPECT_TRUE(m_mutex.acquire(0));
    EXPECT_TRUE(m_mutex.acquire(0));
    EXPECT_FALSE(m_mutex.release());
    EXPECT_TRUE(m_mutex.isAcquired());
    EXPECT_EQ(1, value());
    EXPECT_TRUE(m_mutex.release());
    EXPECT_FALSE(m_mutex.isAcquired());
    EXPECT_EQ(0, value());
    EXPECT_TRUE(m_mutex.release()) << "nobody holds it";
    EXPECT_EQ(0, value());
}

TEST_F(MutexTest, IgnoresAReleaseByAnotherThreadOrProcess)
{
    m_mutex.acquire(0);
    std::thread([&] { EXPECT_FALSE(m_mutex.release()); }).join();
    CChildProcess child([&](CChildProcess&) {
        EXPECT_FALSE(m_mutex.isAcquired()) << "a child holds nothing";
        EXPECT_FALSE(m_mutex.release());
        EXPECT_TRUE(fails(m_mutex, 0));
    });
    EXPECT_EQ(0, child.join());
    EXPECT_EQ(1, value());
    m_mutex.release();
}

TEST_F(MutexTest, WaitsWholeSecondsAndTriesOnceBelow)
{
    constexpr struct {
        int timeoutMs;
        std::chrono::milliseconds atLeast, atMost;
    } rows[] = {{0, 0ms, 300ms}, {999, 0ms, 300ms}, {1000, 1ms, 1300ms}, {2999, 1000ms, 2300ms}};
    CChildProcess holder([&](CChildProcess& parent) {
        m_mutex.acquire(0);
        parent.pass();
        parent.wait();
    });
    holder.wait();
    for (const auto& row : rows) {
        const auto start = Clock::now();
        try {
            m_mutex.acquire(row.timeoutMs);
            ADD_FAILURE() << row.timeoutMs;
        } catch (const CMutexTimeoutException& e) {
            EXPECT_THAT(e.message(), testing::EndsWith("Mutex timeout: Unknown Mutex"));
        }
        EXPECT_GE(Clock::now() - start, row.atLeast) << row.timeoutMs;
        EXPECT_LT(Clock::now() - start, row.atMost) << row.timeoutMs;
    }
}

TEST_F(MutexTest, IsFreeAgainWithinASecondWhereverItsHolderIsKilled)
{
    constexpr int Rounds = 300;
    std::mt19937 random(seed());
    Clock::duration longest{};
    for (int round = 0; round < Rounds; ++round) {
        CChildProcess holder([&](CChildProcess& parent) {
            parent.pass();
            for (CUnixMutex mutex(handle());;) {
                mutex.acquire(-1);
                mutex.acquire(-1);
                mutex.release();
                mutex.release();
            }
        });
        holder.wait();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 500));
        holder.die();
        const auto start = Clock::now();
        ASSERT_FALSE(fails(m_mutex, 1000)) << "round " << round;
        longest = std::max(longest, Clock::now() - start);
        m_mutex.release();
    }
    EXPECT_LT(longest, 1s);
}

TEST_F(MutexTest, WakesAWaiterThatWaitsWithoutLimitWhenTheHolderIsKilled)
{
    CChildProcess holder([&](CChildProcess& parent) {
        m_mutex.acquire(0);
        parent.pass();
        parent.wait();
    });
    holder.wait();
    CChildProcess waiter([&](CChildProcess& parent) {
        m_mutex.acquire(-1);
        parent.pass();
    });
    ASSERT_TRUE(within(5s, [&] { return semctl(m_set.id(), 0, GETZCNT) == 1; }));
    holder.die();
    EXPECT_TRUE(waiter.wait(1s));
}

TEST_F(MutexTest, LetsOneThreadOrProcessInAtATime)
{
    constexpr int Rounds = 3000;
    struct CShared {
        int counter;
        std::atomic<int> inside;
    };
    auto* shared = static_cast<CShared*>(CSpyHeap::getHeap(0)->allocate(sizeof(CShared) + 8).address());
    shared = reinterpret_cast<CShared*>((reinterpret_cast<uintptr_t>(shared) + 7) & ~uintptr_t{7});
    new (shared) CShared{};
    const auto work = [&] {
        for (int round = 0; round < Rounds; ++round) {
            m_mutex.acquire(-1);
            m_mutex.acquire(0);
            EXPECT_EQ(1, ++shared->inside);
            shared->counter = shared->counter + 1;
            --shared->inside;
            m_mutex.release();
            m_mutex.release();
        }
    };
    const auto inTwoThreads = [&] {
        std::thread first(work), second(work);
        first.join();
        second.join();
    };
    {
        CChildProcess other([&](CChildProcess&) { inTwoThreads(); });
        inTwoThreads();
    }
    EXPECT_EQ(4 * Rounds, shared->counter);
    CSpyHeap::deleteBaseHeap();
}

TEST_F(MutexTest, GoesOnWaitingWhenSignalsInterruptIt)
{
    CChildProcess holder([&](CChildProcess& parent) {
        m_mutex.acquire(0);
        parent.pass();
        parent.wait();
    });
    holder.wait();
    CChildProcess waiter([&](CChildProcess& parent) {
        static std::atomic<int> alarms = 0;
        struct sigaction action {};
        action.sa_handler = [](int) { ++alarms; };
        sigaction(SIGALRM, &action, nullptr);
        const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
        while (alarms < 20)
            pause();
        parent.pass();
        m_mutex.acquire(-1);
        m_mutex.release();
    });
    waiter.wait();
    ASSERT_TRUE(within(5s, [&] { return semctl(m_set.id(), 0, GETZCNT) == 1; }));
    holder.pass();
    EXPECT_EQ(0, holder.join());
    EXPECT_EQ(0, waiter.join());
}

TEST_F(MutexTest, FailsWhenItsSemaphoreIsGone)
{
    m_mutex.acquire(0);
    m_mutex.release();
    m_set.free();
    EXPECT_TRUE(fails(m_mutex, 5000));
    m_set.create(0x7357, 1, true);
    m_mutex.setHandle(handle());
    m_mutex.acquire(0);
    m_set.free();
    EXPECT_TRUE(m_mutex.release()) << "nothing is left to give back";
    m_set.create(0x7357, 1, true);
}

TEST_F(MutexTest, GivesBackWhatItHoldsBeforeItForgetsItsSemaphore)
{
    CUnixMutex named;
    const std::function<void()> ways[] = {[&] { named.free(); },
                                          [&] { EXPECT_TRUE(named.create("another")); }};
    for (const auto& forget : ways) {
        ASSERT_TRUE(named.create("forgotten"));
        const CSemaphoreHandle before = named.handle();
        named.acquire(0);
        named.acquire(0);
        forget();
        EXPECT_EQ(0, semctl(before.m_set, before.m_index, GETVAL));
        EXPECT_FALSE(named.isAcquired());
        EXPECT_TRUE(named.release());
        CSpyMemory::lockHeap(500);
        CSpyMemory::unlockHeap();
    }
    CSpyHeap::deleteBaseHeap();
}

TEST_F(MutexTest, ReportsABusyHeap)
{
    CSpyMemory();
    CChildProcess holder([&](CChildProcess& parent) {
        CSpyMemory::lockHeap(0);
        parent.pass();
        parent.wait();
    });
    holder.wait();
    EXPECT_THROW(CSpyMemory::lockHeap(500), CSpyHeapLockedException);
    EXPECT_FALSE(CSpyMemory::isHeapLocked());
    holder.die();
    EXPECT_NO_THROW(CSpyMemory::lockHeap(500));
    CSpyMemory::unlockHeap();
    CSpyHeap::deleteBaseHeap();
}

TEST_F(MutexTest, IsHandedToWhoWaitsByProcessesThatTakeItAgainAtOnce)
{
    constexpr int Enough = 20, Most = 300000;
    enum { Takes, LatestGiver, HandedOver, KeptFromWaiter, Numbers }; // written by who holds the mutex
    constexpr int None = -1;                                          // for the giver: nobody waited
    auto* const shared = static_cast<CShared<int>*>(CSpyMemRef(Numbers * sizeof(int), 0).address());
    for (const int number : {Takes, HandedOver, KeptFromWaiter})
        shared[number].store(0);
    shared[LatestGiver].store(None);
    const auto count = [&](int number) { shared[number].store(shared[number].load() + 1); };
    const auto work = [&](int self) {
        while (shared[HandedOver].load() < Enough && shared[Takes].load() < Most) {
            m_mutex.acquire(10000);
            count(Takes);
            if (shared[LatestGiver].load() != None)
                count(shared[LatestGiver].load() == self ? KeptFromWaiter : HandedOver);
            shared[LatestGiver].store(semctl(m_set.id(), 0, GETZCNT) > 0 ? self : None);
            m_mutex.release();
        }
    };
    {
        CChildProcess other([&](CChildProcess& parent) {
            parent.pass();
            work(1);
        });
        other.wait();
        work(0);
    }
    // Who waits leaves the queue once a millisecond, and does so just when the mutex is given back now and
    // then.
    EXPECT_GE(shared[HandedOver].load(), Enough);
    EXPECT_LT(shared[KeptFromWaiter].load(), Enough / 2);
    CSpyHeap::deleteBaseHeap();
}

TEST_F(MutexTest, TellsWhoHoldsItWhileOthersWait)
{
    CUnixMutex named;
    ASSERT_TRUE(named.create("held"));
    const struct {
        const char* name;
        std::function<void(int)> acquire;
        std::function<std::optional<CLockHolder>()> holder;
    } locks[] = {
        {"a named mutex", [&](int timeoutMs) { named.acquire(timeoutMs); }, [&] { return named.holder(); }},
        {"the heap mutex", CSpyMemory::lockHeap, CSpyMemory::lockHolder},
    };
    for (const auto& lock : locks) {
        SCOPED_TRACE(lock.name);
        EXPECT_FALSE(lock.holder());
        CChildProcess holder([&](CChildProcess& parent) {
            std::thread([&] {
                pthread_setname_np(pthread_self(), "the holder");
                lock.acquire(1);
                parent.pass();
                parent.wait();
            }).join();
        });
        holder.wait();
        CChildProcess waiter([&](CChildProcess&) {
            std::thread([&] { lock.acquire(20000); }).detach();
            EXPECT_TRUE(within(5s, [&] { return lock.holder()->m_forMs > 50; }));
            const CLockHolder found = lock.holder().value();
            EXPECT_EQ(holder.pid(), found.m_process);
            EXPECT_EQ("test-unix-ipc", found.m_processName);
            EXPECT_EQ("the holder", found.m_threadName);
            EXPECT_LT(found.m_forMs, 10000);
            EXPECT_TRUE(found.m_isAlive);
            const CTraceCapture trace;
            EXPECT_ANY_THROW(lock.acquire(1));
            EXPECT_TRUE(trace.has("is held by process " + std::to_string(holder.pid()) +
                                  " (test-unix-ipc), thread " + std::to_string(found.m_thread) +
                                  " (the holder), for "))
                << trace.text();
        });
        EXPECT_EQ(0, waiter.join());
        holder.die();
        EXPECT_FALSE(lock.holder());
    }
    CSpyHeap::deleteBaseHeap();
}

TEST_F(MutexTest, TellsADeadHolderFromALivingOneAndFromAStrangerWithItsNumber)
{
    alignas(4096) static unsigned char page[sizeof(CNoticePage)];
    CMutex set;
    set.create(0x7358, 2, true);
    CNoticePage::use(page, true);
    CHoldRecords::setNamedSet(set.id());
    CUnixMutex mutex(CSemaphoreHandle(set.id(), 1));
    mutex.acquire(0);
    EXPECT_TRUE(mutex.holder()->m_isAlive);
    page[64 + 8] ^= 1; // when the process was started
    EXPECT_FALSE(mutex.holder()->m_isAlive);
    mutex.release();
    CChildProcess child([&](CChildProcess&) {
        sembuf withoutUndo{1, 1, 0};
        set.op(1, &withoutUndo, 1);
    });
    EXPECT_EQ(0, child.join());
    const CLockHolder dead = mutex.holder().value();
    EXPECT_EQ(child.pid(), dead.m_process);
    EXPECT_FALSE(dead.m_isAlive);
    EXPECT_FALSE(dead.m_forMs) << "nothing is on record";
    set.free();
    EXPECT_FALSE(mutex.holder());
}

TEST_F(MutexTest, ComesFiveInAListThatProcessesShare)
{
    CMutexList list;
    CUnixMutex& first = list.acquire();
    CUnixMutex& second = list.acquire();
    first.acquire(0);
    CChildProcess other([](CChildProcess&) {
        CMutexList same;
        EXPECT_TRUE(fails(same.acquire(), 0));
        EXPECT_FALSE(fails(same.acquire(), 0));
    });
    EXPECT_EQ(0, other.join());
    first.release();
    EXPECT_FALSE(fails(second, 0));
    second.release();
    list.free();
}
} // namespace
