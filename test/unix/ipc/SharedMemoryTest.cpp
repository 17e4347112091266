#include "ChildProcess.h"
#include "AsciiName.h"
#include "HexExample.h"
#include "Mailslot.h"
#include "Mutex.h"
#include "SpyMap.h"
#include "PrivateIpc.h"
#include "PrivateSession.h"
#include "Program.h"
#include "SharedMemoryHeader.h"
#include "SpyMemory.h"
#include "UnixSharedMemory.h"
#include "UsedUp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {
constexpr char Signature[] = "1234567"; // 8 bytes with its NUL
constexpr int Block = 77;
constexpr int Size = 4000;

/// Sets DISPLAY for a scope; null unsets it.
class CDisplay {
public:
    explicit CDisplay(const char* name) : m_before(getenv("DISPLAY"))
    {
        if (name)
            setenv("DISPLAY", name, 1);
        else
            unsetenv("DISPLAY");
    }
    ~CDisplay() { setenv("DISPLAY", m_before.c_str(), 1); }
    CDisplay(const CDisplay&) = delete;

private:
    std::string m_before;
};

int segments()
{
    shm_info info;
    shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&info));
    return info.used_ids;
}

int semaphoreSets()
{
    seminfo info;
    semctl(0, 0, SEM_INFO, &info);
    return info.semusz;
}

TEST(SharedMemoryTest, HandsOutConsecutiveKeysThatStayWithDisplayAndBlock)
{
    CSharedMemoryHeader& directory = *CSharedMemoryHeader::get();
    const key_t first = directory.getKey(":one", 3);
    EXPECT_EQ(first + 1, directory.getKey(":one", 4));
    EXPECT_EQ(first + 2, directory.getKey(":one.0", 3)) << "another spelling is another display";
    EXPECT_EQ(first, directory.getKey(":one", 3));
    CChildProcess other([&](CChildProcess&) {
        EXPECT_EQ(first + 1, CSharedMemoryHeader::get()->getKey(":one", 4));
        EXPECT_EQ(first + 3, CSharedMemoryHeader::get()->getKey(":one", 5));
    });
    EXPECT_EQ(0, other.join());
    EXPECT_EQ(first + 3, directory.getKey(":one", 5));
}

/// For tests in which processes are the first in an IPC namespace.
class FreshStoreTest : public testing::Test {
    void SetUp() override
    {
        if (const char* const why = CPrivateSession::whyNoPrivateIpc())
            GTEST_SKIP() << why;
    }
};

/// The directory of a process of its own, in a namespace where it is the first.
void withFreshDirectory(const std::function<void(CSharedMemoryHeader&)>& test)
{
    CChildProcess fresh([&](CChildProcess&) {
        ASSERT_NE(PrivateIpc::None, enterPrivateIpc());
        CUnixSharedMemory segment;
        ASSERT_TRUE(segment.attach(CSharedMemoryHeader::s_headerKey, sizeof(CSharedMemoryHeader)));
        auto& directory = *static_cast<CSharedMemoryHeader*>(segment.base());
        directory.init();
        test(directory);
        std::fflush(nullptr);
        _exit(testing::Test::HasFailure()); // without detaching: the first id of a namespace is 0
    });
}

TEST_F(FreshStoreTest, GivesTheSeventeenthDisplayAKeyThatNobodyFindsAgain)
{
    withFreshDirectory([](CSharedMemoryHeader& directory) {
        for (int name = 1; name <= 16; ++name)
            EXPECT_EQ(0x6D + name, directory.getKey((":" + std::to_string(name)).c_str(), 0));
        EXPECT_EQ(0x6D + 17, directory.getKey(":17", 0));
        EXPECT_EQ(0x6D + 18, directory.getKey(":17", 0));
        EXPECT_EQ(0x6D + 16, directory.getKey(":16", 0));
        EXPECT_EQ(0x6D + 19, directory.getKey("", 0)) << "no name is stored for an empty display";
    });
}

TEST_F(FreshStoreTest, StopsRecordingAfterAThousandEntries)
{
    withFreshDirectory([](CSharedMemoryHeader& directory) {
        for (int block = 0; block < 1000; ++block)
            ASSERT_EQ(0x6E + block, directory.getKey(":1", block));
        EXPECT_EQ(0x6E + 1000, directory.getKey(":1", 1000));
        EXPECT_EQ(0x6E + 1001, directory.getKey(":1", 1000)) << "not recorded";
        EXPECT_EQ(0x6E + 999, directory.getKey(":1", 999));
    });
}

