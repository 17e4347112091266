#include "JournalSegment.h"

#include "CTracer.h"
#include "ErrorString.h"
#include "IpcStatus.h"
#include "NoticePage.h"
#include "SegmentSweep.h"
#include "SharedMemoryHeader.h"
#include "UnixSharedMemory.h"

#include <algorithm>
#include <cerrno>
#include <initializer_list>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>

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
    : m_heapId(static_cast<const CUnixSharedMemory&>(firstHeap).id())
{
    const key_t key =
        CSegmentSweep::journalKey(static_cast<const CUnixSharedMemory&>(firstHeap).attachedKey());
    // Whoever comes later finds the size that the first one got.
    for (const size_t size : {Largest, size_t{16} << 20, size_t{1} << 20})
        if (attach(key, size))
            return;
    CTracer::debugTrace("Changes of spy memory are not journalled: key = 0x%0x , %s",
                        static_cast<unsigned>(key), CErrorString(errno).text());
}

bool CJournalSegment::attach(int key, size_t size)
{
    const int id =
        shmget(key, size, (CSharedMemoryHeader::looksOnly() ? 0 : IPC_CREAT) | SHM_NORESERVE | IpcRights);
    const CSegmentStatus status(id);
    if (!status.mayBeOurs() || status.size() != size)
        return false;
    void* const address = shmat(id, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        if (status.attachments() == 0)
            shmctl(id, IPC_RMID, nullptr);
        return false;
    }
    m_id = id;
    m_size = size - sizeof(CNoticePage);
    m_area = static_cast<unsigned char*>(address);
    m_existed = status.attachments() != 0;
    CNoticePage::use(m_area + m_size, !m_existed);
    return true;
}

CJournalSegment::~CJournalSegment()
{
    if (!m_area)
        return;
    CNoticePage::leave();
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

void CJournalSegment::shrink(size_t kept) const
{
    madvise(m_area + kept, m_size - kept, MADV_REMOVE);
}
