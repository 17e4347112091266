// Windows with known geometry for suites in other languages. Prints "<name> <window id>" a line and "ready
// <window id>" at the end; prints "closed <window id>" when a window is asked to close itself; ends when its input
// ends.
//
//   plain     300x200 at (100, 50), a border of 5, caption and class in ASCII
//   inner     40x30 in plain at (10, 20), one of its two equal children
//   twin      the other one, above it
//   text      at (500, 50), caption in UTF-8, cut after 126 bytes inside of a character; class in Latin-1
//   long      at (500, 300), a class of 200 characters
//   hidden    not mapped
#include <cstdio>
#include <poll.h>
#include <string>
#include <unistd.h>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {
Display* s_display;

Window add(const char* name, Window parent, int x, int y, unsigned width, unsigned height,
           unsigned border = 0)
{
    const Window window = XCreateSimpleWindow(s_display, parent, x, y, width, height, border, 0, 0xffffff);
    Atom close = XInternAtom(s_display, "WM_DELETE_WINDOW", False);
    XSetWMProtocols(s_display, window, &close, 1);
    std::printf("%s 0x%lx\n", name, window);
    return window;
}

void setText(Window window, Atom property, Atom type, const std::string& text)
{
    XChangeProperty(s_display, window, property, type, 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
}

void setClass(Window window, const std::string& instance, const std::string& name)
{
    setText(window, XA_WM_CLASS, XA_STRING, instance + '\0' + name + '\0');
}

void answerEvents()
{
    while (XPending(s_display)) {
        XEvent event;
        XNextEvent(s_display, &event);
        if (event.type == ClientMessage)
            std::printf("closed 0x%lx\n", event.xclient.window);
    }
    std::fflush(stdout);
}
} // namespace

int main()
{
    s_display = XOpenDisplay(nullptr);
    if (!s_display)
        return 1;
    const Window root = DefaultRootWindow(s_display);
    const Window plain = add("plain", root, 100, 50, 300, 200, 5);
    XStoreName(s_display, plain, "a plain window");
    setClass(plain, "scene", "Scene");
    add("inner", plain, 10, 20, 40, 30);
    add("twin", plain, 10, 20, 40, 30);
    XMapSubwindows(s_display, plain);
    const Window text = add("text", root, 500, 50, 100, 100);
    setText(text, XA_WM_NAME, XInternAtom(s_display, "UTF8_STRING", False),
            std::string(121, 'x') + "Żółw € 中");
    setClass(text, "scene",
             "Stra\xdf"
             "e");
    const Window other = add("long", root, 500, 300, 100, 100);
    setClass(other, "scene", std::string(200, 'C'));
    for (const Window window : {plain, text, other})
        XMapWindow(s_display, window);
    setClass(add("hidden", root, 0, 0, 10, 10), "scene", "Hidden");
    XSync(s_display, False);
    std::printf("ready 0x%lx\n", plain);
    std::fflush(stdout);
    pollfd waited[] = {{ConnectionNumber(s_display), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    while (waited[1].revents == 0 && poll(waited, 2, -1) >= 0)
        answerEvents();
    return 0;
}
