#include "session/SessionKeeper.h"

#include "include/Retried.h"
#include "session/PrivateSession.h"

#include "include/Within.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {
constexpr int callerDied = SIGUSR1; ///< of the keeper

volatile pid_t s_receiver = 0;
volatile sig_atomic_t s_isEnding = 0;

/// What the terminal sends, the receiver has got as well: both are in one process group.
void passOn(int signal, siginfo_t* info, void*)
{
    const int error = errno;
    if (s_receiver > 0 && info->si_code != SI_KERNEL)
        kill(s_receiver, signal);
    errno = error;
}

void endCommand(int)
{
    s_isEnding = 1;
    if (s_receiver > 0)
        kill(s_receiver, SIGKILL);
}

void passSignals()
{
    struct sigaction action {};
    action.sa_sigaction = passOn;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    for (const int signal : {SIGHUP, SIGINT, SIGTERM})
        sigaction(signal, &action, nullptr);
}

pid_t parentOf(const std::filesystem::path& process)
{
    std::ifstream file(process / "stat");
    std::string line;
    std::getline(file, line);
    const auto name = line.rfind(')');
    char state = 0;
    int parent = 0;
    return name != std::string::npos &&
                   std::sscanf(line.c_str() + name + 1, " %c %d", &state, &parent) == 2 && state != 'Z'
               ? parent
               : 0;
}

/// Processes below this one, those that have ended left out.
std::vector<pid_t> descendants()
{
    std::multimap<pid_t, pid_t> children;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error))
        if (const pid_t id = std::atoi(entry.path().filename().c_str()); id > 0)
            children.emplace(parentOf(entry.path()), id);
    std::vector<pid_t> found{getpid()};
    for (size_t next = 0; next < found.size(); ++next) {
        const auto [first, last] = children.equal_range(found[next]);
        std::transform(first, last, std::back_inserter(found),
                       [](const auto& child) { return child.second; });
    }
    found.erase(found.begin());
    return found;
}

std::vector<pid_t> leftovers(const std::vector<pid_t>& spared)
{
    auto left = descendants();
    std::erase_if(left,
                  [&](pid_t id) { return std::find(spared.begin(), spared.end(), id) != spared.end(); });
    return left;
}

/// What ends meanwhile may leave children to this process, so that it is asked anew.
void endAll(const std::vector<pid_t>& spared, int signal, std::chrono::milliseconds limit)
{
    for (const pid_t id : leftovers(spared))
        kill(id, signal);
    within(limit, [&] {
        const auto left = leftovers(spared);
        if (signal == SIGKILL)
            for (const pid_t id : left)
                kill(id, signal);
        return left.empty();
    });
}

[[noreturn]] void keep(const std::function<int()>& session, const std::function<void()>& clearUp,
                       pid_t caller)
{
    signal(callerDied, endCommand);
    prctl(PR_SET_PDEATHSIG, callerDied);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    int status = CPrivateSession::NoSession;
    try {
        if (getppid() == caller)
            status = session();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "private session: %s\n", e.what());
    }
    SessionKeeper::endLeftovers({});
    clearUp();
    std::fflush(nullptr);
    _exit(status);
}

int statusOf(pid_t child)
{
    int status = 0;
    if (retried([&] { return waitpid(child, &status, 0); }) < 0)
        throw std::runtime_error(std::string("waitpid: ") + std::strerror(errno));
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
} // namespace

int SessionKeeper::run(const std::function<int()>& session, const std::function<void()>& clearUp)
{
    std::fflush(nullptr);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t caller = getpid();
    const pid_t keeper = fork();
    if (keeper < 0)
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    if (keeper == 0) {
        passSignals();
        keep(session, clearUp, caller);
    }
    passSignalsTo(keeper);
    passSignals();
    const int status = statusOf(keeper);
    passSignalsTo(0);
    endLeftovers({}); // of a keeper that was killed
    clearUp();
    return status;
}

void SessionKeeper::endLeftovers(const std::vector<pid_t>& spared)
{
    if (!s_isEnding)
        endAll(spared, SIGTERM, 2s);
    endAll(spared, SIGKILL, 5s);
}

void SessionKeeper::passSignalsTo(pid_t process)
{
    s_receiver = process;
    if (s_isEnding && process > 0)
        kill(process, SIGKILL);
}
