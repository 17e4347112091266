// Many processes on one store, killed, starved, deceived and robbed. GX_TORTURE_SECONDS says for how long
// (15), GX_SEED with which random numbers.
#include "ChildProcess.h"
#include "StoreCheck.h"
#include "TortureStore.h"
#include "UsedUp.h"
#include "include/Within.h"
#include "session/PrivateIpc.h"
#include "session/PrivateSession.h"
#include "session/Program.h"
#include "unix/ipc/Mailslot.h"
#include "unix/ipc/Mutex.h"
#include "unix/ipc/SemaphoreList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <list>
#include <map>

namespace {
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

unsigned numberFrom(const char* variable, unsigned otherwise)
{
    const char* const text = std::getenv(variable);
    return text ? static_cast<unsigned>(std::atol(text)) : otherwise;
}

/// Removes every System V object, as a logout does.
void removeAllObjects()
{
    for (const CSystemVObject& each : systemVObjects())
        each.kind == CSystemVObject::Segment ? shmctl(each.id, IPC_RMID, nullptr)
                                             : semctl(each.id, 0, IPC_RMID);
}

std::string textOf(const CSpyVariant& key)
{
    const auto* const units = static_cast<const unsigned char*>(static_cast<const void*>(key.getString()));
    std::string text;
    for (size_t at = 0; at < static_cast<size_t>(key.getStringLen()); at += sizeof(char16_t))
        text += static_cast<char>(units[at]);
    return text;
}

/// Rounds of one kind, for a share of the time. The session tells when anything is left in the system.
class TortureTest : public testing::Test {
protected:
    static constexpr int Kinds = 8;
    static constexpr int Ended = 0, Killed = 128 + SIGKILL, Terminated = 255, Asserted = 128 + SIGABRT;

    TortureTest()
        : m_seed(numberFrom("GX_SEED", std::random_device{}())), m_random(m_seed),
          m_end(Clock::now() + 1000ms * numberFrom("GX_TORTURE_SECONDS", 15) / Kinds)
    {
    }
    ~TortureTest() override
    {
        CSpyHeap::deleteBaseHeap();
        std::printf("GX_SEED=%u: %d rounds, %d processes, %ld operations, %ld refused, %d killed;", m_seed,
                    m_rounds, m_started, m_operations, m_refused, m_kills);
        for (const auto& [status, count] : m_ends)
            std::printf(" status %d: %d", status, count);
        std::printf("\n");
    }

    /// It takes whatever it finds for its own.
    void SetUp() override
    {
        if (const char* reason = CPrivateSession::whyNoPrivateIpc())
            GTEST_SKIP() << reason;
    }
    bool goesOn() { return (m_rounds++ == 0 || Clock::now() < m_end) && !HasFailure(); }
    unsigned random(unsigned below) { return static_cast<unsigned>(m_random() % below); }
    std::mt19937& generator() { return m_random; }
    void pauseUpTo(unsigned milliseconds)
    {
        std::this_thread::sleep_for(std::chrono::microseconds(random(milliseconds * 1000)));
    }
    /// Waits until so many more were done.
    void awaitOperations(long count)
    {
        const long before = m_report.operations + m_report.refused;
        within(5s, [&] { return m_report.operations + m_report.refused >= before + count; });
    }
    CProgram& start(const char* kind)
    {
        ++m_started;
        return m_workers.emplace_back(
            std::vector<std::string>{GX_TORTURE_WORKER, kind, std::to_string(m_random()), m_path});
    }
    /// A JVM, which has a mailslot of that name now and then.
    pid_t startJava(const std::string& slot)
    {
        ++m_started;
        return m_workers
            .emplace_back(std::vector<std::string>{
                GX_JAVA, "-Xmx64m", "-XX:TieredStopAtLevel=1", "-Djava.library.path=" GX_JAVA_DIR, "-cp",
                GX_JAVA_DIR "/gxsys.jar:" GX_JAVA_DIR "/gx-java-suites.jar", "TortureWorker", slot,
                std::to_string(m_random()), m_path})
            .pid();
    }
    void startSome(const char* kind, int count)
    {
        m_report.isOver = false;
        m_report.ready = 0;
        while (count-- > 0)
            start(kind);
    }
    std::list<CProgram>& workers() { return m_workers; }
    /// Kills one of them, and waits for its end. @return what its process was
    pid_t killOne()
    {
        auto victim = std::next(m_workers.begin(), random(static_cast<unsigned>(m_workers.size())));
        victim->kill(SIGKILL);
        ++m_kills;
        expectEnd(*victim, {Killed});
        const pid_t process = victim->pid();
        m_workers.erase(victim);
        return process;
    }
    /// Tells them that it is over.
    void finish(const std::vector<int>& expected)
    {
        m_report.isOver = true;
        for (CProgram& each : m_workers)
            expectEnd(each, expected);
        m_workers.clear();
        m_operations += m_report.operations.exchange(0);
        m_refused += m_report.refused.exchange(0);
    }
    void expectEnd(CProgram& worker, const std::vector<int>& expected)
    {
        const std::optional<int> status = worker.wait(30s);
        ++m_ends[status.value_or(-1)];
        EXPECT_TRUE(std::count(expected.begin(), expected.end(), status.value_or(-1)) > 0)
            << "a worker " << (status ? "ended with " + std::to_string(*status) : "hangs")
            << ", GX_SEED=" << m_seed << ", round " << m_rounds;
    }
    CReport& report() { return m_report; }

