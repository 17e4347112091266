#include "session/PrivateSession.h"

#include "include/Retried.h"
#include "include/Within.h"
#include "session/PrivateIpc.h"
#include "session/Program.h"
#include "session/SessionKeeper.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <X11/Xauth.h>
#include <xcb/xcb.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {
constexpr const char* insideMark = "GX_PRIVATE_SESSION";

[[noreturn]] void die(const char* what)
{
    std::fprintf(stderr, "private session: %s: %s\n", what, std::strerror(errno));
    std::exit(CPrivateSession::NoSession);
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
        giveDirectory("XDG_CONFIG_HOME", "/.config");
        giveDirectory("XDG_CACHE_HOME", "/.cache");
        giveDirectory("XDG_DATA_HOME", "/.local");
        setenv("XDG_RUNTIME_DIR", name, 1);
        writeCookie(m_path + "/.Xauthority");
    }
    CPrivateHome(const CPrivateHome&) = delete;
    void remove() const
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

private:
    /// There before programs come: GTK 2 makes none, and complains with each file that a dialog takes.
    void giveDirectory(const char* variable, const char* name) const
    {
        const std::string path = m_path + name;
        if (mkdir(path.c_str(), 0700) != 0)
            die("no home directory");
        setenv(variable, path.c_str(), 1);
    }
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

/// Reaps what others have left behind as well.
int awaitEnd(pid_t child)
{
    int status = 0;
    for (pid_t ended = 0; ended != child;) {
        ended = retried([&] { return waitpid(-1, &status, 0); });
        if (ended < 0)
            die("waitpid");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// Who ends the session by a signal ends the command, so that the session can clear up behind it.
int statusOf(const std::vector<std::string>& command)
try {
    const pid_t child = spawn(command, -1);
    SessionKeeper::passSignalsTo(child);
    const int status = awaitEnd(child);
    SessionKeeper::passSignalsTo(0);
    return status;
} catch (const CNotStarted& e) {
    std::fprintf(stderr, "private session: %s\n", e.what());
    return e.status();
}

std::string textOf(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// For a character that no key has, a key is given it for one stroke, and openbox reads the keyboard anew
/// each time: without key bindings to grab and a Compose table to parse it keeps up.
void configureOpenbox(const std::string& home)
{
    std::string text = textOf("/etc/xdg/openbox/rc.xml");
    constexpr std::string_view end = "</keyboard>";
    const auto first = text.find("<keyboard>");
    const auto last = text.find(end);
    if (first == std::string::npos || last == std::string::npos)
        return;
    const std::string directory = home + "/.config/openbox";
    std::filesystem::create_directories(directory);
    std::ofstream(directory + "/rc.xml") << text.erase(first, last + end.size() - first);
}

/// A window manager on the session's display, until the session ends.
class CWindowManager {
public:
    CWindowManager(const std::string& name, const std::string& home)
        : m_program(commandOf(name, home)), m_connection(xcb_connect(nullptr, nullptr), xcb_disconnect)
    {
        if (!within(20s, [&] { return manages() || hasEnded(); }) || hasEnded())
            throw std::runtime_error(
                "the window manager " + name +
                " does not run: it has ended, or does not manage the windows within 20 s; "
                "--wm names another, or none");
    }
    pid_t pid() const { return m_program.pid(); }

private:
    static std::vector<std::string> commandOf(const std::string& name, const std::string& home)
    {
        if (std::filesystem::path(name).filename() != "openbox")
            return {"setsid", name};
        configureOpenbox(home);
        return {"setsid", "env", "XCOMPOSEFILE=/dev/null", name, "--sm-disable"};
    }
    bool hasEnded() { return m_program.pid() < 0 || m_program.wait(0ms); }

    /// The windows of the display are the window manager's, and it has said so if it is one that does.
    bool manages()
    {
        xcb_connection_t* const x = m_connection.get();
        if (xcb_connection_has_error(x))
            return false;
        const auto root = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
        const std::unique_ptr<xcb_get_window_attributes_reply_t, decltype(&free)> windows(
            xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, root), nullptr), free);
        if (!windows || !(windows->all_event_masks & XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT))
            return false;
        m_redirected = m_redirected ? *m_redirected : Clock::now();
        // openbox says early that it is there, then reads fonts, which can take seconds, and may lose sight of a
        // window that is mapped meanwhile until something else happens; its list of windows comes behind that.
        const auto patience = has(x, root, "_NET_SUPPORTING_WM_CHECK") ? 10s : 1s;
        return has(x, root, "_NET_CLIENT_LIST") || Clock::now() - *m_redirected > patience;
    }

    static bool has(xcb_connection_t* x, xcb_window_t root, std::string_view name)
    {
        const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&free)> atom(
            xcb_intern_atom_reply(x, xcb_intern_atom(x, 0, name.size(), name.data()), nullptr), free);
        const std::unique_ptr<xcb_get_property_reply_t, decltype(&free)> property(
            atom ? xcb_get_property_reply(x, xcb_get_property(x, 0, root, atom->atom, XCB_ATOM_WINDOW, 0, 1),
                                          nullptr)
                 : nullptr,
            free);
        return property && property->type == XCB_ATOM_WINDOW; // the list may be empty
    }

    CProgram m_program;
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
    std::optional<Clock::time_point> m_redirected;
};

