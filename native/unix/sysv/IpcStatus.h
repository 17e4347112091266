/// What the system has on record for a System V object, and whether it is one that this library makes.
#pragma once

#include <cstddef>
#include <sys/types.h>
#include <vector>

struct semid_ds;
struct seminfo;

union CSemaphoreArgument { ///< of semctl, whose caller declares it
    int val;
    semid_ds* buf;
    unsigned short* array;
    seminfo* __buf;
};

/// Rights of every object this library makes: whoever enters the namespace may use it.
constexpr int IpcRights = 0666;

/// A segment. Keys come from memory that anybody in the namespace can write, so what lies at one may belong
/// to any program: nothing is formatted or removed before its status was looked at.
class CSegmentStatus {
public:
    explicit CSegmentStatus(int id);
    /// Of all segments of the IPC namespace that this user may read, as far as there is memory for the list.
    static std::vector<int> ids();

    bool isKnown() const { return m_rights != -1; } ///< whether there is such a segment; errno otherwise
    long attachments() const { return m_attachments; }
    size_t size() const { return m_size; }
    int rights() const { return m_rights; }
    key_t key() const { return m_key; }
    bool isDoomed() const { return m_isDoomed; } ///< removed, for all but those who have it attached
    /// Whether it has the rights that this library gives. Its size and its signature are the owner's to
    /// compare.
    bool mayBeOurs() const { return m_rights == IpcRights; }

private:
    int m_rights = -1;
    size_t m_size = 0;
    long m_attachments = -1;
    key_t m_key = -1;
    bool m_isDoomed = false;
};

/// A set of semaphores. The same goes for what is reset, signalled or removed.
class CSemaphoreStatus {
public:
    static constexpr int LockSize = 1;  ///< semaphores of a lock's set
    static constexpr int ListSize = 32; ///< of the set that mutexes and mailslots share

    explicit CSemaphoreStatus(int id);

    key_t key() const { return m_key; } ///< -1 when there is no such set
    int size() const { return m_size; }
    int rights() const { return m_rights; }
    /// Whether it looks like a set that was made with `size` semaphores. A display's lock may be the first of
    /// another display's list, since their keys follow each other.
    bool isOurs(int size) const;

    /// Semaphores that the system lets a set have; -1 when it does not tell.
    static int systemLimit();

private:
    bool wasMadeWith(int size) const;

    key_t m_key = -1;
    int m_rights = -1;
    int m_size = 0;
};

/// Says in the trace what lies at a key that this process could not use as its own: key, owner, rights and
/// the number of the error, 0 for none. Also when this process may not look at it.
void traceSegmentAt(key_t key, int error);
void traceSetAt(key_t key, int error);
