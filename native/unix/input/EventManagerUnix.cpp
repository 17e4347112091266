#include "unix/input/EventManager.h"

#include "common/text/CodeSet.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxInstallOptions.h"
#include "include/GxGlobals.h"
#include "unix/input/HeldInput.h"
#include "unix/input/InputServer.h"
#include "unix/input/RunningInput.h"
#include "unix/input/inputkeyunix.h"
#include "unix/input/processkey.h"

#include <algorithm>
#include <cstdlib>
#include <strings.h>

#include "unix/window/OwnDisplay.h"
#include "unix/window/WindowManagerUnix.h"
#include "unix/window/XErrors.h"
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {
constexpr int pauseBetweenClicks = 100; ///< of all presses of a multiple click but the first, milliseconds
constexpr int fallbackStep = 4;         ///< pixels, when the step of interpolated moves is unset

using KeyAndBit = std::pair<KeySym, int>;
constexpr KeyAndBit heldKeys[] = {{XK_Shift_L, MouseEvent::WithShift},
                                  {XK_Control_L, MouseEvent::WithControl},
                                  {XK_Alt_L, MouseEvent::WithAlt}};

/// For a request; none once the process ends.
unsigned long delayOf(int milliseconds)
{
    return CRunningInput::mustStop() ? 0 : static_cast<unsigned long>(std::max(milliseconds, 0));
}

/// The status of an event: nobody knows what became of it where the server has gone meanwhile.
int unlessLost(int status)
{
    return isConnected(g_display) ? status : int{PlaybackNoXTest};
}

/// Waits until the server has played what was sent. @return the status of it
int oncePlayed(int status)
{
    XSync(g_display, False);
    return unlessLost(status);
}

void pressKey(const CKeyCodes& codes, KeySym keysym, bool press, int delay)
{
    if (!isConnected(g_display))
        return;
    if (const KeyCode key = codes.of(keysym); key != 0)
        fakeKey(key, press, delayOf(delay));
}

/// The server keeps a delay before the request, so what is sent after it could not be taken back when the
/// process ends.
void awaitDelay(int delay)
{
    if (delay > 0)
        XSync(g_display, False);
}

void pressButton(unsigned button, bool press, int delay)
{
    if (!isConnected(g_display))
        return;
    fakeButton(button, press, delayOf(delay));
    awaitDelay(delay);
}

/// Both go at once: this process may not run for long between two round trips, and what a widget does with a button
/// that stays down is no click.
void click(unsigned button, int pressDelay)
{
    if (!isConnected(g_display))
        return;
    fakeButton(button, true, delayOf(pressDelay));
    fakeButton(button, false, delayOf(g_delayMouseUp));
    awaitDelay(std::max<int>(pressDelay, g_delayMouseUp));
}

/// The clicks; fewer when the process ends or the server goes meanwhile.
void clicks(unsigned button, long count, int pressDelay)
{
    for (long i = 0; i < count && mayGoOn(); ++i)
        click(button, pressDelay);
}

void moveTo(int x, int y)
{
    XTestFakeMotionEvent(g_display, -1, x, y, delayOf(g_delayMouseMove));
    awaitDelay(g_delayMouseMove);
}

/// One step of an interpolated move: up by the step, down by one pixel more. Nothing is clamped: the walk
/// runs past the target and comes back, and since the two lengths have no common factor it always ends there.
/// Applications under test have seen exactly these motions, which is what recorded expectations rest on.
long stepTowards(long from, long target, long step)
{
    if (from == target)
        return from;
    return from < target ? from + step : from - (step + 1);
}

void interpolate(const Point& from, const Point& to)
{
    const int wanted = g_mouseMoveInterpolationPx;
    const long step = wanted > 0 ? wanted : fallbackStep;
    long x = from.getx();
    long y = from.gety();
    while ((x != to.getx() || y != to.gety()) && mayGoOn()) {
        x = stepTowards(x, to.getx(), step);
        y = stepTowards(y, to.gety(), step);
        moveTo(static_cast<int>(x), static_cast<int>(y));
    }
}

/// Moves the pointer from where it is.
/// @param pause  milliseconds to wait before
void InterpolateMove(const Point& to, bool single, int pause)
{
    CRunningInput::pause(pause);
    if (!single) {
        interpolate(pointerOf(g_display).m_place, to);
        return;
    }
    moveTo(to.getx(), to.gety());
    moveTo(to.getx(), to.gety());
}

bool singleMoves()
{
    const char* option = GxInstallOptions::GetOption(GxInstallOptions::SINGLE_MOUSE_MOVE);
    return !option || strcasecmp(option, "true") == 0;
}

unsigned buttonOf(int modifiers)
{
    if (modifiers & MouseEvent::RightButton)
        return Button3;
    return modifiers & MouseEvent::MiddleButton ? Button2 : Button1;
}

/// The modifier keys of a mouse event, held while it lives. Releasing takes the delay of a press: the
/// counterparts of this library count on the time that takes.
class CHeldModifiers {
public:
    explicit CHeldModifiers(int modifiers)
        : m_modifiers(modifiers & (MouseEvent::WithShift | MouseEvent::WithControl | MouseEvent::WithAlt)),
          m_codes(m_modifiers ? switchToXTestKeyboard() : CKeyCodes(nullptr))
    {
        std::for_each(std::begin(heldKeys), std::end(heldKeys),
                      [&](const KeyAndBit& key) { send(key, true); });
    }
    ~CHeldModifiers()
    {
        std::for_each(std::rbegin(heldKeys), std::rend(heldKeys),
                      [&](const KeyAndBit& key) { send(key, false); });
    }
    CHeldModifiers(const CHeldModifiers&) = delete;
    CHeldModifiers& operator=(const CHeldModifiers&) = delete;

private:
    void send(const KeyAndBit& key, bool press) const
    {
        if (m_modifiers & key.second)
            pressKey(m_codes, key.first, press, g_delayKeyDown);
    }

    const int m_modifiers;
    const CKeyCodes m_codes;
};

/// Makes the point of a target one of the screen.
/// @return a PlaybackStatus: whether the target is there, visible and in front at the point
int place(const CMouseTarget& target, Point& point)
{
    Rect rectangle;
    if (target.m_window.isNullWindow()) {
        if (!target.m_point)
            return PlaybackNoPoint;
        CRootWindow().getRectangle(&rectangle);
        point = *target.m_point;
        return rectangle.pointInRect(point) ? PlaybackDone : PlaybackOffScreen;
    }
    target.m_window.getRectangle(&rectangle);
    if (rectangle.isZero())
        return PlaybackTargetNotShown;
    if (target.m_point) {
        point =
            Point(rectangle.getLeft() + target.m_point->getx(), rectangle.getTop() + target.m_point->gety());
        if (!rectangle.pointInRect(point))
            return PlaybackOutsideTarget;
        const CWindow found(&point);
        if (!found.sameHandle(&target.m_window))
            return PlaybackTargetCovered;
    }
    if (target.m_topLevel.isNullWindow())
        return PlaybackDone;
    target.m_topLevel.getRectangle(&rectangle);
    if (rectangle.isZero())
        return PlaybackTargetNotShown;
    const bool inTopLevel = frameOf(g_display, target.m_window.getHandle()) == target.m_topLevel.getHandle();
    return inTopLevel ? PlaybackDone : PlaybackOtherTopLevel;
}

/// The text in the locale's code set, for the trace.
std::string inLocale(const std::u16string& text)
{
    const CEnvironmentLocale locale;
    std::string out;
    fromUnits(locale.codeSet(), text, out);
    return out;
}

std::u16string unitsOf(const std::string& utf8)
{
    std::u16string units;
    toUnits("UTF-8", utf8, units);
    return units;
}
} // namespace

