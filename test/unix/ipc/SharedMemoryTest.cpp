#include "ChildProcess.h"
#include "HexExample.h"
#include "Seed.h"
#include "UsedUp.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyMemory.h"
#include "session/PrivateIpc.h"
#include "session/PrivateSession.h"
#include "session/Program.h"
#include "unix/ipc/Mailslot.h"
#include "unix/ipc/Mutex.h"
#include "unix/sysv/SharedMemoryHeader.h"
#include "unix/sysv/UnixSharedMemory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
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

TEST(SharedMemoryTest, TakesAwayWhatHeapsOfAnotherSizeHaveLeft)
{
    const key_t key = CSharedMemoryHeader::get()->getKey(getenv("DISPLAY"), Block);
    constexpr struct {
        const char* signature;
        int bytes, rights;
        bool isTakenAway;
    } rows[] = {
        {Signature, 100, 0666, true},
        {Signature, 2 * Size, 0666, true},
        {Signature, 2 * Size, 0600, false},
        {"somebody else's", 2 * Size, 0666, false},
    };
    for (const auto& row : rows) {
        const int id = shmget(key, row.bytes, IPC_CREAT | row.rights);
        void* const left = shmat(id, nullptr, 0);
        std::strcpy(static_cast<char*>(left), row.signature);
        EXPECT_EQ(nullptr, CUnixSharedMemory(Signature, Block, Size).area()) << "in use";
        shmdt(left);
        EXPECT_EQ(row.isTakenAway, CUnixSharedMemory(Signature, Block, Size).area() != nullptr)
            << row.signature << ", " << row.bytes << " bytes, rights " << std::oct << row.rights;
        EXPECT_EQ(row.isTakenAway, shmctl(id, IPC_RMID, nullptr) == -1);
    }
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

/// The second display keeps its semaphores under keys that the first one's would have, too.
TEST_F(FreshStoreTest, KeepsDisplaysApart)
{
    CChildProcess fresh([](CChildProcess&) {
        ASSERT_NE(PrivateIpc::None, enterPrivateIpc());
        CSpyMemRef ref = CSpyHeap::getHeap(0)->allocate(100);
        ref.write("first", 6);
        CSpyHeap::deleteBaseHeap();
        const CDisplay other(":other");
        EXPECT_THROW(ref.isValid(), CInvalidSpyMemRef);
        CSpyHeap::deleteBaseHeap();
    });
    EXPECT_EQ(0, fresh.join());
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
    const std::unique_ptr<CSpyMutex> mutex(CUnixMutex::named("eventMutex"));
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

TEST(DISABLED_User, WhoReturnsBesideAWorkingThread)
{
    static std::atomic<bool> isAtWork = false;
    std::thread([] {
        for (;; isAtWork = true) {
            CSpyMemRef made = CSpyHeap::getHeap(0)->allocate(100);
            made.write('w', 100);
            CSpyHeap::getHeap(0)->allocate(100, 1);
            CSpyMemory::free(1U);
            made.free();
        }
    }).detach();
    while (!isAtWork)
        std::this_thread::yield();
}

/// A process that uses the store until it is told to end, by `exit` or SIGKILL. Fork it from one that does
/// not.
std::unique_ptr<CChildProcess> startUser(const std::string& display, bool isKilled = false)
{
    auto user = std::make_unique<CChildProcess>([=](CChildProcess& parent) {
        const CDisplay used(display.c_str());
        useHeaps();
        // None on a display without a name in the directory.
        const std::unique_ptr<CSpyMutex> mutex(CUnixMutex::named("mutex"));
        parent.pass();
        parent.wait();
        isKilled ? raise(SIGKILL) : (std::exit(testing::Test::HasFailure()), 0);
    });
    EXPECT_TRUE(user->wait());
    return user;
}

void endAll(const std::vector<std::unique_ptr<CChildProcess>>& users, int status = 0)
{
    for (const auto& each : users)
        each->pass();
    for (const auto& each : users)
        EXPECT_EQ(status, each->join());
}

std::pair<int, int> objects()
{
    return {segments(), semaphoreSets()};
}

TEST(DISABLED_User, WhoseChildrenEndTogether)
{
    for (int round = 0; round < 20; ++round) {
        std::vector<std::unique_ptr<CChildProcess>> users;
        for (const char* display : {":one", ":one", ":one", ":other"})
            users.push_back(startUser(display));
        endAll(users);
        ASSERT_EQ(std::pair(0, 0), objects()) << round;
    }
}

void makeChanges()
{
    for (;;) {
        const CSpyHeapLock lock;
        CSpyMemRef made = CSpyHeap::getHeap(0)->allocate(100);
        CSpyHeap::getHeap(0)->allocate(100, 1);
        CSpyMemory::free(1U);
        made.free();
    }
}

/// Ends by `exit` while threads of it are at work, and is there for a while longer than it uses the store.
std::unique_ptr<CChildProcess> startBusyUser(int threads, void (*work)())
{
    return std::make_unique<CChildProcess>([=](CChildProcess& parent) {
        std::atexit([] { usleep(200000); }); // after what the library does then
        CSpyMemory();
        for (int thread = 0; thread < threads; ++thread)
            std::thread(work).detach();
        parent.pass();
        parent.wait();
        std::exit(0);
    });
}

TEST(DISABLED_User, WhoseChildrenEndInTheMidstOfTheirWork)
{
    const auto holdTheLock = [] {
        const CSpyHeapLock lock;
        CSpyHeap::getHeap(0)->allocate(100); // the unit ends with the lock
        pause();
    };
    const struct {
        const char* what;
        int rounds, threads;
        void (*work)();
    } rows[] = {{"all change the store", 5, 2, makeChanges}, {"one holds the lock", 2, 1, holdTheLock}};
    for (const auto& row : rows)
        for (int round = 0; round < row.rounds; ++round) {
            std::vector<std::unique_ptr<CChildProcess>> users;
            for (int number = 0; number < 4; ++number)
                users.push_back(startBusyUser(row.threads, row.work));
            for (const auto& each : users)
                each->wait();
            endAll(users);
            ASSERT_EQ(std::pair(0, 0), objects()) << row.what << ", round " << round;
        }
}

TEST(DISABLED_User, WhoseChildrenAreKilledWhileTheyEnd)
{
    std::mt19937 random(seed());
    for (int round = 0; round < 40; ++round) {
        std::vector<std::unique_ptr<CChildProcess>> users;
        const auto killed = startUser(":one");
        killed->pass();
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
        killed->die();
        users.push_back(startUser(":other"));
        endAll(users);
        ASSERT_EQ(std::pair(0, 0), objects()) << "round " << round << ", seed " << seed();
    }
}

TEST(DISABLED_User, WhoseChildrenUseManyDisplays)
{
    std::vector<std::unique_ptr<CChildProcess>> keeper, users;
    keeper.push_back(startUser(":0"));
    CChildProcess([](CChildProcess&) {
        for (int name = 1; name < 16; ++name)
            CSharedMemoryHeader::get()->getKey((":" + std::to_string(name)).c_str(), 0);
    }).join();
    const auto before = objects();
    for (const char* display : {":1", ":2", ":the 17th", ""})
        for (const bool isKilled : {false, true}) {
            SCOPED_TRACE(std::string(display) + (isKilled ? ", killed" : ""));
            users.push_back(startUser(display, isKilled));
            endAll(users, isKilled ? 128 + SIGKILL : 0);
            users.clear();
            EXPECT_EQ(isKilled, before != objects());
            users.push_back(startUser(":3"));
            endAll(users);
            users.clear();
            EXPECT_EQ(before, objects()) << "once another process has come and gone";
        }
    endAll(keeper);
}

/// Its lock is where this one's semaphores for mutexes are to be.
TEST(DISABLED_User, WhoseNeighbourHasComeAndGoneBeforeItNeedsAMutex)
{
    CChildProcess user([](CChildProcess& parent) {
        const CDisplay used(":one");
        CSpyMemory();
        parent.pass();
        parent.wait();
        const std::unique_ptr<CSpyMutex> mutex(CUnixMutex::named("mutex"));
        EXPECT_TRUE(mutex && mutex->acquire(0));
        std::exit(testing::Test::HasFailure());
    });
    EXPECT_TRUE(user.wait());
    std::vector<std::unique_ptr<CChildProcess>> neighbour;
    neighbour.push_back(startUser(":other"));
    endAll(neighbour);
    user.pass();
    EXPECT_EQ(0, user.join());
    EXPECT_EQ(std::pair(0, 0), objects());
}

void removeObjects(bool segments, bool sets)
{
    for (const auto& object : systemVObjects())
        if (object.kind == CSystemVObject::Segment ? segments : sets)
            object.kind == CSystemVObject::Segment ? shmctl(object.id, IPC_RMID, nullptr)
                                                   : semctl(object.id, 0, IPC_RMID);
}

/// Uses what there is to use, and what `other` has registered.
void expectWorkingStore(const char* own, const char* other)
{
    EXPECT_NO_THROW({
        CSpyMemory block;
        block.allocate(CAsciiName(own), 100, 0);
        CSpyHeap::getHeap(0)->allocate(100, 5).write('x', 100);
        EXPECT_EQ(!*other, CSpyMemory(CAsciiName(other)).isNull());
    });
    const std::unique_ptr<CSpyMutex> mutex(CUnixMutex::named(own));
    ASSERT_TRUE(mutex);
    EXPECT_TRUE(mutex->acquire(0));
    EXPECT_TRUE(mutex->release());
}

/// By ipcrm, or at the end of its user's session: while one is between two calls, one holds the lock, and one
/// comes anew.
TEST(DISABLED_User, WhoseObjectsAreRemoved)
{
    constexpr struct {
        const char* what;
        bool segments, sets;
    } rows[] = {{"segments", true, false}, {"semaphores", false, true}, {"both", true, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        std::vector<std::unique_ptr<CChildProcess>> users;
        for (const bool isHolder : {false, true}) {
            users.push_back(std::make_unique<CChildProcess>([=](CChildProcess& parent) {
                expectWorkingStore(isHolder ? "holder's" : "bystander's", "");
                if (isHolder)
                    CSpyMemory::lockHeap(0);
                parent.pass();
                parent.wait();
                if (isHolder) {
                    EXPECT_NO_THROW(CSpyMemory::unlockHeap());
                    EXPECT_FALSE(CSpyMemory::isHeapLocked());
                }
                expectWorkingStore(isHolder ? "holder's again" : "bystander's again", "newcomer's");
                parent.pass();
                parent.wait();
                std::exit(testing::Test::HasFailure());
            }));
            ASSERT_TRUE(users.back()->wait());
        }
        removeObjects(row.segments, row.sets);
        CChildProcess newcomer([=](CChildProcess& parent) {
            static CChildProcess* test = &parent;
            std::atexit([] { // after the store was given up
                test->pass();
                test->wait();
            });
            expectWorkingStore("newcomer's", "");
            parent.pass();
            parent.wait();
            expectWorkingStore("newcomer's again", "holder's again");
            std::exit(testing::Test::HasFailure());
        });
        EXPECT_TRUE(newcomer.wait());
        for (const auto& old : users) {
            old->pass();
            EXPECT_TRUE(old->wait());
        }
        newcomer.pass();
        EXPECT_TRUE(newcomer.wait());
        for (; !users.empty(); users.pop_back()) { // who made the heap goes last
            users.back()->pass();
            EXPECT_EQ(0, users.back()->join());
        }
        newcomer.pass();
        EXPECT_EQ(0, newcomer.join());
        EXPECT_EQ(std::pair(0, 0), objects());
    }
}

/// The heaps live on. Who comes then on the display finds them; a stranger may have got the keys of
/// semaphores.
TEST(DISABLED_User, WhoseDirectoryIsRemoved)
{
    const auto startNamed = [](const char* own, const char* other) {
        auto user = std::make_unique<CChildProcess>([=](CChildProcess& parent) {
            expectWorkingStore(own, other);
            parent.pass();
            parent.wait();
            expectWorkingStore((std::string(own) + " again").c_str(), "");
            std::exit(testing::Test::HasFailure());
        });
        EXPECT_TRUE(user->wait());
        return user;
    };
    const auto removeDirectory = [] {
        shmctl(shmget(CSharedMemoryHeader::s_headerKey, 0, 0), IPC_RMID, nullptr);
    };
    for (const size_t first : {0U, 1U}) {
        SCOPED_TRACE(first == 0 ? "the old one ends first" : "the newcomer ends first");
        std::unique_ptr<CChildProcess> users[] = {startNamed("old", ""), nullptr};
        removeDirectory();
        users[1] = startNamed("new", "old");
        for (const size_t each : {first, 1 - first}) {
            users[each]->pass();
            EXPECT_EQ(0, users[each]->join());
        }
        EXPECT_EQ(std::pair(0, 0), objects());
    }
    std::vector<std::unique_ptr<CChildProcess>> old;
    old.push_back(startUser(":one"));
    removeDirectory();
    removeObjects(false, true);
    CMutex locks[2];
    for (int number = 0; number < 2; ++number) {
        EXPECT_TRUE(locks[number].create(CSharedMemoryHeader::s_headerKey + number, 1, true));
        EXPECT_TRUE(locks[number].initialize(0)) << "which leaves this process on record";
    }
    endAll(old);
    EXPECT_EQ(std::pair(0, 2), objects()) << "both locks of the stranger are there, and nothing else";
    removeObjects(false, true);
}

TEST_F(FreshStoreTest, LeavesNothingWhenTheLastProcessEnds)
{
    for (const char* user :
         {"Alone", "WhoOutlivesAnother", "WhoComesAfterAnotherWasKilled", "WhoReturnsBesideAWorkingThread",
          "WhoseChildrenEndTogether", "WhoseChildrenEndInTheMidstOfTheirWork",
          "WhoseChildrenAreKilledWhileTheyEnd", "WhoseChildrenUseManyDisplays",
          "WhoseNeighbourHasComeAndGoneBeforeItNeedsAMutex", "WhoseObjectsAreRemoved",
          "WhoseDirectoryIsRemoved"})
        EXPECT_EQ(std::pair(0, 0), leftBy(user)) << user;
}

TEST_F(FreshStoreTest, IsStartedByOneOfManyProcessesThatComeAtOnce)
{
    for (int round = 0; round < 20 && !testing::Test::HasFailure(); ++round)
        EXPECT_EQ(std::pair(0, 0), leftBy("WithEightProcessesOfThreeThreads"));
}
} // namespace
