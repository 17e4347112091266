#include "FeedbackDisplay.h"

#include "GxDebug.h"
#include "XErrors.h"

#include <cstdio>
#include <mutex>
#include <poll.h>
#include <unistd.h>
#include <vector>

namespace {
bool isConnected(Display* display)
{
    pollfd socket{ConnectionNumber(display), POLLRDHUP, 0};
    return poll(&socket, 1, 0) <= 0;
}

/// Gives back what a lost connection holds of the system. Its memory stays: Xlib would exit.
void keepLost(Display* display)
{
    static std::mutex s_mutex;
    static auto& s_lost = *new std::vector<Display*>;
    const std::lock_guard lock(s_mutex);
    close(ConnectionNumber(display));
    s_lost.push_back(display);
}
} // namespace

Display* openFeedbackDisplay()
{
    XInitThreads();
    return XOpenDisplay(nullptr);
}

void closeFeedbackDisplay(Display* display)
{
    if (isConnected(display))
        XCloseDisplay(display);
    else
        keepLost(display);
}

bool isReady(Display* display)
{
    if (!display || !isConnected(display))
        return false;
    installXlibErrorHandler();
    return true;
}

void flushRequests(Display* display)
{
    XFlush(display);
    for (int waiting = XEventsQueued(display, QueuedAfterReading); waiting > 0; --waiting) {
        XEvent event;
        XNextEvent(display, &event);
    }
}

XColor allocateColor(Display* display, int red, int green, int blue)
{
    char text[64];
    std::snprintf(text, sizeof text, "RGB:%02x/%02x/%02x", static_cast<unsigned>(red),
                  static_cast<unsigned>(green), static_cast<unsigned>(blue));
    XColor color{};
    const Colormap map = DefaultColormap(display, DefaultScreen(display));
    if (!XParseColor(display, map, text, &color) || !XAllocColor(display, map, &color)) {
        GenericNative.Error("Couldn't allocate color %s!", text);
        color.flags = 0;
    }
    return color;
}

Window createPlainWindow(Display* display, int x, int y, unsigned width, unsigned height,
                         const XColor& background, long eventMask)
{
    XSetWindowAttributes attributes{};
    attributes.background_pixel = background.pixel;
    attributes.override_redirect = True;
    attributes.event_mask = eventMask;
    return XCreateWindow(display, DefaultRootWindow(display), x, y, width, height, 0, CopyFromParent,
                         InputOutput, nullptr, CWBackPixel | CWOverrideRedirect | CWEventMask, &attributes);
}

namespace {
sigset_t brokenPipe()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}
} // namespace

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
