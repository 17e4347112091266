#include "SegmentSweep.h"

#include "SharedMemory.h"

#include <cstdlib>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {
/// Processes that have the segment of `key` attached; -1 when there is none. `id` receives its id.
long attachmentsOf(key_t key, int& id)
{
    shmid_ds status;
    id = shmget(key, 0, 0);
    if (id == -1 || shmctl(id, IPC_STAT, &status) == -1)
        return -1;
    return static_cast<long>(status.shm_nattch);
}

void removeSegment(key_t key)
{
    int id;
    const long attachments = attachmentsOf(key, id);
    // With the directory nobody else's, an attachment can only be this process's own.
    if (attachments == 0 || attachments == 1)
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
    static const int registered = std::atexit([] { sweep(); });
    static_cast<void>(registered);
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
    int directory;
    const CSharedMemoryHeader* header = CSharedMemoryHeader::attached();
    if (!header || attachmentsOf(CSharedMemoryHeader::s_headerKey, directory) != 1)
        return;
    for (const auto& entry : header->m_layout.m_keys)
        if (entry.m_key != CSharedMemoryHeader::NotFound)
            removeEntry(entry);
    shmctl(directory, IPC_RMID, nullptr);
} catch (...) {
    // An exit handler lets nothing out.
}
