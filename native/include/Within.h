/// Waiting for what nothing reports.
#pragma once

#include <chrono>
#include <thread>

/// Whether `condition` becomes true within `limit`; it is asked every millisecond.
template <class Condition> bool within(std::chrono::milliseconds limit, Condition&& condition)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
