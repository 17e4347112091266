// A request and its reply between two processes, through a mailslot and by two bare semaphores.
#include "Compare.h"
#include "common/spy/AsciiName.h"
#include "unix/ipc/Mailslot.h"

#include <csignal>
#include <cstdlib>
#include <sys/ipc.h>
#include <sys/prctl.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
void change(int set, unsigned short semaphore, short by)
{
    sembuf operation{semaphore, by, 0};
    semop(set, &operation, 1);
}

/// A process that answers for ever.
template <class Answer> class CAnswering {
public:
    explicit CAnswering(Answer answer) : m_pid(fork())
    {
        if (m_pid != 0)
            return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (;;)
            answer();
    }
    ~CAnswering()
    {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    pid_t pid() const { return m_pid; }
    CAnswering(const CAnswering&) = delete;
    CAnswering& operator=(const CAnswering&) = delete;

private:
    pid_t m_pid;
};

/// One round through two bare semaphores, with the looks at the other process that a sender owes its user.
void prescribedRound(int set, pid_t peer)
{
    const auto look = [peer] {
        waitpid(peer, nullptr, WNOHANG);
        kill(peer, 0);
    };
    semctl(set, 1, SETVAL, 0);
    look();
    change(set, 0, 1);
    look();
    sembuf tryOnce{1, -1, IPC_NOWAIT};
    if (semop(set, &tryOnce, 1) != 0)
        change(set, 1, -1);
}

void requestAndReply(benchmark::State& state)
{
    CMailslot slot;
    slot.create(CAsciiName("bench"), {}, {});
    const int set = semget(IPC_PRIVATE, 2, 0600);
    {
        const CAnswering receiver([&] {
            slot.waitForMessage();
            slot.replyTo();
        });
        const CAnswering peer([&] {
            change(set, 0, -1);
            change(set, 1, 1);
        });
        compare(
            state, [&] { slot.send(true); }, [&] { prescribedRound(set, peer.pid()); }, 20);
    }
    semctl(set, 0, IPC_RMID);
    slot.freeAll();
}
BENCHMARK(requestAndReply)->Iterations(60)->UseManualTime();

/// Posting alone: the test whether the receiver lives, and one semaphore operation.
void post(benchmark::State& state)
{
    CMailslot slot;
    slot.create(CAsciiName("bench"), {}, {});
    const int set = semget(IPC_PRIVATE, 1, 0600);
    {
        const CAnswering receiver([&] { slot.waitForMessage(); });
        const CAnswering peer([&] { change(set, 0, -1); });
        compare(
            state, [&] { slot.send(false); }, [&] { change(set, 0, 1); }, 200);
    }
    semctl(set, 0, IPC_RMID);
    slot.freeAll();
}
BENCHMARK(post)->Iterations(100)->UseManualTime();
} // namespace