void MouseEvent::emit()
{
    if (!enterMutex("event_sync_init() in MouseEvent::emit returned False!", false))
        return;
    const CRunningInput running;
    if (!running.mayBegin() || !hasXTest(walkDisplay()))
        return endWith(PlaybackNoXTest);
    const CPlayedInput played;
    Point start;
    Point end;
    if (const int status = aim(start, end); status != PlaybackDone)
        return endWith(unlessLost(status));
    endWith(oncePlayed(play(start, end)));
    leaveMutex();
}

/// Makes both points those of the screen.
/// @return a PlaybackStatus: whether the targets are there, visible and in front
int MouseEvent::aim(Point& start, Point& end) const
{
    int status = place(m_start, start);
    if (status == PlaybackDone && m_kind == Drag)
        status = place(m_end, end);
    return status == PlaybackDone && needsPointThatIsMissing() ? int{PlaybackNoPoint} : status;
}

/// A window alone is enough only where nothing moves.
bool MouseEvent::needsPointThatIsMissing() const
{
    const bool moves = m_kind == Press || m_kind == Move || m_kind == Click || m_kind == Drag;
    return (moves && !m_start.m_point) || (m_kind == Drag && !m_end.m_point);
}

int MouseEvent::play(const Point& start, const Point& end) const
{
    const CHeldModifiers held(m_modifiers);
    const unsigned button = buttonOf(m_modifiers);
    const bool single = singleMoves();
    const int pause = std::max(g_delayMouseMove.load(), m_delay);
    switch (m_kind) {
    case Press:
        InterpolateMove(start, single, m_delay);
        pressButton(button, true, g_delayMouseDown);
        return PlaybackDone;
    case Release:
        pressButton(button, false, g_delayMouseUp);
        return PlaybackDone;
    case Move:
        InterpolateMove(start, single, pause);
        return PlaybackDone;
    case Click:
        CTracer::debugTrace("Click: clicking at location (%d, %d) %d time(s)", start.getx(), start.gety(),
                            m_count);
        InterpolateMove(start, single, pause);
        clicks(button, std::min(m_count, 1), g_delayMouseDown);
        clicks(button, m_count - 1L, pauseBetweenClicks);
        return PlaybackDone;
    case Drag:
        drag(start, end, button, pause);
        return PlaybackDone;
    case Hover:
        if (m_start.m_point)
            InterpolateMove(start, false, 0);
        XFlush(g_display);
        CRunningInput::pause(m_delay);
        return PlaybackDone;
    case Wheel:
        clicks(m_wheelAmount < 0 ? Button5 : Button4, std::labs(m_wheelAmount), g_delayMouseDown);
        return PlaybackDone;
    default:
        return PlaybackUnknownKind;
    }
}