bool isInstalled(const std::string& program)
{
    std::istringstream path(getenv("PATH") ? getenv("PATH") : "/usr/bin:/bin");
    for (std::string directory; std::getline(path, directory, ':');)
        if (access(directory.append("/").append(program).c_str(), X_OK) == 0)
            return true;
    return false;
}

/// The window manager to start; empty for none.
std::string windowManagerOf(const CPrivateSession::COptions& options)
{
    if (options.windowManager != CPrivateSession::AnyWindowManager)
        return options.windowManager;
    for (const char* name : {"openbox", "metacity", "xfwm4", "marco", "icewm", "fvwm", "twm"})
        if (isInstalled(name))
            return name;
    return {};
}

/// The user's own desktop stays out of it: its services would show windows there, or know of programs here.
void leaveDesktop()
{
    for (const char* name : {"SUDO_USER", "QUESSA_TALVERN_VTX_INSTALL_DIR", "TALVERN_GX_INSTALL_DIRECTORY",
                             "WAYLAND_DISPLAY", "SESSION_MANAGER"})
        unsetenv(name);
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    setenv("GSETTINGS_BACKEND", "memory", 0); // the usual one writes over the bus
    setenv("NO_AT_BRIDGE", "1", 1);
    setenv("GTK_A11Y", "none", 1);
}

int runOnDisplay(const std::vector<std::string>& command, const CPrivateSession::COptions& options)
{
    CXvfb server({"-screen", "0", options.screen});
    setenv("DISPLAY", server.name().c_str(), 1);
    std::vector<pid_t> servants{server.program().pid()};
    std::optional<CWindowManager> manager;
    if (const std::string name = windowManagerOf(options); !name.empty())
        servants.push_back(manager.emplace(name, getenv("HOME")).pid());
    const int status = statusOf(command);
    SessionKeeper::endLeftovers(servants);
    return status;
}

int runInside(const std::vector<std::string>& command, const CPrivateSession::COptions& options)
{
    CSessionIpc ipc(options.takesTurns);
    if (const std::string obstacle = ipc.obstacle(); !obstacle.empty()) {
        std::fprintf(stderr, "skipped: %s: %s\n", command[0].c_str(), obstacle.c_str());
        return CPrivateSession::Skipped;
    }
    leaveDesktop();
    setenv(insideMark, ipc.isPrivate() ? "private" : "common", 1);
    const int status = runOnDisplay(command, options);
    // What is left in a namespace of its own goes with it.
    const auto left = options.mayLeave && ipc.isPrivate() ? 0 : ipc.removeLeft();
    return status == 0 && left > 0 && !options.mayLeave ? 1 : status;
}
} // namespace

int CPrivateSession::run(const std::vector<std::string>& command, const COptions& options)
{
    try {
        const CPrivateHome home;
        return SessionKeeper::run([&] { return runInside(command, options); }, [&] { home.remove(); });
    } catch (const std::exception& e) {
        std::fprintf(stderr, "private session: %s\n", e.what());
        return NoSession;
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
