#include "unix/input/InputServer.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

bool hasXTest(Display* display)
{
    int event, error, major, minor;
    return display && XTestQueryExtension(display, &event, &error, &major, &minor);
}

CPointerState pointerOf(Display* display)
{
    CPointerState pointer;
    if (!display)
        return pointer;
    Window root, child;
    int x = 0, y = 0, inWindow;
    pointer.m_isOnScreen = XQueryPointer(display, DefaultRootWindow(display), &root, &child, &x, &y,
                                         &inWindow, &inWindow, &pointer.m_state) != False;
    pointer.m_place = {x, y};
    return pointer;
}

CKeysDown::CKeysDown(Display* display)
{
    if (display)
        XQueryKeymap(display, m_bits);
}
