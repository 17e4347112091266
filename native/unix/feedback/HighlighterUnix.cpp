#include "unix/feedback/HighlighterUnix.h"

#include "common/trace/GxDebug.h"
#include "include/NeverDestroyed.h"
#include "include/Pause.h"
#include "include/Within.h"
#include "unix/feedback/FeedbackDisplay.h"
#include "unix/process/ProcessEnd.h"
#include "unix/window/OwnDisplay.h"
#include "unix/window/WindowLevel.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <limits>
#include <system_error>
#include <thread>
#include <vector>

#include <X11/Xutil.h>
#include <X11/extensions/shape.h>

using namespace std::chrono_literals;

/// A timing thread, and what it shares with those who wait for it or stop it.
struct CHighlighterThread {
    CHighlighterThread(CHighlighter* highlighter, int interval, int duration)
        : highlighter(highlighter), interval(interval), duration(duration)
    {
    }
    CHighlighter* const highlighter; ///< deleted once the thread has ended
    const int interval;
    const int duration;
    bool stop = false; ///< end now
    bool ended = false;
    std::condition_variable changed; ///< one of the two flags was set
    std::thread thread;
};

CHighlighter* CHighlighter::s_highlighter = nullptr;

namespace {
std::mutex s_mutex; // guards everything below, and all objects of this unit

/// The timing threads that nobody has waited for yet. At exit, threads may still be started.
constinit CNeverDestroyed<std::vector<std::shared_ptr<CHighlighterThread>>> s_threads;

/// Gives back what threads that have ended still hold.
void reapThreads()
{
    std::erase_if(*s_threads, [](const auto& timing) {
        if (timing->ended)
            timing->thread.join();
        return timing->ended;
    });
}

void stop(CHighlighterThread& timing)
{
    timing.stop = true;
    timing.changed.notify_all();
}

void stopAllThreads(CHighlighter::Lock& lock)
{
    const auto running = std::exchange(*s_threads, {});
    for (const auto& timing : running)
        stop(*timing);
    lock.unlock();
    for (const auto& timing : running)
        timing->thread.join();
    lock.lock();
}

Display* openDisplay();
Display* my_display = openDisplay();

/// Runs at exit, and when the library is unloaded. A lock that does not come free is held by a thread in an
/// Xlib call that never ends, perhaps by this very one, which the host made exit there: the connection then
/// ends with the process.
void closeDisplay()
{
    CHighlighter::Lock lock(s_mutex, std::defer_lock);
    if (!within(2s, [&] { return lock.try_lock(); }))
        return;
    stopAllThreads(lock);
    if (!endsWithProcess())
        closeOwnDisplay(std::exchange(my_display, nullptr));
}

Display* openDisplay()
{
    Display* const display = openOwnDisplay();
    if (display)
        atProcessEnd<closeDisplay>();
    return display;
}

/// X transfers places in 16 bits with a sign, and sizes of pixmaps in 15.
constexpr int largest = std::numeric_limits<int16_t>::max();

int toPlace(int value)
{
    return std::clamp<int>(value, std::numeric_limits<int16_t>::min(), largest);
}

struct CPlacement {
    int x;
    int y;
    unsigned width;
    unsigned height;
};

bool hasArea(int width, int height)
{
    return width > 0 && height > 0;
}

/// Where a window can be that stands for a frame: X knows no windows without an area.
CPlacement placementOf(int x, int y, int width, int height)
{
    if (!hasArea(width, height))
        return {-2, -2, 2, 2};
    return {toPlace(x), toPlace(y), static_cast<unsigned>(std::min(width, largest)),
            static_cast<unsigned>(std::min(height, largest))};
}

/// A pixmap of depth 1 and what draws on it.
class CMask {
public:
    CMask(Display* display, unsigned width, unsigned height)
        : m_display(display), m_pixmap(XCreatePixmap(display, DefaultRootWindow(display), width, height, 1)),
          m_gc(XCreateGC(display, m_pixmap, 0, nullptr))
    {
    }
    ~CMask()
    {
        XFreePixmap(m_display, m_pixmap);
        XFreeGC(m_display, m_gc);
    }
    CMask(const CMask&) = delete;
    CMask& operator=(const CMask&) = delete;

