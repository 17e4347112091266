// gx windows, at, wait, frame.
#include "gx/CommandLine.h"
#include "gx/Commands.h"
#include "gx/Seen.h"
#include "unix/window/ServerComplaint.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <regex.h>

#include "unix/feedback/HighlighterUnix.h"
#include "unix/screen/ScreenWatch.h"
#include "unix/window/WindowManagerUnix.h"

namespace {
using Clock = std::chrono::steady_clock;

/// A POSIX extended regular expression, in any case.
class CPattern {
public:
    explicit CPattern(const std::string& text)
    {
        const int error = regcomp(&m_pattern, text.c_str(), REG_EXTENDED | REG_ICASE | REG_NOSUB);
        if (error == 0)
            return;
        char why[128];
        regerror(error, &m_pattern, why, sizeof why);
        throw CWrongUse("\"" + text + "\" is no regular expression: " + why);
    }
    ~CPattern() { regfree(&m_pattern); }
    CPattern(const CPattern&) = delete;
    CPattern& operator=(const CPattern&) = delete;
    bool matches(const std::string& text) const
    {
        return regexec(&m_pattern, text.c_str(), 0, nullptr, 0) == 0;
    }

private:
    regex_t m_pattern;
};

bool matches(const CPattern& pattern, const CSeenWindow& window)
{
    return pattern.matches(Seen::shown(window.caption)) || pattern.matches(window.className) ||
           pattern.matches(window.instance);
}

void print(const std::vector<CSeenWindow>& windows, bool asJson)
{
    CJson json;
    json.array();
    size_t width = 0;
    for (const CSeenWindow& window : windows) {
        width = std::max(width, window.className.size() + window.instance.size() + 1);
        json.object();
        Seen::write(json, window);
        json.endObject();
    }
    json.endArray();
    if (asJson)
        return json.print();
    for (const CSeenWindow& window : windows)
        std::puts(Seen::lineOf(window, width).c_str());
}

bool isSeen(int x, int y, int width, int height)
{
    Display* const display = walkDisplay();
    const int screen = DefaultScreen(display);
    return x < DisplayWidth(display, screen) && y < DisplayHeight(display, screen) && x > -width &&
           y > -height;
}

std::string sizeOfScreen()
{
    Display* const display = walkDisplay();
    const int screen = DefaultScreen(display);
    return std::to_string(DisplayWidth(display, screen)) + " by " +
           std::to_string(DisplayHeight(display, screen)) + " pixels";
}

std::string at(const CCall& call)
{
    return call.arguments[0] + "," + call.arguments[1];
}

/// The nearest window around this one, itself included, that has a WM_CLASS; nothing for none.
std::optional<unsigned long> programWindowAround(unsigned long window)
{
    Display* const display = walkDisplay();
    const Window root = rootOf(display);
    while (window != 0 && window != root) {
        if (classOf(display, window).given())
            return window;
        const Window parent = GetParent(display, window);
        if (parent == window)
            break;
        window = parent;
    }
    return std::nullopt;
}

void printAt(unsigned long deepest, const std::optional<CSeenWindow>& window, bool asJson)
{
    const CSeenWindow innermost = Seen::of(deepest);
    if (asJson) {
        CJson json;
        json.object()
            .member("innermost", Seen::idOf(deepest))
            .member("innermostPlace", Seen::placeOf(innermost.box));
        json.key("window");
        if (window) {
            json.object();
            Seen::write(json, *window);
            json.endObject();
        } else {
            json.null();
        }
        return json.endObject().print();
    }
    std::printf("innermost %s %s\n", Seen::idOf(deepest).c_str(), Seen::placeOf(innermost.box).c_str());
    if (window)
        std::puts(Seen::lineOf(*window).c_str());
}

/// Looks, at each change of the screen and at least ten times a second, until it is so.
template <class Look> bool lookUntil(Clock::time_point end, Look look)
{
    CScreenWatch watch({});
    while (!look()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0)
            return false;
        if (watch.await(static_cast<int>(std::min<long>(left, 100))) == CScreenWatch::Seen::NoServer)
            throw CNotSo(ServerComplaint::text());
    }
    return true;
}

/// Whether nothing on the screen changes for so long.
bool rests(Clock::duration quiet, Clock::time_point end)
{
    CScreenWatch watch({});
    auto since = Clock::now();
    while (Clock::now() - since < quiet) {
        if (Clock::now() >= end)
            return false;
        const auto seen = watch.await(20);
        if (seen == CScreenWatch::Seen::NoServer)
            throw CNotSo(ServerComplaint::text());
        if (seen == CScreenWatch::Seen::Change)
            since = Clock::now();
    }
    return true;
}