TEST(SharedMemoryTest, PutsTheAreaBehindThePaddedSignature)
{
    for (const auto& [name, area] :
         {std::pair{"1234567", 8}, {"12345678", 16}, {CSpyHeap::HeapObjectName, 48}}) {
        CUnixSharedMemory segment(name, Block, Size);
        EXPECT_EQ(area, static_cast<char*>(segment.area()) - static_cast<char*>(segment.base()));
        EXPECT_STREQ(name, static_cast<char*>(segment.base()));
        EXPECT_EQ(CSharedMemoryHeader::get()->getKey(getenv("DISPLAY"), Block), segment.key());
    }
}

TEST(SharedMemoryTest, SharesASegmentAndRemovesItWithTheLastAttachment)
{
    CSharedMemoryHeader::get();
    const int before = segments();
    {
        CUnixSharedMemory first(Signature, Block, Size);
        EXPECT_FALSE(first.existed());
        std::strcpy(static_cast<char*>(first.area()), "shared");
        CChildProcess other([](CChildProcess&) {
            CUnixSharedMemory second(Signature, Block, Size);
            EXPECT_TRUE(second.existed());
            EXPECT_STREQ("shared", static_cast<char*>(second.area()));
        });
        EXPECT_EQ(0, other.join());
        EXPECT_EQ(before + 1, segments());
        EXPECT_STREQ("shared", static_cast<char*>(first.area()));
    }
    EXPECT_EQ(before, segments());
}

TEST(SharedMemoryTest, RefusesAForeignSignatureAndRecyclesAnAbandonedSegment)
{
    const key_t key = CSharedMemoryHeader::get()->getKey(getenv("DISPLAY"), Block);
    const int id = shmget(key, Size + 8, IPC_CREAT | 0666);
    void* foreign = shmat(id, nullptr, 0);
    std::strcpy(static_cast<char*>(foreign), "somebody else's");
    {
        const CUnixSharedMemory segment(Signature, Block, Size);
        EXPECT_EQ(nullptr, segment.area()) << "in use and not ours";
        EXPECT_STREQ("somebody else's", static_cast<char*>(foreign));
    }
    shmdt(foreign);
    const CUnixSharedMemory segment(Signature, Block, Size);
    EXPECT_FALSE(segment.existed()) << "nobody has it attached: it counts as new";
    EXPECT_STREQ(Signature, static_cast<char*>(segment.base()));
}

TEST(SharedMemoryTest, HasNoAreaWhenTheSystemRefusesASegment)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    const key_t key = CSharedMemoryHeader::get()->getKey(getenv("DISPLAY"), Block);
    {
        const CUsedUp noMore(CUsedUp::Segments);
        EXPECT_EQ(nullptr, CUnixSharedMemory(Signature, Block, Size).area());
    }
    const int id = shmget(key, 100, IPC_CREAT | 0666); // smaller than what is asked for
    void* attached = shmat(id, nullptr, 0);
    EXPECT_EQ(nullptr, CUnixSharedMemory(Signature, Block, Size).area());
    shmdt(attached);
    shmctl(id, IPC_RMID, nullptr);
}

TEST(SharedMemoryTest, NeedsADisplay)
{
    const CDisplay unset(nullptr);
    try {
        const CUnixSharedMemory segment(Signature, Block, Size);
        FAIL();
    } catch (const COutOfSpyMemory& e) {
        EXPECT_STREQ("could not initialize SpyMemory: DISPLAY not set", e.message());
    }
    EXPECT_THROW(CSpyMemory(), COutOfSpyMemory);
}

TEST(SharedMemoryTest, KeepsDisplaysApart)
{
    CSpyMemRef ref = CSpyHeap::getHeap(0)->allocate(100);
    ref.write("first", 6);
    CSpyHeap::deleteBaseHeap();
    const CDisplay other(":other");
    EXPECT_THROW(ref.isValid(), CInvalidSpyMemRef);
    CSpyHeap::deleteBaseHeap();
}

