#include "ChildProcess.h"
#include "Seed.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyVector.h"
#include "unix/ipc/Mailslot.h"
#include "unix/ipc/SemaphoreList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {
using namespace std::chrono_literals;
constexpr int EndedBySigterm = 255;

/// A mailslot "slot" in the map that exit handlers clean. Receivers are child processes.
class MailslotTest : public testing::Test {
protected:
    MailslotTest() : m_semaphores(semaphoresInUse())
    {
        CSpyMap(CSpyMemRef()).create(CAsciiName("MailSlots"), 0, 4);
        make();
    }
    ~MailslotTest() override { CSpyHeap::deleteBaseHeap(); }

    static CSpyMap slots() { return CSpyMap(CSpyMemory(CAsciiName("MailSlots")).ref()); }
    void make()
    {
        CSpyVector queues[2];
        for (CSpyVector& queue : queues)
            queue.create(0, 2, 2);
        m_slot = CMailslot();
        m_slot.create(CAsciiName("slot"), queues[0].ref(), queues[1].ref());
        slots().put(CAsciiName("slot"), CSpyVariant(m_slot));
    }
    void discard()
    {
        m_slot.freeAll();
        slots().remove(CAsciiName("slot"));
    }
    static bool isRegistered() { return slots().containsKey(CAsciiName("slot")); }
    static long semaphoresInUse()
    {
        CSemaphoreList::CRecord record{};
        CSemaphoreList().read(&record, sizeof record);
        return std::count(std::begin(record.m_used), std::end(record.m_used), 1);
    }
    bool hasSemaphores() const { return semaphoresInUse() == m_semaphores + 2; }
    /// What a send says when it fails.
    std::string failure(bool waitForReply) const
    {
        try {
            CMailslot sender(m_slot.ref());
            sender.send(waitForReply);
            return "";
        } catch (const CMailslotException& e) {
            return e.message();
        }
    }
    /// Becomes the owner at once, then answers `replies` messages, takes one more and waits for the baton.
    void receive(CChildProcess& parent, int replies)
    {
        m_slot.send(false);
        m_slot.waitForMessage();
        parent.pass();
        for (; replies > 0; --replies) {
            m_slot.waitForMessage();
            m_slot.replyTo();
        }
        m_slot.waitForMessage();
        parent.pass();
        parent.wait();
    }

    static constexpr char Gone[] = "Mailslot [slot] disappeared during send";
    long m_semaphores;
    CMailslot m_slot;
};

TEST_F(MailslotTest, GivesConsecutivePairsOfSemaphoresUntilThereAreNone)
{
    const long blocks = CSpyHeap::getStats().numberUsedBlocks;
    std::vector<CMailslot> slots(1);
    int index = m_slot.handle().m_index;
    while (slots.back().create(CAsciiName("next"), {}, {})) {
        EXPECT_EQ(CSemaphoreHandle(m_slot.handle().m_set, index += 2), slots.back().handle());
        slots.emplace_back();
    }
    EXPECT_LT(index + 1, CSemaphoreList::Semaphores);
    slots.pop_back();
    for (CMailslot& each : slots)
        each.freeAll();
    EXPECT_EQ(blocks, CSpyHeap::getStats().numberUsedBlocks);
    EXPECT_TRUE(hasSemaphores());
}

TEST_F(MailslotTest, ReportsTheDeathOfItsReceiverBeforeAndAfterAReply)
{
    constexpr struct {
        int replies;
        bool waitForReply;
    } rows[] = {{0, false}, {0, true}, {50, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.replies);
        CChildProcess receiver([&](CChildProcess& parent) { receive(parent, row.replies); });
        receiver.wait();
        for (int reply = 0; reply < row.replies; ++reply)
            ASSERT_TRUE(m_slot.send(true));
        receiver.die();
        EXPECT_EQ(Gone, failure(row.waitForReply));
        EXPECT_EQ(Gone, failure(row.waitForReply)) << "once more";
        EXPECT_FALSE(m_slot.attach(0));
        EXPECT_EQ(m_semaphores, semaphoresInUse());
        discard();
        make();
        EXPECT_TRUE(hasSemaphores()) << "given back once";
    }
}

TEST_F(MailslotTest, TellsAWaitingSenderWithinASecond)
{
    enum { Killed, Detached, Exited };
    for (const int what : {Killed, Detached, Exited}) {
        SCOPED_TRACE(what);
        CChildProcess receiver([&](CChildProcess& parent) {
            receive(parent, 0);
            what == Detached ? m_slot.detach() : CMailslot::exitHandler();
        });
        receiver.wait();
        CChildProcess sender([&](CChildProcess& parent) {
            const std::string told = failure(true); // an exiting receiver detaches first: either may be seen
            EXPECT_TRUE(told == Gone ? what != Detached : told.empty() && what != Killed) << told;
            parent.pass();
        });
        receiver.wait();
        what == Killed ? receiver.die() : receiver.pass();
        EXPECT_TRUE(sender.wait(1s));
        EXPECT_EQ(m_semaphores, semaphoresInUse());
        EXPECT_EQ(what != Exited, isRegistered());
        if (what != Exited)
            discard();
        make();
    }
}

