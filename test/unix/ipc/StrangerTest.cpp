// What another user of the IPC namespace can have this library do to objects of other programs: nothing.
#include "ChildProcess.h"
#include "TraceCapture.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyVector.h"
#include "session/PrivateIpc.h"
#include "session/PrivateSession.h"
#include "session/Program.h"
#include "unix/ipc/Mailslot.h"
#include "unix/ipc/MailslotEnd.h"
#include "unix/ipc/Mutex.h"
#include "unix/ipc/SemaphoreList.h"
#include "unix/sysv/IpcStatus.h"
#include "unix/sysv/SharedMemory.h"
#include "unix/sysv/SharedMemoryHeader.h"
#include "unix/sysv/UnixSharedMemory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <sched.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
using namespace std::chrono_literals;

constexpr key_t StoreKey = 0x1001;
constexpr int HeapBytes = 0x100000 + 48;
constexpr uid_t Stranger = 65534; ///< where another user can be had; else the stranger is the same one

/// The objects of another program of the victim: a set where a display's lock would be, a set and a segment
/// where its list and its first heap would.
class CPrivateObjects {
public:
    CPrivateObjects(int rights, int lockSize, int listSize, int bytes, bool withSegment)
        : m_sets{semget(StoreKey - 1, lockSize, IPC_CREAT | rights),
                 semget(StoreKey, listSize, IPC_CREAT | rights)}
    {
        for (const int set : m_sets) {
            CSemaphoreArgument seven;
            seven.val = 7;
            semctl(set, 0, SETVAL, seven);
        }
        if (!withSegment)
            return;
        m_segment = shmget(StoreKey, static_cast<size_t>(bytes), IPC_CREAT | rights);
        void* const base = shmat(m_segment, nullptr, 0);
        std::strcpy(static_cast<char*>(base), "private");
        shmdt(base);
    }
    void expectUntouched() const
    {
        for (const int set : m_sets)
            EXPECT_EQ(7, semctl(set, 0, GETVAL));
        if (m_segment == -1)
            return;
        const void* const base = shmat(m_segment, nullptr, SHM_RDONLY);
        ASSERT_NE(reinterpret_cast<void*>(-1), base) << "it was removed";
        EXPECT_STREQ("private", static_cast<const char*>(base));
        shmdt(base);
    }
    CSemaphoreHandle semaphore() const { return {m_sets[1], 1}; }

private:
    int m_sets[2];
    int m_segment = -1;
};

/// Makes a directory that names those keys as the ones of the victim's display.
CSharedMemoryHeader* plantDirectory()
{
    const int id = shmget(CSharedMemoryHeader::s_headerKey, sizeof(CSharedMemoryHeader), IPC_CREAT | 0666);
    auto* const directory = static_cast<CSharedMemoryHeader*>(shmat(id, nullptr, 0));
    directory->init();
    directory->addKey(directory->add(getenv("DISPLAY")), 0, StoreKey);
    reinterpret_cast<CSharedMemoryHeader::CLayout*>(directory)->m_nextKey = StoreKey + 100;
    return directory;
}

/// Runs a test of DISABLED_Victim below as a program of its own, in this namespace.
/// @return its exit status
int runVictim(const std::string& test)
{
    const pid_t program = spawn({"/proc/self/exe", "--gtest_also_run_disabled_tests", "--gtest_brief=1",
                                 "--gtest_filter=DISABLED_Victim." + test},
                                -1);
    int status;
    waitpid(program, &status, 0);
    return status;
}

void expectTrace(const char* kind, key_t key, uid_t owner, int rights, int error)
{
    char line[200];
    std::snprintf(line, sizeof line, "In the way: %s, key = 0x%x, owner = %u, rights = %o, errno = %d", kind,
                  static_cast<unsigned>(key), owner, rights, error);
    setenv("GX_EXPECTED", line, 1);
}

class DISABLED_Victim : public testing::Test {
protected:
    ~DISABLED_Victim() override
    {
        const char* const expected = getenv("GX_EXPECTED");
        EXPECT_TRUE(!expected || m_trace.has(expected)) << expected << " is missing in\n" << m_trace.text();
    }

private:
    const CTraceCapture m_trace;
};

TEST_F(DISABLED_Victim, WorksInAStoreOfItsOwn)
{
    const std::unique_ptr<CSpyMutex> mutex(CUnixMutex::named("name"));
    ASSERT_TRUE(mutex);
    EXPECT_TRUE(mutex->acquire(0));
    mutex->release();
}

TEST_F(DISABLED_Victim, HasNoStore)
{
    EXPECT_THROW(CSpyMemory(), COutOfSpyMemory);
}

TEST_F(DISABLED_Victim, HasNoLock)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THROW(CSpyHeapLock(), CSpyHeapLockedException);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
}

