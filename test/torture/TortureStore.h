/// What the processes of the torture share, and what each of them does.
#pragma once

#include "SpyName.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyMappedPair.h"

#include <atomic>
#include <random>

/// In a file that all have mapped: nothing of the store itself.
struct CReport {
    std::atomic<long> operations; ///< that were done
    std::atomic<long> refused;    ///< that ended in an exception
    std::atomic<int> ready;       ///< threads, or processes
    std::atomic<bool> isOver;

    static CReport& at(const char* path);
};

/// Three containers that all processes find by name. Whatever is done to them is done in units: who holds the
/// heap mutex finds them whole.
struct CContainers {
    CSpyMemRef map, vector, pair;

    CContainers(); ///< finds them or makes them
    void change(std::mt19937& random) const;
};
