// gx store beside processes that live, have been killed, are somebody else's or cannot be seen.
#include "ChildProcess.h"
#include "Command.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyVector.h"
#include "include/SpyHeap.h"
#include "session/PrivateSession.h"
#include "unix/ipc/Mailslot.h"
#include "unix/ipc/Mutex.h"
#include "unix/sysv/IpcStatus.h"

#include <gmock/gmock.h>

#include <cstring>
#include <grp.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {
int objects()
{
    return std::stoi(CCommand("cat /proc/sysvipc/shm /proc/sysvipc/sem | wc -l").output);
}

/// A store with a mutex that is held, and a mailslot whose receiver is `owner`.
void makeStore(pid_t owner)
{
    CSpyMap(CSpyMemRef()).create(CAsciiName("MailSlots"), 0, 4);
    CSpyVector queues[2];
    for (CSpyVector& queue : queues)
        queue.create(0, 2, 2);
    CMailslot slot;
    slot.create(CAsciiName("Calculator"), queues[0].ref(), queues[1].ref());
    slot.mailbox()->m_owner.store(owner);
    CSpyMap(CSpyMemory(CAsciiName("MailSlots")).ref()).put(CAsciiName("Calculator"), CSpyVariant(slot));
    CUnixMutex::named("a mutex")->acquire(0);
}

TEST(GxStoreTest, MakesNothingWhereThereIsNone)
{
    const int before = objects(); // of programs that are just ending, too
    const CCommand none("gx store; gx store --json");
    EXPECT_THAT(none.output, ContainsRegex("no process uses a store on display :.*\n.*\"inUse\":false"));
    EXPECT_EQ(1, none.status);
    EXPECT_GE(before, objects());
    for (const char* const command : {"DISPLAY= gx store", "unset DISPLAY; gx store"})
        EXPECT_THAT(CCommand(command).output, HasSubstr("gx store: no store: DISPLAY is not set"));
}

TEST(GxStoreTest, TellsWhatThereIsAndLeavesTheLivingAlone)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    CChildProcess dead([](CChildProcess&) {});
    const pid_t gone = dead.pid();
    dead.join();
    CChildProcess holder([&](CChildProcess& parent) {
        makeStore(gone);
        parent.pass();
        parent.wait();
    });
    ASSERT_TRUE(holder.wait());
    const int before = objects();
    const std::string pid = std::to_string(holder.pid());
    const CCommand told("gx store");
    EXPECT_EQ(0, told.status);
    for (const char* const line :
         {"lock around the heaps: free", "heap 0: 1048576 bytes, [0-9]+ in [0-9]+ blocks used",
          "name \"MailSlots\": map", "name \"%Mutexes%\": map",
          "mutex \"a mutex\": held by process PID \\(test-gx\\), thread PID, for [0-9]+ ms",
          "mailslot \"Calculator\": process GONE, which is dead"}) {
        std::string pattern(line);
        for (const auto& [name, number] : {std::pair{"PID", pid}, {"GONE", std::to_string(gone)}})
            for (size_t at; (at = pattern.find(name)) != std::string::npos;)
                pattern.replace(at, std::strlen(name), number);
        EXPECT_THAT(told.output, ContainsRegex(pattern));
    }
    EXPECT_EQ(before, objects());
    EXPECT_THAT(CCommand("gx store --sweep").output,
                HasSubstr("removed: the mailslot \"Calculator\" of a dead process"));
    EXPECT_EQ(before, objects());
    EXPECT_THAT(CCommand("gx store").output,
                testing::AllOf(HasSubstr("mutex \"a mutex\": held"), Not(HasSubstr("mailslot"))));
    holder.pass();
    holder.join();
    CCommand("gx store --sweep");
}

TEST(GxStoreTest, RemovesWhatAKilledProcessOfThisUserHasLeft)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    const int before = objects();
    CChildProcess holder([&](CChildProcess& parent) {
        makeStore(getpid());
        parent.pass();
        parent.wait();
    });
    ASSERT_TRUE(holder.wait());
    holder.die();
    const CCommand told("gx store");
    EXPECT_THAT(told.output,
                ContainsRegex("no process uses.*\nleft by dead processes.*\n(.*\n)*  heap  .*process " +
                              std::to_string(holder.pid()) + ", display :"));
    EXPECT_NE(before, objects());
    EXPECT_EQ(0, CCommand("gx store --sweep").status);
    EXPECT_EQ(before, objects());
}

/// Something that looks like a heap that nobody has attached any more.
void makeHeap()
{
    const int id = shmget(0x7777, 0x100000, IPC_CREAT | IPC_EXCL | IpcRights);
    void* const place = shmat(id, nullptr, 0);
    std::memcpy(place, CSpyHeap::HeapObjectName, sizeof CSpyHeap::HeapObjectName);
    shmdt(place);
}

/// Sweeps, which in the common namespace might find what is the user's own.
class LeavingTest : public testing::Test {
protected:
    LeavingTest() : m_before(objects()) {}
    void SetUp() override
    {
        if (const char* const why = CPrivateSession::whyNoPrivateIpc())
            GTEST_SKIP() << why;
    }
    void staysBecause(const std::string& command, const std::string& reason)
    {
        const int there = objects();
        EXPECT_NE(m_before, there);
        EXPECT_THAT(CCommand(command + " gx store --sweep").output,
                    ContainsRegex("heap .* key 0x00007777 .*; stays: " + reason));
        EXPECT_EQ(there, objects());
        shmctl(shmget(0x7777, 0, 0), IPC_RMID, nullptr);
    }
    const int m_before;
};

TEST_F(LeavingTest, StaysWhileItsMakerLives)
{
    makeHeap();
    staysBecause("", "process " + std::to_string(getpid()) + ", which has made it, lives");
}

TEST_F(LeavingTest, StaysWhenItIsAnotherUsers)
{
    if (const char* const why = CPrivateSession::whyNoOtherUser())
        GTEST_SKIP() << why;
    CChildProcess other([](CChildProcess&) {
        constexpr unsigned nobody = 65534;
        EXPECT_TRUE(setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0);
        makeHeap();
    });
    EXPECT_EQ(0, other.join());
    staysBecause("", "it is nobody's");
}

TEST_F(LeavingTest, StaysWhenItsMakerCannotBeSeen)
{
    const std::string elsewhere = "unshare --user --map-root-user --pid --fork --mount-proc";
    if (CCommand(elsewhere + " true").status != 0)
        GTEST_SKIP() << "no process id namespace can be had here";
    CChildProcess([](CChildProcess&) { makeHeap(); }).join();
    staysBecause(geteuid() == 0 ? "unshare --pid --fork --mount-proc" : elsewhere,
                 "the process that has made it cannot be seen from here");
}
} // namespace
