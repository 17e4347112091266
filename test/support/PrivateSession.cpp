#include "PrivateSession.h"

#include "PrivateIpc.h"
#include "Program.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <X11/Xauth.h>

namespace {
constexpr const char* insideMark = "GX_PRIVATE_SESSION";

[[noreturn]] void die(const char* what)
{
    std::fprintf(stderr, "private session: %s: %s\n", what, std::strerror(errno));
    std::exit(1);
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
        writeCookie(m_path + "/.Xauthority");
    }
    ~CPrivateHome()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    CPrivateHome(const CPrivateHome&) = delete;

private:
    /// One cookie for every X server of the session: the entry names neither a host nor a display.
    static void writeCookie(const std::string& path)
    {
        char cookie[16];
        char name[] = "MIT-MAGIC-COOKIE-1";
        Xauth entry{FamilyWild, 0, nullptr, 0, nullptr, sizeof name - 1, name, sizeof cookie, cookie};
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        const std::unique_ptr<FILE, int (*)(FILE*)> stream(file < 0 ? nullptr : fdopen(file, "w"),
                                                           std::fclose);
        if (!stream || getrandom(cookie, sizeof cookie, 0) != sizeof cookie ||
            !XauWriteAuth(stream.get(), &entry) || std::fflush(stream.get()) != 0)
            die("no cookie for the X server");
        setenv("XAUTHORITY", path.c_str(), 1);
    }

    std::string m_path;
};

volatile pid_t s_child = 0;

void passOn(int signal)
{
    if (s_child > 0)
        kill(s_child, signal);
}

/// Who ends the session by a signal ends the command, so that the session can clear up behind it.
int statusOf(const std::vector<std::string>& command)
{
    const pid_t child = spawn(command, -1);
    s_child = child;
    for (const int ending : {SIGHUP, SIGINT, SIGTERM})
        signal(ending, passOn);
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            die("waitpid");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int runInside(const std::vector<std::string>& command, const CPrivateSession::COptions& options)
{
    CSessionIpc ipc;
    if (const std::string obstacle = ipc.obstacle(); !obstacle.empty()) {
        std::fprintf(stderr, "skipped: %s: %s\n", command[0].c_str(), obstacle.c_str());
        return CPrivateSession::Skipped;
    }
    for (const char* name : {"SUDO_USER", "QUESSA_TALVERN_VTX_INSTALL_DIR", "TALVERN_GX_INSTALL_DIRECTORY"})
        unsetenv(name);
    setenv("NO_AT_BRIDGE", "1", 1);
    setenv("GTK_A11Y", "none", 1);
    int status;
    {
        const CPrivateHome home;
        CXvfb server({"-screen", "0", options.screen});
        setenv("DISPLAY", server.name().c_str(), 1);
        setenv(insideMark, ipc.isPrivate() ? "private" : "common", 1);
        status = statusOf(command);
    }
    const bool failed = ipc.removeLeft() > 0 && !options.mayLeave;
    return status == 0 && failed ? 1 : status;
}
} // namespace

int CPrivateSession::run(const std::vector<std::string>& command, const COptions& options)
{
    try {
        return runInside(command, options);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "private session: %s\n", e.what());
        return 1;
    }
}

void CPrivateSession::ensure(int argc, char** argv, bool mayLeave)
{
    if (getenv(insideMark))
        return;
    std::vector<std::string> command(argv, argv + argc);
    command[0] = std::filesystem::read_symlink("/proc/self/exe");
    COptions options;
    options.mayLeave = mayLeave;
    std::exit(run(command, options));
}

const char* CPrivateSession::whyNoPrivateIpc()
{
    const char* const mark = getenv(insideMark);
    return mark && std::strcmp(mark, "common") == 0 ? "no private IPC namespace can be had here" : nullptr;
}

const char* CPrivateSession::whyNoOtherUser()
{
    unsigned inside = 0, outside = 0, count = 0;
    std::ifstream("/proc/self/uid_map") >> inside >> outside >> count;
    constexpr auto why = "no second user can be had: this is not root, or root of a user namespace only";
    return geteuid() == 0 && count > 1 ? nullptr : why;
}

std::string CPrivateSession::environment()
{
    const std::string user = geteuid() == 0 ? "root" : "an ordinary user";
    switch (enterPrivateIpc()) {
    case PrivateIpc::Plain:
        return user + ", with private IPC namespaces";
    case PrivateIpc::InUserNamespace:
        return user + ", with private IPC namespaces inside of user namespaces";
    default:
        return user + ", without private IPC namespaces: sessions take turns, and what needs one is skipped";
    }
}
