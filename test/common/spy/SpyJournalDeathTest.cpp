// Wherever a process is killed: what it changed is as before or as after, and never between.
#include "ChildProcess.h"
#include "Seed.h"
#include "SpyName.h"
#include "StoreCheck.h"
#include "common/spy/IVariantIterator.h"
#include "common/spy/SpyJournal.h"
#include "session/PrivateIpc.h"
#include "unix/ipc/Mailslot.h"
#include "unix/ipc/Mutex.h"
#include "unix/ipc/SemaphoreList.h"
#include "unix/sysv/JournalSegment.h"
#include "unix/sysv/NoticePage.h"
#include "unix/sysv/SegmentSweep.h"
#include "unix/sysv/SharedMemory.h"
#include "unix/sysv/UnixSharedMemory.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <thread>

namespace {
constexpr UNIQUEID Transaction = 3;

void beginWith(unsigned heapSize)
{
    CSpyHeap::deleteBaseHeap();
    CSpyHeap::setDefaultHeapSize(heapSize);
}

/// All that counts in the store: used blocks with their bytes, free ones and their lists, what the headers
/// name, and the semaphores that are given away.
std::string storeImage()
{
    const CSpyHeapLock lock;
    std::ostringstream image;
    const CSpyHeap::CHeapHeader& base = *CSpyHeap::getHeap(0)->header();
    image.write(reinterpret_cast<const char*>(base.m_globals), sizeof base.m_globals);
    for (HEAPID id = 0; id <= MaxHeap; ++id) {
        image << id << ':' << base.transactionId(id);
        if (id != 0 && !base.isUsed(id))
            continue;
        CSpyHeap& heap = *CSpyHeap::getHeap(id);
        CHeapImage blocks(heap);
        EXPECT_EQ("", blocks.fault()) << "heap " << id;
        for (const uint32_t at : {1188U, 1192U, CHeapImage::LargePool, CHeapImage::SmallPool, 1228U})
            image << ' ' << blocks.word(at);
        for (const auto& [offset, block] : blocks.blocks()) {
            image << '\n'
                  << offset << ' ' << block.size << ' ' << block.used << ' ' << block.uid << ' '
                  << block.next;
            if (block.used & 1)
                image.write(reinterpret_cast<const char*>(heap.blockAt(offset)->payload()), block.size);
        }
    }
    return image.str();
}

/// The first lines that differ.
std::string shown(const std::string& expected, const std::string& found)
{
    std::istringstream left(expected), right(found);
    std::string one, other;
    while (std::getline(left, one) && std::getline(right, other))
        if (one != other)
            return testing::PrintToString(other) + "\ninstead of " + testing::PrintToString(one) + "\n";
    return "";
}

int s_stepsLeft = 0;

void dieAtLastStep()
{
    if (--s_stepsLeft == 0)
        raise(SIGKILL);
}

size_t s_mostBytes = 0;

void dieBeyond()
{
    if (CSpyJournal::mostUsed() > s_mostBytes)
        raise(SIGKILL);
}

bool killAt(void (*step)(), const std::function<void()>& work)
{
    CChildProcess child([&](CChildProcess& parent) {
        CSpyJournal::s_step = step;
        work();
        CSpyJournal::s_step = nullptr;
        parent.pass();
        parent.wait();
    });
    const bool isThrough = child.wait();
    child.die();
    return !isThrough;
}

/// Runs `work` in a child that is killed after `steps` steps. @return whether it got that far
bool killAfter(int steps, const std::function<void()>& work)
{
    s_stepsLeft = steps;
    return killAt(dieAtLastStep, work);
}

/// The same once it has used more than that of the journal.
bool killBeyond(size_t bytes, const std::function<void()>& work)
{
    CSpyJournal::resetMostUsed();
    s_mostBytes = bytes;
    return killAt(dieBeyond, work);
}

/// A store with containers of every kind, the same each time.
struct CStore {
    CSpyMemRef map, crowded, vector, pair, block, doomed, slot, request;

