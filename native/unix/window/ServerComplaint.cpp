#include "unix/window/ServerComplaint.h"

#include "include/GxGlobals.h"
#include "include/ScopedFile.h"
#include "unix/window/OwnDisplay.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "include/ScopedX.h"

namespace {
constexpr const char* startOne = "gx session -- COMMAND runs a command on a display of its own";

/// Where a display's name leads.
struct CPlaceOfServer {
    explicit CPlaceOfServer(const char* name)
    {
        char* host = nullptr;
        isName = xcb_parse_display(name, &host, &number, nullptr) != 0;
        const MallocPtr<char> owner(host);
        machine = isName && std::strcmp(host, "unix") != 0 ? host : "";
    }
    bool isName;
    std::string machine; ///< empty for this one
    int number = 0;
};

/// What the server's socket of this name answers; 0 when somebody takes the connection.
/// @param abstract  the name is one of the kernel's, which has no file
int errorAt(const std::string& name, bool abstract)
{
    const CDescriptor descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path + abstract, sizeof address.sun_path - 2);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + abstract + name.size());
    const bool isTaken = connect(descriptor.get(), reinterpret_cast<sockaddr*>(&address), length) == 0;
    const int error = isTaken ? 0 : errno;
    return error == EAGAIN ? 0 : error; // it runs, and has more to do than it gets done
}

/// An errno value; 0 when a server takes connections on this machine.
int errorOfServer(int number)
{
    const std::string name = "/tmp/.X11-unix/X" + std::to_string(number);
    return errorAt(name, true) == 0 ? 0 : errorAt(name, false);
}

std::string cookieFile()
{
    const char* const file = std::getenv("XAUTHORITY");
    return file ? std::string("XAUTHORITY=") + file : "~/.Xauthority";
}

std::string complaintAbout(const char* name)
{
    const CPlaceOfServer place(name);
    const std::string who = std::string("the X server of DISPLAY=") + name;
    if (!place.isName)
        return who + " cannot be asked: that is no name of a display, which reads :0 or host:0";
    const int error = place.machine.empty() ? errorOfServer(place.number) : 0;
    if (g_display)
        return who + " has gone, or has cut the connection of this process" +
               (error ? std::string(" (") + std::strerror(error) + ")" : "") +
               ": start anew what it served; " + startOne;
    if (!place.machine.empty())
        return who + " does not answer: is the machine " + place.machine +
               " to be reached, and does it take connections?";
    if (error)
        return who + " does not run here (" + std::strerror(error) + "); " + startOne;
    return who +
           " runs and refuses this user, or has stopped: it takes those who have its cookie, which is looked for in " +
           cookieFile();
}
} // namespace

std::string ServerComplaint::reason(const char* name)
{
    if (!name || !*name)
        return "DISPLAY is not set";
    const CPlaceOfServer place(name);
    if (!place.isName)
        return "this is not the name of a display";
    if (!place.machine.empty())
        return "the server does not answer or refuses";
    const int error = errorOfServer(place.number);
    return error ? std::strerror(error) : "the server refuses";
}

std::string ServerComplaint::text()
{
    if (isConnected(g_display))
        return {};
    const char* const name = std::getenv("DISPLAY");
    return name && *name ? complaintAbout(name)
                         : std::string("there is no X server to ask: DISPLAY is not set; ") + startOne;
}
