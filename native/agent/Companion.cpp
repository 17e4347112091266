#include "agent/Companion.h"

#include "include/Retried.h"
#include "include/ScopedFile.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <poll.h>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr auto patience = std::chrono::seconds(2); ///< as long as Application.close waits

/// A process that stays the same one, also when its number is used again.
class CProcess {
public:
    explicit CProcess(pid_t pid) : m_handle(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))) {}

    bool isKnown() const { return bool(m_handle); }
    void signal(int number) const { syscall(SYS_pidfd_send_signal, m_handle.get(), number, nullptr, 0); }
    pollfd toPoll() const { return {m_handle.get(), POLLIN, 0}; }

private:
    CDescriptor m_handle;
};

bool hasEnded(const CProcess& process, int timeoutMs = 0)
{
    pollfd state = process.toPoll();
    return poll(&state, 1, timeoutMs) > 0;
}

/// Waits until one of the two has ended.
void awaitOne(const CProcess& first, const CProcess& second)
{
    pollfd states[] = {first.toPoll(), second.toPoll()};
    retried([&] { return poll(states, 2, -1); });
}

/// The parent of a process; 0 when it has gone. The name, in parentheses, may hold anything.
pid_t parentOf(pid_t pid)
{
    std::string line;
    std::getline(std::ifstream("/proc/" + std::to_string(pid) + "/stat"), line);
    const auto name = line.rfind(')');
    return name == std::string::npos ? 0 : std::atoi(line.c_str() + std::min(name + 4, line.size()));
}

std::multimap<pid_t, pid_t> childrenByParent()
{
    std::multimap<pid_t, pid_t> children;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored))
        if (const pid_t pid = std::atoi(entry.path().filename().c_str()); pid > 0)
            children.emplace(parentOf(pid), pid);
    return children;
}

/// A process and its descendants, parents first.
std::vector<CProcess> familyOf(pid_t eldest)
{
    const auto children = childrenByParent();
    std::vector<pid_t> family{eldest};
    for (size_t next = 0; next < family.size(); ++next)
        for (auto [child, end] = children.equal_range(family[next]); child != end; ++child)
            family.push_back(child->second);
    return {family.begin(), family.end()};
}

void endFamily(pid_t eldest)
{
    const auto family = familyOf(eldest);
    for (const auto& process : family)
        process.signal(SIGTERM);
    const auto end = std::chrono::steady_clock::now() + patience;
    for (const auto& process : family) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (!hasEnded(process, static_cast<int>(std::max<long>(left.count(), 0))))
            process.signal(SIGKILL);
    }
}

/// Closes what the program has open, so that a pipe of its closes when it ends.
void keepOnly(const CProcess& first, const CProcess& second)
{
    std::vector<int> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        open.push_back(std::atoi(entry.path().filename().c_str()));
    for (const int descriptor : open)
        if (descriptor != first.toPoll().fd && descriptor != second.toPoll().fd)
            close(descriptor);
}

/// In a session of its own, so that a signal from the terminal does not end it before the program.
[[noreturn]] void accompany(const CProcess& master, const CProcess& program, pid_t pid)
{
    setsid();
    keepOnly(master, program);
    if (chdir("/") == 0)
        awaitOne(master, program);
    if (hasEnded(master) && !hasEnded(program))
        endFamily(pid);
    _exit(0);
}
} // namespace

bool Companion::endWith(pid_t master)
{
    const CProcess one(master);
    const CProcess program(getpid());
    if (!one.isKnown() || !program.isKnown())
        return false;
    const pid_t pid = getpid();
    const pid_t between = fork();
    if (between == 0) {
        // Twice: the companion's parent is not the program, which might wait for all of its children.
        if (fork() == 0)
            accompany(one, program, pid);
        _exit(0);
    }
    int status = 1;
    return between > 0 && waitpid(between, &status, 0) == between && status == 0;
}
