#include "unix/ipc/SemaphoreList.h"

#include "ChildProcess.h"
#include "UsedUp.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "session/PrivateSession.h"
#include "unix/ipc/Mutex.h"
#include "unix/sysv/UnixSharedMemory.h"

#include <gtest/gtest.h>

#include <sys/ipc.h>
#include <sys/sem.h>

namespace {
class SemaphoreListTest : public testing::Test {
protected:
    /// The set outlives its heap, and earlier tests may have left semaphores of it taken.
    void SetUp() override { freeSet(); }
    void TearDown() override
    {
        freeSet(); // one that a child has made is nobody's when the heap has gone
        CSpyHeap::deleteBaseHeap();
    }

private:
    static void freeSet()
    {
        const auto& base = static_cast<const CUnixSharedMemory&>(*CSpyHeap::getHeap(0)->sharedMemory());
        if (const int set = semget(base.key(), 0, 0); set != -1)
            CSemaphoreSet(set).free();
    }
};

TEST_F(SemaphoreListTest, GivesAwayTheFirstRunThatIsLongEnough)
{
    CSemaphoreList list;
    const auto at = [&](int index) { return CSemaphoreHandle(list.allocSemaphore(0).m_set, index); };
    EXPECT_EQ(at(1), list.allocSemaphore(1)) << "index 0 is never given away";
    EXPECT_EQ(at(2), list.allocSemaphore(1));
    EXPECT_EQ(at(3), list.allocSemaphore(2));
    list.freeSemaphore(at(1), 2);
    EXPECT_EQ(at(5), list.allocSemaphore(3)) << "a gap of two is passed by";
    EXPECT_EQ(at(1), list.allocSemaphore(2));
    list.freeSemaphore(at(1), 1);
    list.freeSemaphore(at(1), 1);
    list.freeSemaphore({at(0).m_set + 1, 2}, 1);
    list.freeSemaphore(at(2), 0);
    list.freeSemaphore(at(2), -1);
    list.freeSemaphore(at(-5), 3);
    list.freeSemaphore(at(126), 1000);
    CSemaphoreList same;
    EXPECT_EQ(at(1), same.allocSemaphore(1));
    EXPECT_EQ(at(8), same.allocSemaphore(120));
    EXPECT_TRUE(list.allocSemaphore(1).isNull()) << "all 128 are given away";
}

TEST_F(SemaphoreListTest, IsFullWhereTheSystemGrantsNoSemaphores)
{
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    {
        const CUsedUp none(CUsedUp::Sets);
        EXPECT_TRUE(CSemaphoreList().allocSemaphore(1).isNull());
        EXPECT_EQ(nullptr, CUnixMutex::named("no semaphore"));
    }
    EXPECT_FALSE(CSemaphoreList().allocSemaphore(1).isNull());
}

TEST_F(SemaphoreListTest, GivesOneNameOneMutexInAllProcesses)
{
    const std::unique_ptr<CSpyMutex> mutex(CUnixMutex::named("shared name"));
    const std::unique_ptr<CSpyMutex> other(CUnixMutex::named("another name"));
    mutex->acquire(0);
    CChildProcess child([](CChildProcess&) {
        const std::unique_ptr<CSpyMutex> same(CUnixMutex::named("shared name"));
        EXPECT_THROW(same->acquire(0), CMutexTimeoutException);
        const std::unique_ptr<CSpyMutex> free(CUnixMutex::named("another name"));
        EXPECT_TRUE(free->acquire(0));
    });
    EXPECT_EQ(0, child.join());
    EXPECT_TRUE(other->acquire(0)) << "its holder has ended";
    other->release();
    mutex->release();
    mutex->free();
    EXPECT_THROW(mutex->acquire(0), CMutexTimeoutException) << "a mutex without semaphore";
}

TEST_F(SemaphoreListTest, NumbersMoreMutexesThanItHasSemaphoresFor)
{
    CUnixMutex first;
    for (int number = 1; number <= 128; ++number) {
        SCOPED_TRACE(number);
        CUnixMutex mutex;
        EXPECT_EQ(number < 128, mutex.create(std::to_string(number).c_str()));
        EXPECT_EQ(number < 128 ? number : 0, mutex.handle().m_index);
        if (number < 32) {
            EXPECT_TRUE(mutex.acquire(0));
            EXPECT_TRUE(mutex.release());
        } else {
            EXPECT_THROW(mutex.acquire(0), CMutexTimeoutException);
        }
        if (number == 1)
            first.setHandle(mutex.handle());
    }
    EXPECT_TRUE(first.create("129")) << "it keeps the one that it has";
}

TEST_F(SemaphoreListTest, MakesOneMutexWhenManyProcessesAskAtOnce)
{
    CSpyMemory();
    std::vector<std::unique_ptr<CChildProcess>> children;
    for (int number = 0; number < 8; ++number)
        children.push_back(std::make_unique<CChildProcess>([](CChildProcess& parent) {
            parent.wait();
            for (int name = 0; name < 20; ++name)
                EXPECT_TRUE(std::unique_ptr<CSpyMutex>(CUnixMutex::named(std::to_string(name).c_str())));
        }));
    for (auto& child : children)
        child->pass();
    children.clear();
    EXPECT_EQ(21, CSemaphoreList().allocSemaphore(1).m_index);
}
} // namespace