std::string seconds(int milliseconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g s", milliseconds / 1000.0);
    return text;
}

int waitForWindow(const CCall& call, int limit)
{
    const std::string caption = call.option("window");
    const bool isToGo = call.has("gone");
    std::vector<CSeenWindow> windows;
    const bool isSo = lookUntil(Clock::now() + std::chrono::milliseconds(limit), [&] {
        windows = Seen::all();
        return (Seen::called(caption, windows) == nullptr) == isToGo;
    });
    if (!isSo)
        throw CNotSo("the window \"" + caption +
                         (isToGo ? "\" is still there after " : "\" has not come within ") + seconds(limit),
                     Seen::list(windows), "--limit waits longer");
    if (!isToGo)
        print({*Seen::called(caption, windows)}, call.json());
    return StatusFine;
}
} // namespace

int runWindows(const CCall& call)
{
    std::vector<CSeenWindow> windows = Seen::all();
    if (!call.arguments.empty()) {
        const CPattern pattern(call.arguments[0]);
        const std::string all = Seen::list(windows);
        std::erase_if(windows, [&](const CSeenWindow& window) { return !matches(pattern, window); });
        if (windows.empty() && !call.json())
            throw CNotSo("no window matches \"" + call.arguments[0] + "\"", all,
                         "the pattern is looked for in captions and classes");
    }
    print(windows, call.json());
    return windows.empty() && !call.arguments.empty() ? StatusNotSo : StatusFine;
}

int runAt(const CCall& call)
{
    Point point(call.number(size_t{0}), call.number(size_t{1}));
    Seen::requireServer();
    if (!isSeen(point.getx(), point.gety(), 1, 1))
        throw CNotSo("no window at " + at(call),
                     "the point lies outside of the screen, which is " + sizeOfScreen(), "");
    const unsigned long deepest = CWindow(&point).getHandle();
    std::optional<CSeenWindow> around;
    if (const auto window = programWindowAround(deepest)) {
        const std::vector<CSeenWindow> windows = Seen::all();
        const auto known = std::ranges::find(windows, *window, &CSeenWindow::id);
        around = known != windows.end() ? *known : Seen::of(*window);
    }
    printAt(deepest, around, call.json());
    if (!around)
        throw CNotSo("no program's window at " + at(call), "there is the desktop, or what has no WM_CLASS",
                     "gx windows lists those there are");
    return StatusFine;
}

int runWait(const CCall& call)
{
    const int limit = call.milliseconds("limit", 10'000);
    if (!call.has("window") && call.has("gone"))
        throw CWrongUse("--gone wants --window CAPTION, too");
    if (!call.has("window") && !call.has("idle"))
        throw CWrongUse("--window or --idle says what to wait for");
    if (call.has("gone") && call.has("idle"))
        throw CWrongUse("--gone and --idle do not go together");
    Seen::requireServer();
    if (!call.has("idle"))
        return waitForWindow(call, limit);
    if (call.has("window"))
        return runInEngine(call);
    if (!rests(std::chrono::milliseconds(250), Clock::now() + std::chrono::milliseconds(limit)))
        throw CNotSo("the screen has not come to rest within " + seconds(limit),
                     "something was always being drawn",
                     "--limit waits longer, and --window CAPTION for that program alone");
    return StatusFine;
}

int runFrame(const CCall& call)
{
    const int x = call.number(size_t{0}), y = call.number(size_t{1});
    const int width = call.number(size_t{2}), height = call.number(size_t{3});
    const int duration = call.milliseconds("for", 3'000);
    constexpr int longest = 30'000; // the X server counts in 16 bits
    if (std::min(width, height) < 1 || std::max(width, height) > longest || duration < 1)
        throw CWrongUse("a frame has a width and a height of 1 to 30000, and a time above 0");
    Seen::requireServer();
    if (!isSeen(x, y, width, height))
        throw CNotSo("no frame at " + Seen::placeOf(Rect(y, x, height, width)),
                     "nothing of it is on the screen, which is " + sizeOfScreen(), "");
    constexpr int thickness = 3;
    auto lock = CHighlighter::lock();
    auto* const frame = new CHighlighter(x - thickness, y - thickness, width + 2 * thickness,
                                         height + 2 * thickness, 255, 0, 0, thickness, 0, duration);
    CHighlighter::join(lock, *frame);
    return StatusFine;
}
