#include "agent/MainLoop.h"

#include "agent/Agent.h"
#include "agent/AgentVariables.h"
#include "agent/RealFunction.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <X11/Intrinsic.h>
#include <xcb/xcb.h>

namespace {
constexpr const char* libXt = "libXt.so.6";
constinit CRealFunction<XtIntervalId(XtAppContext, unsigned long, XtTimerCallbackProc, XtPointer)>
    s_addTimeOut{"XtAppAddTimeOut", libXt};
constinit CRealFunction<XtInputId(XtAppContext, int, XtPointer, XtInputCallbackProc, XtPointer)> s_addInput{
    "XtAppAddInput", libXt};
constinit CRealFunction<XtAppContext(Display*)> s_contextOf{"XtDisplayToApplicationContext", libXt};
constinit CRealFunction<void(XtInputId)> s_removeInput{"XtRemoveInput", libXt};

constexpr const char* libX11 = "libX11.so.6";
constinit CRealFunction<Window(Display*, Window, int, int, unsigned, unsigned, unsigned, unsigned long,
                               unsigned long)>
    s_createWindow{"XCreateSimpleWindow", libX11};

// What knocks is no display of Xlib's: the program would be given its errors.
constexpr const char* libxcb = "libxcb.so.1";
constinit CRealFunction<xcb_connection_t*(const char*, int*)> s_connect{"xcb_connect", libxcb};
constinit CRealFunction<xcb_void_cookie_t(xcb_connection_t*, uint8_t, xcb_window_t, uint32_t, const char*)>
    s_sendEvent{"xcb_send_event_checked", libxcb};
constinit CRealFunction<xcb_generic_error_t*(xcb_connection_t*, xcb_void_cookie_t)> s_check{
    "xcb_request_check", libxcb};
constinit CRealFunction<void(xcb_connection_t*)> s_disconnect{"xcb_disconnect", libxcb};

/// A window of the program's display, for an event that nobody has an ear for.
struct CEar {
    std::string display;
    Window window = 0;
};

/// An application context, from its first display to its last.
struct CContext {
    XtAppContext app;
    std::vector<Display*> displays;
    std::vector<XtInputId> inputs;
};

std::mutex s_mutex;
std::vector<CContext>& contexts()
{
    // Outlives the libraries that close displays at exit.
    static auto* const s_contexts = new std::vector<CContext>;
    return *s_contexts;
}

CContext* find(XtAppContext app)
{
    auto& all = contexts();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const CContext& context) { return context.app == app; });
    return found != all.end() ? &*found : nullptr;
}

/// The display that was opened first of those that are open still.
Display* firstDisplay()
{
    return contexts().empty() ? nullptr : contexts().front().displays.front();
}

CEar& ear()
{
    static auto* const s_ear = new CEar; // the agent's thread may outlive the static objects
    return *s_ear;
}

/// With the mutex held.
void listen(Display* display)
{
    ear() = {DisplayString(display),
             s_createWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0)};
}

void onRequest(XtPointer, int*, XtInputId*)
{
    CAgent::deliver();
}

/// Has the loop of a context, if that is still there, call `callback` while a descriptor is readable.
void watch(XtAppContext app, int descriptor, XtInputCallbackProc callback)
{
    const std::lock_guard lock(s_mutex);
    if (CContext* const context = find(app))
        context->inputs.push_back(
            s_addInput(app, descriptor, reinterpret_cast<XtPointer>(XtInputReadMask), callback, app));
}

void unwatch(XtAppContext app, XtInputId input)
{
    const std::lock_guard lock(s_mutex);
    s_removeInput(input);
    if (CContext* const context = find(app))
        context->inputs.erase(std::remove(context->inputs.begin(), context->inputs.end(), input),
                              context->inputs.end());
}

void onReady(XtPointer app, int*, XtInputId* input)
{
    const auto context = static_cast<XtAppContext>(app);
    unwatch(context, *input);
    int descriptors[2];
    const int count = CAgent::start() ? CAgent::descriptors(descriptors) : 0;
    for (int index = 0; index < count; ++index)
        watch(context, descriptors[index], onRequest);
}

/// The first thing that the loop does when no event waits.
void onLoop(XtPointer app, XtIntervalId*)
{
    {
        const std::lock_guard lock(s_mutex);
        if (Display* const display = firstDisplay())
            listen(display);
    }
    if (const int ready = CAgent::begin(); ready >= 0)
        watch(static_cast<XtAppContext>(app), ready, onReady);
}
} // namespace

void XtLoop::onDisplayOpened(Display* display)
{
    CAgent::noteDisplay(display);
    const XtAppContext context = s_contextOf(display);
    const std::lock_guard lock(s_mutex);
    if (CContext* const known = find(context)) {
        known->displays.push_back(display);
        return;
    }
    contexts().push_back({context, {display}, {}});
    CAgent::setXtDisplay(firstDisplay());
    s_addTimeOut(context, 0, onLoop, context);
}

void XtLoop::onDisplayClosing(Display* display)
{
    const std::lock_guard lock(s_mutex);
    auto& all = contexts();
    for (auto context = all.begin(); context != all.end(); ++context) {
        const auto found = std::find(context->displays.begin(), context->displays.end(), display);
        if (found == context->displays.end())
            continue;
        context->displays.erase(found);
        if (context->displays.empty()) {
            std::for_each(context->inputs.begin(), context->inputs.end(), s_removeInput.find());
            all.erase(context);
        }
        CAgent::setXtDisplay(firstDisplay());
        return;
    }
}

void XtLoop::knock()
{
    CEar known;
    {
        const std::lock_guard lock(s_mutex);
        known = ear();
    }
    if (!known.window || !s_connect || !s_sendEvent || !s_check || !s_disconnect)
        return;
    xcb_connection_t* const connection = s_connect(known.display.c_str(), nullptr); // never null
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(known.window);
    message.type = XCB_ATOM_STRING; // of no meaning, but there has to be one
    const xcb_void_cookie_t sent = s_sendEvent(connection, 0, message.window, XCB_EVENT_MASK_NO_EVENT,
                                               reinterpret_cast<const char*>(&message));
    std::free(s_check(connection, sent)); // the server drops what it has not read when the line is cut
    s_disconnect(connection);
}