    CStore()
    {
        CSpyHeap::deleteBaseHeap();
        for (UNIQUEID transaction : {1, 2}) // this process keeps both attached
            CSpyHeap::getHeap(0)->allocate(1, transaction);
        CSpyMemory::free(1U);
        CSpyMemory::free(2U);
        map = newMap("map", 100, {"key", "other", "yek", "one"});
        crowded = newMap("", 4, {"a", "b", "c", "d", "e"});
        CSpyVector newVector;
        newVector.create(CName("vector"), 0, 4, 3);
        for (const char* element : {"first", "second", "third", "fourth"})
            newVector.addElement(CSpyVariant(CName(element), 0));
        vector = newVector.ref();
        CSpyMappedPair newPair;
        newPair.create(0U);
        for (const char* key : {"key", "other", "last"})
            newPair.put(CName(key), CName("value"), 1);
        pair = newPair.ref();
        block = CSpyMemRef(100, 0);
        doomed = CSpyHeap::getHeap(0)->allocate(5000, Transaction);
        CSpyHeap::getHeap(0)->allocate(32000, Transaction);
        CSpyHeap::getHeap(0)->allocate(32000, Transaction);
        CMailslot newSlot;
        newSlot.create(CName("slot"), newQueue(), newQueue());
        slot = newSlot.ref();
        CSpyMap(map).put(CName("slot"), CSpyVariant(newSlot));
        request = newQueue();
        CSpyVector(request).addElement(CSpyVariant(CName("question"), 0));
        CSpyVector(newSlot.mailbox()->m_sendQueue.ref()).addElement(CSpyVariant(CSpyVector(request)));
        newSlot.send(false);
    }

private:
    static CSpyMemRef newMap(const char* name, int buckets, std::initializer_list<const char*> keys)
    {
        CSpyMap made((CSpyMemRef()));
        made.create(CName(name), 0, buckets);
        for (const char* key : keys)
            made.put(CName(key), CName("value"));
        return made.ref();
    }
    static CSpyMemRef newQueue()
    {
        CSpyVector queue;
        queue.create(0, 8, 8);
        return queue.ref();
    }
};

/// What the Java class Mailslot does under the lock between its "begin" and "end". Each of its calls from
/// there is one of Java's, which alone would end a unit.
class CJavaMailslotUnit {
public:
    CJavaMailslotUnit() { CSpyJournal::join(); }
    ~CJavaMailslotUnit()
    {
        CSpyJournal::isComplete();
        CSpyJournal::leave();
    }
    CJavaMailslotUnit(const CJavaMailslotUnit&) = delete;

