#include "IpcStatus.h"

#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

namespace {
constexpr int RightsMask = 0777; ///< the rest of the mode are marks of the system
} // namespace

CSegmentStatus::CSegmentStatus(int id)
{
    shmid_ds status;
    if (id == -1 || shmctl(id, IPC_STAT, &status) == -1)
        return;
    m_rights = status.shm_perm.mode & RightsMask;
    m_size = status.shm_segsz;
    m_attachments = static_cast<long>(status.shm_nattch);
}

CSemaphoreStatus::CSemaphoreStatus(int id)
{
    semid_ds status;
    CSemaphoreArgument argument;
    argument.buf = &status;
    if (id == -1 || semctl(id, 0, IPC_STAT, argument) == -1)
        return;
    m_key = status.sem_perm.__key;
    m_rights = status.sem_perm.mode & RightsMask;
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
