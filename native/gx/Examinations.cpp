// What the rows of gx doctor look at.
#include "gx/Doctor.h"
#include "gx/JavaProgram.h"
#include "gx/StoreLeavings.h"
#include "session/PrivateIpc.h"
#include "unix/window/ServerComplaint.h"
#include "unix/window/WindowOwner.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fontconfig/fontconfig.h>
#include <map>
#include <memory>
#include <set>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "include/ScopedX.h"
#include "unix/input/Keyboards.h"
#include "unix/input/processkey.h"
#include "unix/sysv/IpcStatus.h"
#include "unix/window/XErrors.h"
#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

namespace {
using Found = std::optional<std::string>;

std::string variable(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? value : "";
}

std::string joined(const std::set<std::string>& all)
{
    std::string text;
    for (const std::string& each : all)
        text += (text.empty() ? "" : ", ") + each;
    return text;
}

Found display()
{
    return variable("DISPLAY").empty() ? Found("") : std::nullopt;
}

Found server()
{
    return walkDisplay() ? std::nullopt : Found(ServerComplaint::text());
}

bool hasExtension(const char* name)
{
    int opcode, event, error;
    return XQueryExtension(walkDisplay(), name, &opcode, &event, &error);
}

Found xtest()
{
    return hasExtension("XTEST") ? std::nullopt
                                 : Found("the X server " + variable("DISPLAY") + " has no XTEST");
}

/// A private session leaves the desktop that it was started from.
Found wayland()
{
    if (walkDisplay() && hasExtension("XWAYLAND"))
        return "the X server " + variable("DISPLAY") + " is XWayland";
    if (!variable("WAYLAND_DISPLAY").empty())
        return "WAYLAND_DISPLAY=" + variable("WAYLAND_DISPLAY");
    if (variable("XDG_SESSION_TYPE") == "wayland" && variable("GX_PRIVATE_SESSION").empty())
        return "XDG_SESSION_TYPE=wayland";
    return std::nullopt;
}

Found windowManager()
{
    XWindowAttributes root{};
    Display* const display = walkDisplay();
    XGetWindowAttributes(display, DefaultRootWindow(display), &root);
    return root.all_event_masks & SubstructureRedirectMask ? std::nullopt
                                                           : Found("nobody manages the windows");
}

Found inputMethod()
{
    const std::string modifiers = variable("XMODIFIERS"), gtk = variable("GTK_IM_MODULE");
    const size_t at = modifiers.find("@im=");
    const std::string im =
        at == std::string::npos ? "" : modifiers.substr(at + 4, modifiers.find('@', at + 4) - at - 4);
    std::set<std::string> found;
    if (!im.empty() && im != "none" && im != "local")
        found.insert("XMODIFIERS=" + modifiers);
    if (!gtk.empty() && gtk != "gtk-im-context-simple" && gtk != "none")
        found.insert("GTK_IM_MODULE=" + gtk);
    return found.empty() ? std::nullopt : Found(joined(found));
}

constexpr KeySym terminalKeysyms = 0xFD00; ///< keys of 3270 terminals, groups and the like come from here on

/// Types a character, or is a key that key strings name.
bool isTyped(KeySym keysym)
{
    const bool isCharacter =
        (keysym >= XK_space && keysym < terminalKeysyms) || (keysym & 0xFF000000) == unicodeKeysyms;
    // As of the keypad without Num Lock.
    const bool isOfKeyboards = keysym >= XK_BackSpace && keysym <= XK_F24;
    return isCharacter || isOfKeyboards || (isSpecialKey(keysym) && !IsModifierKey(keysym));
}

/// Names by codes.
std::map<unsigned, std::string> typedKeys()
{
    Display* const display = walkDisplay();
    int first = 0, last = 0;
    XDisplayKeycodes(display, &first, &last);
    std::map<unsigned, std::string> keys;
    for (int code = first; code <= last; ++code) {
        const KeySym keysym = XkbKeycodeToKeysym(display, static_cast<KeyCode>(code), 0, 0);
        const char* const name = XKeysymToString(keysym);
        if (name && isTyped(keysym))
            keys[static_cast<unsigned>(code)] = name;
    }
    return keys;
}

/// Tries to take keys, and knows by the refusals who else has them. Nobody gets a key meanwhile, and the
/// connection takes what it got along. Nothing is to be asked over another connection while it lives.
class CGrabTrial {
public:
    CGrabTrial() : m_connection(xcb_connect(nullptr, nullptr), xcb_disconnect) { xcb_grab_server(get()); }