TEST(StrangerTest, CannotHaveObjectsOfOtherProgramsRemovedResetOrFormatted)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    constexpr struct {
        const char* why;
        int rights, lockSize, listSize, bytes;
        bool withSegment, attached;
        const char* victim;
        const char* inTheWay = nullptr;
        key_t key = StoreKey;
        int error = 0;
    } rows[] = {
        {"nobody has the directory: its list is cleaned", 0600, 1, 32, HeapBytes, true, false,
         "WorksInAStoreOfItsOwn"},
        {"the same, and other programs let everybody in", 0666, 7, 9, 4096, true, false,
         "WorksInAStoreOfItsOwn"},
        {"the same, with sets like ours and without heap", 0666, 1, 32, 0, false, false,
         "WorksInAStoreOfItsOwn"},
        {"the directory is in use: a private segment is the heap", 0600, 1, 32, HeapBytes, true, true,
         "HasNoStore", "segment"},
        {"an open one of another size is", 0666, 7, 9, HeapBytes + 4096, true, true, "HasNoStore", "segment"},
        {"a smaller one is", 0666, 7, 9, 4096, true, true, "HasNoStore", "segment", StoreKey, EINVAL},
        {"a private set is the lock", 0600, 1, 32, 0, false, true, "HasNoLock", "semaphore set",
         StoreKey - 1},
        {"an open set of another size is", 0666, 7, 9, 0, false, true, "HasNoLock", "semaphore set",
         StoreKey - 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CChildProcess world([&](CChildProcess&) {
            ASSERT_NE(PrivateIpc::None, enterPrivateIpc());
            const CPrivateObjects objects(row.rights, row.lockSize, row.listSize, row.bytes, row.withSegment);
            CChildProcess stranger([&](CChildProcess& parent) {
                [[maybe_unused]] const int isAnother = setresuid(Stranger, Stranger, Stranger);
                CSharedMemoryHeader* const directory = plantDirectory();
                if (!row.attached)
                    shmdt(directory);
                parent.pass();
                parent.wait();
            });
            stranger.wait();
            if (row.inTheWay)
                expectTrace(row.inTheWay, row.key, getuid(), row.rights, row.error);
            EXPECT_EQ(0, runVictim(row.victim));
            objects.expectUntouched();
        });
        EXPECT_EQ(0, world.join());
    }
}

TEST(StrangerTest, HasADirectoryRefusedThatIsNone)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    const std::function<void(CSharedMemoryHeader::CLayout&)> rows[] = {
        [](auto& layout) { std::memset(static_cast<void*>(&layout), 0, sizeof layout); },
        [](auto& layout) { std::memset(static_cast<void*>(&layout), 0x55, sizeof layout); },
        [](auto& layout) { layout.m_keys[7].m_key = StoreKey + 200; },
        [](auto& layout) { std::memset(layout.m_names[3], 'x', sizeof layout.m_names[3]); },
    };
    for (const auto& spoil : rows) {
        CChildProcess world([&](CChildProcess&) {
            ASSERT_NE(PrivateIpc::None, enterPrivateIpc());
            CSharedMemoryHeader* const planted = plantDirectory();
            spoil(*reinterpret_cast<CSharedMemoryHeader::CLayout*>(planted));
            expectTrace("segment", CSharedMemoryHeader::s_headerKey, getuid(), 0666, 0);
            EXPECT_EQ(0, runVictim("HasNoStore"));
            EXPECT_EQ(1U, systemVObjects().size()) << "only what the stranger has made";
        });
        EXPECT_EQ(0, world.join());
    }
}

/// Where ids of processes mean something else than here.
void inAnotherProcessNamespace(const std::function<void(CChildProcess&)>& work,
                               const std::function<void(CChildProcess&)>& meanwhile)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    CChildProcess world([&](CChildProcess&) {
        ASSERT_NE(PrivateIpc::None, enterPrivateIpc());
        {
            const CSharedMemoryGuard guard;
            CSharedMemoryHeader::forgetRemoved(); // that of the namespace before, which other tests have used
        }
        if (unshare(CLONE_NEWPID) != 0)
            _exit(CPrivateSession::Skipped);
        CChildProcess other(work); // unshare is for children
        meanwhile(other);
    });
    const int status = world.join();
    if (status == CPrivateSession::Skipped)
        GTEST_SKIP() << "process id namespaces are not allowed here";
    EXPECT_EQ(0, status);
}

TEST(StrangerTest, IsNotRobbedOfTheLockForHisProcessCannotBeSeen)
{
    inAnotherProcessNamespace(
        [](CChildProcess& parent) {
            const CSpyHeapLock lock;
            parent.pass();
            parent.wait();
        },
        [](CChildProcess& holder) {
            EXPECT_TRUE(holder.wait());
            EXPECT_THROW(CSpyMemory::lockHeap(500), CSpyHeapLockedException);
            holder.pass();
            EXPECT_EQ(0, holder.join());
            EXPECT_NO_THROW(CSpyMemory::lockHeap(500));
            CSpyMemory::unlockHeap();
            CSpyHeap::deleteBaseHeap();
        });
}

