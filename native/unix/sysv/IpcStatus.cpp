#include "unix/sysv/IpcStatus.h"

#include "common/trace/CTracer.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {
constexpr int RightsMask = 0777; ///< the rest of the mode are marks of the system

/// @param perm  null: nothing is there
void traceFound(const char* kind, key_t key, const ipc_perm* perm, int error)
{
    if (perm)
        CTracer::debugTrace("In the way: %s, key = 0x%0x, owner = %u, rights = %o, errno = %d", kind,
                            static_cast<unsigned>(key), perm->uid, perm->mode & RightsMask, error);
    else
        CTracer::debugTrace("Nothing is in the way: %s, key = 0x%0x, errno = %d", kind,
                            static_cast<unsigned>(key), error);
}
} // namespace

void traceSegmentAt(key_t key, int error)
{
    shmid_ds status;
    const int last = shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&status));
    for (int index = 0; index <= last; ++index)
        if (shmctl(index, SHM_STAT_ANY, &status) != -1 && status.shm_perm.__key == key)
            return traceFound("segment", key, &status.shm_perm, error);
    traceFound("segment", key, nullptr, error);
}

void traceSetAt(key_t key, int error)
{
    seminfo info;
    semid_ds status;
    CSemaphoreArgument argument;
    argument.__buf = &info;
    const int last = semctl(0, 0, SEM_INFO, argument);
    argument.buf = &status;
    for (int index = 0; index <= last; ++index)
        if (semctl(index, 0, SEM_STAT_ANY, argument) != -1 && status.sem_perm.__key == key)
            return traceFound("semaphore set", key, &status.sem_perm, error);
    traceFound("semaphore set", key, nullptr, error);
}

CSegmentStatus::CSegmentStatus(int id)
{
    shmid_ds status;
    if (id == -1 || shmctl(id, IPC_STAT, &status) == -1)
        return;
    m_rights = static_cast<int>(status.shm_perm.mode & RightsMask);
    m_size = status.shm_segsz;
    m_attachments = static_cast<long>(status.shm_nattch);
    m_key = status.shm_perm.__key;
    m_isDoomed = (status.shm_perm.mode & SHM_DEST) != 0;
}

std::vector<int> CSegmentStatus::ids()
{
    std::vector<int> ids;
    shmid_ds status;
    const int last = shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&status));
    for (int index = 0; index <= last; ++index)
        if (const int id = shmctl(index, SHM_STAT, &status); id != -1)
            ids.push_back(id);
    return ids;
}

CSemaphoreStatus::CSemaphoreStatus(int id)
{
    semid_ds status;
    CSemaphoreArgument argument;
    argument.buf = &status;
    if (id == -1 || semctl(id, 0, IPC_STAT, argument) == -1)
        return;
    m_key = status.sem_perm.__key;
    m_rights = static_cast<int>(status.sem_perm.mode & RightsMask);
    m_size = static_cast<int>(status.sem_nsems);
}

bool CSemaphoreStatus::isOurs(int size) const
{
    return m_rights == IpcRights && (wasMadeWith(size) || (size == LockSize && wasMadeWith(ListSize)));
}

/// Or with as many of them as the system allowed.
bool CSemaphoreStatus::wasMadeWith(int size) const
{
    return m_size == size || (m_size < size && m_size == systemLimit());
}

int CSemaphoreStatus::systemLimit()
{
    seminfo info;
    CSemaphoreArgument argument;
    argument.__buf = &info;
    return semctl(0, 0, SEM_INFO, argument) == -1 ? -1 : info.semmsl;
}
