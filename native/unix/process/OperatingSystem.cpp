#include "unix/process/OperatingSystem.h"

#include "common/trace/CTracer.h"
#include "common/trace/Environment.h"
#include "include/Pause.h"
#include "unix/process/ProcessStat.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <sched.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {
using std::chrono::milliseconds;

constexpr milliseconds pollPause(10);
constexpr milliseconds defaultLimit(120'000);
constexpr time_t killSeconds = 5;

milliseconds waitLimit(int timeoutMs)
{
    if (const std::optional<std::string> seconds = CEnvironment::get("TALVERN_EXEC_MAX_WAIT_TIME"))
        return std::chrono::seconds(std::atoi(seconds->c_str()));
    return timeoutMs == -1 ? defaultLimit : milliseconds(timeoutMs);
}

/// Makes one word of the program's name, which stands in parentheses and may hold blanks and parentheses of
/// its own.
void joinName(std::string& stat)
{
    const size_t start = stat.find('(');
    const size_t end = stat.rfind(')');
    if (start != std::string::npos && end != std::string::npos)
        stat.replace(start, end - start + 1, "name");
}
} // namespace

CProcessEnd COperatingSystem::wait(pid_t pid)
{
    for (CChildWait child(pid);;) {
        if (const std::optional<CProcessEnd> end = child.end())
            return *end;
        // No pause: where nobody else wants the processor, this comes back at once. Where somebody does, it
        // may be the child.
        sched_yield();
    }
}

CProcessEnd COperatingSystem::waitWithTimeout(pid_t pid, int timeoutMs)
{
    CChildWait child(pid);
    for (milliseconds left = waitLimit(timeoutMs);;) {
        if (const std::optional<CProcessEnd> end = child.end())
            return *end;
        if (left <= milliseconds::zero())
            break;
        const milliseconds pause = std::min(pollPause, left);
        pauseFor(pause);
        left -= 2 * pause;
    }
    CTracer::debugTrace("OperatingSystem_wait: wait time for process: %d to exit has expired", pid);
    return CProcessEnd{CProcessEnd::expired};
}

bool COperatingSystem::isAlive(pid_t pid)
{
    return pid > 0 && ::kill(pid, 0) == 0;
}

void COperatingSystem::kill(pid_t pid)
{
    if (pid <= 0)
        return;
    ::kill(pid, SIGTERM);
    const time_t start = time(nullptr);
    while (isAlive(pid)) {
        if (time(nullptr) - start >= killSeconds) {
            printOutCommandLineForPid(pid);
            return;
        }
        pauseFor(milliseconds(1));
    }
}

pid_t COperatingSystem::getppid(pid_t pid)
{
    std::string stat = CProcessStat::file(pid, "stat");
    joinName(stat);
    pid_t parent = -1;
    return std::sscanf(stat.c_str(), "%*d %*s %*c %d", &parent) == 1 ? parent : -1;
}

std::optional<std::string> COperatingSystem::getVersion()
{
    utsname system;
    if (uname(&system) != 0)
        return std::nullopt;
    return std::string(system.sysname) + " " + system.release + " " + system.version;
}

bool COperatingSystem::isFileWriteable(const char* path)
{
    return path && access(path, W_OK) == 0;
}

void COperatingSystem::printOutCommandLineForPid(pid_t pid)
{
    std::string line = CProcessStat::file(pid, "cmdline");
    while (!line.empty() && line.back() == '\0')
        line.pop_back();
    std::replace(line.begin(), line.end(), '\0', ' ');
    CTracer::debugTrace("Process %d: %s", pid, line.c_str());
}
