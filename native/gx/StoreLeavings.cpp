#include "gx/StoreLeavings.h"

#include "include/SpyHeap.h"
#include "unix/process/ProcessStat.h"
#include "unix/sysv/IpcStatus.h"
#include "unix/sysv/SegmentSweep.h"
#include "unix/sysv/SharedMemory.h"
#include "unix/sysv/SharedMemoryHeader.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <optional>
#include <pwd.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

namespace {
/// A segment as this process may read it, for a scope.
class CLook {
public:
    explicit CLook(int id) : m_base(id == -1 ? none() : shmat(id, nullptr, SHM_RDONLY)) {}
    ~CLook()
    {
        if (m_base != none())
            shmdt(m_base);
    }
    CLook(const CLook&) = delete;
    CLook& operator=(const CLook&) = delete;
    const void* base() const { return m_base == none() ? nullptr : m_base; }

private:
    static void* none() { return reinterpret_cast<void*>(-1); }
    void* m_base;
};

struct CSegment {
    int id;
    shmid_ds status;

    key_t key() const { return status.shm_perm.__key; }
    bool isUnattached() const { return status.shm_nattch == 0; }
    bool hasOurRights() const
    {
        return (status.shm_perm.mode & 0777) == IpcRights && !(status.shm_perm.mode & SHM_DEST);
    }
};

std::vector<CSegment> segments()
{
    std::vector<CSegment> found;
    shmid_ds status;
    const int last = shmctl(0, SHM_INFO, &status);
    for (int index = 0; index <= last; ++index)
        if (const int id = shmctl(index, SHM_STAT, &status); id != -1)
            found.push_back({id, status});
    return found;
}

const CSegment* at(key_t key, const std::vector<CSegment>& all)
{
    const auto found = std::ranges::find_if(
        all, [&](const CSegment& each) { return each.key() == key && each.hasOurRights(); });
    return found == all.end() ? nullptr : &*found;
}

const CSegment* directoryIn(const std::vector<CSegment>& all)
{
    const CSegment* const found = at(CSharedMemoryHeader::s_headerKey, all);
    return found && found->status.shm_segsz == sizeof(CSharedMemoryHeader) ? found : nullptr;
}

bool isHeap(const CSegment& segment)
{
    constexpr size_t length = sizeof CSpyHeap::HeapObjectName;
    if (!segment.hasOurRights() || segment.status.shm_segsz < length)
        return false;
    const CLook look(segment.id);
    return look.base() && std::memcmp(look.base(), CSpyHeap::HeapObjectName, length) == 0;
}

struct CPlaceInDirectory {
    std::string display;
    bool isFirst; ///< the first heap of its display
};

/// By key. Anybody may have written it.
std::map<key_t, CPlaceInDirectory> entriesOf(const CSegment* directory)
{
    std::map<key_t, CPlaceInDirectory> entries;
    const CLook look(directory ? directory->id : -1);
    const auto* const layout = static_cast<const CSharedMemoryHeader::CLayout*>(look.base());
    if (!layout)
        return entries;
    for (const auto& entry : layout->m_keys) {
        const uint32_t key = entry.m_key.load(), name = entry.m_nameIndex.load();
        if (key == CSharedMemoryHeader::NotFound || key <= CSharedMemoryHeader::s_headerKey ||
            name >= CSharedMemoryHeader::Names)
            continue;
        const char* const display = layout->m_names[name];
        entries[static_cast<key_t>(key)] = {std::string(display, strnlen(display, sizeof layout->m_names[0])),
                                            entry.m_blockIndex.load() == 0};
    }
    return entries;
}

std::optional<key_t> firstHeapOf(const std::string& display, const std::vector<CSegment>& all)
{
    for (const auto& [key, place] : entriesOf(directoryIn(all)))
        if (place.isFirst && place.display == display)
            return key;
    return std::nullopt;
}

bool lives(pid_t process)
{
    if (kill(process, 0) != 0 && errno == ESRCH)
        return false;
    const auto stat = CProcessStat::of(process);
    return !stat || !stat->isZombie();
}

std::string whyNotOurs(const ipc_perm& rights)
{
    const uid_t self = geteuid();
    return rights.cuid == self && rights.uid == self
               ? ""
               : "it is " + StoreLeavings::nameOfUser(rights.cuid) + "'s";
}

std::string whyStays(const ipc_perm& rights, pid_t process)
{
    if (std::string why = whyNotOurs(rights); !why.empty())
        return why;
    if (process <= 0)
        return "the process that has made it cannot be seen from here";
    return lives(process) ? "process " + std::to_string(process) + ", which has made it, lives" : "";
}

CLeaving leavingOf(CLeaving::Kind kind, const CSegment& segment, const std::string& display)
{
    const auto process = segment.status.shm_cpid;
    return {kind,       segment.key(),
            segment.id, segment.status.shm_segsz,
            display,    segment.status.shm_perm.cuid,
            process,    whyStays(segment.status.shm_perm, process)};
}

/// The last that used one of the semaphores: a living one if there is any, else one that cannot be seen (0)
/// and has left a value in it.
pid_t userOf(int set, int size)
{
    pid_t user = 0;
    bool isUnseen = false;
    for (int index = 0; index < size; ++index) {
        const pid_t process = semctl(set, index, GETPID);
        if (process > 0 && lives(process))
            return process;
        isUnseen = isUnseen || (process == 0 && semctl(set, index, GETVAL) > 0);
        user = std::max(user, process);
    }
    return isUnseen ? 0 : user;
}

/// The set at a key, if it is like ours and goes with a store that nobody uses.
void addSet(std::vector<CLeaving>& found, key_t key, const CLeaving& base)
{
    const int id = semget(key, 0, 0);
    semid_ds status;
    CSemaphoreArgument argument;
    argument.buf = &status;
    if (!CSemaphoreStatus(id).isOurs(CSemaphoreStatus::LockSize) || semctl(id, 0, IPC_STAT, argument) == -1)
        return;
    const auto size = static_cast<int>(status.sem_nsems);
    const pid_t user = userOf(id, size);
    std::string stays = base.whyStays.empty() ? whyStays(status.sem_perm, user) : base.whyStays;
    found.push_back({CLeaving::Semaphores, key, id, static_cast<size_t>(size), base.display,
                     status.sem_perm.cuid, user, stays});
}

/// What goes with the first heap of a display, and then that heap: whoever dies in between leaves the
/// evidence.
void addFirstHeap(std::vector<CLeaving>& found, const CLeaving& base, const std::vector<CSegment>& all)
{
    if (const CSegment* const journal = at(CSegmentSweep::journalKey(base.key), all);
        journal && journal->isUnattached())
        found.push_back(leavingOf(CLeaving::Journal, *journal, base.display));
    // Keys of displays follow each other: the list of one may be the lock of the next.
    const CSegment* const next = at(base.key + 1, all);
    if (!next || next->isUnattached() || !isHeap(*next))
        addSet(found, base.key, base);
    const CSegment* const before = at(base.key - 1, all);
    if (!before || before->isUnattached() || !isHeap(*before))
        addSet(found, base.key - 1, base);
    found.push_back(base);
}

void addDirectory(std::vector<CLeaving>& found, const CSegment& directory)
{
    CLeaving leaving = leavingOf(CLeaving::Directory, directory, "");
    const bool othersStay =
        std::ranges::any_of(found, [](const CLeaving& each) { return !each.whyStays.empty(); });
    if (othersStay && leaving.whyStays.empty())
        leaving.whyStays = "it leads to what stays";
    found.push_back(leaving);
}

bool removed(const CLeaving& leaving)
{
    if (leaving.kind == CLeaving::Semaphores)
        return semctl(leaving.id, 0, IPC_RMID) == 0;
    shmid_ds status;
    return shmctl(leaving.id, IPC_STAT, &status) == 0 && status.shm_nattch == 0 &&
           shmctl(leaving.id, IPC_RMID, nullptr) == 0;
}
} // namespace

