#include "unix/window/MessageWindow.h"

#include "common/trace/CTracer.h"
#include "include/NeverDestroyed.h"
#include "unix/window/WindowLevel.h"

#include <algorithm>
#include <atomic>
#include <list>
#include <sys/timerfd.h>
#include <unistd.h>
#include <vector>

#include <X11/Xlib.h>

namespace {
constexpr char ChannelAtom[] = "gx_marlo_channel";

struct CPendingRequest {
    CMessageWindow::Words words;
    std::function<void()> run;
};

/// What was sent and not delivered yet, and the windows it was sent to.
struct CPending {
    std::mutex lock;
    std::list<CPendingRequest> requests;
    std::vector<Window> windows;
};

CPending& pending()
{
    static CNeverDestroyed<CPending> s_pending; // other threads may still send while the process ends
    return *s_pending;
}

Atom channelAtom(Display* display)
{
    static const Atom s_atom = XInternAtom(display, ChannelAtom, False);
    return s_atom;
}

bool isNamedBy(const CPendingRequest& request, const XClientMessageEvent& message)
{
    return std::equal(request.words.begin(), request.words.end(), message.data.l,
                      [](unsigned long word, long cut) {
                          return static_cast<unsigned>(word) == static_cast<unsigned>(cut);
                      });
}

std::function<void()> take(const XClientMessageEvent& message)
{
    CPending& waiting = pending();
    const std::lock_guard guard(waiting.lock);
    const auto found =
        std::find_if(waiting.requests.begin(), waiting.requests.end(),
                     [&](const CPendingRequest& request) { return isNamedBy(request, message); });
    if (found == waiting.requests.end())
        return {};
    std::function<void()> run = std::move(found->run);
    waiting.requests.erase(found);
    return run;
}

/// Called with the display locked: asks the server nothing.
Bool isRequest(Display*, XEvent* event, XPointer)
{
    CPending& waiting = pending();
    const std::lock_guard guard(waiting.lock);
    return event->type == ClientMessage && std::find(waiting.windows.begin(), waiting.windows.end(),
                                                     event->xclient.window) != waiting.windows.end();
}

void runTraced(const std::function<void()>& request) noexcept
try {
    request();
} catch (...) {
    CTracer::debugTrace("A request for the GUI thread failed");
}

using std::chrono::nanoseconds;
constexpr nanoseconds AtOnce{1}; // 0 would stop the timer
constexpr nanoseconds LongestRest = std::chrono::milliseconds(1);

constinit std::atomic<int> s_turns = 0; ///< one, and those of loops inside of requests
constinit std::atomic<bool> s_isWokenInTurn = false;

void wakeAfter(nanoseconds rest)
{
    const itimerspec when{{}, {0, rest.count()}};
    if (CMessageWindow::wakeDescriptor() >= 0)
        timerfd_settime(CMessageWindow::wakeDescriptor(), 0, &when, nullptr);
}

void emptyWakeDescriptor()
{
    uint64_t count;
    if (CMessageWindow::wakeDescriptor() >= 0) [[maybe_unused]]
        const ssize_t length = read(CMessageWindow::wakeDescriptor(), &count, sizeof count);
}
} // namespace

unsigned long CMessageWindow::window()
{
    const std::lock_guard guard(m_making);
    Display* const display = walkDisplay();
    if (m_window != 0 || !display)
        return m_window;
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0);
    CPending& waiting = pending();
    const std::lock_guard registering(waiting.lock);
    waiting.windows.push_back(window);
    return m_window = window;
}

bool CMessageWindow::send(const Words& words, std::function<void()> request)
{
    Display* const display = walkDisplay();
    const Window target = window();
    if (!display || target == 0)
        return false;
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = target;
    event.xclient.message_type = channelAtom(display);
    event.xclient.format = 32;
    std::copy(words.begin(), words.end(), event.xclient.data.l);
    {
        CPending& waiting = pending();
        const std::lock_guard guard(waiting.lock);
        waiting.requests.push_back({words, std::move(request)});
    }
    XSendEvent(display, target, False, 0, &event);
    XSync(display, False);
    wake();
    return true;
}

CMessageWindow::CTurn::CTurn()
{
    ++s_turns;
    s_isWokenInTurn = false; // what has been sent by now is seen in this one
}

CMessageWindow::CTurn::~CTurn()
{
    --s_turns;
    if (s_isWokenInTurn.exchange(false))
        wakeAfter(std::clamp<nanoseconds>(std::chrono::steady_clock::now() - m_begin, AtOnce, LongestRest));
}

int CMessageWindow::deliver()
{
    emptyWakeDescriptor();
    Display* const display = walkDisplay();
    XEvent event;
    int delivered = 0;
    while (display && XCheckIfEvent(display, &event, isRequest, nullptr))
        if (const std::function<void()> request = take(event.xclient)) {
            runTraced(request);
            ++delivered;
        }
    return delivered;
}

int CMessageWindow::wakeDescriptor()
{
    static const int s_descriptor = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    return s_descriptor;
}

void CMessageWindow::wake()
{
    const bool isFirst = !s_isWokenInTurn.exchange(true);
    if (s_turns == 0) {
        s_isWokenInTurn = false;
        wakeAfter(AtOnce);
    } else if (isFirst) {
        wakeAfter(LongestRest); // should a loop inside of the turn have to see to it
    }
}