    bool lives() const { return xcb_connection_has_error(get()) == 0; }
    bool isKeyboardTaken()
    {
        const auto reply = answer(
            get(),
            xcb_grab_keyboard(get(), 0, root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
            xcb_grab_keyboard_reply);
        return reply && reply->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
    }
    std::set<std::string> takenOf(const std::map<unsigned, std::string>& keys)
    {
        std::vector<std::pair<std::string, xcb_void_cookie_t>> asked;
        for (const auto& [code, name] : keys) {
            asked.emplace_back(name, grab(code, 0));
            asked.emplace_back("Shift+" + name, grab(code, XCB_MOD_MASK_SHIFT));
        }
        std::set<std::string> taken;
        for (const auto& [name, cookie] : asked)
            if (isRefused(cookie))
                taken.insert(name);
        return taken;
    }

private:
    xcb_void_cookie_t grab(unsigned code, uint16_t modifiers)
    {
        return xcb_grab_key_checked(get(), 1, root(), modifiers, static_cast<xcb_keycode_t>(code),
                                    XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    }
    bool isRefused(xcb_void_cookie_t cookie)
    {
        const MallocPtr<xcb_generic_error_t> error(xcb_request_check(get(), cookie));
        return error && error->error_code == XCB_ACCESS;
    }
    xcb_connection_t* get() const { return m_connection.get(); }
    xcb_window_t root() const { return xcb_setup_roots_iterator(xcb_get_setup(get())).data->root; }

    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
};

Found keyGrabs()
{
    const auto keys = typedKeys();
    CGrabTrial trial;
    if (!trial.lives())
        return std::nullopt;
    if (trial.isKeyboardTaken())
        return "another program has grabbed the whole keyboard";
    const std::set<std::string> taken = trial.takenOf(keys);
    return taken.empty() ? std::nullopt
                         : Found("BadAccess to X_GrabKey, since another program has taken " + joined(taken));
}

Found keyboards()
{
    const auto unlike = keyboardsUnlikeXTest(walkDisplay());
    return unlike.empty() ? std::nullopt : Found(joined({unlike.begin(), unlike.end()}));
}

Found processIds()
{
    const XID own = XAllocID(walkDisplay());
    return WindowOwner::processesOf({own}).front() == getpid() ? std::nullopt
                                                               : Found("it does not know this process");
}

void demand(std::set<std::string>& found, const char* limit, unsigned long there, unsigned long used,
            unsigned long needed)
{
    if (there < used || there - used < needed)
        found.insert(std::string(limit) + " is " + std::to_string(there) + ", of which " +
                     std::to_string(used) + " are in use, and " + std::to_string(needed) + " are needed");
}

Found ipcLimits()
{
    // A heap, a second one, the journal and the directory; a lock, a set of mutexes and mailslots, and
    // another.
    constexpr unsigned long segments = 4, sets = 3, semaphores = 2 + CSemaphoreStatus::ListSize,
                            heap = (1 << 20) + 4096;
    shminfo segmentLimits{};
    shm_info segmentsUsed{};
    seminfo setLimits{}, setsUsed{};
    CSemaphoreArgument limits, used;
    limits.__buf = &setLimits;
    used.__buf = &setsUsed;
    std::set<std::string> found;
    if (shmctl(0, IPC_INFO, reinterpret_cast<shmid_ds*>(&segmentLimits)) == -1 ||
        shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds*>(&segmentsUsed)) == -1 ||
        semctl(0, 0, IPC_INFO, limits) == -1 || semctl(0, 0, SEM_INFO, used) == -1)
        return std::string("System V IPC cannot be asked: ") + std::strerror(errno);
    demand(found, "kernel.shmmni", segmentLimits.shmmni, static_cast<unsigned long>(segmentsUsed.used_ids),
           segments);
    demand(found, "kernel.shmmax", segmentLimits.shmmax, 0, heap);
    demand(found, "kernel.sem (sets)", static_cast<unsigned long>(setLimits.semmni),
           static_cast<unsigned long>(setsUsed.semusz), sets);
    demand(found, "kernel.sem (semaphores)", static_cast<unsigned long>(setLimits.semmns),
           static_cast<unsigned long>(setsUsed.semaem), semaphores);
    demand(found, "kernel.sem (semaphores of a set)", static_cast<unsigned long>(setLimits.semmsl), 0,
           CSemaphoreStatus::ListSize);
    return found.empty() ? std::nullopt : Found(joined(found));
}

Found leavings()
{
    std::set<std::string> owners;
    const std::vector<CLeaving> all = StoreLeavings::find();
    for (const CLeaving& each : all)
        owners.insert(StoreLeavings::nameOfUser(each.owner));
    return all.empty()
               ? std::nullopt
               : Found(std::to_string(all.size()) + " segments and semaphore sets of " + joined(owners));
}

Found java()
{
    return JavaProgram::find().empty() ? Found(std::string(JavaProgram::places) + " have none")
                                       : std::nullopt;
}

Found javaInPath()
{
    return !java() && JavaProgram::findByName().empty() ? Found("there is only " + JavaProgram::find())
                                                        : std::nullopt;
}

Found javaVersion()
{
    const int version = JavaProgram::versionOf(JavaProgram::find());
    return version > 0 && version < 17 ? Found(JavaProgram::find() + " is Java " + std::to_string(version))
                                       : std::nullopt;
}

/// In a child, which it may take along to another namespace.
Found namespaces()
{
    const pid_t child = fork();
    if (child == 0)
        _exit(enterPrivateIpc() == PrivateIpc{}); // "None" is a macro of X
    int status = 0;
    waitpid(child, &status, 0);
    return child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0
               ? std::nullopt
               : Found("neither an IPC namespace nor a user namespace is to be had");
}

/// Through the library that programs use, which goes by FONTCONFIG_FILE and the user's own files, too.
Found fonts()
{
    const std::unique_ptr<FcConfig, decltype(&FcConfigDestroy)> config(FcInitLoadConfigAndFonts(),
                                                                       FcConfigDestroy);
    const FcFontSet* const found = config ? FcConfigGetFonts(config.get(), FcSetSystem) : nullptr;
    return found && found->nfont > 0 ? std::nullopt : Found("fontconfig finds no font");
}

constexpr bool stops = true, disturbs = false;
constexpr auto anywhere = CExamination::Nothing, onDisplay = CExamination::Display,
               onServer = CExamination::Server;

constexpr CExamination all[] = {
    {"display", "DISPLAY names a display", "DISPLAY is not set: neither programs nor tests find a screen",
     "run it all under gx session -- COMMAND, or set DISPLAY to that of a running X server, such as :0",
     stops, anywhere, display},
    {"server", "the X server answers", "the X server cannot be reached",
     "start it or correct DISPLAY and XAUTHORITY, or run it all under gx session -- COMMAND", stops,
     onDisplay, server},
    {"xtest", "the X server plays input",
     "no clicks and keys can be played: the X server lacks the extension XTEST",
     "start it without -extension XTEST, or use another: gx session -- COMMAND", stops, onServer, xtest},
    {"wayland", "it is no Wayland session",
     "this is a Wayland session: programs may show windows where X tools see none, input reaches X programs alone, and pictures of "
     "the screen are black where others show",
     "run tests under gx session -- COMMAND; GDK_BACKEND=x11 has GTK 3 programs use X", disturbs, anywhere,
     wayland},
    {"window-manager", "there is a window manager",
     "there is no window manager: new windows get no focus by themselves, none has a title bar, and dialogs may lie under other windows",
     "start one, such as openbox, or run it all under gx session -- COMMAND", disturbs, onServer,
     windowManager},
    {"input-method", "no input method takes keys",
     "an input method takes keys before programs do: what is typed may come late, in another order or as other characters",
     "start the programs with XMODIFIERS=@im=none GTK_IM_MODULE=gtk-im-context-simple", disturbs, anywhere,
     inputMethod},
    {"key-grabs", "nobody else takes keys",
     "keys that are typed go to another program, which has grabbed them; X does not tell which one",
     "take those hot keys from the window manager, desktop or whatever program has them, or end a program that holds the keyboard",
     disturbs, onServer, keyGrabs},
    {"keyboards", "all keyboards have one layout",
     "keyboards have different layouts: keys mean something else after each change between typing by hand and by tests",
     "give all the same: setxkbmap LAYOUT without -device", disturbs, onServer, keyboards},
    {"process-ids", "the X server says whose a window is",
     "the X server does not say whose a window is, as it lacks X-Resource or counts processes in another container: windows are listed "
     "without processes, and programs are taken for at rest by time alone",
     "run tests and X server in one container, with the extension", disturbs, onServer, processIds},
    {"ipc-limits", "limits of System V IPC suffice", "there is no room for the store that processes share",
     "raise the limits (sysctl -w kernel.shmmni=4096 kernel.sem=\"32000 1024000000 500 32000\"), or remove what is left over: "
     "gx store --sweep, ipcrm",
     stops, anywhere, ipcLimits},
    {"leavings", "no dead process has left anything",
     "dead processes have left segments or semaphores of the store",
     "gx store says whose; gx store --sweep removes those of this user, and their owners the others",
     disturbs, anywhere, leavings},
    {"java", "there is a Java", "there is no Java: programs cannot be asked for their widgets",
     "install default-jre-headless, or set JAVA_HOME", stops, anywhere, java},
    {"java-in-path", "JAVA_HOME or PATH has it", "build tools and scripts find no java",
     "set JAVA_HOME, or put java into PATH", disturbs, anywhere, javaInPath},
    {"java-version", "it is Java 17 or later", "the Java is too old for gxsys.jar",
     "install default-jre-headless, and set JAVA_HOME to it", stops, anywhere, javaVersion},
    {"namespaces", "sessions can have IPC of their own",
     "this machine or container lets nobody have namespaces: sessions share System V IPC, where each display has its own data, and "
     "sessions with --check take turns",
     "nothing needs to be done; to have them, allow user namespaces (sysctl -w user.max_user_namespaces=10000, or the container's own "
     "option for CAP_SYS_ADMIN)",
     disturbs, anywhere, namespaces},
    {"fonts", "there are fonts", "there is no font: programs show boxes in place of text, or end at once",
     "install fonts-dejavu-core", stops, anywhere, fonts},
};
} // namespace

std::span<const CExamination> examinations()
{
    return all;
}
