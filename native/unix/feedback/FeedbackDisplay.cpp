#include "unix/feedback/FeedbackDisplay.h"

#include "common/trace/GxDebug.h"

#include <cstdio>

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