    CSpyMemRef newVector() const
    {
        const CSpyCall call;
        CSpyVector made;
        made.create(0, 4, 4);
        return made.ref();
    }
    void add(const CSpyMemRef& vector, const CSpyVariant& value) const
    {
        const CSpyCall call;
        CSpyVector(vector).addElement(value);
    }
    void removeAll(const CSpyMemRef& vector) const
    {
        const CSpyCall call;
        CSpyVector(vector).removeAllElements();
    }
    template <class Container> void free(const CSpyMemRef& ref) const
    {
        const CSpyCall call;
        Container(ref).free();
    }

private:
    const CSpyHeapLock m_lock;
};

CSpyVariant vectorAt(const CSpyMemRef& ref)
{
    return CSpyVariant(CSpyVector(ref));
}

void makeMailslot(const CStore& store, const CJavaMailslotUnit& unit, const char* name)
{
    const CSpyMemRef requests = unit.newVector(), posts = unit.newVector();
    CMailslot slot;
    slot.create(CName(name), requests, posts);
    slot.send(false);
    const CSpyCall call;
    CSpyMap(store.map).put(CName(name), CSpyVariant(slot));
}

void openMailslot(const CStore& store)
{
    const CJavaMailslotUnit unit;
    makeMailslot(store, unit, "opened");
}

void postMessage(const CStore& store)
{
    const CJavaMailslotUnit unit;
    CMailslot slot(store.slot);
    unit.add(slot.mailbox()->m_postQueue.ref(), CSpyVariant(CName("message"), 0));
    slot.send(false);
}

void request(const CStore& store)
{
    const CJavaMailslotUnit unit;
    CMailslot slot(store.slot);
    const CSpyMemRef made = unit.newVector();
    unit.add(made, CSpyVariant(CName("question"), 0));
    {
        const CJavaMailslotUnit inner;
        unit.add(slot.mailbox()->m_sendQueue.ref(), vectorAt(made));
        slot.send(false);
    }
}

void takeMessages(const CStore& store)
{
    const CJavaMailslotUnit unit;
    const CMailslot slot(store.slot);
    unit.removeAll(slot.mailbox()->m_postQueue.ref());
    unit.removeAll(slot.mailbox()->m_sendQueue.ref());
}

void reply(const CStore& store)
{
    const CJavaMailslotUnit unit;
    unit.add(store.request, CSpyVariant(CName("answer"), 0));
}

void failRequest(const CStore& store)
{
    const CJavaMailslotUnit unit;
    unit.add(store.request, CSpyVariant());
    unit.add(store.request, CSpyVariant(CName("why"), 0));
}

void withdrawRequest(const CStore& store)
{
    const CJavaMailslotUnit unit;
    {
        const CSpyCall call;
        CSpyVector(CMailslot(store.slot).mailbox()->m_sendQueue.ref()).remove(0);
    }
    unit.free<CSpyVector>(store.request);
}

void unregister(const CStore& store)
{
    const CSpyCall call;
    CSpyMap(store.map).remove(CName("slot"));
}

void discard(const CStore& store, const CJavaMailslotUnit& unit)
{
    CMailslot slot(store.slot);
    const CSpyMemRef requests = slot.mailbox()->m_sendQueue.ref(), posts = slot.mailbox()->m_postQueue.ref();
    slot.release();
    for (const CSpyMemRef& vector : {store.request, requests, posts})
        unit.free<CSpyVector>(vector);
    unit.free<CSpyMemory>(store.slot);
}

void closeMailslot(const CStore& store)
{
    const CJavaMailslotUnit unit;
    unregister(store);
    discard(store, unit);
}

void replaceMailslot(const CStore& store)
{
    const CJavaMailslotUnit unit;
    CMailslot(store.slot).detach(); // when it was found that its receiver is dead
    discard(store, unit);
    unregister(store);
    makeMailslot(store, unit, "slot");
}

/// Messages in the queues of the mailslot beyond the signals that tell of them: a receiver would not see
/// them.
int unsignalled(const CStore& store)
try {
    const CSpyHeapLock lock;
    const CMailslot slot(store.slot);
    const CSemaphoreHandle events = slot.handle();
    const auto* const record = slot.mailbox();
    const unsigned waiting =
        CSpyVector(record->m_postQueue.ref()).size() + CSpyVector(record->m_sendQueue.ref()).size();
    return events.isNull() ? 0 : static_cast<int>(waiting) - semctl(events.m_set, events.m_index, GETVAL);
} catch (const CInvalidSpyMemRef&) {
    return 0; // closed
}

const struct {
    const char* name;
    std::function<void(const CStore&)> change;
    bool isReceiverDead = false; ///< of the mailslot: nobody takes its messages any more
} operations[] = {
    {"open a mailslot", openMailslot},
    {"post", postMessage},
    {"send a request", request},
    {"take all messages", takeMessages},
    {"reply", reply},
    {"fail a request", failRequest},
    {"withdraw a request", withdrawRequest},
    {"close a mailslot", closeMailslot},
    {"open a mailslot in place of a dead one", replaceMailslot, true},
    {"allocate", [](auto&) { CSpyMemRef(60, 0); }},
    {"free", [](auto& store) { CSpyMemRef(store.block).free(); }},
    {"grow in place", [](auto& store) { CSpyMemRef(store.slot).realloc(200); }},
    {"grow by moving", [](auto& store) { CSpyMemRef(store.block).realloc(900); }},
    {"allocate in a new transaction", [](auto&) { CSpyHeap::getHeap(0)->allocate(60, 9); }},
    {"free a transaction", [](auto&) { CSpyMemory::free(Transaction); }},
    {"allocate by name", [](auto&) { CSpyMemory().allocate(CName("block"), 40, 0); }},
    {"remove a name", [](auto&) { CSpyMemory::remove(CName("vector")); }},
    {"create a vector", [](auto&) { CSpyVector().create(CName("new"), 0, 5, 5); }},
    {"add, growing", [](auto& store) { CSpyVector(store.vector).addElement(CSpyVariant(1)); }},
    {"set", [](auto& store) { CSpyVector(store.vector).set(2, CSpyVariant(1)).free(); }},
    {"set beyond the end", [](auto& store) { CSpyVector(store.vector).set(9, CSpyVariant(1)); }},
    {"insert",
     [](auto& store) {
         CSpyVariant text(CName("text"), 0);
         CSpyVector(store.vector).insertElement(text, 1);
     }},
    {"insert beyond the end",
     [](auto& store) {
         CSpyVariant text(CName("text"), 0);
         CSpyVector(store.vector).insertElement(text, 7);
     }},
    {"remove from a vector", [](auto& store) { CSpyVector(store.vector).remove(1).free(); }},
    {"remove all elements", [](auto& store) { CSpyVector(store.vector).removeAllElements(); }},
    {"free a vector", [](auto& store) { CSpyVector(store.vector).free(); }},
    {"create a map", [](auto&) { CSpyMap((CSpyMemRef())).create(CName("new"), 0, 5); }},
    {"put into a free bucket", [](auto& store) { CSpyMap(store.map).put(CName("q"), CName("v")); }},
    {"put in place of a value", [](auto& store) { CSpyMap(store.map).put(CName("one"), CName("v")); }},
    {"put into a new chain", [](auto& store) { CSpyMap(store.map).put(CName("neo"), CName("v")); }},
    {"put into a chain", [](auto& store) { CSpyMap(store.map).put(CName("eky"), CName("v")); }},
    {"put, growing the table", [](auto& store) { CSpyMap(store.crowded).put(CName("f"), CName("v")); }},
    {"remove from a bucket", [](auto& store) { CSpyMap(store.map).remove(CName("one")).free(); }},
    {"remove from a chain", [](auto& store) { CSpyMap(store.map).remove(CName("yek")).free(); }},
    {"remove all entries", [](auto& store) { CSpyMap(store.map).removeAll(); }},
    {"free a map", [](auto& store) { CSpyMap(store.map).free(); }},
    {"create a pair", [](auto&) { CSpyMappedPair().create(CName("new"), 0); }},
    {"put a new pair", [](auto& store) { CSpyMappedPair(store.pair).put(CName("new"), CName("v"), 2); }},
    {"replace a pair", [](auto& store) { CSpyMappedPair(store.pair).put(CName("key"), CName("v"), 2); }},
    {"remove a pair", [](auto& store) { CSpyMappedPair(store.pair).remove(CName("key")).free(); }},
    {"remove all pairs", [](auto& store) { CSpyMappedPair(store.pair).removeAll(); }},
    {"free a pair", [](auto& store) { CSpyMappedPair(store.pair).free(); }},
    {"create a mutex", [](auto&) { CUnixMutex().create("mutex"); }},
    {"create a mailslot", [](auto&) { CMailslot().create(CName("new"), CSpyMemRef(), CSpyMemRef()); }},
    {"detach a mailslot", [](auto& store) { CMailslot(store.slot).release(); }},
    {"free a mailslot", [](auto& store) { CMailslot(store.slot).freeAll(); }},
};

TEST(SpyJournalDeathTest, LeavesEachOperationDoneOrNotBegun)
{
    int deaths = 0;
    std::mt19937 random(seed());
    beginWith(0x10000);
    for (const auto& operation : operations) {
        SCOPED_TRACE(operation.name);
        // Objects that are written back when they end do so within the unit.
        const auto run = [&](const CStore& store) {
            const CSpyUnit unit;
            operation.change(store);
        };
        std::string before, after;
        {
            const CStore store;
            before = storeImage();
            EXPECT_FALSE(killAfter(0, [&] { run(store); }));
            after = storeImage();
        }
        EXPECT_NE(before, after);
        // Other steps in each run: about two in three.
        for (int steps = 1; !testing::Test::HasFailure(); steps += 1 + static_cast<int>(random() % 2)) {
            const CStore store;
            const bool died = killAfter(steps, [&] { run(store); });
            const std::string image = storeImage();
            EXPECT_TRUE(image == before || image == after)
                << "killed after step " << steps << ": neither as before nor as after, but\n"
                << shown(before, image) << "or\n"
                << shown(after, image);
            EXPECT_TRUE(died || image == after);
            EXPECT_TRUE(operation.isReceiverDead || unsignalled(store) <= 0) << "killed after step " << steps;
            if (!died)
                break;
            ++deaths;
            if (steps % 5 == 0 && image == before) {
                // Who undoes it may be killed, too.
                killAfter(steps, [&] { run(store); });
                killAfter(1 + steps / 5, [] { const CSpyHeapLock lock; });
                EXPECT_EQ(before, storeImage())
                    << "killed after step " << steps << " and while that was undone";
            }
        }
    }
    std::printf("%d deaths\n", deaths);
    beginWith(0x100000);
}

const auto& operationNamed(const std::string& name)
{
    return *std::find_if(std::begin(operations), std::end(operations),
                         [&](const auto& each) { return each.name == name; });
}

/// What `exit` does while another thread has come to step `steps` of `work`, which goes on afterwards.
/// @return whether it got that far
bool leaveAfter(int steps, const std::function<void()>& work)
{
    static std::atomic<bool> isThere, hasLeft;
    CChildProcess child([&](CChildProcess& parent) {
        isThere = hasLeft = false;
        s_stepsLeft = steps;
        CSpyJournal::s_step = [] {
            for (isThere = --s_stepsLeft <= 0; isThere && !hasLeft;)
                std::this_thread::yield();
        };
        std::thread worker([&] {
            work();
            if (!isThere.exchange(true))
                parent.pass();
        });
        while (!isThere)
            std::this_thread::yield();
        CSpyHeapMutex::stopThreads();
        const CSharedMemoryGuard guard;
        CSpyHeap::leave([](CSharedMemory& heap) { static_cast<CUnixSharedMemory&>(heap).leave(); });
        hasLeft = true;
        worker.join();
    });
    const bool isThrough = child.wait();
    EXPECT_EQ(0, child.join());
    return !isThrough;
}

TEST(SpyJournalDeathTest, LeavesNothingHalfDoneOfWhatAnotherThreadDoesWhenTheProcessEnds)
{
    beginWith(0x10000);
    for (const char* name :
         {"put, growing the table", "free a transaction", "remove from a bucket", "replace a pair"}) {
        SCOPED_TRACE(name);
        const auto run = [&](const CStore& store) {
            const CSpyUnit unit;
            operationNamed(name).change(store);
        };
        std::string before, after;
        {
            const CStore store;
            before = storeImage();
            EXPECT_FALSE(killAfter(0, [&] { run(store); }));
            after = storeImage();
        }
        bool hasLeft = true;
        for (int steps = 1; hasLeft && !testing::Test::HasFailure(); steps += 1 + steps / 2) {
            const CStore store;
            hasLeft = leaveAfter(steps, [&] { run(store); });
            const std::string image = storeImage();
            EXPECT_TRUE(image == before || image == after)
                << "left after step " << steps << ": " << shown(before, image) << "or\n"
                << shown(after, image);
        }
    }
    beginWith(0x100000);
}

TEST(SpyJournalDeathTest, ReplacesTheSemaphoresOfAMutexOrNot)
{
    beginWith(0x10000);
    const auto createMutex = [] { EXPECT_TRUE(CUnixMutex().create("mutex")); };
    uint32_t whole = 0;
    bool died = true;
    for (int steps = 0; died && !testing::Test::HasFailure(); ++steps) {
        SCOPED_TRACE(steps);
        const CStore store;
        CSemaphoreList::CRecord record{}, found{};
        CSemaphoreList().read(&record, sizeof record);
        const uint32_t before = CSpyHeap::getStats().numberUsedBlocks;
        semctl(record.m_set, 0, IPC_RMID);
        died = killAfter(steps, createMutex) || steps == 0;
        CSpyHeapLock();
        const uint32_t made = CSpyHeap::getStats().numberUsedBlocks - before;
        CSemaphoreList().read(&found, sizeof found);
        const bool isNew = found.m_set != record.m_set;
        EXPECT_EQ(isNew ? 2 : 3, std::count(std::begin(found.m_used), std::end(found.m_used), 1));
        EXPECT_EQ(!isNew, CUnixMutex().find("mutex").isNull());
        if (steps == 0)
            whole = made;
        EXPECT_EQ(isNew ? whole : 0, made);
        EXPECT_TRUE(isNew || died);
        // Who comes next gets what the dead one has made in the system.
        createMutex();
        CUnixMutex mutex;
        EXPECT_TRUE(mutex.create("mutex") && mutex.acquire(0));
        mutex.release();
        EXPECT_EQ(CSemaphoreList::Semaphores, CSemaphoreStatus(mutex.handle().m_set).size());
    }
    beginWith(0x100000);
}

/// Every segment of this process, save the page that tells who holds the lock.
void makeReadOnly()
{
    const auto notices = reinterpret_cast<uintptr_t>(CNoticePage::get());
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        char* end = nullptr;
        const uintptr_t from = std::strtoul(line.c_str(), &end, 16);
        uintptr_t to = std::strtoul(end + 1, nullptr, 16);
        if (notices >= from && notices < to)
            to = notices;
        if (line.find("/SYSV") != std::string::npos) {
            ASSERT_EQ(0, mprotect(reinterpret_cast<void*>(from), to - from, PROT_READ));
        }
    }
}

