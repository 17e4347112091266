// The functions of Xlib that tell what toolkits and libraries do with their displays. A library calls Xlib
// through its table of links whichever way the program called the library, so one function catches all the
// ways:
//
// - Xt, however a display came to it (XtOpenDisplay, XtDisplayInitialize, the varargs ones, a converter),
//   watches its internal connections: XAddConnectionWatch.
// - GDK opens its displays by XOpenDisplay.
//
// Error handlers belong to the process. The one of libgxsys.so is given the errors of the displays that
// libgxsys.so has opened, and no others; the program sets, reads and gets its own as if it were alone.
#include "agent/Agent.h"
#include "agent/AgentVariables.h"
#include "agent/MainLoop.h"
#include "agent/RealFunction.h"

#include <atomic>
#include <cstring>
#include <dlfcn.h>

#include <X11/Xlib.h>

namespace {
constexpr const char* libX11 = "libX11.so.6";
constinit CRealFunction<Display*(const char*)> s_open{"XOpenDisplay", libX11};
constinit CRealFunction<int(Display*)> s_close{"XCloseDisplay", libX11};
constinit CRealFunction<Status(Display*, XConnectionWatchProc, XPointer)> s_watch{"XAddConnectionWatch",
                                                                                  libX11};
constinit CRealFunction<XErrorHandler(XErrorHandler)> s_setHandler{"XSetErrorHandler", libX11};

/// Whether the code at an address belongs to a library; `name` without its version.
bool isIn(const void* address, const char* name)
{
    Dl_info place;
    if (dladdr(address, &place) == 0 || !place.dli_fname)
        return false;
    const char* const slash = std::strrchr(place.dli_fname, '/');
    return std::strncmp(slash ? slash + 1 : place.dli_fname, name, std::strlen(name)) == 0;
}

bool isLibrary(const void* address)
{
    return isIn(address, "libgxsys.so");
}

/// The displays of libgxsys.so: its own, the highlighter's, one a tooltip ...
std::atomic<Display*> s_ours[64];

bool replace(Display* from, Display* to)
{
    for (auto& entry : s_ours) {
        Display* expected = from;
        if (entry.compare_exchange_strong(expected, to))
            return true;
    }
    return false;
}

bool isOurs(Display* display)
{
    for (const auto& entry : s_ours)
        if (entry == display)
            return true;
    return false;
}

std::atomic<XErrorHandler> s_libraryHandler{nullptr};
std::atomic<XErrorHandler> s_programHandler{nullptr}; ///< null until onError is installed
std::atomic<XErrorHandler> s_default{nullptr};

int onError(Display* display, XErrorEvent* error)
{
    const XErrorHandler library = s_libraryHandler;
    return library && isOurs(display) ? library(display, error) : s_programHandler.load()(display, error);
}

void installOnError()
{
    if (s_programHandler)
        return;
    const XErrorHandler program = s_setHandler(nullptr);
    s_default = s_setHandler(program); // what null stands for
    s_programHandler = program;
    s_setHandler(onError);
}
} // namespace

extern "C" GX_HOOK Display* XOpenDisplay(const char* name)
{
    const void* const caller = __builtin_return_address(0);
    if (!s_open)
        return nullptr;
    Display* const display = s_open(name);
    if (!display || !CAgentVariables::serves())
        return display;
    if (isLibrary(caller)) {
        installOnError();
        replace(nullptr, display);
    } else if (isIn(caller, "libgdk-x11-2.0.so") || isIn(caller, "libgdk-3.so")) {
        CAgent::noteDisplay(display);
        GlibLoop::onDisplayOpened();
    }
    return display;
}

extern "C" GX_HOOK int XCloseDisplay(Display* display)
{
    const bool serves = CAgentVariables::serves();
    if (serves)
        XtLoop::onDisplayClosing(display);
    const int answer = s_close(display);
    if (serves)
        replace(display, nullptr);
    return answer;
}

extern "C" GX_HOOK Status XAddConnectionWatch(Display* display, XConnectionWatchProc watch, XPointer data)
{
    const bool isXt = isIn(__builtin_return_address(0), "libXt.so");
    const Status answer = s_watch(display, watch, data);
    if (isXt && CAgentVariables::serves())
        XtLoop::onDisplayOpened(display);
    return answer;
}

extern "C" GX_HOOK XErrorHandler XSetErrorHandler(XErrorHandler handler)
{
    if (isLibrary(__builtin_return_address(0))) {
        installOnError();
        const XErrorHandler before = s_libraryHandler.exchange(handler);
        return before ? before : s_default.load();
    }
    if (!s_programHandler)
        return s_setHandler(handler);
    return s_programHandler.exchange(handler ? handler : s_default.load());
}
