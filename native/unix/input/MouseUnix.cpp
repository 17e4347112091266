#include "GxGlobals.h"
#include "Mouse.h"

#include <X11/Xlib.h>

std::optional<Point> Mouse::getCursorPos()
{
    if (!g_display)
        return std::nullopt;
    Window root, child;
    int x, y, windowX, windowY;
    unsigned state;
    if (!XQueryPointer(g_display, DefaultRootWindow(g_display), &root, &child, &x, &y, &windowX, &windowY,
                       &state))
        return std::nullopt;
    return Point(x, y);
}
