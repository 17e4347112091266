#include "include/SpyHeap.h"

#include "common/spy/SpyFreeList.h"
#include "common/spy/SpyHeapChange.h"
#include "common/spy/SpyHeapWalk.h"
#include "common/spy/SpyJournal.h"
#include "common/spy/SpyMemRef.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "unix/sysv/SegmentSweep.h"
#include "unix/sysv/SharedMemory.h"
#include "unix/sysv/SpyMutex.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <new>
#include <poll.h>
#include <thread>

namespace {
constexpr uint32_t BlockHeader = sizeof(CSpyHeap::CHeapBlock);
constexpr uint32_t FirstBlock = sizeof(CSpyHeap::CHeapHeader);
constexpr uint32_t BaseHeapSize = 0x100000;
constexpr uint32_t SmallestBlock = 32;
constexpr uint32_t SmallRequest = 1024; ///< below it the small pool is searched first
constexpr uint32_t SmallestRest = 49;   ///< bytes, header included, that are worth a block of their own
constexpr HEAPID LastKeptHeap = 2;      ///< heaps up to here stay attached when they are dropped
constexpr int DefaultTimeoutMs = 10000;

constexpr uint32_t largestBlockOf(uint32_t heapSize)
{
    return heapSize - FirstBlock - BlockHeader;
}

/// One step along a chain of overflow heaps, which a damaged one may lead round in a circle.
class CChainLink {
public:
    CChainLink()
    {
        if (s_depth > MaxHeap)
            throw CHeapCorrupted("!!Spy Heap corrupted!! The overflow heaps are a circle");
        ++s_depth;
    }
    ~CChainLink() { --s_depth; }
    CChainLink(const CChainLink&) = delete;
    CChainLink& operator=(const CChainLink&) = delete;

private:
    static inline thread_local HEAPID s_depth = 0;
};

/// The place is about to change: see CSpyJournal.
template <class Value> void put(CShared<Value>& place, Value value)
{
    CSpyJournal::keep(place);
    place.store(value);
}

bool takenAtOnce(CSpyMutex& mutex)
try {
    return mutex.acquire(0);
} catch (const CMutexTimeoutException&) {
    return false;
}

/// The store is made anew since its lock was removed, for a scope.
std::atomic<bool> s_isBeginningAnew = false;
struct CBeginningAnew {
    CBeginningAnew() { s_isBeginningAnew = true; }
    ~CBeginningAnew() { s_isBeginningAnew = false; }
    CBeginningAnew(const CBeginningAnew&) = delete;
    CBeginningAnew& operator=(const CBeginningAnew&) = delete;
};

/// Tells the segments which heaps this process has attached, and gives those up at the end.
class CHeaps final : public ISegmentOwner {
public:
    CSharedMemory* attached(unsigned int block) const override
    {
        const CSpyHeap* heap = CSpyHeap::attached(block);
        return heap ? heap->sharedMemory() : nullptr;
    }
    void stopThreads() override { CSpyHeap::stopThreads(); }
    void leave(void (*giveUp)(CSharedMemory&)) override { CSpyHeap::leave(giveUp); }
};
constinit CHeaps s_heaps;
[[maybe_unused]] const bool s_areKnown = CSegmentSweep::setOwner(s_heaps);

[[noreturn]] void throwOutOfMemory(const char* format, unsigned first, unsigned second, CSpyHeap* heap)
{
    char text[128];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // the formats below, both with one or two %d
    std::snprintf(text, sizeof text, format, first, second);
#pragma GCC diagnostic pop
    throw COutOfSpyMemory(text, heap);
}
} // namespace

uint32_t CSpyHeap::DefaultHeapSize = BaseHeapSize;
uint32_t CSpyHeap::LargestPossibleBlock = largestBlockOf(BaseHeapSize);
constinit std::array<std::atomic<CSpyHeap*>, MaxHeap + 1> CSpyHeap::s_pSpyHeap = {};
constinit std::atomic<CSpyMutex*> CSpyHeap::m_pMutex = nullptr;
// Threads may outlive main.
std::vector<CSpyHeap*>& CSpyHeap::s_dropped = *new std::vector<CSpyHeap*>;
std::vector<const void*>& CSpyHeap::s_gone = *new std::vector<const void*>;

// Heaps and their life

CSpyHeap* CSpyHeap::findHeap(HEAPID id)
{
    if (id > MaxHeap)
        return nullptr;
    CSpyHeap* base = findBaseHeap();
    if (id == 0)
        return base;
    if (!base->header()->isUsed(id))
        return nullptr;
    if (CSpyHeap* heap = s_pSpyHeap[id].load(std::memory_order_acquire))
        return heap->takeUp() ? heap : nullptr;
    const CSpyUnit unit;
    if (!base->header()->isUsed(id))
        return nullptr; // dropped meanwhile
    CSpyHeap* heap = attachHeap(id);
    if (heap && !heap->m_pSharedMem->existed())
        CTracer::debugTrace("ALERT: Probably attaching todefunct heap:%d ", static_cast<int>(id));
    if (heap)
        attachRest(); // of its transaction
    return heap;
}

CSpyHeap* CSpyHeap::findBaseHeap()
{
    CSpyHeap* pHeap = s_pSpyHeap[0].load(std::memory_order_acquire);
    if (!pHeap || !m_pMutex.load(std::memory_order_acquire)) {
        // Another thread may be about to make them.
        const CSharedMemoryGuard guard;
        pHeap = s_pSpyHeap[0].load(std::memory_order_acquire);
        if (!pHeap)
            pHeap = makeBaseHeap(BaseHeapSize);
    }
    GX_ASSERT(pHeap, "pHeap != 0");
    if (!pHeap->inUse())
        pHeap->setInUse(true);
    return pHeap;
}

