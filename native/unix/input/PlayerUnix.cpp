#include "unix/input/Player.h"

#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "include/GxGlobals.h"
#include "include/Pause.h"
#include "unix/input/HotKeyCounter.h"
#include "unix/input/InputServer.h"
#include "unix/input/KeyCodes.h"
#include "unix/process/ProcessEnd.h"

#include <chrono>
#include <mutex>
#include <utility>

#include "unix/window/OwnDisplay.h"
#include <X11/XKBlib.h>
#include <X11/Xlib.h>

namespace {
constinit Display* s_display = nullptr;
/// Held while the connection or the state of the player is used, never while it waits.
constinit std::mutex s_inUse;

/// The lock may be held by the very thread that the end of the process came from.
void closeDisplay()
{
    const std::unique_lock guard(s_inUse, std::try_to_lock);
    if (guard && !endsWithProcess())
        closeOwnDisplay(std::exchange(s_display, nullptr));
}

bool openDisplay()
{
    s_display = openOwnDisplay();
    return s_display && atProcessEnd<closeDisplay>();
}
[[maybe_unused]] const bool s_opened = openDisplay();

/// The connection, with X errors survived; null when there is none or it is lost.
Display* usableDisplay()
{
    return ::usableDisplay(s_display);
}

uint8_t codeOf(const CKeyCodes& codes, int keysym)
{
    const auto symbol = static_cast<unsigned>(keysym);
    const KeyCode code = codes.of(symbol);
    if (code == 0)
        CTracer::debugTrace("The keyboard has no key for hot key 0x%x", symbol);
    return code;
}

CHotKeyCodes codesOfHotKeys()
{
    Display* const display = usableDisplay();
    if (!display)
        return {};
    const CKeyCodes codes(display);
    return {codeOf(codes, g_stophotkey), codeOf(codes, g_pausehotkey)};
}

/// Code 0 would be all keys.
void ungrab(uint8_t code)
{
    if (Display* const display = usableDisplay(); display && code != 0)
        XUngrabKey(display, code, AnyModifier, DefaultRootWindow(display));
}

/// Grabbing a key anew does no harm.
void grab(const CHotKeyCodes& keys)
{
    Display* const display = usableDisplay();
    if (!display)
        return;
    for (const uint8_t code : {keys.m_stop, keys.m_pause})
        if (code != 0)
            XGrabKey(display, code, AnyModifier, DefaultRootWindow(display), True, GrabModeAsync,
                     GrabModeAsync);
    XSync(display, False);
}

/// A key that is down keeps the whole keyboard grabbed.
void ungrabKeyboard()
{
    if (Display* const display = usableDisplay()) {
        XUngrabKeyboard(display, CurrentTime);
        XSync(display, False);
    }
}

/// Milliseconds after which the server repeats a key that stays down.
unsigned repeatDelay()
{
    unsigned delay = 0;
    unsigned interval = 0;
    XkbGetAutoRepeatRate(s_display, XkbUseCoreKbd, &delay, &interval);
    return delay;
}

/// @return whether the press that has been seen was counted as the library's own
bool takeOne(HotKeyCounter& counter)
{
    if (counter.getValue() <= 0)
        return false;
    counter.decrement();
    return true;
}
} // namespace

constinit std::atomic<Player*> Player::s_player = nullptr;

Player& Player::get()
{
    // Never deleted: threads may wait while the process ends.
    static Player* const s_only = s_player = new Player;
    return *s_only;
}

void Player::start()
{
    const StopHotKeyCounter stops; // there from now on, for all processes
    const PauseHotKeyCounter pauses;
    const std::lock_guard guard(s_inUse);
    if (m_started)
        return;
    m_started = 1;
    m_keys = codesOfHotKeys();
    grab(m_keys);
}

void Player::end()
{
    const std::lock_guard guard(s_inUse);
    if (!m_started)
        return;
    m_started = 0;
    ungrab(m_keys.m_stop);
    ungrab(m_keys.m_pause);
    if (Display* const display = usableDisplay())
        XSync(display, False);
}

void Player::setStopHotKey(int keysym)
{
    setHotKey(g_stophotkey, keysym);
}