const char* CLeaving::what() const
{
    switch (kind) {
    case Directory:
        return "directory";
    case Heap:
        return "heap";
    case Journal:
        return "journal";
    default:
        return "semaphores";
    }
}

std::string StoreLeavings::nameOfUser(uid_t user)
{
    const passwd* const known = getpwuid(user);
    return known ? known->pw_name : "user " + std::to_string(user);
}

std::vector<CLeaving> StoreLeavings::find()
{
    const std::vector<CSegment> all = segments();
    const CSegment* const directory = directoryIn(all);
    const auto entries = entriesOf(directory);
    std::vector<CLeaving> found, first;
    for (const CSegment& segment : all) {
        if (!segment.isUnattached() || !isHeap(segment))
            continue;
        const auto entry = entries.find(segment.key());
        const bool isKnown = entry != entries.end();
        const CLeaving heap = leavingOf(CLeaving::Heap, segment, isKnown ? entry->second.display : "");
        (!isKnown || entry->second.isFirst ? first : found).push_back(heap);
    }
    for (const CLeaving& base : first)
        addFirstHeap(found, base, all);
    if (directory && directory->isUnattached())
        addDirectory(found, *directory);
    return found;
}

std::vector<CLeaving> StoreLeavings::sweep()
{
    const CSharedMemoryGuard guard; // nobody makes a store meanwhile
    std::vector<CLeaving> all = find();
    std::erase_if(all, [](const CLeaving& each) { return !each.whyStays.empty() || !removed(each); });
    return all;
}

bool StoreLeavings::isInUse(const char* display)
{
    const std::vector<CSegment> all = segments();
    const auto key = firstHeapOf(display, all);
    const CSegment* const heap = key ? at(*key, all) : nullptr;
    return heap && !heap->isUnattached() && isHeap(*heap);
}

int StoreLeavings::makerOf(const char* display)
{
    const std::vector<CSegment> all = segments();
    const auto key = firstHeapOf(display, all);
    const CSegment* const heap = key ? at(*key, all) : nullptr;
    return heap ? static_cast<int>(heap->status.shm_perm.cuid) : -1;
}
