/// Base of the typed objects in spy memory, and the lock around all of them.
#pragma once

#include "common/spy/SpyJournal.h"
#include "common/spy/SpyMemRef.h"
#include "common/spy/SpyVariant.h"
#include "unix/sysv/LockHolder.h"

#include <atomic>

class CSpyNames;
class ITalString;

/// An object of this process that owns no memory itself: it holds the reference of a block that all processes
/// share. The block lives until it is freed, whatever happens to this object. One thread at a time; the block
/// may be used from everywhere. The operations raise what CSpyMemRef and CSpyHeap raise.
class CSpyMemory {
public:
    /// A null reference.
    /// @throws COutOfSpyMemory  spy memory cannot be started
    CSpyMemory();
    explicit CSpyMemory(const CSpyMemRef& ref);
    /// The object that is registered under `name`; a null reference when there is none.
    explicit CSpyMemory(const ITalString& name);

    /// What kind of object this is: the tag of a variant that refers to it.
    virtual unsigned int type() const { return CSpyVariant::SpyMem; }
    virtual ~CSpyMemory() = default;
    CSpyMemory(const CSpyMemory&) = default;
    CSpyMemory& operator=(const CSpyMemory&) = default;

    const CSpyMemRef& ref() const { return m_ref; }
    void setRef(const CSpyMemRef& ref) { m_ref = ref; }
    bool isNull() const { return !m_ref; }

    /// A block in the heap of a transaction (0: the base heap), which does not become this object's.
    CSpyMemRef rawAlloc(unsigned int size, UNIQUEID transactionId);
    /// The same, and it becomes this object's.
    CSpyMemRef allocate(unsigned int size, UNIQUEID transactionId);
    /// The same, registered under `name` unless that is empty.
    CSpyMemRef allocate(const ITalString& name, unsigned int size, UNIQUEID transactionId);
    /// Writes at the start of the block. @return false when the reference is not valid
    bool write(const void* data, unsigned int length);
    /// Reads from the start of the block; a null reference reads nothing. @return true
    bool read(void* buffer, unsigned int length);
    /// Frees the block; the reference becomes null. @return true
    bool free();

    /// The variant registered under `name`; empty when there is none.
    static CSpyVariant locate(const ITalString& name);
    /// Takes a name out of the registry. @return the variant that was there; the object it refers to lives on
    static CSpyVariant remove(const ITalString& name);
    /// Makes this object known to all processes as `name`. @return whether the registry took it
    bool registerName(const ITalString& name);
    /// Appends a dump of every heap to `file`.
    static void dump(const ITalString& file);

    /// Takes the mutex around every spy heap of this X display. Any thread; blocks. Recursive: the holding
    /// thread may take it again and releases it as often. When the holder dies the kernel releases it, in the
    /// middle of a change if need be.
    /// @param timeoutMs  longest wait in milliseconds; 0 stands for 10 000
    /// @throws CSpyHeapLockedException  another process kept it all that time
    static void lockHeap(int timeoutMs);
    static void unlockHeap();
    static bool isHeapLocked();
    /// Who holds it, in whatever process. Waits for nobody. @return none when nobody does
    static std::optional<CLockHolder> lockHolder();
    /// For a thread that never goes on with what it is doing: when it holds the mutex, what it has changed
    /// since the last whole operation is undone, as after its death.
    static void abandonChange();
    /// Drops the heaps of a transaction with everything in them; does nothing for transaction 0.
    static void free(UNIQUEID transactionId);

protected:
    CSpyMemRef m_ref;
    CSpyHeap* m_pHeap; ///< the base heap

private:
    static CSpyNames* names();

    static std::atomic<CSpyNames*> m_pNames; ///< made by the first use, never deleted
};
