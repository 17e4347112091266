/// Mutexes that processes find by name.
#pragma once

#include "unix/sysv/RecursiveMutex.h"

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
    /// The name of that map.
    static constexpr char Registry[] = "%Mutexes%";

private:
    template <class Name> bool createNamed(const Name& name, const char* shownName);
};
