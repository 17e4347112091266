/// Sleeping.
#pragma once

#include <chrono>
#include <thread>

/// The calling thread sleeps all of that time, whatever signals it handles meanwhile; not at all when the time
/// is not above 0.
inline void pauseFor(std::chrono::nanoseconds time)
{
    std::this_thread::sleep_for(time);
}
