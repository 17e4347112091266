#include "unix/sysv/SegmentSweep.h"

#include "include/SpyHeap.h"
#include "unix/process/ProcessEnd.h"
#include "unix/process/ProcessStat.h"
#include "unix/sysv/IpcStatus.h"
#include "unix/sysv/JournalSegment.h"
#include "unix/sysv/SharedMemory.h"
#include "unix/sysv/UnixSharedMemory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iterator>
#include <new>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

namespace {
std::array<std::atomic<key_t>, CSharedMemoryHeader::Names> s_baseHeaps; ///< 0: free
std::atomic<size_t> s_remembered = 0;
std::array<std::atomic<int>, size_t{2} * CSharedMemoryHeader::Names> s_sets; ///< 1 more than the id; 0: free
std::atomic<size_t> s_rememberedSets = 0;
bool s_isEnding = false;

bool isRemembered(key_t key)
{
    return key != 0 && std::find(s_baseHeaps.begin(), s_baseHeaps.end(), key) != s_baseHeaps.end();
}

bool isRememberedSet(int set)
{
    return set != -1 && std::find(s_sets.begin(), s_sets.end(), set + 1) != s_sets.end();
}

constinit ISegmentOwner* s_owner = nullptr;

template <class Visit> void forEachOwnHeap(Visit visit)
{
    for (HEAPID id = 0; id <= MaxHeap; ++id)
        if (const CUnixSharedMemory* segment = CSegmentSweep::ownSegment(id))
            visit(id, *segment);
}

/// Attachments of this process that end with it: all but those that it has given up.
long ownAttachments(key_t key)
{
    long own = 0;
    forEachOwnHeap([&](HEAPID, const CUnixSharedMemory& segment) {
        if (segment.attachedKey() == key && segment.base())
            own = 1;
    });
    return s_isEnding ? own : 0;
}

/// The segment at a key.
class CFound {
public:
    explicit CFound(key_t key) : CFound(key, shmget(key, 0, 0)) {}
    CFound(key_t key, int id) : m_key(key), m_id(id), m_status(id) {}

    bool isOrphanedHeap() const { return m_status.isDoomed() && isHeap(); }
    bool isThere() const { return m_status.isKnown(); }
    bool isUsed() const { return m_status.mayBeOurs() && !isUnattached(); }
    bool isUnattached() const { return m_status.attachments() <= ownAttachments(m_key); }
    bool isAbandoned(const char* signature) const
    {
        return m_status.attachments() == 0 && isSigned(signature);
    }
    bool isHeap() const { return isSigned(CSpyHeap::HeapObjectName); }
    /// Attached only by processes that use no heap 0 any more and are about to be over.
    bool isLeftJournal() const { return isUnattached() || isSigned(CJournalSegment::Signature); }
    /// Of a unit that a dead process has left.
    bool isFurtherJournal() const
    {
        return m_status.mayBeOurs() && isUnattached() &&
               look([](const char* base, size_t size) { return CJournalSegment::isFurther(base, size); });
    }
    /// Whether the record of the semaphore list lies in it (see CSemaphoreList::CRecord).
    bool namesList(key_t key, int set) const
    {
        const int32_t start[] = {key, set};
        return look([&](const char* base, size_t size) {
            return memmem(base, size, start, sizeof start) != nullptr;
        });
    }
    void remove() const
    {
        if (m_status.mayBeOurs())
            shmctl(m_id, IPC_RMID, nullptr);
    }

private:
    bool isSigned(const char* signature) const
    {
        const size_t length = std::strlen(signature) + 1;
        return m_status.mayBeOurs() && m_status.size() >= length &&
               look([&](const char* base, size_t) { return std::memcmp(base, signature, length) == 0; });
    }
    template <class Look> bool look(Look look) const
    {
        const void* base = shmat(m_id, nullptr, SHM_RDONLY);
        if (base == reinterpret_cast<void*>(-1))
            return false;
        const bool answer = look(static_cast<const char*>(base), m_status.size());
        shmdt(base);
        return answer;
    }

