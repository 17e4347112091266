#include "SegmentSweep.h"

#include "ProcessEnd.h"
#include "SharedMemory.h"
#include "SpyHeap.h"

#include <cstring>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {
/// Processes that have the segment attached; -1 when there is none.
long attachmentsOf(int id)
{
    shmid_ds status;
    return id != -1 && shmctl(id, IPC_STAT, &status) == 0 ? static_cast<long>(status.shm_nattch) : -1;
}

bool isHeap(int id)
{
    const void* base = shmat(id, nullptr, SHM_RDONLY);
    if (base == reinterpret_cast<void*>(-1))
        return false;
    const bool signedAsHeap = std::strcmp(static_cast<const char*>(base), CSpyHeap::HeapObjectName) == 0;
    shmdt(base);
    return signedAsHeap;
}

void removeSegment(key_t key)
{
    const int id = shmget(key, sizeof CSpyHeap::HeapObjectName, 0);
    // With the directory nobody else's, an attachment can only be this process's own.
    if (const long attachments = attachmentsOf(id); (attachments == 0 || attachments == 1) && isHeap(id))
        shmctl(id, IPC_RMID, nullptr);
}

void removeSemaphores(key_t key)
{
    if (const int id = semget(key, 0, 0); id != -1)
        semctl(id, 0, IPC_RMID);
}
} // namespace

void CSegmentSweep::runAtExit()
{
    static const int registered = atProcessEnd<sweep>();
    static_cast<void>(registered);
}

void CSegmentSweep::removeListed(const CSharedMemoryHeader& directory)
{
    for (const auto& entry : directory.m_layout.m_keys)
        if (entry.m_key > static_cast<uint32_t>(CSharedMemoryHeader::s_headerKey) &&
            entry.m_key < directory.m_layout.m_nextKey && entry.m_nameIndex < CSharedMemoryHeader::Names)
            removeEntry(entry);
}

void CSegmentSweep::removeEntry(const CSharedMemoryHeader::CEntry& entry)
{
    const auto key = static_cast<key_t>(entry.m_key);
    removeSegment(key);
    if (entry.m_blockIndex == 0) {
        removeSemaphores(key);     // the semaphore list
        removeSemaphores(key - 1); // the heap mutex
    }
}

void CSegmentSweep::sweep() noexcept
try {
    const CSharedMemoryGuard guard;
    const CSharedMemoryHeader* header = CSharedMemoryHeader::attached();
    const int directory = shmget(CSharedMemoryHeader::s_headerKey, 0, 0);
    if (!header || attachmentsOf(directory) != 1)
        return;
    removeListed(*header);
    shmctl(directory, IPC_RMID, nullptr);
} catch (...) {
    // An exit handler lets nothing out.
}