TEST(SpyJournalDeathTest, WritesNothingWhereItOnlyReads)
{
    const CStore store;
    CChildProcess reader([&](CChildProcess&) {
        makeReadOnly();
        const CSpyCall call;
        const CSpyMap map(store.map);
        EXPECT_TRUE(map.containsKey(CName("yek")) && map.get(CName("one")) == CName("value"));
        EXPECT_EQ(5U, map.size());
        for (const auto keys = map.keys(); keys->hasMoreElements();)
            keys->nextElement();
        const CSpyVector vector(store.vector);
        EXPECT_TRUE(vector.indexOf(CName("third"), 0) == 2 && vector.lastElement() == CName("fourth"));
        const CSpyMappedPair pair(store.pair);
        EXPECT_TRUE(pair.containsKey(CName("last")) && pair.size() == 3);
        EXPECT_TRUE(CSpyMemory::locate(CName("vector")) == CSpyVariant(vector));
        EXPECT_FALSE(CMailslot(store.slot).isGone());
        EXPECT_GT(CSpyHeap::getStats().numberUsedBlocks, 10U);
    });
    EXPECT_EQ(0, reader.join());
}

/// A journal of segments of that size, as of a system that allows no larger ones.
void useJournal(size_t segment)
{
    const CSharedMemoryGuard guard;
    CSpyJournal::detach();
    const key_t base = CSharedMemoryHeader::get()->getKey(CSharedMemoryHeader::display(), 0);
    ASSERT_NE(-1, shmget(CSegmentSweep::journalKey(base), segment, IPC_CREAT | SHM_NORESERVE | 0666));
    CSpyJournal::attach(*CSpyHeap::getHeap(0)->sharedMemory());
}