    key_t m_key;
    int m_id;
    CSegmentStatus m_status;
};

/// A process whose end nobody has taken note of is over, too.
bool isRunning(pid_t process)
{
    if (kill(process, 0) != 0 && errno == ESRCH)
        return false;
    const std::optional<CProcessStat> stat = CProcessStat::of(process);
    return !stat || !stat->isZombie();
}

bool isUsedByOthers(int set)
{
    const pid_t latest = semctl(set, 0, GETPID);
    return latest > 0 && latest != getpid() && isRunning(latest);
}
} // namespace

bool CSegmentSweep::setOwner(ISegmentOwner& owner)
{
    s_owner = &owner;
    return true;
}

const CUnixSharedMemory* CSegmentSweep::ownSegment(unsigned int block)
{
    return s_owner ? static_cast<const CUnixSharedMemory*>(s_owner->attached(block)) : nullptr;
}

void CSegmentSweep::rememberBaseHeap(key_t key)
{
    if (!isRemembered(key))
        s_baseHeaps[s_remembered++ % s_baseHeaps.size()] = key;
}

void CSegmentSweep::rememberSet(int set)
{
    if (set != -1 && !isRememberedSet(set))
        s_sets[s_rememberedSets++ % s_sets.size()] = set + 1;
}

bool CSegmentSweep::runAtExit()
{
    static const bool isRegistered = atProcessEnd<sweep>();
    return isRegistered;
}

CSegmentSweep::CStore CSegmentSweep::storeOf(const CSharedMemoryHeader& directory, uint32_t name)
{
    CStore store;
    const uint32_t nextKey = directory.m_layout.m_nextKey.load();
    for (const auto& entry : directory.m_layout.m_keys) {
        const uint32_t key = entry.m_key.load();
        if (entry.m_nameIndex.load() != name || !CSharedMemoryHeader::isPlausible(key, nextKey))
            continue;
        store.m_heaps.push_back(static_cast<key_t>(key));
        if (entry.m_blockIndex.load() == 0 && store.m_base == 0)
            store.m_base = static_cast<key_t>(key);
    }
    return store;
}

CSegmentSweep::CStore CSegmentSweep::ownStore()
{
    CStore store;
    forEachOwnHeap([&](HEAPID id, const CUnixSharedMemory& segment) {
        store.m_heaps.push_back(segment.attachedKey());
        if (id == 0)
            store.m_base = segment.attachedKey();
    });
    return store;
}

void CSegmentSweep::removeUnused(const CSharedMemoryHeader& directory) noexcept
try {
    for (uint32_t name = 0; name < CSharedMemoryHeader::Names; ++name)
        removeIfUnused(&directory, storeOf(directory, name));
    removeNameless(directory);
} catch (const std::bad_alloc&) {
    // What is left is removed by whoever comes next.
}

/// Heaps of displays that the table of names has no room for, or that of keys: whoever made one has it
/// attached as long as he lives.
void CSegmentSweep::removeNameless(const CSharedMemoryHeader& directory)
{
    for (const int id : CSegmentStatus::ids()) {
        const CSegmentStatus status(id);
        if (!CSharedMemoryHeader::isPlausible(static_cast<uint32_t>(status.key()),
                                              directory.m_layout.m_nextKey))
            continue;
        const CSharedMemoryHeader::CEntry* entry = entryOf(directory, status.key());
        if (!entry || entry->m_nameIndex.load() >= CSharedMemoryHeader::Names)
            removeIfUnused(&directory, {status.key(), {status.key()}});
    }
}

const CSharedMemoryHeader::CEntry* CSegmentSweep::entryOf(const CSharedMemoryHeader& directory, key_t key)
{
    const auto& entries = directory.m_layout.m_keys;
    const auto* found = std::find_if(std::begin(entries), std::end(entries), [&](const auto& entry) {
        return entry.m_key.load() == static_cast<uint32_t>(key);
    });
    return found == std::end(entries) ? nullptr : found;
}

bool CSegmentSweep::isBaseInUse(const CSharedMemoryHeader* directory, key_t key)
{
    const CSharedMemoryHeader::CEntry* entry = directory ? entryOf(*directory, key) : nullptr;
    return key != CSharedMemoryHeader::s_headerKey && (!entry || entry->m_blockIndex.load() == 0) &&
           CFound(key).isUsed();
}

