#include "unix/sysv/SemaphoreSet.h"

#include "common/trace/CTracer.h"
#include "common/trace/ErrorString.h"
#include "common/trace/GxAssert.h"
#include "unix/sysv/IpcStatus.h"

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
    const int reason = errno;
    if (reason == EACCES)
        TRACE_SET("Can't access semaphore at key: 0x%08x trying next", static_cast<unsigned>(key));
    else
        TRACE_SET("!Error - semget failed: %s key = 0x%08x", CErrorString(reason).text(),
                  static_cast<unsigned>(key));
    traceInTheWay(key, reason);
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
        const int reason = errno;
        TRACE_SET("Still can't open semaphore key=0x%08x : %s", static_cast<unsigned>(key),
                  CErrorString(reason).text());
        traceInTheWay(key, reason);
        return false;
    }
    if (!isOurs(key, count)) {
        m_id = -1;
        return false;
    }
    if (!isUsed(0))
        return recycle(key, count);
    if (!attachLive) {
        TRACE_SET("Error: Semaphore %d last accessed by a live process.", m_id);
        m_id = -1;
    }
    return false;
}

void CSemaphoreSet::traceInTheWay(key_t key, int error) const
{
    if (m_tracing)
        traceSetAt(key, error);
}

bool CSemaphoreSet::isOurs(key_t key, int count) const
{
    const CSemaphoreStatus status(m_id);
    if (status.isOurs(count))
        return true;
    TRACE_SET("Semaphore set of another program: key = 0x%08x, rights %o, %d semaphores instead of %d",
              static_cast<unsigned>(key), static_cast<unsigned>(status.rights()), status.size(), count);
    traceInTheWay(key, 0);
    return false;
}

/// Of a semaphore. One that has a value, from nobody whom this process can see, is used in another process id
/// namespace.
bool CSemaphoreSet::isUsed(int index) const
{
    const pid_t latest = semctl(m_id, index, GETPID);
    return latest == 0 ? semctl(m_id, index, GETVAL) > 0 : isAlive(latest);
}

bool CSemaphoreSet::recycle(key_t key, int count)
{
    for (int index = 0; index < count && !m_isInUse; ++index)
        reset(index);
    if (!m_isInUse && !initialize(0))
        return false;
    TRACE_SET("Semaphore opened: key = 0x%08x  id = %d", static_cast<unsigned>(key), m_id);
    m_key = key;
    return true;
}

/// A semaphore that is 0 already is left alone, and so is one that a living process was at meanwhile: setting
/// a value also makes the system forget to release it when its holder dies.
void CSemaphoreSet::reset(int index) const
{
    CSemaphoreArgument zero;
    zero.val = 0;
    if (semctl(m_id, index, GETVAL) != 0 && !isUsed(index))
        semctl(m_id, index, SETVAL, zero);
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

bool CSemaphoreSet::isGone(int error)
{
    return error == EIDRM || error == EINVAL;
}
