/// The lock of the trace facility. It covers the settings of GxDebug and every use of the C library's time
/// zone: localtime_r takes a lock of its own that fork leaves locked in the child when another thread holds
/// it.
#pragma once

#include <ctime>
#include <mutex>

extern std::mutex g_traceLock;
using TraceGuard = std::lock_guard<std::mutex>;

/// From now on a child that is forked while another thread holds the lock finds it free.
void keepTraceLockAcrossFork() noexcept;

/// Local time. Takes the lock.
struct tm localTime(time_t time) noexcept;