/// Wherever the process is killed that does `work`, which takes more than one segment of the journal: all is
/// as before, and in the end as after.
void expectWholeInSegments(const std::function<void()>& work, const std::function<void(bool isDone)>& check)
{
    const size_t objects = systemVObjects().size();
    const uint32_t blocks = CSpyHeap::getStats().numberUsedBlocks;
    size_t most = 0;
    for (size_t bytes = 0; killBeyond(bytes, work); bytes = std::max<size_t>(300000, 2 * bytes)) {
        SCOPED_TRACE("killed with " + std::to_string(bytes) + " bytes in the journal");
        most = std::max(most, systemVObjects().size());
        const CSpyHeapLock lock;
        EXPECT_EQ(blocks, CSpyHeap::getStats().numberUsedBlocks);
        check(false);
        EXPECT_EQ(objects, systemVObjects().size());
    }
    EXPECT_GT(most, objects) << "no death left a further segment: it was shorter than thought";
    check(true);
    EXPECT_EQ(objects, systemVObjects().size());
}

TEST(SpyJournalDeathTest, IsNotOutgrownByTheLargestOperations)
{
    beginWith(0x1000000);
    const auto most = [](size_t limit, const std::function<void()>& work) {
        const CSpyHeapLock lock;
        CSpyJournal::resetMostUsed();
        work();
        std::printf("%zu bytes of the journal\n", CSpyJournal::mostUsed());
        EXPECT_LE(CSpyJournal::mostUsed(), limit);
        EXPECT_GT(CSpyJournal::mostUsed(), 0U);
    };
    CSpyMap map((CSpyMemRef()));
    map.create(CName(""), Transaction, 100);
    constexpr int Entries = 100000;
    const auto nameOf = [](int number) {
        return CName(std::to_string(number) + std::string(number % 97, 'z'));
    };
    most(1 << 22, [&] { // the largest is a growth of the table
        for (int number = 0; number < Entries; ++number) {
            map.put(nameOf(number), CSpyVariant(number));
            map.update();
        }
    });
    useJournal(CJournalSegment::Smallest);
    CSpyMapHdr header;
    map.ref().read(&header, sizeof header);
    header.m_collisions = 4 * header.m_count; // which makes it grow with the next entry
    CSpyMemRef(map.ref()).write(&header, sizeof header);
    expectWholeInSegments([&] { CSpyMap(map.ref()).put(nameOf(Entries), CSpyVariant(Entries)); },
                          [&](bool isDone) {
                              const CSpyMap found(map.ref());
                              EXPECT_EQ(Entries + isDone, static_cast<int>(found.size()));
                              for (int number = 0; number < Entries + isDone; number += isDone ? 1 : 997)
                                  ASSERT_TRUE(found.get(nameOf(number)) == CSpyVariant(number)) << number;
                              EXPECT_EQ(isDone, found.containsKey(nameOf(Entries)));
                          });
    constexpr int Texts = 60000;
    CSpyVector texts;
    texts.create(Transaction, Texts, 1);
    for (int number = 0; number < Texts; ++number)
        texts.addElement(CSpyVariant(nameOf(number), texts.ref().heapId()));
    texts.update();
    expectWholeInSegments([&] { CSpyVector(texts.ref()).removeAllElements(); },
                          [&](bool isDone) {
                              const CSpyVector found(texts.ref());
                              ASSERT_EQ(isDone ? 0 : Texts, static_cast<int>(found.size()));
                              for (int number = 0; number < Texts && !isDone; number += 97)
                                  ASSERT_TRUE(found.get(number) == nameOf(number)) << number;
                          });
    useJournal(CJournalSegment::Largest);
    CSpyVector vector;
    vector.create(Transaction, 700000, 1);
    {
        const CSpyHeapLock lock; // not a call of the system for each
        for (int number = 0; number < 700000; ++number)
            vector.addElement(number % 7 ? CSpyVariant(number)
                                         : CSpyVariant(CName("x"), vector.ref().heapId()));
    }
    most(CJournalSegment::Largest / 8, [&] { vector.remove(0); });
    most(CJournalSegment::Largest / 8, [&] { vector.removeAllElements(); });
    CSpyMemory::free(Transaction);
    beginWith(0x100000);
}
} // namespace
