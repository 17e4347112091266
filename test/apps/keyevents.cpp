// A window that has the focus and tells of each key: "+38" is pressed, "-38" released, S, C and A before it
// say which modifiers were down. Num Lock is not told of. Ends when its standard output is closed.
#include <cstdio>

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>

namespace {
bool tell(Display* display, const XKeyEvent& event)
{
    if (XkbKeycodeToKeysym(display, static_cast<KeyCode>(event.keycode), 0, 0) == XK_Num_Lock)
        return true;
    std::printf("%s%s%s%c%u\n", event.state & ShiftMask ? "S" : "", event.state & ControlMask ? "C" : "",
                event.state & Mod1Mask ? "A" : "", event.type == KeyPress ? '+' : '-', event.keycode);
    return std::fflush(stdout) == 0;
}
} // namespace

int main()
{
    Display* const display = XOpenDisplay(nullptr);
    if (!display)
        return 1;
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.event_mask = KeyPressMask | KeyReleaseMask | StructureNotifyMask;
    const Window window = XCreateWindow(display, DefaultRootWindow(display), 0, 0, 50, 50, 0, CopyFromParent,
                                        InputOutput, nullptr, CWOverrideRedirect | CWEventMask, &attributes);
    XMapRaised(display, window);
    XEvent event;
    XWindowEvent(display, window, StructureNotifyMask, &event);
    XSetInputFocus(display, window, RevertToPointerRoot, CurrentTime);
    XSync(display, False);
    std::printf("ready 0x%lx\n", window), std::fflush(stdout);
    for (;;) {
        XNextEvent(display, &event);
        if ((event.type == KeyPress || event.type == KeyRelease) && !tell(display, event.xkey))
            return 0;
        if (event.type == MappingNotify)
            XRefreshKeyboardMapping(&event.xmapping);
    }
}
