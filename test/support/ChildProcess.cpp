#include "ChildProcess.h"

#include "ThrownText.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

CChildProcess::CChildProcess(const std::function<void(CChildProcess&)>& body)
{
    int down[2];
    int up[2];
    if (pipe2(down, O_CLOEXEC) != 0 || pipe2(up, O_CLOEXEC) != 0)
        throw std::runtime_error(std::string("pipe2: ") + std::strerror(errno));
    std::fflush(nullptr);
    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid < 0)
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    const bool isChild = m_pid == 0;
    m_read = isChild ? down[0] : up[0];
    m_write = isChild ? up[1] : down[1];
    close(isChild ? down[1] : down[0]);
    close(isChild ? up[0] : up[1]);
    if (isChild)
        beChild(body, parent);
}

void CChildProcess::beChild(const std::function<void(CChildProcess&)>& body, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent && getppid() != 0) // 0: the first in a process id namespace
        _exit(127);
    signal(SIGPIPE, SIG_IGN);
    try {
        body(*this);
    } catch (...) {
        ADD_FAILURE() << "child: " << thrownText();
    }
    std::fflush(nullptr);
    _exit(testing::Test::HasFailure() ? 1 : 0);
}

CChildProcess::~CChildProcess()
{
    close(m_write);
    if (!m_reaped) {
        EXPECT_EQ(0, join()) << "a child process failed";
    }
    close(m_read);
}

void CChildProcess::pass()
{
    const char baton = 1;
    [[maybe_unused]] const auto told = write(m_write, &baton, 1);
}

bool CChildProcess::wait(std::chrono::milliseconds limit)
{
    pollfd ready{m_read, POLLIN, 0};
    int answer;
    do
        answer = poll(&ready, 1, static_cast<int>(limit.count()));
    while (answer < 0 && errno == EINTR);
    char baton;
    return answer > 0 && read(m_read, &baton, 1) == 1;
}

void CChildProcess::die()
{
    kill(m_pid, SIGKILL);
    join();
}

int CChildProcess::join()
{
    int status = 0;
    while (waitpid(m_pid, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    m_reaped = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
