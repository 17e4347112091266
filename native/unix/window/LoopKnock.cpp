#include "unix/window/LoopKnock.h"

#include "include/GxGlobals.h"
#include "unix/window/XErrors.h"

#include <atomic>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

namespace {
/// A window of the display that is asked for; the program may have closed that and opened another.
struct CEar {
    std::atomic<Display*> display = nullptr;
    std::atomic<Window> window = 0;
};
constinit CEar s_ear;

bool isKnock(const XEvent& event)
{
    return event.type == ClientMessage && event.xclient.window == s_ear.window;
}

/// How many events a display has that are no knocks. All stay where they are.
int othersQueued(Display* display)
{
    int count = 0;
    XEvent event;
    const auto look = [](Display*, XEvent* each, XPointer data) -> Bool {
        *reinterpret_cast<int*>(data) += !isKnock(*each);
        return False;
    };
    XCheckIfEvent(display, &event, look, reinterpret_cast<XPointer>(&count));
    return count;
}
} // namespace

void CLoopKnock::listen()
{
    Display* const display = gx_app_display;
    if (!display || display == s_ear.display)
        return;
    XSetWindowAttributes unmanaged;
    unmanaged.override_redirect = True;
    s_ear.window = XCreateWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, InputOnly,
                                 CopyFromParent, CWOverrideRedirect, &unmanaged);
    s_ear.display = display;
    XFlush(display);
}

void CLoopKnock::knock()
{
    Display* const own = walkDisplay();
    if (!own || !gx_app_display || s_ear.display != gx_app_display)
        return;
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = s_ear.window;
    event.xclient.message_type = XA_STRING; // of no meaning, but there has to be one
    event.xclient.format = 32;
    XSendEvent(own, s_ear.window, False, NoEventMask, &event);
    XFlush(own);
}

XtInputMask CLoopKnock::pendingBeside(XtAppContext context)
{
    const XtInputMask pending = XtAppPending(context);
    if ((pending & XtIMXEvent) == 0)
        return pending;
    Display** displays = nullptr;
    Cardinal count = 0;
    XtGetDisplays(context, &displays, &count);
    int others = 0;
    for (Cardinal index = 0; index < count; ++index)
        others += othersQueued(displays[index]);
    XtFree(reinterpret_cast<char*>(displays));
    return others > 0 ? pending : pending & ~static_cast<XtInputMask>(XtIMXEvent);
}
