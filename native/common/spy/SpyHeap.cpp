#include "include/SpyHeap.h"

#include "common/spy/SpyFreeIndex.h"
#include "common/spy/SpyHeapBlocks.h"
#include "common/spy/SpyHeapChange.h"
#include "common/spy/SpyHeapWalk.h"
#include "common/spy/SpyJournal.h"
#include "common/spy/SpyMemRef.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "include/NeverDestroyed.h"
#include "unix/sysv/SegmentSweep.h"
#include "unix/sysv/SharedMemory.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

namespace {
constexpr uint32_t BaseHeapSize = 0x100000;
constexpr uint32_t SmallestBlock = 32;
constexpr HEAPID LastKeptHeap = 2; ///< heaps up to here stay attached when they are dropped

constexpr uint32_t largestBlockOf(uint32_t heapSize)
{
    return heapSize - CSpyHeap::FirstBlock - CSpyHeap::BlockHeader;
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

/// Tells the segments which heaps this process has attached, and gives those up at the end.
class CHeaps final : public ISegmentOwner {
public:
    CSharedMemory* attached(unsigned int block) const override
    {
        const CSpyHeap* heap = CSpyHeap::attached(block);
        return heap ? heap->sharedMemory() : nullptr;
    }
    void stopThreads() override { CSpyHeapMutex::stopThreads(); }
    void leave(void (*giveUp)(CSharedMemory&)) override { CSpyHeap::leave(giveUp); }
};
constinit CHeaps s_heaps;

/// Out of the table and not yet deleted. Under the mutex.
CNeverDestroyed<std::vector<CSpyHeap*>> s_droppedHeaps;
/// Of stores that were removed: other threads may still look at them. Under the guard.
CNeverDestroyed<std::vector<const CSpyHeap*>> s_goneHeaps;
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
    if (!pHeap || !CSpyHeapMutex::isThere()) {
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
    GX_ASSERT(!CSpyHeapMutex::isThere(), "m_pMutex == 0");
    return makeBaseHeap(size);
}

CSpyHeap* CSpyHeap::makeBaseHeap(unsigned int size)
{
    // Under the guard, since the mutex that guards everything else only comes after the heap.
    const CSharedMemoryGuard guard;
    auto base = std::unique_ptr<CSpyHeap>(new CSpyHeap(size, 0));
    if (!base->m_pSharedMem->existed())
        std::fill_n(base->m_area, FirstBlock, 0);
    base->startUsing();
    CSpyJournal::attach(*base->m_pSharedMem);
    CSpyHeapMutex::make();
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
        CSpyHeapMutex::drop(deleteOthers);
    CSpyHeap* itself = this;
    s_pSpyHeap[m_id].compare_exchange_strong(itself, nullptr);
    if (m_id != 0)
        return;
    const CSharedMemoryGuard guard;
    CSpyJournal::detach();
    m_pSharedMem.reset();
}

void CSpyHeap::deleteOthers()
{
    for (HEAPID id = 1; id <= MaxHeap; ++id)
        delete s_pSpyHeap[id].load();
    deleteDropped();
}

bool CSpyHeap::isStoreThere()
{
    const CSpyHeap* base = attached(0);
    return base && !base->m_pSharedMem->isRemoved();
}

void CSpyHeap::beginAnew()
{
    for (auto& known : s_pSpyHeap)
        if (CSpyHeap* heap = known.exchange(nullptr))
            s_goneHeaps->push_back(heap);
    makeBaseHeap(BaseHeapSize);
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
    std::optional<CSpyHeapLock> lock;
    if (m_id != 0)
        lock.emplace();
    CSpyHeapBlocks blocks(*this);
    blocks.revokeStamps();
    blocks.format();
    setInUse(true);
}

/// Changes the table of heaps. Only the changes of other processes are a reason to look at it again.
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
    // A heap that this unit has dropped would be emptied at its end, and the new one may get its id.
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
    // Others may still have it attached, with the blocks of a process that died before it emptied it.
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
        CSpyJournal::store(header()->m_overflowHeap, heap->m_id);
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
    s_droppedHeaps->push_back(this);
}

/// Under the mutex, since the last one to detach a segment removes it, which others must not just be
/// attaching.
void CSpyHeap::deleteDropped()
{
    if (s_droppedHeaps->empty() || s_readers != 0)
        return;
    for (const CSpyHeap* heap : *s_droppedHeaps)
        delete heap;
    s_droppedHeaps->clear();
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
            CSpyJournal::store(heap->header()->m_overflowHeap, 0U);
    }
}

