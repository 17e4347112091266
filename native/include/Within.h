/// Waiting for what nothing reports.
#pragma once

#include "include/Pause.h"

#include <chrono>

/// Whether `condition` becomes true within `limit`; it is asked every millisecond.
template <class Condition> bool within(std::chrono::milliseconds limit, Condition&& condition)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        pauseFor(std::chrono::milliseconds(1));
    }
    return true;
}