CSpyHeap* CSpyHeap::createBaseHeap(unsigned int size)
{
    GX_ASSERT(!s_pSpyHeap[0].load(), "s_pSpyHeap[0] == 0");
    GX_ASSERT(!m_pMutex.load(), "m_pMutex == 0");
    return makeBaseHeap(size);
}

CSpyHeap* CSpyHeap::makeBaseHeap(unsigned int size)
{
    // Under the guard, since the mutex that guards everything else only comes after the heap.
    const CSharedMemoryGuard guard;
    [[maybe_unused]] static const int isWatching = pthread_atfork(nullptr, nullptr, holdNothing);
    auto base = std::unique_ptr<CSpyHeap>(new CSpyHeap(size, 0));
    if (!base->m_pSharedMem->existed())
        std::fill_n(base->m_area, FirstBlock, 0);
    base->startUsing();
    CSpyJournal::attach(*base->m_pSharedMem);
    m_pMutex.store(CSpyMutex::create(HeapObjectName), std::memory_order_release);
    return base.release();
}

void CSpyHeap::deleteBaseHeap()
{
    delete s_pSpyHeap[0].load();
}

/// Under the heap mutex, which keeps other processes from making the same segment or removing it.
CSpyHeap* CSpyHeap::attachHeap(HEAPID id)
try {
    if (CSpyHeap* other = s_pSpyHeap[id].load())
        return other;
    auto heap = std::unique_ptr<CSpyHeap>(new CSpyHeap(DefaultHeapSize, id));
    heap->startUsing();
    return heap.release();
} catch (const COutOfSpyMemory&) {
    return nullptr;
}

CSpyHeap::CSpyHeap(unsigned int size, HEAPID id)
    : m_id(id), m_size(size),
      m_pSharedMem(CSharedMemory::create(HeapObjectName, static_cast<int>(id), static_cast<int>(size))),
      m_index(std::make_unique<CFreeIndex>())
{
    GX_ASSERT(m_pSharedMem, "m_pSharedMem != 0");
    m_area = static_cast<unsigned char*>(m_pSharedMem->area());
    if (!m_area)
        throw COutOfSpyMemory();
    GX_ASSERT(!s_pSpyHeap[id].load(), "s_pSpyHeap[heapId] == 0");
    s_pSpyHeap[id].store(this, std::memory_order_release);
}

void CSpyHeap::startUsing()
{
    if (m_pSharedMem->existed())
        setInUse(true);
    else
        init();
}

CSpyHeap::~CSpyHeap()
{
    if (m_id == 0)
        dropMutex();
    CSpyHeap* itself = this;
    s_pSpyHeap[m_id].compare_exchange_strong(itself, nullptr);
    if (m_id != 0)
        return;
    const CSharedMemoryGuard guard;
    CSpyJournal::detach();
    m_pSharedMem.reset();
}

/// With it go the other heaps, and under it while it is free, so that nobody attaches what is being removed.
void CSpyHeap::dropMutex()
{
    CSpyMutex* mutex = m_pMutex.exchange(nullptr);
    const bool held = mutex && takenAtOnce(*mutex);
    for (HEAPID id = 1; id <= MaxHeap; ++id)
        delete s_pSpyHeap[id].load();
    deleteDropped();
    if (held)
        mutex->release();
    if (mutex)
        mutex->free();
    delete mutex;
    holdNothing();
}

void CSpyHeap::stopThreads()
{
    CSpyMutex* mutex = m_pMutex.load();
    s_leaver = pthread_self();
    if (mutex && mutex->isAcquired())
        CSpyJournal::rollBack(); // the thread that exits in the midst of a change does not go on with it
    else if (!isLetGoSoon())
        CSpyJournal::cut();
}

