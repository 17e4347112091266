#include "unix/input/EventManager.h"

#include "common/trace/CTracer.h"
#include "common/trace/GxInstallOptions.h"
#include "unix/ipc/Mutex.h"

#include <mutex>
#include <strings.h>
#include <utility>

constinit std::atomic<int> g_delayMouseDown = 0;
constinit std::atomic<int> g_delayMouseUp = 0;
constinit std::atomic<int> g_delayMouseMove = 0;
constinit std::atomic<int> g_delayKeyDown = 1;
constinit std::atomic<int> g_delayKeyUp = 10;
constinit std::atomic<int> g_delayWindowActivate = 0;
constinit std::atomic<int> g_mouseMoveInterpolationPx = 5;

constinit int g_num_tagged_events = 0;
constinit int g_num_hook_calls = 0;
constinit int g_num_hook_calls_tagged = 0;
constinit int g_num_waits = 0;
constinit int g_num_timeouts = 0;

constinit std::atomic<int> Event::s_playbackStatus = PlaybackDone;
constinit std::atomic<bool> Event::isLowLevelPlayback = false;

void Event::setDelays(int mouseDown, int mouseUp, int mouseMove, int keyDown, int keyUp, int windowActivate)
{
    const std::pair<std::atomic<int>&, int> delays[] = {
        {g_delayMouseDown, mouseDown}, {g_delayMouseUp, mouseUp}, {g_delayMouseMove, mouseMove},
        {g_delayKeyDown, keyDown},     {g_delayKeyUp, keyUp},     {g_delayWindowActivate, windowActivate}};
    for (const auto& [delay, value] : delays)
        if (value >= 0)
            delay = value;
}

namespace {
constexpr int mutexPatienceMs = 5000;

/// Held around a text while events are serialised. A text may last for minutes, so the patience of the event
/// mutex is too short to keep two of one process apart.
constinit std::recursive_mutex s_oneText;

/// Made by the first event that asks for it, never deleted: its name serves all processes of the display.
/// @return null while spy memory cannot give one
CSpyMutex* eventMutex() noexcept
{
    static std::mutex s_making;
    static CSpyMutex* s_mutex = nullptr;
    const std::lock_guard guard(s_making);
    try {
        if (!s_mutex)
            s_mutex = CUnixMutex::named("eventMutex");
    } catch (...) {
        // Spy memory is full, locked or not to be had; its exceptions trace their reason when they are built.
    }
    return s_mutex;
}

/// What a status means, for the trace.
const char* meaningOf(int status)
{
    switch (status) {
    case PlaybackTargetNotShown:
        return "a target window is not shown";
    case PlaybackUnknownKind:
        return "no such kind of event";
    case PlaybackOutsideTarget:
        return "the point lies outside of the window";
    case PlaybackTargetCovered:
        return "another window is in front at the point";
    case PlaybackNoPoint:
        return "the action needs a point";
    case PlaybackNoXTest:
        return "no X server, or none with the XTest extension";
    case PlaybackOtherTopLevel:
        return "the window lies in another top-level window";
    case PlaybackOffScreen:
        return "the point lies outside of the screen";
    default:
        return "the text could not be typed, or events could not be serialised";
    }
}
} // namespace

bool Event::event_sync_init()
{
    static const bool wanted = [] {
        const char* option = GxInstallOptions::GetOption(GxInstallOptions::ALLOW_MULTIPLE_THREADS);
        return option && strcasecmp(option, "true") == 0;
    }();
    if (!wanted)
        return false;
    if (eventMutex())
        return true;
    CTracer::debugTrace("CUnixMutex(eventMutex) returned False. Error!!");
    m_status = PlaybackFailed;
    return false;
}

bool Event::enterMutex(const char* unserialised, bool isText)
{
    s_playbackStatus = m_status = PlaybackDone;
    if (!event_sync_init()) {
        CTracer::debugTrace("%s", unserialised);
        if (m_status != PlaybackFailed)
            return true;
        CTracer::debugTrace("event_sync_init() : Mutex creation failed!");
        endWith(PlaybackFailed);
        return false;
    }
    if (isText)
        m_oneText = std::unique_lock(s_oneText);
    try {
        m_holdsMutex = eventMutex()->acquire(mutexPatienceMs);
    } catch (const CMutexTimeoutException& timeout) {
        CTracer::debugTrace("%s", timeout.message());
    }
    return true;
}

void Event::leaveMutex()
{
    if (m_holdsMutex)
        eventMutex()->release();
    m_holdsMutex = false;
    m_oneText = {};
}

void Event::endWith(int status)
{
    s_playbackStatus = m_status = status;
    if (status != PlaybackDone)
        CTracer::debugTrace("The event ended with playback status %d: %s", status, meaningOf(status));
}

CMouseTarget::CMouseTarget(std::optional<Point> point, const CWindow* window, const TopLevelWindow* topLevel)
    : m_point(point)
{
    if (window) {
        m_window = *window;
    } else if (point) {
        m_window = CWindow(&*point);
        Rect rectangle;
        m_window.getRectangle(&rectangle);
        m_point = Point(point->getx() - rectangle.getLeft(), point->gety() - rectangle.getTop());
    }
    if (topLevel)
        m_topLevel = *topLevel;
    else if (!m_window.isNullWindow())
        m_topLevel = TopLevelWindow(static_cast<long>(m_window.getTopLevelHandle()));
}

MouseEvent::MouseEvent(int64_t time, int kind, int count, CMouseTarget start, CMouseTarget end, int modifiers,
                       int delay, int wheelAmount)
    : Event(time, kind), m_count(count), m_start(start), m_end(end), m_modifiers(modifiers), m_delay(delay),
      m_wheelAmount(wheelAmount)
{
}

void MouseEvent::setMouseMoveInterpolationPx(int px)
{
    if (px > 0)
        g_mouseMoveInterpolationPx = px;
}

KeyEvent::KeyEvent(int64_t time, int kind, int keysym, const char* text, const CWindow& window,
                   const TopLevelWindow& topLevel)
    : Event(time, kind), m_keysym(keysym), m_hasText(text != nullptr), m_window(window), m_topLevel(topLevel)
{
    if (text)
        m_text = text;
}

KeyEvent::KeyEvent(int64_t time, int kind, int keysym, const unsigned short* text, const CWindow& window,
                   const TopLevelWindow& topLevel)
    : Event(time, kind), m_keysym(keysym), m_hasText(text != nullptr), m_wide(true), m_window(window),
      m_topLevel(topLevel)
{
    while (text && *text)
        m_text16 += static_cast<char16_t>(*text++);
}

KeyEvent::KeyEvent(int64_t time, int kind, int keysym, int first, int second)
    : Event(time, kind), m_keysym(keysym), m_first(first), m_second(second)
{
}

ScrollEvent::ScrollEvent(int64_t time, const CWindow& window, const int (&data)[4])
    : Event(time, 0), m_window(window), m_data{data[0], data[1], data[2], data[3]}
{
}

void ScrollEvent::emit()
{
    endWith(PlaybackDone);
}