void MouseEvent::drag(const Point& start, const Point& end, unsigned button, int pause) const
{
    CTracer::debugTrace("Drag: doing move-to-start-location %d, %d", start.getx(), start.gety());
    InterpolateMove(start, false, pause);
    CTracer::debugTrace("Drag: doing nClick before drag, n=%d", m_count - 1);
    clicks(button, m_count - 1L, pauseBetweenClicks);
    CTracer::debugTrace("Drag: doing button-down");
    pressButton(button, true, g_delayMouseDown);
    CTracer::debugTrace("Drag: doing interpolated moves to %d, %d", end.getx(), end.gety());
    interpolate(start, end);
    CTracer::debugTrace("Drag: doing button-up");
    pressButton(button, false, g_delayMouseUp);
}

void KeyEvent::emit()
{
    if (!enterMutex("event_sync_init() in KeyEvent::emit returned False!", isText()))
        return;
    const CRunningInput running;
    CTracer::debugTrace("In KeyEvent::emit kind is %d", m_kind);
    if (!running.mayBegin() || !hasXTest(walkDisplay()))
        return endWith(PlaybackNoXTest);
    const CPlayedInput played;
    CTracer::debugTrace("Window checks hwnd=0x%x top_hwnd=0x%x", static_cast<unsigned>(m_window.getHandle()),
                        static_cast<unsigned>(m_topLevel.getHandle()));
    if (!aimAtWindow())
        return endWith(unlessLost(PlaybackOtherTopLevel));
    CTracer::debugTrace("In KeyEvent::emit got past window checks");
    endWith(oncePlayed(play()));
    leaveMutex();
}

/// Raises the top-level window and gives the window the focus.
/// @return false when the top-level window is not the window's
bool KeyEvent::aimAtWindow()
{
    if (m_window.isNullWindow()) {
        m_topLevel.activate();
        return true;
    }
    const Window ancestor = ancestorOrTopLevel();
    if (m_topLevel.isNullWindow())
        m_topLevel.setHandle(ancestor);
    else if (ancestor != m_topLevel.getHandle())
        return false;
    m_topLevel.activate();
    m_window.setFocus();
    return true;
}

/// The given top-level window when it is above the window, or when the window has gone; else the child of the
/// root.
unsigned long KeyEvent::ancestorOrTopLevel() const
{
    const Window root = DefaultRootWindow(g_display);
    for (Window window = m_window.getHandle(); window != m_topLevel.getHandle();) {
        const Window parent = GetParent(g_display, window);
        if (parent == root)
            return window;
        if (parent == 0 || parent == window)
            break;
        window = parent;
    }
    return m_topLevel.getHandle();
}

int KeyEvent::play() const
{
    if (isText() != m_hasText)
        return PlaybackUnknownKind; // a text to press, or nothing to type
    switch (m_kind) {
    case Press:
    case Release:
        if (m_keysym == NoSymbol)
            return PlaybackUnknownKind;
        pressKey(switchToXTestKeyboard(), static_cast<unsigned>(m_keysym), m_kind == Press,
                 m_kind == Press ? g_delayKeyDown : g_delayKeyUp);
        return PlaybackDone;
    case KeyString:
        return type(true) ? PlaybackDone : PlaybackFailed;
    case InputChars:
        return type(false) ? PlaybackDone : PlaybackFailed;
    default:
        return PlaybackUnknownKind;
    }
}

bool KeyEvent::type(bool parse) const
{
    const std::u16string text = m_wide ? m_text16 : unitsOf(m_text);
    if (CTracer::isOn())
        CTracer::debugTrace(parse ? "Got KEYSTRING event with '%s'" : "Got INPUTCHARS event with '%s'",
                            inLocale(text).c_str());
    return SendKeys(text.c_str(), parse) == KeysPlayed;
}
