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

bool keysRepeat(Display* display)
{
    XKeyboardState state{};
    XGetKeyboardControl(display, &state);
    return state.global_auto_repeat == AutoRepeatModeOn;
}

/// Were the server told of one key alone, it would keep that with the key for good.
void letKeysRepeat(Display* display, bool repeat)
{
    XKeyboardControl control{};
    control.auto_repeat_mode = repeat ? AutoRepeatModeOn : AutoRepeatModeOff;
    XChangeKeyboardControl(display, KBAutoRepeatMode, &control);
}

CKeysDown::CKeysDown(Display* display)
{
    if (display)
        XQueryKeymap(display, m_bits);
}
