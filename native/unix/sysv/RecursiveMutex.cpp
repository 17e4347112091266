#include "unix/sysv/RecursiveMutex.h"

#include "common/trace/CTracer.h"
#include "common/trace/ErrorString.h"
#include "common/trace/GxAssert.h"
#include "common/trace/GxDebug.h"
#include "include/Retried.h"
#include "unix/sysv/HoldRecords.h"
#include "unix/sysv/IpcStatus.h"
#include "unix/sysv/SegmentSweep.h"
#include "unix/sysv/SharedMemory.h"
#include "unix/sysv/SharedMemoryHeader.h"
#include "unix/sysv/UnixSharedMemory.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <sys/sem.h>
#include <unistd.h>

namespace {
/// The process id without a call of the system: a nested take of a mutex must cost none.
class CProcessId {
public:
    CProcessId()
    {
        remember();
        pthread_atfork(nullptr, nullptr, remember);
    }
    pid_t get() const { return s_id.load(std::memory_order_relaxed); }

private:
    static void remember() { s_id.store(getpid(), std::memory_order_relaxed); }
    static inline std::atomic<pid_t> s_id = 0;
};

pid_t currentProcess()
{
    static const CProcessId id;
    return id.get();
}

[[noreturn]] void throwTimeout(const char* mutex)
{
    char message[1024];
    std::snprintf(
        message, sizeof message,
        "Application under test (AUT) is not responding. It is recommended to retry after restarting the application. If the problem persists, avoid recording/playing back on the specific control. Mutex timeout: %s",
        mutex);
    throw CMutexTimeoutException(message);
}

void assertNoException(JNIEnv* m_env)
{
    GX_ASSERT(m_env && !m_env->ExceptionCheck(), "m_env && !( m_env->ExceptionOccurred() )");
}

void traceStranger(pthread_t owner)
{
    if (GxDebug::TraceGetEnabled() && owner != pthread_self())
        CTracer::debugTrace("Can't release as pthreads  %u , %u are not same ", static_cast<unsigned>(owner),
                            static_cast<unsigned>(pthread_self()));
}

/// Why a wait came to nothing. Looking that up takes much longer than an attempt.
void traceHolder(CSemaphoreHandle lock)
{
    const auto holder = GxDebug::TraceGetEnabled() ? CHoldRecords::holderOf(lock) : std::nullopt;
    if (!holder)
        return;
    const char* const name = holder->m_processName.c_str();
    if (!holder->m_isAlive)
        CTracer::debugTrace("Lock %d:%d was taken by process %d (%s), which is dead", lock.m_set,
                            lock.m_index, holder->m_process, name);
    else if (!holder->m_forMs)
        CTracer::debugTrace("Lock %d:%d is held by process %d (%s)", lock.m_set, lock.m_index,
                            holder->m_process, name);
    else
        CTracer::debugTrace("Lock %d:%d is held by process %d (%s), thread %d (%s), for %lld ms", lock.m_set,
                            lock.m_index, holder->m_process, name, holder->m_thread,
                            holder->m_threadName.c_str(), static_cast<long long>(*holder->m_forMs));
}

/// Whether others had the first heap before this process, or have it now: what they lock it with is the
/// display's.
bool isUsedByOthers(const CUnixSharedMemory& segment)
{
    return segment.existed() || CSegmentStatus(segment.id()).attachments() > 1;
}

CSemaphoreHandle heapLockHandle()
{
    CSharedMemoryHeader* directory = nullptr;
    try {
        directory = CSharedMemoryHeader::get();
    } catch (const CNoSegmentHeader&) {
        CTracer::debugTrace("U.S.E - can't find shared memory header!!\r\n");
        return {};
    }
    const char* display = CSharedMemoryHeader::display();
    CMutex set;
    const CUnixSharedMemory* base = CSegmentSweep::ownSegment(0);
    const bool isInUse = base && isUsedByOthers(*base);
    set.setInUse(isInUse);
    if (set.create(directory->getKey(display ? display : "", 0) - 1, 1, true) || isInUse)
        CSegmentSweep::rememberSet(set.id());
    CHoldRecords::setHeapSet(set.id());
    return {set.id(), 0};
}
} // namespace

