#include "PrivateSession.h"

#include "Program.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr const char* insideMark = "GX_PRIVATE_SESSION";

[[noreturn]] void die(const char* what)
{
    std::fprintf(stderr, "private session: %s: %s\n", what, std::strerror(errno));
    std::exit(1);
}

void writeTo(const char* path, const std::string& text)
{
    std::ofstream(path) << text;
}

/// An ordinary user needs a user namespace around the IPC namespace; root does without.
void enterPrivateIpc()
{
    const auto uid = getuid();
    const auto gid = getgid();
    if (unshare(CLONE_NEWIPC) == 0)
        return;
    if (unshare(CLONE_NEWUSER | CLONE_NEWIPC) != 0)
        die("no private IPC namespace (unshare)");
    writeTo("/proc/self/setgroups", "deny");
    writeTo("/proc/self/uid_map", std::to_string(uid) + " " + std::to_string(uid) + " 1");
    writeTo("/proc/self/gid_map", std::to_string(gid) + " " + std::to_string(gid) + " 1");
}

/// Lines of a table of /proc/sysvipc, less its heading.
int entriesOf(const char* table)
{
    std::ifstream file(table);
    std::string line;
    int lines = -1;
    while (std::getline(file, line))
        ++lines;
    return lines;
}

bool nothingLeft()
{
    bool clean = true;
    for (const char* kind : { "shm", "sem", "msg" }) {
        const int left = entriesOf((std::string("/proc/sysvipc/") + kind).c_str());
        if (left > 0) {
            std::fprintf(stderr, "private session: %d System V objects of kind %s were left behind\n", left, kind);
            clean = false;
        }
    }
    return clean;
}

class CPrivateHome {
public:
    CPrivateHome()
    {
        char name[] = "/tmp/gx-home-XXXXXX";
        if (!mkdtemp(name))
            die("no home directory");
        m_path = name;
        setenv("HOME", name, 1);
        setenv("XDG_CONFIG_HOME", (m_path + "/.config").c_str(), 1);
        setenv("XDG_CACHE_HOME", (m_path + "/.cache").c_str(), 1);
        setenv("XDG_DATA_HOME", (m_path + "/.local").c_str(), 1);
    }
    ~CPrivateHome()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CPrivateHome(const CPrivateHome&) = delete;

private:
    std::string m_path;
};

int statusOf(const std::vector<std::string>& command)
{
    const pid_t child = spawn(command, -1);
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            die("waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
}

int CPrivateSession::run(const std::vector<std::string>& command)
{
    enterPrivateIpc();
    unsetenv("SUDO_USER");
    unsetenv("QUESSA_TALVERN_VTX_INSTALL_DIR");
    unsetenv("TALVERN_GX_INSTALL_DIRECTORY");
    setenv("NO_AT_BRIDGE", "1", 1);
    setenv("GTK_A11Y", "none", 1);
    const CPrivateHome home;
    CXvfb server;
    setenv("DISPLAY", server.name().c_str(), 1);
    setenv(insideMark, "1", 1);
    const int status = statusOf(command);
    return nothingLeft() ? status : status ? status : 1;
}

void CPrivateSession::ensure(int argc, char** argv)
{
    if (getenv(insideMark))
        return;
    std::vector<std::string> command(argv, argv + argc);
    command[0] = std::filesystem::read_symlink("/proc/self/exe");
    std::exit(run(command));
}