    void fill(unsigned long bit, int x, int y, unsigned width, unsigned height)
    {
        XSetForeground(m_display, m_gc, bit);
        XFillRectangle(m_display, m_pixmap, m_gc, x, y, width, height);
    }
    void applyTo(Window window) const
    {
        for (const int kind : {ShapeBounding, ShapeClip})
            XShapeCombineMask(m_display, window, kind, 0, 0, m_pixmap, ShapeSet);
    }

private:
    Display* m_display;
    Pixmap m_pixmap;
    GC m_gc;
};

/// Milliseconds of a timed frame as they are slept: the rest of the seconds is taken modulo their number, so
/// that 1500 ms are exactly 1 s. The engine's scripts are tuned to it.
std::chrono::nanoseconds sleepOf(int milliseconds)
{
    if (milliseconds <= 999)
        return std::chrono::milliseconds(milliseconds);
    const int seconds = milliseconds / 1000;
    return std::chrono::seconds(seconds) + std::chrono::milliseconds(milliseconds % seconds);
}

/// @return false when the frame was removed meanwhile
bool sleepIn(CHighlighterThread& timing, CHighlighter::Lock& lock, int milliseconds)
{
    return !timing.changed.wait_for(lock, sleepOf(milliseconds), [&] { return timing.stop; });
}

void flash(CHighlighterThread& timing, CHighlighter::Lock& lock)
{
    // A clock that somebody sets must not make a frame flash for hours.
    const auto start = std::chrono::steady_clock::now();
    const auto limit = std::chrono::milliseconds(timing.duration);
    const auto elapsed = [&] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                     start);
    };
    for (bool toggle = true; elapsed() <= limit && sleepIn(timing, lock, timing.interval); toggle = !toggle)
        toggle ? timing.highlighter->hide() : timing.highlighter->show();
}

/// An interval below 0 counts as none: the thread would flood the server.
void runTiming(CHighlighterThread& timing, CHighlighter::Lock& lock)
{
    if (timing.interval <= 0)
        sleepIn(timing, lock, timing.duration);
    else if (timing.duration >= 1)
        flash(timing, lock);
    else
        GenericNative.Error("HighlighterUnix: Highlight use case not implemented");
}

void runHighlighter(CHighlighterThread& timing)
{
    auto lock = CHighlighter::lock();
    runTiming(timing, lock);
    if (!timing.stop)
        CHighlighter::forgetCurrent(); // whichever it is: engines make a new frame once the last has gone
    timing.highlighter->destroy();
    delete timing.highlighter;
    timing.ended = true;
    timing.changed.notify_all();
}
} // namespace

CHighlighter::Lock CHighlighter::lock()
{
    return Lock(s_mutex);
}

CHighlighter::CHighlighter(int x, int y, int width, int height, int red, int green, int blue, int thickness,
                           int interval, int duration)
    : m_x(x), m_y(y), m_width(width), m_height(height), m_thickness(thickness), m_interval(interval),
      m_duration(duration)
{
    if (usableDisplay(my_display))
        create(red, green, blue);
    if (m_interval >= 1 || m_duration >= 1)
        startThread();
    s_highlighter = this;
}

CHighlighter::CHighlighter(const Rect& rect, int red, int green, int blue, int thickness, int interval,
                           int duration)
    : CHighlighter(rect.getTop(), rect.getLeft(), rect.getWidth(), rect.getHeight(), red, green, blue,
                   thickness, interval, duration)
{
}

void CHighlighter::create(int red, int green, int blue)
{
    m_color = allocateColor(my_display, red, green, blue);
    const CPlacement at = placementOf(m_x, m_y, m_width, m_height);
    m_window = createPlainWindow(my_display, at.x, at.y, at.width, at.height, m_color, NoEventMask);
    XClassHint hint{nullptr, const_cast<char*>(highlighterClass)};
    XSetClassHint(my_display, m_window, &hint);
    makeWindowTransparent();
    show();
}