    /// What is in use beside the containers: blocks and semaphores.
    static std::string surroundings()
    {
        const CContainers containers;
        CSemaphoreList list;
        const CSpyHeapLock lock;
        for (UNIQUEID transaction = 1; transaction <= 5; ++transaction)
            CSpyMemory::free(transaction);
        CSpyJournal::checkpoint(); // empties what was dropped
        CReachable reachable;
        reachable.addMap(containers.map);
        reachable.addVector(containers.vector);
        reachable.addPair(containers.pair);
        CSemaphoreList::CRecord record{};
        list.read(&record, sizeof record);
        std::string text = std::to_string(reachable.strangers()) + " blocks, " +
                           std::to_string(std::count(std::begin(record.m_used), std::end(record.m_used), 1)) +
                           " semaphores, heaps";
        for (HEAPID id = 0; id <= MaxHeap; ++id)
            if (CSpyHeap::getHeap(id))
                text += " " + std::to_string(id) + "/" + std::to_string(CSpyHeap::getTransactionId(id));
        return text;
    }
    /// Makes all that stays, so that the surroundings do not change any more.
    static std::string begin()
    {
        const CContainers containers;
        std::unique_ptr<CSpyMutex>(CUnixMutex::named("torture"));
        CSpyMap slots((CSpyMemRef()));
        slots.create(CName("MailSlots"), 0, 100);
        return surroundings();
    }
    static void removeDeadMailslots()
    {
        const CSpyHeapLock lock;
        CSpyMap slots(CSpyMemory(CName("MailSlots")).ref());
        std::vector<CSpyVariant> keys(slots.size());
        slots.getKeys(keys.data(), static_cast<unsigned>(keys.size()));
        for (const CSpyVariant& key : keys) {
            const CName name(textOf(key));
            CMailslot slot(slots.get(name).ref());
            EXPECT_TRUE(slot.isGone() || slot.mailbox()->m_owner.load() == 0) << "a living one has left";
            slot.freeAll();
            slots.remove(name);
        }
    }

private:
    const unsigned m_seed;
    std::mt19937 m_random;
    const Clock::time_point m_end;
    const std::string m_path = std::string(std::getenv("HOME")) + "/torture";
    CReport& m_report = CReport::at(m_path.c_str());
    std::list<CProgram> m_workers;
    std::map<int, int> m_ends;
    int m_rounds = 0, m_started = 0, m_kills = 0;
    long m_operations = 0, m_refused = 0;
};

TEST_F(TortureTest, FirstUseByEightProcessesOfEightThreadsSomeOfThemKilled)
{
    constexpr int Processes = 8, Threads = 8;
    while (goesOn()) {
        startSome("first", Processes);
        for (unsigned deaths = random(3); deaths > 0; --deaths) {
            if (random(2) == 0) // the first one has made the store, or is about to
                awaitOperations(1);
            pauseUpTo(60);
            killOne();
        }
        std::vector<std::string> expected;
        for (const CProgram& each : workers())
            for (int thread = 0; thread < Threads; ++thread)
                expected.push_back(std::to_string(each.pid()) + "." + std::to_string(thread));
        // This process keeps out of the store, so that a worker is the last one in it.
        CChildProcess([&](CChildProcess&) {
            const CSpyMemRef map = CContainers().map;
            const auto isThere = [&](const std::string& key) {
                const CSpyUnit unit;
                return CSpyMap(map).containsKey(CName(key));
            };
            for (const std::string& key : expected)
                EXPECT_TRUE(within(60s, [&] { return isThere(key); })) << "not all use one store: " << key;
        });
        finish({Ended});
        EXPECT_TRUE(systemVObjects().empty()) << "the last one has left something";
    }
}

TEST_F(TortureTest, OperationsOfProcessesThatAreKilled)
{
    const std::string before = begin();
    startSome("work", 8);
    while (goesOn()) {
        awaitOperations(200); // who has just been started needs its time
        pauseUpTo(30);
        killOne();
        start("work");
        EXPECT_EQ(before, surroundings());
    }
    finish({Ended});
    EXPECT_EQ(before, surroundings());
}

TEST_F(TortureTest, JavaBesideNativeProcessesSomeOfThemKilled)
{
    if (!*GX_JAVA)
        GTEST_SKIP() << "no JVM under a sanitizer";
    const std::string before = begin();
    startSome("work", 3);
    std::map<pid_t, std::string> javas;
    const auto startJava = [&](const std::string& slot) { javas[this->startJava(slot)] = slot; };
    startJava("java 1");
    startJava("java 2");
    EXPECT_TRUE(within(30s, [&] { return report().ready == 2; }));
    while (goesOn()) {
        awaitOperations(200);
        pauseUpTo(300);
        if (const auto killed = javas.find(killOne()); killed == javas.end())
            start("work");
        else
            startJava(killed->second);
    }
    finish({Ended});
    removeDeadMailslots();
    EXPECT_EQ(before, surroundings());
}

TEST_F(TortureTest, WallClocksThatJump)
{
    const std::string before = begin();
    while (goesOn()) {
        startSome("clock", 4);
        pauseUpTo(1000);
        finish({Ended});
        EXPECT_EQ(before, surroundings());
    }
}

TEST_F(TortureTest, ReceiversThatAreTerminated)
{
    const std::string before = begin();
    while (goesOn()) {
        startSome("receive", 4);
        within(10s, [&] { return report().ready == 4; });
        pauseUpTo(20);
        for (CProgram& each : workers())
            for (unsigned times = 1 + random(3); times > 0; --times)
                each.kill(SIGTERM);
        for (CProgram& each : workers())
            expectEnd(each, {Terminated, 128 + SIGTERM});
        workers().clear();
        finish({});
        removeDeadMailslots();
        EXPECT_EQ(before, surroundings());
    }
}

TEST_F(TortureTest, ObjectsThatAreRemovedUnderTheirUsers)
{
    while (goesOn()) {
        startSome("work", 4);
        awaitOperations(50);
        pauseUpTo(100);
        removeAllObjects();
        pauseUpTo(50);
        start("work"); // beside those that have lost theirs
        pauseUpTo(50);
        finish({Ended});
        startSome("work", 1);
        pauseUpTo(50);
        finish({Ended});
        removeAllObjects();
    }
}

TEST_F(TortureTest, NoSegmentsOrSemaphoresThatTheSystemStillHasToGive)
{
    while (goesOn()) {
        startSome("work", 2);
        awaitOperations(random(50));
        {
            const CUsedUp segments(CUsedUp::Segments);
            const CUsedUp sets(CUsedUp::Sets);
            start("work");
            pauseUpTo(150);
        }
        pauseUpTo(60);
        finish({Ended});
    }
}

TEST_F(TortureTest, HeapsWhoseBytesChange)
{
    while (goesOn()) {
        startSome("flip", 2);
        for (CProgram& each :
             workers()) // an assertion ends a process that is about to free what is not its own
            expectEnd(each, {Ended, Asserted});
        workers().clear();
        finish({});
        removeAllObjects();
    }
}
} // namespace