/// What is attached of a display that is not in use is so by processes that are about to end. The first heap
/// goes last: whoever dies in between leaves the evidence of what is to be removed.
void CSegmentSweep::removeIfUnused(const CSharedMemoryHeader* directory, const CStore& store)
{
    const CFound base(store.m_base);
    if (base.isUsed())
        return;
    const bool hasGone = !base.isThere() && isRemembered(store.m_base);
    const bool isKnown = hasGone || base.isHeap();
    const int list = semget(store.m_base, 0, 0);
    bool isListNamed = hasGone || isRememberedSet(list);
    std::vector<CFound> unused;
    for (const key_t key : store.m_heaps)
        if (const CFound heap(key); heap.isHeap() && (isKnown || heap.isUnattached())) {
            isListNamed = isListNamed || (list != -1 && heap.namesList(store.m_base, list));
            unused.push_back(heap);
        }
    if (isKnown) {
        removeJournal(store.m_base);
        removeSets(directory, store.m_base, isListNamed, false);
    }
    std::for_each(unused.rbegin(), unused.rend(), [](const CFound& heap) { heap.remove(); });
}

void CSegmentSweep::removeJournal(key_t base)
{
    if (const CFound journal(journalKey(base)); journal.isLeftJournal())
        journal.remove();
    for (int number = 1; number < static_cast<int>(CJournalSegment::Largest / CJournalSegment::Smallest);
         ++number)
        if (const CFound further(journalKey(base, number)); further.isFurtherJournal())
            further.remove();
}

/// Keys of displays follow each other: the list of one may be the lock of the next. A set that is too small for
/// a list is the lock, whoever uses the heap with that key.
/// @param isLockOurs  whoever was the last to use it
void CSegmentSweep::removeSets(const CSharedMemoryHeader* directory, key_t base, bool isListNamed,
                               bool isLockOurs)
{
    for (const key_t key : {base, base - 1}) {
        const int set = semget(key, 0, 0);
        const CSemaphoreStatus status(set);
        const bool mayBeList = status.isOurs(CSemaphoreStatus::ListSize), isAtBase = key == base;
        if (!status.isOurs(CSemaphoreStatus::LockSize) ||
            ((isAtBase || mayBeList) && isBaseInUse(directory, isAtBase ? base + 1 : key)))
            continue;
        if (isAtBase && mayBeList ? isListNamed : isLockOurs || isRememberedSet(set) || !isUsedByOthers(set))
            semctl(set, 0, IPC_RMID);
    }
}

bool CSegmentSweep::removeAbandoned(key_t key, const char* signature) noexcept
{
    const CFound found(key);
    const bool isInTheWay = !CSharedMemoryHeader::looksOnly() && found.isAbandoned(signature);
    if (isInTheWay)
        found.remove();
    return isInTheWay;
}

void CSegmentSweep::removeOrphanedSets(const CSharedMemoryHeader& directory, key_t base) noexcept
try {
    const int list = semget(base, 0, 0);
    bool isOrphaned = false, isListNamed = false;
    for (const int id : CSegmentStatus::ids())
        if (const CFound heap(-1, id); heap.isOrphanedHeap()) {
            isOrphaned = true;
            isListNamed = isListNamed || (list != -1 && heap.namesList(base, list));
        }
    if (isOrphaned)
        removeSets(&directory, base, isListNamed, true);
} catch (const std::bad_alloc&) {
    // They are shared with those that have no other store.
}

void CSegmentSweep::sweep() noexcept
try {
    if (s_owner)
        s_owner->stopThreads();
    const CSharedMemoryGuard guard;
    const CSharedMemoryHeader* directory = CSharedMemoryHeader::attached();
    const CStore own = ownStore();
    s_isEnding = true;
    if (s_owner)
        s_owner->leave([](CSharedMemory& segment) { static_cast<CUnixSharedMemory&>(segment).leave(); });
    // What has taken the place of a directory that was removed knows nothing of these keys.
    const bool isCurrent = directory && !CSharedMemoryHeader::isRemoved();
    if (isCurrent && !CSharedMemoryHeader::looksOnly())
        removeUnused(*directory);
    else if (own.m_base != 0)
        removeIfUnused(isCurrent ? directory : nullptr, own);
    CSharedMemoryHeader::leave();
} catch (...) {
    // An exit handler lets nothing out.
}
