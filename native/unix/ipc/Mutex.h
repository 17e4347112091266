/// Mutexes that processes find by name.
#pragma once

#include "unix/sysv/RecursiveMutex.h"

#include <array>

class CSpyMemRef;
class ITalString;

/// A named mutex as one process sees it.
class CUnixMutex : public CRecursiveMutex {
public:
    using CRecursiveMutex::CRecursiveMutex;

    /// The mutex that all processes of the display know by `name` (ASCII), made by the first that asks for
    /// it. The caller deletes it; the mutex itself stays as long as spy memory does. Raises what spy memory
    /// raises.
    /// @return null when no semaphore is left
    static CSpyMutex* named(const char* name);

    bool create(const CJString& name) override;
    bool create(const char* name); ///< in ASCII
    /// The handle that the map of names holds for a name; null when there is none.
    CSemaphoreHandle find(const ITalString& name);
    CSemaphoreHandle find(const char* name);
    /// Stores a handle in the map of names.
    bool put(const ITalString& name, const CSemaphoreHandle& handle);
    bool put(const char* name, const CSemaphoreHandle& handle);
    static CSpyMemRef getMutexMap(JNIEnv* env);

private:
    template <class Name> bool createNamed(const Name& name, const char* shownName);
};

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
