#include "session/Program.h"

#include "include/Pause.h"
#include "include/Retried.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {
int millisecondsUntil(Clock::time_point end)
{
    return std::max<int>(
        0, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count()));
}

std::vector<std::string> withOptions(std::vector<std::string> command,
                                     const std::vector<std::string>& options)
{
    command.insert(command.end(), options.begin(), options.end());
    return command;
}

/// The cookies of the session; without such a file the server would take every user of the machine.
std::string authority()
{
    const char* const file = getenv("XAUTHORITY");
    if (!file)
        throw std::runtime_error("XAUTHORITY is not set");
    return file;
}

bool isInPath(const std::string& program)
{
    std::istringstream path(getenv("PATH") ? getenv("PATH") : "/bin:/usr/bin");
    for (std::string directory; std::getline(path, directory, ':');) {
        struct stat file;
        if (stat(((directory.empty() ? "." : directory) + "/" + program).c_str(), &file) == 0 &&
            S_ISREG(file.st_mode))
            return true;
    }
    return false;
}
} // namespace

int CNotStarted::causeOf(const std::string& program, int error)
{
    const bool isLookedFor = program.find('/') == std::string::npos;
    return error == EACCES && isLookedFor && !isInPath(program) ? ENOENT : error;
}

CNotStarted::CNotStarted(const std::string& program, int error)
    : std::runtime_error(program + " cannot be started: " + std::strerror(error) +
                         (error == ENOENT ? "; give its path, or put its directory into PATH" : "")),
      m_status(error == ENOENT ? 127 : 126)
{
}

namespace {
struct CPipe {
    CPipe()
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error(std::string("pipe2: ") + std::strerror(errno));
        m_out = CDescriptor(ends[0]);
        m_in = CDescriptor(ends[1]);
    }

    CDescriptor m_out;
    CDescriptor m_in;
};
} // namespace

pid_t spawn(const std::vector<std::string>& command, int output, int errors)
{
    std::vector<char*> arguments;
    for (const auto& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    CPipe failure;
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(127);
        if (output >= 0)
            dup2(output, STDOUT_FILENO);
        if (errors >= 0)
            dup2(errors, STDERR_FILENO);
        execvp(arguments[0], arguments.data());
        const int error = errno;
        [[maybe_unused]] const auto told = write(failure.m_in.get(), &error, sizeof error);
        _exit(127);
    }
    const int forkError = errno;
    failure.m_in = CDescriptor();
    int error = child < 0 ? forkError : 0;
    if (child >= 0 && read(failure.m_out.get(), &error, sizeof error) == sizeof error)
        waitpid(child, nullptr, 0);
    if (error != 0)
        throw CNotStarted(command[0], CNotStarted::causeOf(command[0], error));
    return child;
}

CProgram::CProgram(const std::vector<std::string>& command, int errors)
{
    CPipe output;
    m_pid = spawn(command, output.m_in.get(), errors);
    m_output = std::move(output.m_out);
}

CProgram::~CProgram()
{
    kill(SIGKILL); // whoever is to end in another way is asked before
    wait(60s);
}

std::optional<std::string> CProgram::line(std::chrono::milliseconds limit)
{
    const auto end = Clock::now() + limit;
    for (;;) {
        if (const auto at = m_read.find('\n'); at != std::string::npos) {
            std::string found = m_read.substr(0, at);
            m_read.erase(0, at + 1);
            return found;
        }
        pollfd ready{m_output.get(), POLLIN, 0};
        const int answer = retried([&] { return poll(&ready, 1, millisecondsUntil(end)); });
        char buffer[4096];
        const auto got = answer > 0 ? read(m_output.get(), buffer, sizeof buffer) : 0;
        if (got <= 0)
            return std::nullopt;
        m_read.append(buffer, static_cast<size_t>(got));
    }
}

std::string CProgram::waitForLine(const std::string& start, std::chrono::milliseconds limit)
{
    const auto end = Clock::now() + limit;
    while (auto next = line(std::chrono::milliseconds(millisecondsUntil(end))))
        if (next->rfind(start, 0) == 0)
            return next->substr(start.size());
    throw std::runtime_error("no line \"" + start + "...\" came");
}

std::optional<int> CProgram::wait(std::chrono::milliseconds limit)
{
    const auto end = Clock::now() + limit;
    while (m_pid > 0) {
        int status = 0;
        const pid_t done = waitpid(m_pid, &status, WNOHANG);
        if (done == m_pid) {
            m_pid = -1;
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        if (done < 0)
            break;
        if (Clock::now() >= end)
            return std::nullopt;
        pauseFor(2ms);
    }
    return std::nullopt;
}

void CProgram::kill(int signal)
{
    siginfo_t info{};
    if (m_pid > 0 && waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0)
        ::kill(m_pid, signal); // it is still this process's child, and not another of that number
}

CXvfb::CErrors::CErrors() : file(memfd_create("gx-errors", MFD_CLOEXEC)) {}

std::string CXvfb::CErrors::text() const
{
    char text[2000];
    const ssize_t size = pread(file.get(), text, sizeof text, 0);
    return size > 0 ? ": " + std::string(text, static_cast<size_t>(size)) : "";
}

CXvfb::CXvfb(const std::vector<std::string>& options)
    : m_program(withOptions({"setsid", "Xvfb", "-displayfd", "1", "-noreset", "-nolisten", "tcp", "-auth",
                             authority(), "-screen", "0", "1280x1024x24"},
                            options),
                m_errors.file.get())
{
    const auto number = m_program.line(30s);
    if (!number)
        throw std::runtime_error("no display: Xvfb (Debian package xvfb) did not start" + m_errors.text());
    m_name = ":" + *number;
}

CXvfb::~CXvfb()
{
    m_program.kill(SIGTERM); // it removes its socket and its lock file
    m_program.wait(2s);
}
