#include "Mutex.h"

#include "CTracer.h"
#include "ErrorString.h"
#include "GxAssert.h"
#include "SharedMemoryHeader.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/sem.h>
#include <thread>
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

template <class Call> bool retried(Call&& call)
{
    for (;;) {
        if (call())
            return true;
        if (errno != EINTR)
            return false;
    }
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
    const char* display = std::getenv("DISPLAY");
    CMutex set;
    set.create(directory->getKey(display ? display : "", 0) - 1, 1, true);
    return {set.id(), 0};
}
} // namespace

CSpyMutexException::CSpyMutexException(const char* message)
{
    std::strncpy(m_message, message, sizeof m_message - 1);
    m_message[sizeof m_message - 1] = 0;
}

CSpyMutex* CSpyMutex::create(const char* name)
{
    return new CUnixMutex(name);
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
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
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

CUnixMutex::CUnixMutex(const char*) : m_handle(heapLockHandle()) {}

bool CUnixMutex::isMine() const
{
    return m_thread.load(std::memory_order_relaxed) == pthread_self() &&
           m_process.load(std::memory_order_relaxed) == currentProcess();
}

bool CUnixMutex::acquire(int timeoutMs)
{
    if (isMine() && m_count.load(std::memory_order_relaxed) > 0) {
        m_count.fetch_add(1, std::memory_order_relaxed);
        return true;
    }
    if (!CMutex(m_handle).lock(timeoutMs)) {
        char message[1024];
        std::snprintf(
            message, sizeof message,
            "Application under test (AUT) is not responding. It is recommended to retry after restarting the "
            "application. If the problem persists, avoid recording/playing back on the specific control. "
            "Mutex "
            "timeout: %s",
            "Unknown Mutex");
        throw CMutexTimeoutException(message);
    }
    // The semaphore orders the threads, but only the system knows: this load takes over what the last owner
    // wrote.
    static_cast<void>(m_thread.load(std::memory_order_acquire));
    m_count.store(1, std::memory_order_relaxed);
    m_process.store(currentProcess(), std::memory_order_relaxed);
    m_thread.store(pthread_self(), std::memory_order_relaxed);
    return true;
}

bool CUnixMutex::release()
{
    if (!isMine())
        return m_count.load(std::memory_order_relaxed) == 0;
    if (m_count.fetch_sub(1, std::memory_order_relaxed) > 1)
        return false;
    m_process.store(0, std::memory_order_relaxed);
    m_thread.store(0, std::memory_order_release);
    const bool succes = CMutex(m_handle).unlock();
    GX_ASSERT(succes, "succes");
    return true;
}

void CUnixMutex::free()
{
    m_handle = {};
}

bool CUnixMutex::isAcquired()
{
    return isMine() && m_count.load(std::memory_order_relaxed) != 0;
}

CMutexList::CMutexList()
{
    setTracing(false);
    create(Key, Size, true);
    setTracing(true);
    for (int index = 0; index < Size; ++index)
        m_mutexes[static_cast<size_t>(index)].setHandle({id(), index});
}
