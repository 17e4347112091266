/// Who holds which lock.
#pragma once

#include "unix/sysv/LockHolder.h"
#include "unix/sysv/SemaphoreSet.h"

#include <optional>

/// Which thread holds the heap mutex or a named mutex of the display, and since when: the system only knows
/// the process. There is a record for each semaphore that can be such a lock. Only who holds the semaphore
/// writes it: a few stores when it was taken, one before it is given back. Any thread. Without the page of
/// notices, and for other semaphores, nothing is written.
class CHoldRecords {
public:
    /// The set of which semaphore 0 is the heap mutex, and that of the named mutexes.
    static void setHeapSet(int set);
    static void setNamedSet(int set);

    /// The calling thread has taken the semaphore.
    static void taken(CSemaphoreHandle handle);
    /// The calling thread gives it back.
    static void givenBack(CSemaphoreHandle handle);
    /// Who holds it. Waits for nobody; a holder that comes or goes meanwhile may be told or not.
    /// @return none when it is free or gone
    static std::optional<CLockHolder> holderOf(CSemaphoreHandle handle);
};
