#include "common/trace/TraceLock.h"

#include <pthread.h>

constinit std::mutex g_traceLock;

void keepTraceLockAcrossFork() noexcept
{
    pthread_atfork([] { g_traceLock.lock(); }, [] { g_traceLock.unlock(); }, [] { g_traceLock.unlock(); });
}

struct tm localTime(time_t time) noexcept
{
    struct tm parts = {};
    const TraceGuard guard(g_traceLock);
    localtime_r(&time, &parts);
    return parts;
}