CSpyMutexException::CSpyMutexException(const char* message)
{
    std::strncpy(m_message, message, sizeof m_message - 1);
    m_message[sizeof m_message - 1] = 0;
}

const char* CMutexTimeoutException::javaExceptionClass() const
{
    return "com/talvern/test/gx/sys/ApplicationNotRespondingException";
}

const char* CInvalidMutexException::javaExceptionClass() const
{
    return "com/talvern/test/gx/sys/Mutex$InvalidMutexException";
}

CSpyMutex* CSpyMutex::create(const char* name)
{
    return new CRecursiveMutex(name);
}

bool CMutex::initialize(int semnum)
{
    sembuf waitUntilFree{0, 0, 0};
    return retried([&] { return op(semnum, &waitUntilFree, 1); });
}

bool CMutex::take(short waitFlags)
{
    sembuf operations[] = {{0, 0, waitFlags}, {0, 1, SEM_UNDO}};
    return op(m_index, operations, 2);
}

/// In the system's queue, so that who gives the mutex back hands it over: a holder that takes it again at
/// once is served after those that wait.
bool CMutex::takeInAMoment()
{
    sembuf operations[] = {{0, 0, 0}, {0, 1, SEM_UNDO}};
    return opForAMoment(m_index, operations, 2);
}

bool CMutex::takeBlocking()
{
    return retried([this] { return take(0); });
}

bool CMutex::takeWithin(int timeoutMs)
{
    const auto start = time(nullptr);
    while (!take(IPC_NOWAIT)) {
        if (errno != EAGAIN || time(nullptr) - start >= timeoutMs / 1000)
            return false;
        if (takeInAMoment())
            return true;
    }
    return true;
}

bool CMutex::lock(int timeoutMs)
{
    // A free semaphore, the common case, is taken with one call of the system; what is wrong with another one
    // is found out below.
    errno = 0;
    if (take(IPC_NOWAIT))
        return true;
    const bool once = errno == EAGAIN && timeoutMs >= 0 && timeoutMs < 1000;
    if (semctl(id(), m_index, GETVAL) == -1) {
        CTracer::debugTrace("semctl(%d, %d, GETVAL...) failed ->%s\r\n", id(), m_index,
                            CErrorString(errno).text());
        return false;
    }
    if (once)
        return false;
    return timeoutMs < 0 ? takeBlocking() : takeWithin(timeoutMs);
}

bool CMutex::unlock()
{
    sembuf operation{0, -1, SEM_UNDO};
    return retried([&] { return op(m_index, &operation, 1); });
}

void CSpyMutex::throwException(JNIEnv* env, const CSpyMutexException& exception)
{
    CJniJObject::throwAnsiException(env, exception.javaExceptionClass(), exception.message());
}

CRecursiveMutex::CRecursiveMutex(const char*) : m_handle(heapLockHandle()), m_wasGiven(true) {}

CRecursiveMutex::CRecursiveMutex(JNIEnv* env, jobject mutex)
    : CSpyMutex(env, mutex), m_handle(getLong("handle"))
{
}

CRecursiveMutex::CRecursiveMutex(const CRecursiveMutex& other)
    : CSpyMutex(other), m_handle(other.m_handle), m_wasGiven(other.m_wasGiven), m_count(other.m_count.load()),
      m_process(other.m_process.load()), m_thread(other.m_thread.load())
{
}

CSemaphoreHandle CRecursiveMutex::handle()
{
    if (m_handle.isNull() && isValid())
        m_handle = CSemaphoreHandle(getLong("handle"));
    return m_handle;
}

void CRecursiveMutex::setHandle(CSemaphoreHandle handle)
{
    m_handle = handle;
    m_wasGiven = !isValid();
    if (isValid())
        set("handle", static_cast<long>(handle.number()));
}

