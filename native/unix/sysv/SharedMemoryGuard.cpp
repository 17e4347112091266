#include "common/trace/CTracer.h"
#include "include/Retried.h"
#include "include/Within.h"
#include "unix/sysv/SharedMemory.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <unistd.h>

namespace {
using namespace std::chrono_literals;

std::recursive_mutex s_threads;
int s_depth = 0;
int s_namespace = -1;
bool s_isKept = false; ///< somebody kept it for longer than anybody needs it: it is not waited for any more

bool lockWithin(int file, std::chrono::milliseconds limit)
{
    int error = 0;
    const auto hasAnswer = [&] {
        error = retried([&] { return flock(file, LOCK_EX | LOCK_NB); }) == 0 ? 0 : errno;
        return error != EWOULDBLOCK;
    };
    return within(limit, hasAnswer) && error == 0;
}
} // namespace

// The file that stands for the IPC namespace is the one thing that all processes which can see the same
// segments, and no others, have in common; a lock on it goes away with its process and leaves nothing behind.
CSharedMemoryGuard::CSharedMemoryGuard()
{
    s_threads.lock();
    if (s_depth++ > 0)
        return;
    s_namespace = open("/proc/self/ns/ipc", O_RDONLY | O_CLOEXEC);
    if (s_namespace != -1 && lockWithin(s_namespace, s_isKept ? 0s : 1s))
        return;
    s_isKept = s_namespace != -1;
    CTracer::debugTrace("Shared memory is not guarded against other processes that start now");
}

CSharedMemoryGuard::~CSharedMemoryGuard()
{
    if (--s_depth == 0 && s_namespace != -1) {
        flock(s_namespace, LOCK_UN);
        close(s_namespace);
        s_namespace = -1;
    }
    s_threads.unlock();
}
