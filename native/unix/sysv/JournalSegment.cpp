#include "unix/sysv/JournalSegment.h"

#include "common/trace/CTracer.h"
#include "common/trace/ErrorString.h"
#include "unix/sysv/IpcStatus.h"
#include "unix/sysv/NoticePage.h"
#include "unix/sysv/SegmentSweep.h"
#include "unix/sysv/SharedMemoryHeader.h"
#include "unix/sysv/UnixSharedMemory.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>

namespace {
/// @return -1 for none, and for one that is somebody else's
int idOf(key_t key, size_t size)
{
    const int mode = CSharedMemoryHeader::looksOnly() ? 0 : IPC_CREAT;
    const int id = shmget(key, size, mode | SHM_NORESERVE | IpcRights);
    const CSegmentStatus status(id);
    return status.mayBeOurs() && status.size() == size ? id : -1;
}

/// @return null when the system refuses
unsigned char* attached(int id)
{
    void* const address = id == -1 ? reinterpret_cast<void*>(-1) : shmat(id, nullptr, 0);
    return address == reinterpret_cast<void*>(-1) ? nullptr : static_cast<unsigned char*>(address);
}
} // namespace

CAttachments::CAttachments(int segment)
{
    shmid_ds status;
    if (segment == -1 || shmctl(segment, IPC_STAT, &status) == -1)
        return;
    m_count = status.shm_nattch;
    m_latest = status.shm_lpid;
    m_cameAt = status.shm_atime;
    m_wentAt = status.shm_dtime;
}

CJournalSegment::CJournalSegment(const CSharedMemory& firstHeap)
    : m_key(static_cast<const CUnixSharedMemory&>(firstHeap).attachedKey()),
      m_heapId(static_cast<const CUnixSharedMemory&>(firstHeap).id())
{
    const key_t key = CSegmentSweep::journalKey(m_key);
    // Whoever comes later finds the size that the first one got.
    for (const size_t size : {Largest, size_t{16} << 20, Smallest})
        if (attach(key, size))
            return;
    CTracer::debugTrace("Changes of spy memory are not journalled: key = 0x%0x , %s",
                        static_cast<unsigned>(key), CErrorString(errno).text());
}

bool CJournalSegment::attach(int key, size_t size)
{
    const int id = idOf(key, size);
    const CSegmentStatus status(id);
    unsigned char* const area = attached(id);
    if (!area) {
        if (status.attachments() == 0)
            shmctl(id, IPC_RMID, nullptr);
        return false;
    }
    m_id = id;
    m_size = size - sizeof(CNoticePage);
    m_area = area;
    m_existed = status.attachments() != 0;
    CNoticePage::use(m_area + m_size, !m_existed);
    return true;
}

CJournalSegment::~CJournalSegment()
{
    if (!m_area)
        return;
    CNoticePage::leave();
    forgetFurther();
    shmdt(m_area);
    if (CSegmentStatus(m_id).attachments() == 0)
        shmctl(m_id, IPC_RMID, nullptr);
}

/// A process that comes or goes has one of the two attached for a moment: for the next two seconds the
/// journal is looked at as well.
bool CJournalSegment::isWithAllAsBefore()
{
    constexpr time_t Settled = 2;
    const CAttachments heap(m_heapId);
    const bool isAsBefore = heap == m_seen;
    if (!isAsBefore || time(nullptr) <= std::max(heap.m_cameAt, heap.m_wentAt) + Settled)
        m_hasAll = heap.m_count != 0 && CAttachments(m_id).m_count == heap.m_count;
    m_seen = heap;
    return isAsBefore && m_hasAll;
}

bool CJournalSegment::isFurther(const void* start, size_t size)
{
    constexpr char None[sizeof Signature] = {}; // its maker died before it was signed
    return (size == Smallest || size == size_t{16} << 20) &&
           (std::memcmp(start, Signature, sizeof None) == 0 || std::memcmp(start, None, sizeof None) == 0);
}

bool CJournalSegment::extend()
{
    const size_t whole = m_size + sizeof(CNoticePage);
    if ((count() + 1) * whole > Largest)
        return false;
    const int id = idOf(CSegmentSweep::journalKey(m_key, static_cast<int>(count())), whole);
    unsigned char* const area = attached(id);
    if (!area || !isFurther(area, whole)) {
        if (area)
            shmdt(area);
        return false;
    }
    std::memcpy(area, Signature, sizeof Signature);
    m_further[m_count++] = {id, area};
    return true;
}

void CJournalSegment::forgetFurther()
{
    while (m_count != 0)
        shmdt(m_further[--m_count].m_area);
}

void CJournalSegment::shrink(size_t kept)
{
    for (size_t number = 0; number < m_count; ++number)
        shmctl(m_further[number].m_id, IPC_RMID, nullptr);
    forgetFurther();
    if (kept < m_size)
        madvise(m_area + kept, m_size - kept, MADV_REMOVE);
}
