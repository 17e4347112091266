/// Mutexes without names, which nothing in the library uses; see doc/kept-on-purpose.md.
#pragma once

#include "unix/ipc/Mutex.h"

#include <array>

/// Five mutexes in one set under a fixed key, handed out one after another. The set stays in the system.
class CMutexList : public CSemaphoreSet {
public:
    static constexpr key_t Key = 10101010;
    static constexpr int Size = 5;

    CMutexList();
    /// The next one; callers take at most five. Good as long as this list.
    CUnixMutex& acquire() { return m_mutexes.at(static_cast<size_t>(m_next++)); }

private:
    std::array<CUnixMutex, Size> m_mutexes;
    int m_next = 0;
};
