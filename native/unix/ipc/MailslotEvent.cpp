#include "unix/ipc/MailslotEvent.h"

#include "include/Retried.h"
#include "unix/sysv/IpcStatus.h"

#include <cerrno>
#include <chrono>
#include <sys/sem.h>

namespace {
void expectAlive(const CMailslot& slot)
{
    if (slot.isGone())
        throw CMailslotGoneException(std::nullopt);
}
} // namespace

bool CMailslotEvent::clear(int event)
{
    CSemaphoreArgument zero;
    zero.val = 0;
    return semctl(id(), m_index + event, SETVAL, zero) != -1;
}

bool CMailslotEvent::change(int event, short by, short flags)
{
    sembuf operation{0, by, flags};
    return retried([&] { return op(m_index + event, &operation, 1); });
}

/// What interrupts it, or is wrong with the semaphore, the next try finds out.
bool CMailslotEvent::takeInAMoment(int event)
{
    sembuf operation{0, -1, 0};
    return opForAMoment(m_index + event, &operation, 1);
}

bool CMailslotEvent::add(int event)
{
    return change(event, 1, 0);
}

bool CMailslotEvent::signal(int event, const CMailslot& slot)
{
    if (event == Message)
        expectAlive(slot);
    return add(event);
}

bool CMailslotEvent::wait(int event)
{
    return change(event, -1, 0);
}

bool CMailslotEvent::wait(int event, const CMailslot& slot)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(CMailslot::ReplyTimeoutMs);
    for (;;) {
        expectAlive(slot);
        if (change(event, -1, IPC_NOWAIT))
            return true;
        if (errno != EAGAIN)
            return false;
        if (std::chrono::steady_clock::now() >= end)
            break;
        if (takeInAMoment(event))
            return true;
    }
    errno = EAGAIN;
    return false;
}