/// Most hold the mutex for microseconds. Who takes it from now on gives it back before he does anything.
bool CSpyHeap::isLetGoSoon()
{
    for (int tries = 0; s_holder != 0 && tries < 100; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return s_holder == 0;
}

void CSpyHeap::leave(void (*giveUp)(CSharedMemory&))
{
    if (!CSpyJournal::isCut())
        CSpyJournal::detach();
    if (const CSpyHeap* base = attached(0))
        giveUp(*base->m_pSharedMem);
}

void CSpyHeap::setDefaultHeapSize(unsigned int bytes)
{
    DefaultHeapSize = std::clamp(bytes, 0x1000U, 0x1000000U);
    LargestPossibleBlock = largestBlockOf(DefaultHeapSize);
}

void CSpyHeap::init()
{
    if (m_id != 0)
        lock(0);
    revokeReferences();
    format();
    setInUse(true);
    if (m_id != 0)
        unlock();
}

/// Formatting leaves old block headers where they are, of a heap that is dropped or one whose processes were
/// all killed: without their stamps no reference that others still store is taken for valid.
void CSpyHeap::revokeReferences()
{
    if (header()->m_poolBlockSize.load() == 0)
        return; // never formatted: its pages need not be touched
    if (!forEachBlock([this](const CBlockCopy& each) { block(each.m_offset).m_uid.store(0); }))
        std::fill_n(m_area + FirstBlock, m_size - FirstBlock, 0);
}

void CSpyHeap::format()
{
    CHeapHeader& head = *header();
    const uint32_t small = FirstBlock + half();
    m_index->drop();
    CHeapChange::mark(*this, CHeapChange::Formatting);
    head.m_changeCount.store(0);
    // Upper block first: until the lower one has its new size, whoever walks the blocks never gets here.
    block(small).store({small, m_size - BlockHeader - small});
    block(FirstBlock).store({FirstBlock, half() - BlockHeader});
    head.m_largePool.m_next.store(FirstBlock);
    head.m_smallPool.m_next.store(small);
    head.m_overflowHeap.store(0);
    head.m_poolBlockSize.store(half() - BlockHeader);
    CHeapChange::mark(*this, CHeapChange::None);
}

/// What this process does itself is no reason to look again.
template <class Change> void CSpyHeap::changeIds(Change change)
{
    CSpyHeap& base = *getHeap(0);
    const bool isCurrent = base.m_changeCount == base.header()->m_changeCount.load();
    change(*base.header());
    if (isCurrent)
        base.m_changeCount = base.header()->m_changeCount.load();
}

CSpyHeap* CSpyHeap::createHeap(UNIQUEID transactionId)
{
    CSpyHeap& base = *getHeap(0);
    if (base.m_changeCount != base.header()->m_changeCount.load())
        sync();
    // What is emptied after this unit may be what it gets.
    if (CSpyJournal::hasDropped())
        CSpyJournal::checkpoint();
    const HEAPID id = base.header()->lowestFreeId();
    if (id == NoHeap)
        return nullptr;
    if (CSpyHeap* pheap = s_pSpyHeap[id].load())
        GX_ASSERT(!pheap->inUse(), "!pheap->inUse()");
    if (!attachHeap(id))
        return nullptr;
    CSpyHeap* pheap = s_pSpyHeap[id].load();
    GX_ASSERT(pheap, "pheap != 0");
    // Others may still have it attached, and it may hold what a process has left that died before it emptied
    // it.
    pheap->init();
    CSpyJournal::isFresh(*pheap, 0, pheap->m_size);
    // Last, since a look-up without the mutex finds it from here on.
    changeIds([&](CHeapHeader& header) { header.assignId(transactionId); });
    return pheap;
}

/// Gives up what others have dropped.
void CSpyHeap::sync()
{
    CSpyHeap& base = *getHeap(0);
    for (HEAPID id = 1; id <= MaxHeap; ++id) {
        CSpyHeap* heap = s_pSpyHeap[id].load();
        if (!heap || base.header()->isUsed(id))
            continue;
        if (heap->inUse())
            heap->forget();
        else
            heap->setInUse(false); // also for the look-up that has just found it used
    }
    attachRest();
    base.m_changeCount = base.header()->m_changeCount.load();
}

/// Heaps have come or gone since this process looked.
void CSpyHeap::lookAgain()
{
    const CSpyHeap* base = attached(0);
    if (base && base->m_changeCount != base->header()->m_changeCount.load()) [[unlikely]]
        sync();
}

bool CSpyHeap::isPartOf(const std::vector<UNIQUEID>& transactions, HEAPID id)
{
    const CHeapHeader& base = *attached(0)->header();
    return base.isUsed(id) &&
           std::find(transactions.begin(), transactions.end(), base.transactionId(id)) != transactions.end();
}

/// Attaches what the base heap and the transactions that this process has seen consist of: a heap is lost
/// with the last process that has it attached.
void CSpyHeap::attachRest()
try {
    std::vector<UNIQUEID> seen{0};
    for (HEAPID id = 1; id <= MaxHeap; ++id)
        if (const CSpyHeap* heap = attached(id); heap && heap->inUse())
            seen.push_back(getTransactionId(id));
    for (HEAPID id = 1; id <= MaxHeap; ++id)
        if (isPartOf(seen, id))
            getHeap(id);
} catch (const std::bad_alloc&) {
    // What is missing is attached when it is asked for.
}

HEAPID CSpyHeap::getHeapId(UNIQUEID transactionId)
{
    const CSpyHeap* base = getHeap(0);
    GX_ASSERT(base, "s_pSpyHeap[0] != 0");
    return transactionId == 0 ? 0 : base->header()->heapId(transactionId);
}

UNIQUEID CSpyHeap::getTransactionId(HEAPID id)
{
    return getHeap(0)->header()->transactionId(id);
}

CSpyHeap* CSpyHeap::overflowHeap()
{
    if (const uint32_t overflow = header()->m_overflowHeap.load(); overflow != 0) {
        CSpyHeap* heap = getHeap(overflow);
        if (!heap)
            CTracer::debugTrace("***Error! Cannot get allocated overflow heap");
        return heap;
    }
    CSpyHeap* heap = createHeap(getTransactionId(m_id));
    if (heap)
        put(header()->m_overflowHeap, heap->m_id);
    return heap;
}

void CSpyHeap::free()
{
    const CSpyUnit unit;
    drop();
}

void CSpyHeap::setInUse(bool inUse)
{
    const uint32_t next = (m_use.load(std::memory_order_relaxed) | InUse) + 1;
    m_use.store(next | (inUse ? InUse : 0), std::memory_order_release);
}

/// For a look-up, which has no mutex: takes the heap up again unless its id is given up meanwhile.
bool CSpyHeap::takeUp()
{
    uint32_t use = m_use.load(std::memory_order_acquire);
    while (attached(0)->header()->isUsed(m_id))
        if (m_use.compare_exchange_weak(use, use | InUse, std::memory_order_acq_rel))
            return true;
    return false;
}

void CSpyHeap::forget()
{
    setInUse(false);
    if (m_id <= LastKeptHeap)
        return;
    s_pSpyHeap[m_id].store(nullptr); // before it is asked who reads: nobody finds it any more
    s_dropped.push_back(this);
}

/// Under the mutex, since the last one to detach a segment removes it, which others must not just be
/// attaching.
void CSpyHeap::deleteDropped()
{
    if (s_readers != 0)
        return;
    for (const CSpyHeap* heap : s_dropped)
        delete heap;
    s_dropped.clear();
}

void CSpyHeap::empty()
{
    init();
    forget();
}

void CSpyHeap::dropHeap(HEAPID id)
{
    if (CSpyHeap* heap = getHeap(id))
        heap->free();
    else
        changeIds([&](CHeapHeader& header) { header.clearId(id); });
}

/// A heap of the same transaction that still led here would lead to whatever gets this id next.
void CSpyHeap::unlinkFromOthers() const
{
    const CHeapHeader& base = *getHeap(0)->header();
    const UNIQUEID transaction = base.transactionId(m_id);
    for (HEAPID id = 0; id <= MaxHeap; ++id) {
        if (base.transactionId(id) != transaction || (id != 0 && !base.isUsed(id)))
            continue;
        if (CSpyHeap* heap = getHeap(id); heap && heap->header()->m_overflowHeap.load() == m_id)
            put(heap->header()->m_overflowHeap, 0U);
    }
}

/// Gives the id back; the heap is emptied when that can no longer be undone.
void CSpyHeap::drop()
{
    if (const HEAPID overflow = header()->m_overflowHeap.load(); overflow != 0 && overflow <= MaxHeap) {
        if (!s_pSpyHeap[overflow].load())
            CTracer::debugTrace("SpyHeap::free spyheap array pointing to null for overflow heap");
        // Unchained first, so that a chain which was damaged into a ring ends.
        put(header()->m_overflowHeap, 0U);
        if (CSpyHeap* heap = getHeap(overflow))
            heap->free();
    }
    unlinkFromOthers();
    changeIds([&](CHeapHeader& header) { header.clearId(m_id); });
    setInUse(false);
    CSpyJournal::dropped(*this);
}

bool CSpyHeap::holdsAddress(const void* place, size_t length) const
{
    const auto from = reinterpret_cast<uintptr_t>(place), start = reinterpret_cast<uintptr_t>(m_area);
    return from >= start && length <= m_size && from - start <= m_size - length;
}

CSpyHeap* CSpyHeap::around(const void* place, size_t length)
{
    static HEAPID latest = 0;
    if (CSpyHeap* heap = attached(latest); heap && heap->holdsAddress(place, length))
        return heap;
    for (HEAPID id = 0; id <= MaxHeap; ++id)
        if (CSpyHeap* heap = attached(id); heap && heap->holdsAddress(place, length)) {
            latest = id;
            return heap;
        }
    return nullptr;
}

CSpyHeap* CSpyHeap::leftBehind(HEAPID id)
{
    if (CSpyHeap* known = attached(id))
        return known;
    CSpyHeap* heap = attachHeap(id);
    if (!heap || heap->m_pSharedMem->existed())
        return heap;
    heap->setInUse(false); // and stays, with the stamps that go on
    return nullptr;
}

// Heap ids

HEAPID CSpyHeap::CHeapHeader::heapId(UNIQUEID transactionId) const
{
    const auto found = std::find_if(m_transactions + 1, std::end(m_transactions),
                                    [&](const auto& each) { return each.load() == transactionId; });
    return static_cast<HEAPID>(found - m_transactions);
}

UNIQUEID CSpyHeap::CHeapHeader::transactionId(HEAPID heapId) const
{
    GX_ASSERT(heapId <= MaxHeap, "heapId <= MaxHeap");
    return m_transactions[heapId].load();
}

bool CSpyHeap::CHeapHeader::isUsed(HEAPID id) const
{
    // Atomic since it is asked without the mutex, too.
    return (m_usedIds[id >> 3].load(std::memory_order_relaxed) & 1U << (id & 7)) != 0;
}

HEAPID CSpyHeap::CHeapHeader::lowestFreeId() const
{
    HEAPID id = 1;
    while (id <= MaxHeap && isUsed(id))
        ++id;
    return id;
}

// Bit before transaction here, and the other way round in clearId: a process that dies in between leaves an
// id that is lost, and never a transaction whose heap is missing.
HEAPID CSpyHeap::CHeapHeader::assignId(UNIQUEID transactionId)
{
    const HEAPID id = lowestFreeId();
    if (id == NoHeap)
        return NoHeap;
    CSpyJournal::keep(m_usedIds[id >> 3]);
    m_usedIds[id >> 3].fetch_or(static_cast<uint8_t>(1U << (id & 7)), std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    put(m_transactions[id], transactionId);
    put(m_changeCount, m_changeCount.load() + 1);
    return id;
}

void CSpyHeap::CHeapHeader::clearId(HEAPID id)
{
    if (id == 0)
        return;
    put(m_transactions[id], 0U);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    CSpyJournal::keep(m_usedIds[id >> 3]);
    m_usedIds[id >> 3].fetch_and(static_cast<uint8_t>(~(1U << (id & 7))), std::memory_order_relaxed);
    put(m_changeCount, m_changeCount.load() + 1);
}

// Blocks

uint32_t CSpyHeap::half() const
{
    return (m_size - FirstBlock) >> 1;
}

// The limit is half, not FirstBlock + half where the small pool begins: a block that starts in the last bytes
// of the lower half changes pools when it is freed. All processes have to agree on this.
CSpyHeap::CHeapBlock& CSpyHeap::getPool(uint32_t offset) const
{
    return offset >= half() ? header()->m_smallPool : header()->m_largePool;
}

void CSpyHeap::CHeapBlock::store(const CBlockCopy& numbers)
{
    m_size.store(numbers.m_size);
    m_used.store(numbers.m_used);
    m_uid.store(numbers.m_uid);
    m_next.store(numbers.m_next);
}

/// The block at `offset`, which came out of shared memory; throws when it does not lie inside the heap.
CSpyHeap::CBlockCopy CSpyHeap::checked(uint32_t offset) const
{
    if (mayStartAt(offset))
        if (const CBlockCopy found = copyAt(offset); holds(found))
            return found;
    throw CHeapCorrupted("!!Spy Heap corrupted!! A block lies outside of its heap");
}

/// The block that a list of free blocks names next; none at its end. The lists descend, so that a damaged one
/// cannot lead round in a circle.
CSpyHeap::CBlockCopy CSpyHeap::listed(uint32_t offset, uint32_t below) const
{
    if (offset == 0)
        return {};
    if (offset < below)
        if (const CBlockCopy found = checked(offset); found.isFree())
            return found;
    throw CHeapCorrupted("!!Spy Heap corrupted!! A list of free blocks leads astray");
}

bool CSpyHeap::mayStartAt(uint32_t offset) const
{
    return offset >= FirstBlock && offset <= m_size - BlockHeader;
}

// Without the mutex another thread may be writing what these two read. What a valid reference names stays as
// it is, and what a stale one finds is tested again under the mutex.

bool CSpyHeap::verifyBlock(unsigned int offset, UNIQUEID uid) const
{
    return uid != 0 && mayStartAt(offset) && blockAt(offset)->m_uid.peek() == uid;
}

unsigned int CSpyHeap::sizeAt(unsigned int offset) const
{
    return mayStartAt(offset) ? std::min(blockAt(offset)->m_size.peek(), roomAt(offset)) : 0;
}

/// What is left of a block that keeps `sizeThisBlock` becomes a free block, not yet in a list. @return its
/// offset
uint32_t CSpyHeap::split(const CBlockCopy& whole, uint32_t sizeThisBlock)
{
    GX_ASSERT(whole.m_size > sizeThisBlock + BlockHeader, "m_size > sizeThisBlock+sizeof(CHeapBlock)");
    const uint32_t rest = whole.m_offset + BlockHeader + sizeThisBlock;
    CSpyJournal::keep(block(rest));
    block(rest).store({rest, whole.m_size - sizeThisBlock - BlockHeader, 0, 0, whole.m_next});
    CHeapChange::step();
    CSpyJournal::keep(block(whole.m_offset)); // all of it, which `stamp` will find kept
    block(whole.m_offset).m_size.store(sizeThisBlock);
    return rest;
}

/// The last `sizeNewBlock` bytes of a free block become a used one. @return its offset
uint32_t CSpyHeap::splitOffEnd(const CBlockCopy& whole, uint32_t sizeNewBlock)
{
    GX_ASSERT(whole.m_size > sizeNewBlock + BlockHeader, "m_size > sizeNewBlock+sizeof(CHeapBlock)");
    const uint32_t rest = whole.m_size - sizeNewBlock - BlockHeader;
    const uint32_t end = whole.m_offset + BlockHeader + rest;
    CSpyJournal::keep(block(end));
    block(end).store({end, sizeNewBlock});
    CHeapChange::step();
    put(block(whole.m_offset).m_size, rest);
    return end;
}

/// Marks a block as allocated, the last step of every allocation.
CSpyMemRef CSpyHeap::stamp(uint32_t offset)
{
    CHeapBlock* pBlock = blockAt(offset);
    GX_ASSERT(pBlock, "pBlock != 0");
    // After 2^32 allocations they begin anew; 0 would be no stamp.
    const UNIQUEID uid = std::max(header()->m_lastUid.load() + 1, 1U);
    put(header()->m_lastUid, uid);
    m_index->stamped(uid);
    CSpyJournal::keep(*pBlock);
    pBlock->m_uid.store(uid);
    pBlock->m_next.store(0);
    CHeapChange::step();
    pBlock->m_used.store(1);
    return CSpyMemRef::of(m_id, offset, uid);
}

// Allocation

CSpyMemRef CSpyHeap::allocate(unsigned int sizeNeeded)
{
    GX_ASSERT(sizeNeeded != 0, "sizeNeeded != 0");
    const uint32_t size = std::max(sizeNeeded, SmallestBlock);
    CSpyMemRef ref;
    {
        const CSpyUnit unit;
        ref = size > header()->m_poolBlockSize.load() ? allocateOversized(size) : allocateHere(size);
    }
    if (!ref)
        throwOutOfMemory("allocation failure heap# %d: %d bytes requested", m_id, size, this);
    return ref;
}

CSpyMemRef CSpyHeap::allocate(unsigned int size, UNIQUEID transactionId)
{
    const CSpyUnit unit;
    const HEAPID id = getHeapId(transactionId);
    CSpyHeap* heap = id == NoHeap ? createHeap(transactionId) : getHeap(id);
    if (!heap)
        throwOutOfMemory("Can't create Spy Heap for transaction Id %d", transactionId, 0, nullptr);
    return heap->allocate(size);
}

CSpyMemRef CSpyHeap::allocateHere(uint32_t size)
{
    {
        CHeapChange change(*this);
        const uint32_t offset = take(size);
        const CSpyMemRef ref = offset != 0 ? stamp(offset) : CSpyMemRef();
        change.done();
        if (!!ref)
            return ref;
    }
    return allocateInOverflow(size);
}

CSpyMemRef CSpyHeap::allocateInOverflow(uint32_t size)
try {
    const CChainLink link;
    CSpyHeap* heap = overflowHeap();
    return heap ? heap->allocate(size) : CSpyMemRef();
} catch (const COutOfSpyMemory&) {
    return {};
} catch (...) {
    CTracer::debugTrace("Exception in CSpyHeap::allocate!!");
    return {};
}

CSpyMemRef CSpyHeap::allocateOversized(uint32_t size)
try {
    if (size / 2 >= header()->m_poolBlockSize.load() || size >= LargestPossibleBlock)
        return {};
    CSpyHeap* heap = overflowHeap();
    for (HEAPID passed = 0; heap && !heap->isEmpty(); ++passed)
        heap = passed < MaxHeap ? heap->overflowHeap() : nullptr;
    return heap ? heap->allocateEntireHeap() : CSpyMemRef();
} catch (...) {
    CTracer::debugTrace("Exception in CSpyHeap::allocate trying to allocate overflow heap");
    return {};
}

/// Takes a block of `size` bytes out of the lists. @return its offset, 0 when there is none
uint32_t CSpyHeap::take(uint32_t size)
{
    if (size >= SmallRequest)
        return firstFit(header()->m_largePool, size);
    const uint32_t offset = firstFit(header()->m_smallPool, size);
    return offset != 0 ? offset : lastFit(header()->m_largePool, size);
}

/// Nothing that counts lies in a free block. Headers that were in it when this unit began were kept when it
/// swallowed them.
void CSpyHeap::isTaken(const CBlockCopy& found) const
{
    CSpyJournal::isFresh(*this, found.m_offset + BlockHeader, found.behind());
}

uint32_t CSpyHeap::firstFit(CHeapBlock& pool, uint32_t size)
{
    CFreeList list(*this, pool);
    const auto [previous, found] = list.highest(size);
    if (found.m_offset != 0) {
        isTaken(found);
        takeStart(list, *previous, found, size, found.m_size - size >= SmallestRest);
    }
    return found.m_offset;
}

/// The first `size` bytes of a free block leave the list, or all of them.
void CSpyHeap::takeStart(CFreeList& list, CHeapBlock& previous, const CBlockCopy& found, uint32_t size,
                         bool leavesRest)
{
    list.lost(found.m_offset);
    if (!leavesRest) {
        put(previous.m_next, found.m_next);
        return;
    }
    const uint32_t pNewBlock = split(found, size);
    GX_ASSERT(pNewBlock != 0, "pNewBlock != 0");
    put(previous.m_next, pNewBlock);
    list.has(pNewBlock, found.m_size - size - BlockHeader);
}

/// Small requests that the small pool cannot meet come off the end of the lowest block that is larger: the
/// upper blocks of the large pool stay whole for large requests.
uint32_t CSpyHeap::lastFit(CHeapBlock& pool, uint32_t size)
{
    CFreeList list(*this, pool);
    const auto [previous, best] = list.lowest(size + 1);
    return best.m_offset != 0 ? takeEnd(list, *previous, best, size) : 0;
}

uint32_t CSpyHeap::takeEnd(CFreeList& list, CHeapBlock& previous, const CBlockCopy& found, uint32_t size)
{
    isTaken(found);
    if (found.m_size - size >= SmallestRest) {
        const uint32_t taken = splitOffEnd(found, size);
        list.has(found.m_offset, found.m_size - size - BlockHeader);
        return taken;
    }
    put(previous.m_next, found.m_next);
    list.lost(found.m_offset);
    return found.m_offset;
}

bool CSpyHeap::isEmpty()
{
    const CSpyUnit unit;
    CHeapChange(*this).done(); // lists that a dead process left half-changed are rebuilt before they are read
    const CHeapHeader& head = *header();
    const uint32_t whole = head.m_poolBlockSize.load();
    const auto isOneWholeBlock = [&](const CHeapBlock& pool) {
        const CBlockCopy only = firstOf(pool);
        return only.m_offset != 0 && only.m_next == 0 && only.m_size >= whole;
    };
    return isOneWholeBlock(head.m_largePool) && isOneWholeBlock(head.m_smallPool);
}

CSpyMemRef CSpyHeap::allocateEntireHeap()
{
    const CSpyUnit unit;
    CHeapChange change(*this);
    CHeapHeader& head = *header();
    const CBlockCopy oneBigBlock = firstOf(head.m_largePool), absorbed = firstOf(head.m_smallPool);
    GX_ASSERT(oneBigBlock.m_offset != 0, "oneBigBlock != 0");
    if (absorbed.m_offset != oneBigBlock.behind())
        throw CHeapCorrupted("!!Spy Heap corrupted!! An empty heap is not of one piece");
    const uint32_t size = oneBigBlock.m_size + absorbed.m_size + BlockHeader;
    swallow(absorbed);
    isTaken(oneBigBlock);
    isTaken(absorbed);
    put(block(oneBigBlock.m_offset).m_size, size);
    put(head.m_poolBlockSize, size);
    put(head.m_largePool.m_next, 0U);
    put(head.m_smallPool.m_next, 0U);
    m_index->drop();
    const CSpyMemRef ref = stamp(oneBigBlock.m_offset);
    change.done();
    return ref;
}

// Freeing and growing

void CSpyHeap::free(CSpyMemRef ref)
{
    const CSpyUnit unit;
    const uint32_t offset = ref.blockId();
    if (offset == 0)
        return;
    const bool valid = verifyBlock(offset, ref.uid()) && checked(offset).isUsed();
    GX_ASSERT(valid, "pBlock->isUsed() && verifyBlock(ref.blockId(), ref.uid())");
    CHeapChange change(*this);
    const CBlockCopy freed = checked(offset);
    CSpyJournal::keep(block(offset));
    CSpyJournal::isGivenUp(*this, offset + BlockHeader, freed.behind());
    block(offset).m_used.store(0);
    block(offset).m_uid.store(0);
    link(getPool(offset), freed);
    change.done();
}

/// Puts a free block into its place in a list and joins it with the neighbours that are in the same list.
void CSpyHeap::link(CHeapBlock& pool, const CBlockCopy& freed)
{
    CFreeList list(*this, pool);
    const auto [abovePlace, belowPlace] = list.around(freed.m_offset);
    const CBlockCopy &upper = abovePlace.m_found, &lower = belowPlace.m_found;
    CHeapBlock& stored = block(freed.m_offset);
    const bool joinsUpper = upper.m_offset != 0 && freed.behind() == upper.m_offset;
    if (joinsUpper) {
        swallow(upper);
        list.lost(upper.m_offset);
    }
    if (lower.m_offset != 0 && lower.behind() == freed.m_offset) {
        uint32_t joined = lower.m_size + freed.m_size + BlockHeader;
        if (joinsUpper) {
            joined += upper.m_size + BlockHeader;
            put(abovePlace.m_previous->m_next, lower.m_offset);
        }
        put(block(lower.m_offset).m_size, joined);
        list.has(lower.m_offset, joined);
    } else if (joinsUpper) {
        const uint32_t joined = freed.m_size + upper.m_size + BlockHeader;
        stored.m_next.store(upper.m_next);
        stored.m_size.store(joined);
        put(abovePlace.m_previous->m_next, freed.m_offset);
        list.has(freed.m_offset, joined);
    } else {
        stored.m_next.store(lower.m_offset);
        put(belowPlace.m_previous->m_next, freed.m_offset);
        list.has(freed.m_offset, freed.m_size);
    }
}

/// The header of a free block becomes part of another block, whose owner may write there.
void CSpyHeap::swallow(const CBlockCopy& found) const
{
    CSpyJournal::keep(block(found.m_offset));
}

CSpyMemRef CSpyHeap::realloc(CSpyMemRef& ref, unsigned int size)
{
    const CSpyUnit unit;
    return growInPlace(ref, size) ? ref : move(ref, size);
}

bool CSpyHeap::growInPlace(const CSpyMemRef& ref, unsigned int size)
{
    const CSpyUnit unit;
    if (size <= checked(ref.blockId()).m_size)
        return true;
    CHeapChange change(*this); // which may rebuild the lists: the blocks are looked at afterwards
    const bool grew = absorbNext(checked(ref.blockId()), size);
    change.done();
    return grew;
}

bool CSpyHeap::absorbNext(const CBlockCopy& grown, uint32_t size)
{
    if (grown.behind() >= m_size)
        return false;
    const CBlockCopy next = checked(grown.behind());
    const uint32_t need = size - grown.m_size;
    uint32_t taken = next.m_size + BlockHeader;
    if (next.isUsed() || need > taken)
        return false;
    // A block that starts in the last bytes of the lower half may be in either list.
    CFreeList large(*this, header()->m_largePool), small(*this, header()->m_smallPool);
    CHeapBlock* const inLarge = large.at(next.m_offset).m_previous;
    CFreeList& list = inLarge ? large : small;
    CHeapBlock* const prevFree = inLarge ? inLarge : small.at(next.m_offset).m_previous;
    GX_ASSERT(prevFree && prevFree->isFree(), "prevFree != 0 && prevFree->isFree()");
    swallow(next);
    isTaken(next);
    const bool leavesRest = taken - need >= SmallestRest;
    takeStart(list, *prevFree, next, need, leavesRest);
    if (leavesRest)
        taken = need + BlockHeader;
    // The size of the grown block is what takes the next one in: it is written in one piece.
    CHeapChange::step();
    put(block(grown.m_offset).m_size, grown.m_size + taken);
    return true;
}

CSpyMemRef CSpyHeap::move(const CSpyMemRef& ref, uint32_t size)
{
    CSpyMemRef moved = allocate(size, getTransactionId(m_id));
    const CBlockCopy old = checked(ref.blockId());
    CSpyHeap* const target = getHeap(moved.heapId());
    if (!target)
        throw CHeapCorrupted("!!Spy Heap corrupted!! A block lies in a heap that is not in use");
    // Blocks of a damaged heap may overlap, and a whole heap may hold less than it says.
    const uint32_t length = std::min({old.m_size, size, target->sizeAt(moved.blockId())});
    CSpyJournal::keep(target->block(moved.blockId()).payload(), length);
    std::memmove(target->block(moved.blockId()).payload(), block(old.m_offset).payload(), length);
    free(ref);
    return moved;
}

// After a death

void CSpyHeap::repair()
{
    CTracer::debugTrace("A process died while it changed spy heap %d: rebuilding the lists of free blocks",
                        static_cast<int>(m_id));
    m_index->drop();
    if (header()->m_largePool.m_used.load() == CHeapChange::Formatting) {
        format();
        return;
    }
    header()->m_largePool.m_next.store(0);
    header()->m_smallPool.m_next.store(0);
    CBlockCopy previous;
    for (uint32_t offset = FirstBlock; offset != m_size; offset = previous.behind())
        previous = relink(checked(offset), previous);
}

/// Puts a block that is free into its list, or joins it with the one before it; they come in ascending order.
/// @return the block that now ends where this one does
CSpyHeap::CBlockCopy CSpyHeap::relink(const CBlockCopy& found, const CBlockCopy& previous)
{
    CHeapBlock& stored = block(found.m_offset);
    CHeapBlock& pool = getPool(found.m_offset);
    stored.m_next.store(0);
    if (found.isUsed())
        return found;
    stored.m_uid.store(0);
    const uint32_t first = pool.m_next.load();
    if (previous.m_offset != 0 && first == previous.m_offset) {
        CBlockCopy joined = previous;
        joined.m_size += found.m_size + BlockHeader;
        block(joined.m_offset).m_size.store(joined.m_size);
        return joined;
    }
    stored.m_next.store(first);
    pool.m_next.store(found.m_offset);
    return found;
}

// The mutex

void CSpyHeap::lockFirst(int timeoutMs)
{
    CSpyMutex* mutex = m_pMutex.load(std::memory_order_acquire);
    GX_ASSERT(mutex, "m_pMutex != 0");
    const int limit = timeoutMs == 0 ? DefaultTimeoutMs : timeoutMs;
    if (take(*mutex, limit))
        return;
    mutex = renewed(*mutex);
    if (mutex && take(*mutex, limit))
        return;
    refuseAtEnd(limit); // which may be why it is gone
    throw CSpyHeapLockedException();
}

bool CSpyHeap::take(CSpyMutex& mutex, int timeoutMs)
try {
    refuseAtEnd(timeoutMs);
    mutex.acquire(timeoutMs);
    s_holder = pthread_self();
    if (s_isBeginningAnew || m_pMutex != &mutex) [[unlikely]] {
        s_holder = 0;
        mutex.release();
        return false;
    }
    m_lockDepth = 1;
    backOutAtEnd(mutex, timeoutMs);
    CSpyJournal::begin();
    backOutAtEnd(mutex, timeoutMs); // what a dead process has begun may not have been finished
    lookAgain();
    return true;
} catch (const CMutexTimeoutException&) {
    return false;
}

CSpyMutex* CSpyHeap::renewMutex()
{
    std::unique_ptr<CSpyMutex> made(CSpyMutex::create(HeapObjectName));
    if (made->isGone())
        return nullptr;
    s_gone.push_back(m_pMutex.load());
    m_pMutex.store(made.get(), std::memory_order_release);
    return made.release();
}

/// What other threads may be looking at stays attached.
/// @return null when the mutex is there and only busy, a thread of this process is still under it, or the
/// process ends
CSpyMutex* CSpyHeap::renewed(CSpyMutex& gone)
{
    if (!gone.isGone())
        return nullptr;
    const CSharedMemoryGuard guard;
    if (m_pMutex.load() == &gone) {
        const CBeginningAnew beginning; // before it is asked who holds it: who takes it from now on sees that
        if (s_holder != 0 || s_leaver != 0)
            return nullptr;
        CTracer::debugTrace("The lock of spy memory was removed: beginning anew");
        if (attached(0) && !attached(0)->m_pSharedMem->isRemoved())
            return renewMutex();
        for (auto& known : s_pSpyHeap)
            if (CSpyHeap* heap = known.exchange(nullptr))
                s_gone.push_back(heap);
        s_gone.push_back(&gone);
        makeBaseHeap(BaseHeapSize);
    }
    return m_pMutex.load();
}

/// While the process ends, other threads than the one that ends it find the mutex taken, as long as they
/// live.
void CSpyHeap::refuseAtEnd(int timeoutMs)
{
    if (s_leaver == 0) [[likely]]
        return;
    if (pthread_self() != s_leaver)
        poll(nullptr, 0, timeoutMs);
    throw CSpyHeapLockedException();
}

/// Before anything was done under the mutex.
void CSpyHeap::backOutAtEnd(CSpyMutex& mutex, int timeoutMs)
{
    if (s_leaver == 0) [[likely]]
        return;
    holdNothing();
    mutex.release();
    refuseAtEnd(timeoutMs);
}

void CSpyHeap::unlockLast()
{
    CSpyMutex* mutex = m_pMutex.load(std::memory_order_acquire);
    GX_ASSERT(mutex, "m_pMutex !=0");
    if (isHeldHere()) {
        CSpyJournal::end();
        if (!s_dropped.empty())
            deleteDropped();
        holdNothing();
    }
    mutex->release();
}

/// Also in a child made by fork, which has not got the mutex of its parent's thread.
void CSpyHeap::holdNothing()
{
    m_lockDepth = 0;
    s_holder = 0;
}

bool CSpyHeap::islocked()
{
    CSpyMutex* mutex = m_pMutex.load(std::memory_order_acquire);
    GX_ASSERT(mutex, "m_pMutex != 0");
    return mutex->isAcquired();
}

std::optional<CLockHolder> CSpyHeap::lockHolder()
{
    CSpyMutex* mutex = m_pMutex.load(std::memory_order_acquire);
    GX_ASSERT(mutex, "m_pMutex != 0");
    return mutex->holder();
}

// Global slots. A wrong id leaves the mutex taken: callers that catch the pointer release it.

bool CSpyHeap::registerGlobal(unsigned int id, CSpyMemRef& ref)
{
    lock(0);
    if (id >= GlobalSlots)
        throw new CInvalidGlobal(id);
    const bool isFree = !global(id);
    CSpyJournal::keep(header()->m_globals[id]);
    if (isFree)
        header()->m_globals[id].store(ref);
    unlock();
    return isFree;
}

CSpyMemRef CSpyHeap::unregisterGlobal(unsigned int id)
{
    lock(0);
    if (id >= GlobalSlots)
        throw new CInvalidGlobal(id);
    const CSpyMemRef ref = global(id);
    CSpyJournal::keep(header()->m_globals[id]);
    header()->m_globals[id].store(CSpyMemRef());
    unlock();
    return ref;
}

CSpyMemRef CSpyHeap::global(unsigned int id) const
{
    return header()->m_globals[id].load();
}

CSpyMemRef CSpyHeap::CStoredRef::load() const
{
    return CSpyMemRef::fromWords(m_blockId.load(), m_uid.load());
}

void CSpyHeap::CStoredRef::store(const CSpyMemRef& ref)
{
    m_blockId.store(ref.word());
    m_uid.store(ref.uid());
}