void Player::setPauseHotKey(int keysym)
{
    setHotKey(g_pausehotkey, keysym);
}

void Player::setHotKey(std::atomic<int>& hotKey, int keysym)
{
    const std::lock_guard guard(s_inUse);
    hotKey = keysym;
    if (m_started)
        moveGrabs();
}

/// A key that remains a hot key stays grabbed throughout, also when the two change places: a press of it may be
/// on its way.
void Player::moveGrabs()
{
    const CHotKeyCodes before = std::exchange(m_keys, codesOfHotKeys());
    for (const uint8_t code : {before.m_stop, before.m_pause})
        if (!m_keys.contain(code))
            ungrab(code);
    ungrabKeyboard();
    grab(m_keys);
}

/// The layout of the keyboard may have changed.
void Player::refreshKeys()
{
    const std::lock_guard guard(s_inUse);
    if (m_started && codesOfHotKeys() != m_keys)
        moveGrabs();
}

int Player::getNextEvent()
{
    StopHotKeyCounter stops;
    PauseHotKeyCounter pauses;
    refreshKeys();
    for (;;) {
        if (const std::optional<int> answer = poll(stops, pauses))
            return *answer;
        pauseFor(std::chrono::milliseconds(1));
    }
}

/// Nothing when nothing more has happened.
std::optional<int> Player::poll(HotKeyCounter& stops, HotKeyCounter& pauses)
{
    const std::lock_guard guard(s_inUse);
    Display* const display = usableDisplay();
    if (s_display && !display)
        m_started = 0; // the server has gone, and with it whoever could press a key
    if (!m_started)
        return PlaybackEnded;
    while (display && XPending(display) > 0) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type != KeyPress)
            continue;
        if (const std::optional<int> answer =
                keyPressed(event.xkey.keycode, static_cast<uint32_t>(event.xkey.time), stops, pauses))
            return answer;
    }
    noticeRelease();
    return std::nullopt;
}

/// The program under test must receive what is typed next, so the keyboard is given back at once.
std::optional<int> Player::keyPressed(unsigned code, uint32_t time, HotKeyCounter& stops,
                                      HotKeyCounter& pauses)
{
    ungrab(m_keys.m_stop);
    ungrab(m_keys.m_pause);
    ungrabKeyboard();
    if (!m_keys.contain(code))
        return std::nullopt; // pressed while a hot key was down; the next press of a hot key grabs both again
    if (takeCounts(code, stops, pauses)) {
        m_typed = {code, time};
    } else if (!isTyped(code, time)) {
        m_typed = {};
        if (code == m_keys.m_stop)
            return StopPressed;
        grab(m_keys);
        return PausePressed;
    }
    grab(m_keys);
    return std::nullopt;
}

/// @return whether a press was counted as the library's own. A key that is on both hot keys is counted for
/// both.
bool Player::takeCounts(unsigned code, HotKeyCounter& stops, HotKeyCounter& pauses) const
{
    const bool stop = code == m_keys.m_stop && takeOne(stops);
    const bool pause = code == m_keys.m_pause && takeOne(pauses);
    return stop || pause;
}

/// A key that stays down is pressed again and again by the server, but was counted once. What comes sooner
/// than the server repeats a key is a press by the user after a release that noticeRelease was too late for;
/// the second press that goes with each typed hot key never comes, as servers leave out a press of a key that
/// is down.
bool Player::isTyped(unsigned code, uint32_t time) const
{
    return code == m_typed.m_code && time - m_typed.m_time >= repeatDelay();
}

/// Once a typed hot key is up its next press is the user's. Presses from before are handled first.
void Player::noticeRelease()
{
    Display* const display = usableDisplay();
    if (m_typed.m_code == 0 || !display)
        return;
    if (!CKeysDown(display).has(m_typed.m_code) && XEventsQueued(display, QueuedAlready) == 0)
        m_typed = {};
}

void Player::pauseHooks()
{
    gxAssertFailed("0", __FILE__, __LINE__);
}

void Player::resumeHooks()
{
    gxAssertFailed("0", __FILE__, __LINE__);
}