TEST(StrangerTest, IsNotTakenForDeadAsTheOwnerOfAMailslotForHisProcessCannotBeSeen)
{
    inAnotherProcessNamespace(
        [](CChildProcess& parent) {
            EXPECT_TRUE(parent.wait());
            CMailslot found(CSpyMemory(CAsciiName("slot")).ref());
            EXPECT_TRUE(found.attach(0));
            EXPECT_TRUE(found.send(false));
            EXPECT_TRUE(found.send(true)) << "and replied to";
            // This process has the id that the owner has written where that is another's.
            found.mailbox()->m_owner.store(getpid());
            g_pid = getpid();
            EXPECT_FALSE(found.isOwn());
            parent.pass();
            EXPECT_TRUE(found.send(true)) << "and detached meanwhile";
            EXPECT_THROW(found.send(false), CMailslotGoneException);
        },
        [](CChildProcess& sender) {
            CMailslot slot;
            EXPECT_TRUE(slot.create(CAsciiName("slot"), {}, {}));
            slot.registerName(CAsciiName("slot"));
            slot.send(false);
            EXPECT_TRUE(slot.waitForMessage() && slot.isOwn());
            sender.pass();
            EXPECT_TRUE(slot.waitForMessage() && slot.waitForMessage() && slot.replyTo());
            EXPECT_TRUE(sender.wait());
            EXPECT_FALSE(slot.handle().isNull());
            EXPECT_TRUE(slot.waitForMessage());
            slot.detach();
            EXPECT_EQ(0, sender.join());
            CSpyHeap::deleteBaseHeap();
        });
}

TEST(StrangerTest, CannotHaveSemaphoresSignalledThatTheStoreNames)
{
    const CPrivateObjects objects(0600, 1, 32, 0, false);
    const CAsciiName name("planted");
    CUnixMutex planted;
    for (const CSemaphoreHandle handle :
         {objects.semaphore(), CSemaphoreHandle(CSemaphoreList().allocSemaphore(0).m_set, 0)}) {
        planted.put(name, handle);
        EXPECT_TRUE(planted.find(name).isNull());
    }
    const std::unique_ptr<CSpyMutex> mutex(CUnixMutex::named("planted"));
    EXPECT_TRUE(mutex->acquire(0)) << "it gets a semaphore of the list instead";
    mutex->release();

    CMailslot slot;
    ASSERT_TRUE(slot.create(CAsciiName("slot"), {}, {}));
    const CSemaphoreHandle own = slot.handle();
    slot.setHandle(objects.semaphore());
    EXPECT_THROW(slot.send(false), CMailslotGoneException);
    slot.setHandle(objects.semaphore());
    EXPECT_FALSE(slot.replyTo());
    EXPECT_FALSE(slot.waitForMessage());
    slot.detach();
    EXPECT_EQ(0, semctl(objects.semaphore().m_set, 1, GETVAL));
    EXPECT_EQ(0, semctl(objects.semaphore().m_set, 2, GETVAL));
    objects.expectUntouched();
    CSemaphoreList().freeSemaphore(own, 2);

    CSemaphoreList list;
    CSemaphoreList::CRecord record{}, changed{};
    list.read(&record, sizeof record);
    changed = record;
    changed.m_set = objects.semaphore().m_set;
    list.write(&changed, sizeof changed);
    EXPECT_TRUE(CSemaphoreList().allocSemaphore(1).isNull());
    list.write(&record, sizeof record);
    for (const int set : {semget(StoreKey - 1, 0, 0), semget(StoreKey, 0, 0)})
        semctl(set, 0, IPC_RMID);
    CSpyHeap::deleteBaseHeap();
}

TEST_F(DISABLED_Victim, UsesThreeHeaps)
{
    const auto start = std::chrono::steady_clock::now();
    for (UNIQUEID transaction = 0; transaction < 3; ++transaction)
        CSpyHeap::getHeap(0)->allocate(100, transaction);
    CSpyHeap::deleteBaseHeap();
    CSpyMemory();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

TEST(StrangerTest, DelaysAProcessByOneSecondWhoKeepsTheGuard)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    CChildProcess world([](CChildProcess&) {
        ASSERT_NE(PrivateIpc::None, enterPrivateIpc());
        const int guard = open("/proc/self/ns/ipc", O_RDONLY | O_CLOEXEC);
        ASSERT_EQ(0, flock(guard, LOCK_EX));
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(0, runVictim("UsesThreeHeaps"));
        const auto taken = std::chrono::steady_clock::now() - start;
        EXPECT_GT(taken, 900ms) << "it was not waited for at all";
        EXPECT_LT(taken, 4s) << "from start to exit";
    });
    EXPECT_EQ(0, world.join());
}
} // namespace
