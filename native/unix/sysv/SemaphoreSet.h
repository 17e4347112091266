/// Semaphore sets that processes share, and the handle of one semaphore.
#pragma once

#include <cstdint>
#include <sys/types.h>

struct sembuf;
struct timespec;

/// Names one semaphore of the machine. Both 0 is the null handle.
struct CSemaphoreHandle {
    int32_t m_set = 0;   ///< id of the set, as the system gave it
    int32_t m_index = 0; ///< of the semaphore in its set

    CSemaphoreHandle() = default;
    CSemaphoreHandle(int32_t set, int32_t index) : m_set(set), m_index(index) {}
    /// From the one number that Java fields and spy variants keep: the set in its low half, the index in its
    /// high half.
    explicit CSemaphoreHandle(int64_t number)
        : m_set(static_cast<int32_t>(static_cast<uint64_t>(number) & 0xFFFFFFFFU)),
          m_index(static_cast<int32_t>(static_cast<uint64_t>(number) >> 32))
    {
    }
    int64_t number() const
    {
        return static_cast<int64_t>(static_cast<uint64_t>(static_cast<uint32_t>(m_index)) << 32 |
                                    static_cast<uint32_t>(m_set));
    }
    bool isNull() const { return m_set == 0 && m_index == 0; }
    friend bool operator==(const CSemaphoreHandle&, const CSemaphoreHandle&) = default;
};
static_assert(sizeof(CSemaphoreHandle) == 8);

/// A view of one System V semaphore set. The set outlives the view: only `free` removes it from the system. A
/// view belongs to one thread, except that `op` may be called from several.
class CSemaphoreSet {
public:
    CSemaphoreSet() = default;
    /// Wraps an existing set, for example one that a handle names.
    explicit CSemaphoreSet(int id) : m_key(-1), m_id(id) {}
    virtual ~CSemaphoreSet() = default;

    /// Brings semaphore `semnum` to the state that the kind of set starts from; `create` calls it for
    /// semaphore 0.
    virtual bool initialize(int semnum);

    /// Makes the set of `key` with `count` semaphores of value 0, or takes over the one that a dead process
    /// left there. A set is alive when the process that last changed or tested its semaphore 0 is. A set with
    /// other rights than ours, or another number of semaphores, belongs to another program and is left alone.
    /// A process that cannot be seen from here counts as alive. The view must not have a set yet. Needs no
    /// lock; blocks only in `initialize`.
    /// @param attachLive  what becomes of a set in use: true keeps its id without changing anything, false
    ///                    refuses it and leaves the id at -1; the answer is false either way
    /// @return whether the set is new or was reset; every failure is traced with its cause
    bool create(key_t key, int count, bool attachLive);
    /// For `create`: processes live that use the set, whoever was the last one to do so. It resets nothing.
    void setInUse(bool isInUse) { m_isInUse = isInUse; }
    bool attach(int id);
    /// Performs `count` operations, all on semaphore `semnum` (it is written into each), at once or not at
    /// all. Blocks as the operations say; errno tells why it failed: EINTR, or EFBIG for an index that no set
    /// has.
    bool op(int semnum, sembuf* operations, int count);
    /// The same, blocking for a millisecond at most: then errno is EAGAIN.
    bool opForAMoment(int semnum, sembuf* operations, int count);
    /// Removes the set from the system: whoever waits on it is woken with an error.
    void free();
    /// Whether a call that failed with this errno says that the system has the set no more. Another failure
    /// says nothing about that.
    static bool isGone(int error);

    int id() const { return m_id; }
    key_t key() const { return m_key; }
    void setTracing(bool on) { m_tracing = on; }

private:
    bool createNew(key_t key);
    bool reattach(key_t key, int count, bool attachLive);
    void traceInTheWay(key_t key, int error) const;
    bool isOurs(key_t key, int count) const;
    bool isUsed(int index) const;
    bool recycle(key_t key, int count);
    bool op(int semnum, sembuf* operations, int count, const timespec* limit) const;
    void reset(int index) const;

    key_t m_key = 0;
    int m_id = -1;
    bool m_tracing = true;
    bool m_isInUse = false;
};
