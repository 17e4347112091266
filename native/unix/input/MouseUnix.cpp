#include "unix/input/Mouse.h"

#include "include/GxGlobals.h"
#include "unix/input/HeldInput.h"
#include "unix/input/InputServer.h"
#include "unix/input/InputStatus.h"
#include "unix/input/RunningInput.h"

#include <poll.h>

#include "unix/window/OwnDisplay.h"
#include "unix/window/XErrors.h"
#include <X11/Xlib.h>
#include <X11/cursorfont.h>

namespace {
constexpr unsigned capturedEvents = ButtonPressMask | ButtonReleaseMask | PointerMotionMask;
static_assert(XC_hand2 == 60 && capturedEvents == 0x4C);
/// Another thread's round trip may take an event off the connection and leave it in the queue, which poll
/// cannot see; and the end of the capture must be noticed.
constexpr int pollMs = 20;

void fakeLeftButton(Display* display, bool press)
{
    fakeButton(Button1, press, 0);
    XFlush(display);
}

int notSupported()
{
    g_mouse_status = InputNotSupported;
    return 0;
}

/// Messages to the GUI thread wait in the same queue until they are delivered.
Bool isForCapture(Display*, XEvent* event, XPointer)
{
    return event->type != ClientMessage;
}

Bool isOfPointer(Display*, XEvent* event, XPointer)
{
    return event->type == ButtonPress || event->type == ButtonRelease || event->type == MotionNotify;
}

bool takeEvent(XEvent& event)
{
    Display* const display = walkDisplay();
    return display && XCheckIfEvent(display, &event, isForCapture, nullptr);
}

void awaitInput()
{
    pollfd connection{g_display ? ConnectionNumber(g_display) : -1, POLLIN, 0};
    poll(&connection, 1, pollMs);
}

std::unique_ptr<MouseEvent> captured(Time time, int kind, Point point, unsigned button)
{
    const CWindow noWindow;
    const TopLevelWindow noTopLevel;
    return std::make_unique<MouseEvent>(static_cast<int64_t>(time), kind, 0,
                                        CMouseTarget(point, &noWindow, &noTopLevel), CMouseTarget(),
                                        static_cast<int>(button), 0, 0);
}

/// @return null for the wheel and further buttons
std::unique_ptr<MouseEvent> buttonEvent(const XButtonEvent& event, int kind)
{
    if (event.button > Button3)
        return nullptr;
    return captured(event.time, kind, Point(event.x_root, event.y_root), event.button);
}

/// @param ignorePress  cleared by the press that it is for
/// @return null for an event that is not reported
std::unique_ptr<MouseEvent> mouseEventOf(const XEvent& event, std::atomic<bool>& ignorePress)
{
    switch (event.type) {
    case ButtonRelease:
        return buttonEvent(event.xbutton, MouseEvent::Release);
    case ButtonPress:
        return ignorePress.exchange(false) ? nullptr : buttonEvent(event.xbutton, MouseEvent::Press);
    case MotionNotify:
        return captured(event.xmotion.time, MouseEvent::Move,
                        Point(event.xmotion.x_root, event.xmotion.y_root), 0);
    default:
        return captured(CurrentTime, MouseEvent::Move, Mouse::getCursorPos().value_or(Point()), 0);
    }
}
} // namespace

constinit std::atomic<Mouse*> Mouse::s_Mouse = nullptr;
constinit unsigned long Mouse::s_grabCursor = 0;
constinit std::atomic<bool> Mouse::ignore_buttonpress = false;
constinit thread_local int g_mouse_status = InputSupported;

Mouse::Mouse()
{
    CRunningInput::atEnd([] { get().letGo(); });
}

/// The process ends, and with it the capture: nobody would let go of the button any more.
void Mouse::letGo()
{
    Display* const display = walkDisplay();
    if (!m_captured.exchange(false) || !display)
        return;
    fakeLeftButton(display, false);
    XSync(display, False); // the server reads no more from a client that has gone
}

Mouse& Mouse::get()
{
    // Never deleted: threads may wait while the process ends.
    static Mouse* const s_only = s_Mouse = new Mouse;
    return *s_only;
}

std::optional<Point> Mouse::getCursorPos()
{
    const CPointerState pointer = pointerOf(walkDisplay());
    return pointer.m_isOnScreen ? std::optional(pointer.m_place) : std::nullopt;
}

int Mouse::getMouseState()
{
    const CPointerState pointer = pointerOf(walkDisplay());
    const unsigned buttons = pointer.m_isOnScreen ? pointer.m_state : 0;
    return (buttons & Button1Mask ? 1 : 0) | (buttons & Button2Mask ? 2 : 0) |
           (buttons & Button3Mask ? 4 : 0);
}

int Mouse::getDoubleClickThresholdX()
{
    return notSupported();
}
int Mouse::getDoubleClickThresholdY()
{
    return notSupported();
}
int Mouse::getDragThresholdX()
{
    return notSupported();
}
int Mouse::getDragThresholdY()
{
    return notSupported();
}
int Mouse::getDoubleClickInterval()
{
    return notSupported();
}

/// The server would not let a grab take over a pointer whose button is down in another client's window.
bool Mouse::capture(const CWindow&, GX_MOUSE_CURSOR)
{
    const CRunningInput running;
    const std::lock_guard guard(m_changing);
    Display* const display = walkDisplay();
    if (m_captured || !running.mayBegin() || !hasXTest(display))
        return false;
    const CPlayedInput played;
    s_grabCursor = XCreateFontCursor(display, XC_hand2);
    fakeLeftButton(display, false);
    if (XGrabPointer(display, DefaultRootWindow(display), False, capturedEvents, GrabModeAsync, GrabModeAsync,
                     None, s_grabCursor, CurrentTime) != GrabSuccess) {
        XFreeCursor(display, s_grabCursor);
        return false;
    }
    ignore_buttonpress = true;
    m_captured = true;
    fakeLeftButton(display, true);
    XSync(display, False); // a release by another client must not come before the press
    return true;
}

void Mouse::release()
{
    const std::lock_guard guard(m_changing);
    Display* const display = walkDisplay();
    if (!m_captured.exchange(false) || !display)
        return;
    XUngrabPointer(display, CurrentTime);
    XFreeCursor(display, s_grabCursor);
    XSync(display, False);
    XEvent late;
    while (XCheckIfEvent(display, &late, isOfPointer, nullptr)) {
    }
}

std::unique_ptr<MouseEvent> Mouse::getNextEvent()
{
    const CRunningInput running;
    XEvent event;
    while (m_captured && !CRunningInput::mustStop()) {
        if (!isConnected(g_display))
            m_captured = false; // nothing comes from a server that has gone
        else if (!takeEvent(event))
            awaitInput();
        else if (auto reported = mouseEventOf(event, ignore_buttonpress))
            return reported;
    }
    return nullptr;
}

std::unique_ptr<MouseEvent> Mouse::getLastEvent()
{
    auto last = getNextEvent();
    XEvent event;
    while (last && takeEvent(event))
        if (auto newer = mouseEventOf(event, ignore_buttonpress))
            last = std::move(newer);
    return last;
}
