#include "SemaphoreSet.h"

#include "CTracer.h"
#include "ErrorString.h"
#include "GxAssert.h"
#include "IpcStatus.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <limits>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

namespace {
bool isAlive(pid_t process)
{
    return process > 0 && (getpgid(process) != -1 || errno != ESRCH);
}
} // namespace

#define TRACE_SET(...) (m_tracing ? CTracer::debugTrace(__VA_ARGS__) : static_cast<void>(0))

bool CSemaphoreSet::initialize(int)
{
    return true;
}

bool CSemaphoreSet::create(key_t key, int count, bool attachLive)
{
    GX_ASSERT(m_id == -1, "m_id == -1");
    TRACE_SET("Creating semaphore Set");
    if (const int limit = CSemaphoreStatus::systemLimit(); limit != -1) {
        count = std::min(count, limit);
        TRACE_SET("max number of semaphores on this system %d. Creating %d semphores", limit, count);
    }
    m_id = semget(key, count, IPC_CREAT | IPC_EXCL | IpcRights);
    if (m_id != -1)
        return createNew(key);
    if (errno == EEXIST)
        return reattach(key, count, attachLive);
    if (errno == EACCES)
        TRACE_SET("Can't access semaphore at key: 0x%08x trying next", static_cast<unsigned>(key));
    else
        TRACE_SET("!Error - semget failed: %s key = 0x%08x", CErrorString(errno).text(),
                  static_cast<unsigned>(key));
    return false;
}

bool CSemaphoreSet::createNew(key_t key)
{
    if (!initialize(0)) {
        if (errno == EEXIST)
            TRACE_SET("Semaphore already exists");
        else
            TRACE_SET("Error trying to set semaphore: %s", CErrorString(errno).text());
        return false;
    }
    TRACE_SET("Semaphore Created: key = 0x%08x  id = %d", static_cast<unsigned>(key), m_id);
    m_key = key;
    return true;
}

bool CSemaphoreSet::reattach(key_t key, int count, bool attachLive)
{
    TRACE_SET("Semaphore already exists, reattaching ...");
    m_id = semget(key, count, IPC_CREAT | IpcRights);
    if (m_id == -1) {
        TRACE_SET("Still can't open semaphore key=0x%08x : %s", static_cast<unsigned>(key),
                  CErrorString(errno).text());
        return false;
    }
    if (!isOurs(key, count)) {
        m_id = -1;
        return false;
    }
    if (!isAlive(semctl(m_id, 0, GETPID)))
        return recycle(key, count);
    if (!attachLive) {
        TRACE_SET("Error: Semaphore %d last accessed by a live process.", m_id);
        m_id = -1;
    }
    return false;
}

bool CSemaphoreSet::isOurs(key_t key, int count) const
{
    const CSemaphoreStatus status(m_id);
    if (status.isOurs(count))
        return true;
    TRACE_SET("Semaphore set of another program: key = 0x%08x, rights %o, %d semaphores instead of %d",
              static_cast<unsigned>(key), static_cast<unsigned>(status.rights()), status.size(), count);
    return false;
}

bool CSemaphoreSet::recycle(key_t key, int count)
{
    // A semaphore that is 0 already is left alone: another process may take it between the test and the
    // reset, and setting a value also makes the system forget to release it when its holder dies.
    CSemaphoreArgument zero;
    zero.val = 0;
    for (int index = 0; index < count; ++index)
        if (semctl(m_id, index, GETVAL) != 0)
            semctl(m_id, index, SETVAL, zero);
    if (!initialize(0))
        return false;
    TRACE_SET("Semaphore opened: key = 0x%08x  id = %d", static_cast<unsigned>(key), m_id);
    m_key = key;
    return true;
}

bool CSemaphoreSet::attach(int id)
{
    m_id = id;
    return id != -1;
}

bool CSemaphoreSet::op(int semnum, sembuf* operations, int count)
{
    return op(semnum, operations, count, nullptr);
}

bool CSemaphoreSet::opForAMoment(int semnum, sembuf* operations, int count)
{
    static constexpr timespec moment{0, 1000000};
    return op(semnum, operations, count, &moment);
}

/// @param limit  null for none
bool CSemaphoreSet::op(int semnum, sembuf* operations, int count, const timespec* limit) const
{
    // Cut to its 16 bits, an index that no set has would be that of another semaphore.
    if (semnum < 0 || semnum > std::numeric_limits<unsigned short>::max()) {
        errno = EFBIG;
        return false;
    }
    std::for_each(operations, operations + count,
                  [&](sembuf& each) { each.sem_num = static_cast<unsigned short>(semnum); });
    return semtimedop(m_id, operations, static_cast<size_t>(count), limit) != -1;
}

void CSemaphoreSet::free()
{
    if (semctl(m_id, 0, IPC_RMID) == -1)
        TRACE_SET("Can't delete Semaphore set, key = 0x%08x, id = %d %s", static_cast<unsigned>(m_key), m_id,
                  CErrorString(errno).text());
    m_key = 0;
    m_id = -1;
}
