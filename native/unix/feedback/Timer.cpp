#include "unix/feedback/Timer.h"
#include "include/Pause.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace {
std::atomic<int> s_timers = 0;

/// What dumpTimerStatus looks for as the handler of SIGALRM. A host that wants alarms installs a handler of
/// its own, and the status line tells so.
void timerFunction(int) {}
} // namespace

CTimer::CTimer(int interval, int second)
    : m_interval(interval / 1000), m_second(second / 1000), m_process(getpid()), m_thread(gettid()),
      m_start(time(nullptr))
{
    ++s_timers;
}

bool CTimer::hasTimerElapsed() const
{
    return time(nullptr) - m_start >= m_interval;
}

bool CTimer::sleep(int ms)
{
    pauseFor(std::chrono::milliseconds(ms));
    return true;
}

void CTimer::dumpTimerStatus() const
{
    struct sigaction action {};
    const bool known = sigaction(SIGALRM, nullptr, &action) == 0;
    std::printf("Num Timers: %d, timer function is OK: %d, Start: %d, Current: %d, pid: %d, thread: %d\n",
                s_timers.load(), known && action.sa_handler == timerFunction, static_cast<int>(m_start),
                static_cast<int>(time(nullptr)), m_process, m_thread);
}