void CHighlighter::startThread()
{
    reapThreads();
    auto timing = std::make_shared<CHighlighterThread>(this, m_interval, m_duration);
    try {
        timing->thread = std::thread([timing] { runHighlighter(*timing); });
    } catch (const std::system_error& error) {
        GenericNative.Error("No thread for a timed frame, which stays: %s", error.what());
        return;
    }
    s_threads->push_back(timing);
    m_thread = timing;
}

CHighlighter* CHighlighter::current(unsigned long window)
{
    return s_highlighter && s_highlighter->m_window == window ? s_highlighter : nullptr;
}

void CHighlighter::show()
{
    if (!m_window || !isConnected(my_display))
        return;
    XMapWindow(my_display, m_window);
    flushRequests(my_display);
}

void CHighlighter::hide()
{
    if (!m_window || !isConnected(my_display))
        return;
    XUnmapWindow(my_display, m_window);
    flushRequests(my_display);
}

bool CHighlighter::isVisible() const
{
    if (!m_window || !usableDisplay(my_display))
        return false;
    XWindowAttributes attributes;
    return XGetWindowAttributes(my_display, m_window, &attributes) && attributes.map_state == IsViewable;
}

void CHighlighter::move(int x, int y, int width, int height)
{
    const bool resized = width != m_width || height != m_height;
    if (!m_window || !usableDisplay(my_display) || (x == m_x && y == m_y && !resized))
        return;
    XUnmapWindow(my_display, m_window);
    const CPlacement at = placementOf(x, y, width, height);
    XMoveResizeWindow(my_display, m_window, at.x, at.y, at.width, at.height);
    m_x = x;
    m_y = y;
    m_width = width;
    m_height = height;
    if (resized)
        makeWindowTransparent();
    show();
}

void CHighlighter::makeWindowTransparent()
{
    int event = 0;
    int error = 0;
    if (!XShapeQueryExtension(my_display, &event, &error)) {
        GenericNative.Warning("X11 Shape extension not available!");
        return;
    }
    if (!hasArea(m_width, m_height))
        return;
    const int width = std::min(m_width, largest);
    const int height = std::min(m_height, largest);
    const int inset = m_thickness > std::min(width, height) / 2 ? 1 : std::max(m_thickness, 0);
    CMask mask(my_display, static_cast<unsigned>(width), static_cast<unsigned>(height));
    mask.fill(1, 0, 0, static_cast<unsigned>(width), static_cast<unsigned>(height));
    if (width > 2 * inset && height > 2 * inset)
        mask.fill(0, inset, inset, static_cast<unsigned>(width - 2 * inset),
                  static_cast<unsigned>(height - 2 * inset));
    mask.applyTo(m_window);
}

void CHighlighter::destroy()
{
    if (s_highlighter == this)
        s_highlighter = nullptr;
    if (!m_window || !isConnected(my_display))
        return;
    XDestroyWindow(my_display, std::exchange(m_window, 0));
    if (m_color.flags)
        XFreeColors(my_display, DefaultColormap(my_display, DefaultScreen(my_display)), &m_color.pixel, 1, 0);
    flushRequests(my_display);
}

void CHighlighter::remove(CHighlighter* highlighter)
{
    highlighter->destroy();
    if (highlighter->m_thread)
        stop(*highlighter->m_thread);
    else
        delete highlighter;
}

void CHighlighter::join(Lock& lock, const CHighlighter& highlighter)
{
    const auto timing = highlighter.m_thread;
    if (!timing)
        return;
    timing->changed.wait(lock, [&] { return timing->ended; });
    reapThreads();
}

bool CHighlighter::isHighlighter(unsigned long window)
{
    const auto guard = lock();
    return window != 0 && usableDisplay(my_display) && classOf(my_display, window).name == highlighterClass;
}

void CRootWindow::highlight(const Rect& rect)
{
    constexpr int toggles = 9;
    auto lock = CHighlighter::lock();
    // Not timed, and out of Java's reach: nobody else may delete it while it is used here.
    const auto frame = std::make_unique<CHighlighter>(rect, 255, 0, 0, 5, 0, 0);
    CHighlighter::forgetCurrent();
    for (int toggle = 0; toggle < toggles; ++toggle) {
        toggle % 2 == 0 ? frame->hide() : frame->show();
        lock.unlock();
        pauseFor(200ms);
        lock.lock();
    }
    frame->destroy();
}