TEST_F(MailslotTest, RefusesToAttachToADeadReceiverAndReapsOneOfItsOwn)
{
    EXPECT_TRUE(m_slot.attach(0)) << "nobody owns it yet";
    const pid_t child = fork();
    if (child == 0)
        _exit(0);
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
    m_slot.mailbox()->m_owner.store(child);
    EXPECT_TRUE(m_slot.attach(0)) << "a zombie passes for alive";
    EXPECT_TRUE(m_slot.isGone());
    EXPECT_EQ(-1, waitpid(child, nullptr, 0)) << "reaped";
    try {
        m_slot.attach(0);
        ADD_FAILURE();
    } catch (const CInvalidMailslotException& e) {
        EXPECT_STREQ("Mailslot does not  exist: slot", e.message());
    }
    EXPECT_EQ(m_semaphores, semaphoresInUse());
    EXPECT_THROW(CMailslot().send(true), CInvalidMailslotException);
    EXPECT_FALSE(CMailslot().replyTo());
    EXPECT_THROW(CMailslot(slots().ref()), CInvalidSpyMemRef) << "a block that is too small";
}

/// At exit: in the suite for Java, whose JVMs are started anew. A fork shares its parent's X connections.
TEST_F(MailslotTest, VanishesWithItsProcess)
{
    const struct {
        const char* how;
        std::function<void(CChildProcess&)> afterwards;
        int status;
        bool vanishes;
    } rows[] = {
        {"SIGTERM", [](CChildProcess&) { raise(SIGTERM); }, EndedBySigterm, true},
        {"SIGTERM while it holds the heap lock",
         [](CChildProcess&) {
             const CSpyHeapLock lock;
             raise(SIGTERM);
         },
         EndedBySigterm, true},
        {"_exit", [](CChildProcess&) { _exit(7); }, 7, false},
        {"the exit handler of a process it forked",
         [](CChildProcess&) {
             CChildProcess child([](CChildProcess&) { CMailslot::exitHandler(); });
             child.join();
             _exit(7);
         },
         7, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.how);
        CChildProcess receiver([&](CChildProcess& parent) {
            receive(parent, 0);
            row.afterwards(parent);
        });
        receiver.wait();
        m_slot.send(false);
        receiver.pass();
        EXPECT_EQ(row.status, receiver.join());
        EXPECT_EQ(row.vanishes, !isRegistered());
        EXPECT_EQ(row.vanishes, !hasSemaphores());
        if (!row.vanishes)
            discard();
        make();
    }
}

TEST_F(MailslotTest, EndsAtSigtermWhileAnotherProcessKeepsTheHeap)
{
    CChildProcess receiver([&](CChildProcess& parent) { receive(parent, 0); });
    receiver.wait();
    CChildProcess holder([&](CChildProcess& parent) {
        const CSpyHeapLock lock;
        parent.pass();
        parent.wait();
    });
    holder.wait();
    const auto start = std::chrono::steady_clock::now();
    kill(receiver.pid(), SIGTERM);
    EXPECT_EQ(EndedBySigterm, receiver.join());
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
    holder.pass();
    EXPECT_EQ(0, holder.join());
    EXPECT_TRUE(isRegistered()) << "as a killed one";
}

/// The thread that the signal interrupts may be anywhere: in the middle of a change of spy memory, or with
/// the lock of malloc, which the cleaning needs.
TEST_F(MailslotTest, EndsAtSigtermWhereverItIs)
{
    constexpr int Rounds = 40;
    std::mt19937 random(seed());
    for (int round = 0; round < Rounds; ++round) {
        const bool inMalloc = round % 8 == 0;
        CChildProcess receiver([&](CChildProcess& parent) {
            m_slot.send(false);
            m_slot.waitForMessage();
            std::thread([] { pause(); }).detach(); // malloc locks only where there are threads
            parent.pass();
            while (inMalloc)
                free(malloc(100000));
            for (;;)
                CSpyHeap::getHeap(0)->allocate(100).free();
        });
        receiver.wait();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
        kill(receiver.pid(), SIGTERM);
        ASSERT_EQ(EndedBySigterm, receiver.join()) << "round " << round;
        EXPECT_EQ(isRegistered(), hasSemaphores());
        if (isRegistered())
            discard();
        EXPECT_EQ(m_semaphores, semaphoresInUse());
        make();
    }
}
} // namespace