bool CRecursiveMutex::isMine() const
{
    return m_thread.load(std::memory_order_relaxed) == pthread_self() &&
           m_process.load(std::memory_order_relaxed) == currentProcess();
}

bool CRecursiveMutex::lock(int timeoutMs)
{
    // Without a handle it must not take the system's first semaphore, whosever that is.
    if (isNone())
        return false;
    if (CMutex(m_handle).lock(timeoutMs)) {
        CHoldRecords::taken(m_handle);
        return true;
    }
    traceHolder(m_handle);
    return false;
}

/// The semaphore of none would be the system's first one.
void CRecursiveMutex::unlock()
{
    if (isNone())
        return;
    CHoldRecords::givenBack(m_handle);
    const bool succes = CMutex(m_handle).unlock() || CSemaphoreSet::isGone(errno);
    GX_ASSERT(succes, "succes");
}

bool CRecursiveMutex::acquire(int timeoutMs)
{
    if (isMine() && m_count.load(std::memory_order_relaxed) > 0) {
        m_count.store(m_count.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        return true;
    }
    if (!lock(timeoutMs))
        throwTimeout("Unknown Mutex");
    // The semaphore orders the threads, but only the system knows: this load takes over what the last owner
    // wrote.
    static_cast<void>(m_thread.load(std::memory_order_acquire));
    m_count.store(1, std::memory_order_relaxed);
    m_process.store(currentProcess(), std::memory_order_relaxed);
    m_thread.store(pthread_self(), std::memory_order_relaxed);
    return true;
}

void CRecursiveMutex::giveBack()
{
    refresh();
    if (m_process.load(std::memory_order_relaxed) != currentProcess() ||
        m_count.load(std::memory_order_relaxed) < 1)
        return;
    m_count.store(0, std::memory_order_relaxed);
    m_process.store(0, std::memory_order_relaxed);
    m_thread.store(0, std::memory_order_release);
    update();
    unlock();
}

bool CRecursiveMutex::release()
{
    traceStranger(m_thread.load(std::memory_order_relaxed));
    if (!isMine())
        return m_count.load(std::memory_order_relaxed) == 0;
    const int left = m_count.load(std::memory_order_relaxed) - 1;
    m_count.store(left, std::memory_order_relaxed);
    if (left > 0) {
        update();
        return false;
    }
    m_process.store(0, std::memory_order_relaxed);
    m_thread.store(0, std::memory_order_release);
    // Before the semaphore is free: afterwards the fields belong to the next owner.
    update();
    unlock();
    return true;
}

void CRecursiveMutex::free()
{
    giveBack();
    if (!handle().isNull())
        setHandle({});
    m_wasGiven = false;
}

bool CRecursiveMutex::isAcquired()
{
    refresh();
    return isMine() && m_count.load(std::memory_order_relaxed) != 0;
}

std::optional<CLockHolder> CRecursiveMutex::holder()
{
    return isNone() ? std::nullopt : CHoldRecords::holderOf(m_handle);
}

bool CRecursiveMutex::isGone()
{
    return !isNone() && CSemaphoreStatus(m_handle.m_set).key() == -1;
}

void CRecursiveMutex::refresh()
{
    if (!isValid())
        return;
    m_thread.store(static_cast<pthread_t>(getLong("currentThread")), std::memory_order_relaxed);
    assertNoException(env());
    m_count.store(getInt("acquireCount"), std::memory_order_relaxed);
    assertNoException(env());
    m_process.store(getInt("currentPid"), std::memory_order_relaxed);
    assertNoException(env());
}

void CRecursiveMutex::update()
{
    if (!isValid())
        return;
    set("currentThread", static_cast<long>(m_thread.load(std::memory_order_relaxed)));
    assertNoException(env());
    set("acquireCount", m_count.load(std::memory_order_relaxed));
    assertNoException(env());
    set("currentPid", static_cast<int>(m_process.load(std::memory_order_relaxed)));
    assertNoException(env());
}
