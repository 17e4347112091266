/// The two semaphores of a mailslot.
#pragma once

#include "unix/ipc/Mailslot.h"

#include <cerrno>
#include <sys/ipc.h>
#include <sys/sem.h>

/// A short-lived view. A semaphore counts how often it was signalled and not yet waited for. Any thread.
class CMailslotEvent : public CSemaphoreSet {
public:
    static constexpr int Message = 0; ///< a message is waiting
    static constexpr int Reply = 1;   ///< a reply was given

    explicit CMailslotEvent(CSemaphoreHandle handle) : CSemaphoreSet(handle.m_set), m_index(handle.m_index) {}

    /// Whether the system has it; also when that is not to be learned.
    bool isThere() const { return semctl(id(), m_index, GETVAL) != -1 || !isGone(errno); }
    /// All of these: @return false with errno set when the semaphore does not let it.
    bool clear(int event);
    bool add(int event);
    /// @param slot  whose owner has to live when the event is Message
    /// @throws CMailslotGoneException  without a name
    bool signal(int event, const CMailslot& slot);
    /// Takes one signal when there is one.
    bool take(int event) { return change(event, -1, IPC_NOWAIT); }
    /// Blocks without limit.
    bool wait(int event);
    /// Blocks as long as the owner of the slot lives, which it looks at each millisecond; EAGAIN after
    /// CMailslot::ReplyTimeoutMs.
    /// @throws CMailslotGoneException  without a name
    bool wait(int event, const CMailslot& slot);

private:
    bool change(int event, short by, short flags);
    bool takeInAMoment(int event);

    int m_index;
};
