/// A user at the keyboard, played by a plain X client that knows nothing of the library. Started as
/// `gx-demo-user KEY ...`, keys by the names of their keysyms: presses and releases one after the other.
#include <cstdio>
#include <memory>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace {
struct CCloseDisplay {
    void operator()(Display* display) const noexcept { XCloseDisplay(display); }
};

bool stroke(Display* display, const char* name)
{
    const KeyCode key = XKeysymToKeycode(display, XStringToKeysym(name));
    if (key == 0) {
        std::fprintf(stderr, "gx-demo-user: no key %s\n", name);
        return false;
    }
    XTestFakeKeyEvent(display, key, True, CurrentTime);
    XTestFakeKeyEvent(display, key, False, CurrentTime);
    XSync(display, False);
    return true;
}
} // namespace

int main(int argc, char** argv)
{
    const std::unique_ptr<Display, CCloseDisplay> display(XOpenDisplay(nullptr));
    if (!display) {
        std::fputs("gx-demo-user: no X server\n", stderr);
        return 1;
    }
    for (int i = 1; i < argc; ++i)
        if (!stroke(display.get(), argv[i]))
            return 1;
    return 0;
}