/// Runs a test of DISABLED_User below in a fresh namespace, as a program that exits in the ordinary way.
/// @return the numbers of segments and semaphore sets that are left afterwards
std::pair<int, int> leftBy(const std::string& user)
{
    int report[2];
    EXPECT_EQ(0, pipe(report));
    CChildProcess keeper([&](CChildProcess&) {
        ASSERT_NE(PrivateIpc::None, enterPrivateIpc());
        const pid_t program = spawn({"/proc/self/exe", "--gtest_also_run_disabled_tests", "--gtest_brief=1",
                                     "--gtest_filter=DISABLED_User." + user},
                                    -1);
        int status;
        waitpid(program, &status, 0);
        EXPECT_EQ(0, status);
        const int left[] = {segments(), semaphoreSets()};
        EXPECT_EQ(static_cast<ssize_t>(sizeof left), write(report[1], left, sizeof left));
    });
    int left[2] = {-1, -1};
    close(report[1]);
    EXPECT_EQ(static_cast<ssize_t>(sizeof left), read(report[0], left, sizeof left));
    close(report[0]);
    return {left[0], left[1]};
}

void useHeaps()
{
    CSpyHeap::setDefaultHeapSize(0x2000);
    for (UNIQUEID transaction = 0; transaction < 6; ++transaction)
        CSpyHeap::getHeap(0)->allocate(100, transaction);
}

/// In a namespace of its own, since keys and ids are those of the first process in it.
TEST(DISABLED_User, WhoReadsTheExamples)
{
    const CDisplay display(":99");
    const std::unique_ptr<CSpyMutex> mutex(CSpyMutex::named("eventMutex"));
    expectExample("shared-memory.md", "directory", CSharedMemoryHeader::get());
    const auto& segment = static_cast<const CUnixSharedMemory&>(*CSpyHeap::getHeap(0)->sharedMemory());
    expectExample("shared-memory.md", "segment", segment.base());
    expectExample("mutexes.md", "semaphore-list", CSpyMemory(CAsciiName("%SemaphoreList%")).ref().address());
    const CSpyVariant handle =
        CSpyMap(CSpyMemory(CAsciiName("%Mutexes%")).ref()).get(CAsciiName("eventMutex"));
    expectExample("mutexes.md", "mutex", &handle);
    CSpyVector queues[2];
    for (CSpyVector& queue : queues)
        queue.create(0, 8, 8);
    CMailslot slot;
    EXPECT_TRUE(slot.create(CAsciiName("Calculator"), queues[0].ref(), queues[1].ref()));
    expectExample("mailslots.md", "record", slot.mailbox());
}

TEST_F(FreshStoreTest, IsStoredAsItsPagesShow)
{
    EXPECT_EQ(std::pair(0, 0), leftBy("WhoReadsTheExamples"));
}

TEST(DISABLED_User, Alone)
{
    useHeaps();
}

TEST(DISABLED_User, WhoOutlivesAnother)
{
    CChildProcess killed([&](CChildProcess& parent) {
        useHeaps();
        parent.pass();
        parent.wait();
    });
    killed.wait();
    CSpyMemory();
    killed.die();
}

TEST(DISABLED_User, WhoComesAfterAnotherWasKilled)
{
    CChildProcess killed([&](CChildProcess&) {
        useHeaps();
        raise(SIGKILL);
    });
    EXPECT_EQ(128 + SIGKILL, killed.join());
    CSpyMemory();
}

TEST(DISABLED_User, WithEightProcessesOfThreeThreads)
{
    std::vector<std::unique_ptr<CChildProcess>> children;
    for (int number = 0; number < 8; ++number)
        children.push_back(std::make_unique<CChildProcess>([&](CChildProcess& parent) {
            parent.wait();
            std::vector<std::thread> threads;
            for (int thread = 0; thread < 3; ++thread)
                threads.emplace_back([] { CSpyHeap::getHeap(0)->allocate(100, 1).write('x', 100); });
            for (auto& thread : threads)
                thread.join();
            parent.pass();
            parent.wait();
            EXPECT_EQ(3U * 8, CSpyHeap::getStats().numberUsedBlocks);
        }));
    for (auto& child : children)
        child->pass();
    for (auto& child : children)
        child->wait();
    for (auto& child : children)
        child->pass();
    children.clear();
    CSpyMemory();
}

TEST_F(FreshStoreTest, LeavesNothingWhenTheLastProcessEnds)
{
    for (const char* user : {"Alone", "WhoOutlivesAnother", "WhoComesAfterAnotherWasKilled"})
        EXPECT_EQ(std::pair(0, 0), leftBy(user)) << user;
}

TEST_F(FreshStoreTest, IsStartedByOneOfManyProcessesThatComeAtOnce)
{
    for (int round = 0; round < 20 && !testing::Test::HasFailure(); ++round)
        EXPECT_EQ(std::pair(0, 0), leftBy("WithEightProcessesOfThreeThreads"));
}
} // namespace
