#include "ChildProcess.h"
#include "UsedUp.h"
#include "session/PrivateIpc.h"
#include "session/PrivateSession.h"
#include "unix/sysv/SemaphoreSet.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

namespace {
constexpr key_t Key = 0x5E3A;

class SemaphoreSetTest : public testing::Test {
protected:
    void TearDown() override
    {
        if (const int id = semget(Key, 0, 0); id != -1)
            semctl(id, 0, IPC_RMID);
    }
    static bool change(CSemaphoreSet& set, int index, short by)
    {
        sembuf operation{0, by, IPC_NOWAIT};
        return set.op(index, &operation, 1);
    }
    static int value(const CSemaphoreSet& set, int index) { return semctl(set.id(), index, GETVAL); }
};

TEST_F(SemaphoreSetTest, TakesOverASetOnlyFromTheDead)
{
    const struct {
        const char* why;
        bool alive, attachLive, created, attached;
        int valueAfter;
    } rows[] = {{"its last user died: reset", false, false, true, true, 0},
                {"the same whoever asks", false, true, true, true, 0},
                {"in use: refused", true, false, false, false, 5},
                {"in use: shared as found", true, true, false, true, 5}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CChildProcess user([](CChildProcess& parent) {
            CSemaphoreSet set;
            EXPECT_TRUE(set.create(Key, 3, false));
            EXPECT_TRUE(change(set, 0, 5));
            EXPECT_TRUE(change(set, 2, 7));
            parent.pass();
            parent.wait();
        });
        user.wait();
        if (!row.alive)
            user.die();
        CSemaphoreSet set, probe(semget(Key, 0, 0));
        EXPECT_EQ(row.created, set.create(Key, 3, row.attachLive));
        EXPECT_EQ(row.attached ? probe.id() : -1, set.id());
        EXPECT_EQ(row.created ? Key : 0, set.key());
        EXPECT_EQ(row.valueAfter, value(probe, 0));
        EXPECT_EQ(row.valueAfter ? 7 : 0, value(probe, 2));
        probe.free();
    }
}

TEST_F(SemaphoreSetTest, PerformsOperationsAtOnceOrNotAtAll)
{
    CSemaphoreSet set;
    ASSERT_TRUE(set.create(Key, 2, false));
    sembuf operations[] = {{0, 3, 0}, {0, -4, IPC_NOWAIT}};
    EXPECT_FALSE(set.op(1, operations, 2));
    EXPECT_EQ(EAGAIN, errno);
    EXPECT_EQ(0, value(set, 1));
    operations[1].sem_op = -2;
    EXPECT_TRUE(set.op(1, operations, 2));
    EXPECT_EQ(1, value(set, 1));
    EXPECT_EQ(0, value(set, 0));
    set.free();
    EXPECT_EQ(-1, set.id());
    EXPECT_FALSE(change(set, 0, 1));
}

TEST_F(SemaphoreSetTest, MakesSetsAsLargeAsTheSystemAllows)
{
    CChildProcess root([](CChildProcess&) {
        if (enterPrivateIpc(true) == PrivateIpc::None ||
            !(std::ofstream("/proc/sys/kernel/sem") << "3 32000 500 100" << std::flush)) // 3 in a set
            _exit(CPrivateSession::Skipped);
        CSemaphoreSet set;
        EXPECT_TRUE(set.create(Key, 32, false));
        EXPECT_EQ(0, value(set, 2));
        EXPECT_EQ(-1, value(set, 3));
    });
    const int status = root.join();
    if (status == CPrivateSession::Skipped)
        GTEST_SKIP() << "the limits of an IPC namespace cannot be changed here";
    EXPECT_EQ(0, status);
}

TEST_F(SemaphoreSetTest, ReportsThatTheSystemHasNoSetLeft)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    const CUsedUp none(CUsedUp::Sets);
    CSemaphoreSet set;
    EXPECT_FALSE(set.create(Key, 1, true));
    EXPECT_EQ(-1, set.id());
}

TEST_F(SemaphoreSetTest, RefusesASetWithFewerSemaphores)
{
    CSemaphoreSet small, large;
    ASSERT_TRUE(small.create(Key, 1, false));
    EXPECT_FALSE(large.create(Key, 5, true));
    EXPECT_EQ(-1, large.id());
}
} // namespace
