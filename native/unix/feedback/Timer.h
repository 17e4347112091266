/// A timer that is asked whether its time has come, in whole seconds. Nothing in the library uses it; see
/// doc/kept-on-purpose.md.
#pragma once

#include <ctime>
#include <sys/types.h>

/// A value of one thread, save the count of timers.
class CTimer {
public:
    /// Notes the time, the process and the thread. @param interval  milliseconds, as `second`; cut to whole
    /// seconds
    CTimer(int interval, int second);

    void start() {}
    /// Whether at least the interval has passed since this object was made, in seconds of the wall clock.
    bool hasTimerElapsed() const;
    /// Blocks the calling thread, through signals too. @return true
    static bool sleep(int ms);
    /// Prints one line about this timer on standard output.
    void dumpTimerStatus() const;

private:
    int m_interval;
    [[maybe_unused]] int m_second; ///< only kept
    pid_t m_process;
    pid_t m_thread;
    time_t m_start;
};
