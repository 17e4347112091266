#include "SegmentSweep.h"

#include "IpcStatus.h"
#include "ProcessEnd.h"
#include "SharedMemory.h"
#include "SpyHeap.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {
std::array<std::atomic<key_t>, CSharedMemoryHeader::Names> s_baseHeaps; ///< 0: free
std::atomic<size_t> s_remembered = 0;

bool isSignedAsHeap(int id)
{
    const void* base = shmat(id, nullptr, SHM_RDONLY);
    if (base == reinterpret_cast<void*>(-1))
        return false;
    const bool isSigned = std::strncmp(static_cast<const char*>(base), CSpyHeap::HeapObjectName,
                                       sizeof CSpyHeap::HeapObjectName) == 0;
    shmdt(base);
    return isSigned;
}

/// @return whether there is a heap of ours at that key, or was one that this process had
bool removeHeap(key_t key)
{
    const int id = shmget(key, 0, 0);
    const CSegmentStatus status(id);
    if (!status.isKnown())
        return std::find(s_baseHeaps.begin(), s_baseHeaps.end(), key) != s_baseHeaps.end();
    if (!status.mayBeOurs() || status.size() < sizeof CSpyHeap::HeapObjectName || !isSignedAsHeap(id))
        return false;
    // With the directory nobody else's, an attachment can only be this process's own.
    if (status.attachments() <= 1)
        shmctl(id, IPC_RMID, nullptr);
    return true;
}

/// As with a heap, one attachment is this process's own.
void removeJournal(key_t key)
{
    const int id = shmget(key, 0, 0);
    if (const CSegmentStatus status(id); status.mayBeOurs() && status.attachments() <= 1)
        shmctl(id, IPC_RMID, nullptr);
}

void removeSemaphores(key_t key, int size)
{
    if (const int id = semget(key, 0, 0); CSemaphoreStatus(id).isOurs(size))
        semctl(id, 0, IPC_RMID);
}
} // namespace

void CSegmentSweep::rememberBaseHeap(key_t key)
{
    if (std::find(s_baseHeaps.begin(), s_baseHeaps.end(), key) == s_baseHeaps.end())
        s_baseHeaps[s_remembered++ % s_baseHeaps.size()] = key;
}

void CSegmentSweep::runAtExit()
{
    static const int registered = atProcessEnd<sweep>();
    static_cast<void>(registered);
}

void CSegmentSweep::removeListed(const CSharedMemoryHeader& directory)
{
    const uint32_t nextKey = directory.m_layout.m_nextKey.load();
    for (const auto& entry : directory.m_layout.m_keys) {
        const uint32_t listed = entry.m_key.load();
        if (listed <= static_cast<uint32_t>(CSharedMemoryHeader::s_headerKey) || listed >= nextKey)
            continue;
        const auto key = static_cast<key_t>(listed);
        if (removeHeap(key) && entry.m_blockIndex.load() == 0) {
            removeJournal(journalKey(key));
            removeSemaphores(key, CSemaphoreStatus::ListSize);
            removeSemaphores(key - 1, CSemaphoreStatus::LockSize);
        }
    }
}

void CSegmentSweep::sweep() noexcept
try {
    const CSharedMemoryGuard guard;
    const CSharedMemoryHeader* header = CSharedMemoryHeader::attached();
    const int directory = shmget(CSharedMemoryHeader::s_headerKey, 0, 0);
    const CSegmentStatus status(directory);
    if (!header || !status.mayBeOurs() || status.attachments() != 1)
        return;
    removeListed(*header);
    shmctl(directory, IPC_RMID, nullptr);
} catch (...) {
    // An exit handler lets nothing out.
}
