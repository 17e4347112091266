/// System V IPC without room for more.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <vector>

/// Holds all segments, or all semaphore sets, that the private IPC namespace still has to give away, while it
/// lives. Needs no privilege; a test that uses it is skipped where CPrivateSession::whyNoPrivateIpc() says
/// why.
class CUsedUp {
public:
    enum Kind { Segments, Sets };

    explicit CUsedUp(Kind kind) : m_kind(kind)
    {
        for (int id = make(); id != -1; id = make())
            m_ids.push_back(id);
        EXPECT_EQ(ENOSPC, errno);
    }
    ~CUsedUp()
    {
        for (const int id : m_ids)
            m_kind == Segments ? shmctl(id, IPC_RMID, nullptr) : semctl(id, 0, IPC_RMID);
    }
    CUsedUp(const CUsedUp&) = delete;

private:
    int make() const
    {
        return m_kind == Segments ? shmget(IPC_PRIVATE, 1, 0600) : semget(IPC_PRIVATE, 1, 0600);
    }

    const Kind m_kind;
    std::vector<int> m_ids;
};
