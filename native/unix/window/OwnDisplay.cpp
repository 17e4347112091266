#include "unix/window/OwnDisplay.h"

#include "common/trace/CTracer.h"
#include "include/NeverDestroyed.h"
#include "unix/process/ProcessEnd.h"
#include "unix/window/ServerComplaint.h"
#include "unix/window/XErrors.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <mutex>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "include/ScopedX.h"

#include <X11/Xlib-xcb.h>
// The buffer of a connection, as the extension libraries know it; its macros break what follows.
#include <X11/Xlibint.h>

namespace {
constinit std::mutex s_mutex; ///< guards what follows; nothing is asked of Xlib while it is held
/// The library's connections, those that were lost included. Others may be lost while the process ends.
constinit CNeverDestroyed<std::vector<Display*>> s_own;
constinit int s_open = 0;

/// What Xlib is to call for a connection of the host. The first one that was found stays known, too: a
/// handler of the host that was set after ours may hand on what it gets, and it comes back here.
constinit std::atomic<XIOErrorHandler> s_hostHandler = nullptr;
constinit std::atomic<XIOErrorHandler> s_firstHandler = nullptr;

/// Xlib gives up its global locks when its library ends, which is before other threads do.
constinit std::shared_timed_mutex s_globals;
constinit std::atomic<bool> s_hasEnded = false;

/// No limit for one that waits for a server to let it open a connection.
void endGlobals()
{
    constexpr std::chrono::milliseconds patience(500);
    s_hasEnded = true;
    if (s_globals.try_lock_for(patience))
        s_globals.unlock();
}

bool isOwn(Display* display)
{
    const std::lock_guard guard(s_mutex);
    return std::find(s_own->begin(), s_own->end(), display) != s_own->end();
}

int lostConnection(Display* display)
{
    static thread_local bool s_handingOn = false;
    if (isOwn(display))
        return 0;
    const XIOErrorHandler next = s_handingOn ? s_firstHandler : s_hostHandler;
    s_handingOn = true;
    if (next)
        next(display);
    s_handingOn = false;
    return 0;
}

void installLossHandler()
{
    const CXlibGlobals globals;
    if (!globals)
        return;
    const XIOErrorHandler previous = XSetIOErrorHandler(lostConnection);
    if (previous == lostConnection)
        return;
    s_hostHandler = previous;
    XIOErrorHandler none = nullptr;
    s_firstHandler.compare_exchange_strong(none, previous);
}

/// The library may be unloaded next.
void giveLossHandlerBack()
{
    const CXlibGlobals globals;
    if (!globals)
        return;
    const XIOErrorHandler current = XSetIOErrorHandler(s_hostHandler);
    if (current != lostConnection)
        XSetIOErrorHandler(current);
}

/// All connections of a process fail or are lost for one reason: the first line is enough.
constinit std::atomic_flag s_traced = ATOMIC_FLAG_INIT;

void traceLoss(Display* display)
{
    if (!s_traced.test_and_set())
        CTracer::debugTrace("The connection to X server %s is lost", DisplayString(display));
}

/// In place of the end of the process. Xlib goes on with the call that found out, and with those after it: it
/// sends and awaits nothing any more, but writes requests to the buffer, which nobody would empty, and takes
/// it for granted that there is room. So there is more than an operation writes before it asks isConnected,
/// which begins the buffer anew. Xlib holds the connection for this thread, since programs end here: others
/// may be waiting for it. The old buffer stays: a request that is being written points into it.
void surviveLoss(Display* display, void*)
{
    constexpr size_t room = 256UL * 1024;
    XUnlockDisplay(display);
    LockDisplay(display);
    if (auto* const buffer = static_cast<char*>(std::malloc(room))) {
        display->buffer = display->bufptr = buffer;
        display->bufmax = buffer + room;
    }
    UnlockDisplay(display);
    traceLoss(display);
}

void dropRequests(Display* display)
{
    LockDisplay(display);
    if (display->flags & XlibDisplayIOError)
        display->bufptr = display->buffer;
    UnlockDisplay(display);
}

void traceFailure()
{
    if (s_traced.test_and_set())
        return;
    const char* const name = std::getenv("DISPLAY");
    CTracer::debugTrace("No connection to X server %s: %s", name ? name : "",
                        ServerComplaint::reason(name).c_str());
}

void adopt(Display* display)
{
    {
        const std::lock_guard guard(s_mutex);
        s_own->push_back(display);
        ++s_open;
    }
    XSetIOErrorExitHandler(display, surviveLoss, nullptr);
    installLossHandler();
}

/// @return whether it was the last
bool forget(Display* display)
{
    const std::lock_guard guard(s_mutex);
    std::erase(*s_own, display);
    return --s_open == 0;
}

/// The memory of a lost connection stays: an extension that was to be asked for first when the server had
/// gone has left libXext with a list that it cannot free. @return whether it was the last
bool keep(Display* display)
{
    const std::lock_guard guard(s_mutex);
    close(ConnectionNumber(display));
    return --s_open == 0;
}

bool closeAndForget(Display* display)
{
    const CNoBrokenPipe guard;
    if (const CXlibGlobals globals; globals)
        XCloseDisplay(display);
    return forget(display);
}

constinit bool s_isUnloaded = false;

/// When the library is unloaded this runs before the handlers of atexit, at the end of the process after
/// them.
[[gnu::destructor]] void noteUnloading()
{
    s_isUnloaded = true;
}

/// Of a directory: itself, its name in its parent, and one for each directory that it holds.
constexpr nlink_t linksOfOneThread = 3;

sigset_t brokenPipe()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}
} // namespace

CXlibGlobals::CXlibGlobals() : m_guard(s_globals), m_areThere(!s_hasEnded) {}

Display* openOwnDisplay()
{
    // Before the handlers that close connections register themselves: what was registered first runs last.
    [[maybe_unused]] static const bool s_registered = atProcessEnd<endGlobals>();
    const CXlibGlobals globals;
    if (!globals)
        return nullptr;
    XInitThreads(); // before any connection is opened; any number of calls
    Display* const display = XOpenDisplay(nullptr);
    if (display)
        adopt(display);
    else
        traceFailure();
    return display;
}

void closeOwnDisplay(Display* display)
{
    if (!display)
        return;
    if (isConnected(display) ? closeAndForget(display) : keep(display))
        giveLossHandlerBack();
}

bool endsWithProcess()
{
    struct stat threads;
    const bool hasOthers = stat("/proc/self/task", &threads) != 0 || threads.st_nlink > linksOfOneThread;
    return !s_isUnloaded && hasOthers;
}

bool isConnected(Display* display)
{
    if (!display)
        return false;
    pollfd socket{ConnectionNumber(display), POLLRDHUP, 0};
    if (xcb_connection_has_error(XGetXCBConnection(display)) == 0 && poll(&socket, 1, 0) <= 0)
        return true;
    dropRequests(display);
    traceLoss(display);
    return false;
}

Display* usableDisplay(Display* display)
{
    if (!isConnected(display))
        return nullptr;
    installXlibErrorHandler();
    installLossHandler();
    return display;
}

CNoBrokenPipe::CNoBrokenPipe()
{
    const sigset_t set = brokenPipe();
    pthread_sigmask(SIG_BLOCK, &set, &m_before);
}

CNoBrokenPipe::~CNoBrokenPipe()
{
    const sigset_t set = brokenPipe();
    const timespec atOnce{};
    if (!sigismember(&m_before, SIGPIPE))
        while (sigtimedwait(&set, nullptr, &atOnce) == SIGPIPE) {
        }
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}