/// Gives the id back; the heap is emptied when that can no longer be undone.
void CSpyHeap::drop()
{
    if (const HEAPID overflow = header()->m_overflowHeap.load(); overflow != 0 && overflow <= MaxHeap) {
        if (!s_pSpyHeap[overflow].load())
            CTracer::debugTrace("SpyHeap::free spyheap array pointing to null for overflow heap");
        // Unchained first, so that a chain which was damaged into a ring ends.
        CSpyJournal::store(header()->m_overflowHeap, 0U);
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
    CSpyJournal::store(m_transactions[id], transactionId);
    CSpyJournal::store(m_changeCount, m_changeCount.load() + 1);
    return id;
}

void CSpyHeap::CHeapHeader::clearId(HEAPID id)
{
    if (id == 0)
        return;
    CSpyJournal::store(m_transactions[id], 0U);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    CSpyJournal::keep(m_usedIds[id >> 3]);
    m_usedIds[id >> 3].fetch_and(static_cast<uint8_t>(~(1U << (id & 7))), std::memory_order_relaxed);
    CSpyJournal::store(m_changeCount, m_changeCount.load() + 1);
}

// Blocks

void CSpyHeap::CHeapBlock::store(const CBlockCopy& numbers)
{
    m_size.store(numbers.m_size);
    m_used.store(numbers.m_used);
    m_uid.store(numbers.m_uid);
    m_next.store(numbers.m_next);
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
        const CSpyMemRef ref = CSpyHeapBlocks(*this).take(size);
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

bool CSpyHeap::isEmpty()
{
    const CSpyUnit unit;
    CHeapChange(*this).done(); // lists that a dead process left half-changed are rebuilt before they are read
    return CSpyHeapBlocks(*this).areAllFree();
}

CSpyMemRef CSpyHeap::allocateEntireHeap()
{
    const CSpyUnit unit;
    CHeapChange change(*this);
    const CSpyMemRef ref = CSpyHeapBlocks(*this).takeAll();
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
    const bool valid = verifyBlock(offset, ref.uid()) && CSpyHeapWalk(*this).checked(offset).isUsed();
    GX_ASSERT(valid, "pBlock->isUsed() && verifyBlock(ref.blockId(), ref.uid())");
    CHeapChange change(*this);
    CSpyHeapBlocks(*this).free(offset);
    change.done();
}

CSpyMemRef CSpyHeap::realloc(CSpyMemRef& ref, unsigned int size)
{
    const CSpyUnit unit;
    return growInPlace(ref, size) ? ref : move(ref, size);
}

bool CSpyHeap::growInPlace(const CSpyMemRef& ref, unsigned int size)
{
    const CSpyUnit unit;
    if (size <= CSpyHeapWalk(*this).checked(ref.blockId()).m_size)
        return true;
    CHeapChange change(*this); // which may rebuild the lists: the blocks are looked at afterwards
    const bool grew = CSpyHeapBlocks(*this).grow(ref.blockId(), size);
    change.done();
    return grew;
}

CSpyMemRef CSpyHeap::move(const CSpyMemRef& ref, uint32_t size)
{
    CSpyMemRef moved = allocate(size, getTransactionId(m_id));
    const CBlockCopy old = CSpyHeapWalk(*this).checked(ref.blockId());
    CSpyHeap* const target = getHeap(moved.heapId());
    if (!target)
        throw CHeapCorrupted("!!Spy Heap corrupted!! A block lies in a heap that is not in use");
    // Blocks of a damaged heap may overlap, and a whole heap may hold less than it says.
    const uint32_t length = std::min({old.m_size, size, target->sizeAt(moved.blockId())});
    CSpyJournal::keep(target->blockAt(moved.blockId())->payload(), length);
    std::memmove(target->blockAt(moved.blockId())->payload(), blockAt(old.m_offset)->payload(), length);
    free(ref);
    return moved;
}

// Global slots

CSpyHeap::CStoredRef& CSpyHeap::changedSlot(unsigned int id, CSpyHeapLock& lock)
{
    if (id >= GlobalSlots) {
        lock.leaveTaken(); // callers that catch the pointer release it
        throw new CInvalidGlobal(id);
    }
    CSpyJournal::keep(header()->m_globals[id]);
    return header()->m_globals[id];
}

bool CSpyHeap::registerGlobal(unsigned int id, CSpyMemRef& ref)
{
    CSpyHeapLock lock;
    CStoredRef& slot = changedSlot(id, lock);
    const bool isFree = !slot.load();
    if (isFree)
        slot.store(ref);
    return isFree;
}

CSpyMemRef CSpyHeap::unregisterGlobal(unsigned int id)
{
    CSpyHeapLock lock;
    CStoredRef& slot = changedSlot(id, lock);
    const CSpyMemRef ref = slot.load();
    slot.store(CSpyMemRef());
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
