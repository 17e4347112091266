#include "WindowManagerUnix.h"

#include "WindowArray.h"

#include <algorithm>

int g_window_status = 0;

namespace {
/// WM_CLASS class of the library's own highlight frames, which no query may find.
constexpr const char* highlighterClass = "VTXHighlighter";

/// A batch of windows is asked for at once. A hit near the top of the stack should not wait for the whole
/// desktop.
constexpr size_t firstBatch = 32;
constexpr size_t largestBatch = 2048;

bool covers(int x, int y, int width, int height, const Point& point)
{
    return x <= point.getx() && point.getx() <= x + width && y <= point.gety() && point.gety() <= y + height;
}

/// What decides about a window at a point.
struct CCandidate {
    CAnswer<xcb_get_property_reply_t> hint;
    CStateAnswer state;
};

/// The windows of a batch that may be the one at the point. Those that cannot be asked stay in, so that they
/// are asked again in the order that the walk follows: they may be highlighters, and those don't end it.
std::vector<Window> candidatesIn(Display* display, const CPlacedWindow& parent, std::span<const Window> batch,
                                 const Point& point)
{
    std::vector<Window> found;
    askAll(
        std::vector<Window>(batch.rbegin(), batch.rend()),
        [&](Window child) { return askGeometry(display, child); },
        [&](Window child, auto& answer) {
            const auto box = answer.takeQuietly();
            if (!box || covers(parent.x + box->x, parent.y + box->y, box->width, box->height, point))
                found.push_back(child);
        });
    return found;
}

enum class EVerdict { miss, hit, vanished };

/// Decides about candidates, topmost first. Later answers are dropped unread once one is decided.
EVerdict decide(Display* display, const CPlacedWindow& parent, const std::vector<Window>& candidates,
                const Point& point, CPlacedWindow& hit)
{
    std::vector<CCandidate> asked;
    asked.reserve(candidates.size());
    for (const Window window : candidates)
        asked.push_back({askClass(display, window), CStateAnswer(display, window)});
    for (size_t i = 0; i < candidates.size(); ++i) {
        if (classOf(asked[i].hint.take().get()).name == highlighterClass)
            continue;
        const CWindowState state = asked[i].state.take();
        if (!state.readable)
            return EVerdict::vanished;
        hit = {candidates[i], parent.x + state.x, parent.y + state.y};
        if (state.viewable && covers(hit.x, hit.y, state.width, state.height, point))
            return EVerdict::hit;
    }
    return EVerdict::miss;
}

std::vector<CWindow> wrapped(const std::vector<Window>& windows)
{
    std::vector<CWindow> result;
    result.reserve(windows.size());
    for (const Window window : windows)
        result.emplace_back(static_cast<long>(window));
    return result;
}

Window focusOf(Display* display)
{
    Window focus = 0;
    int revert = 0;
    XGetInputFocus(display, &focus, &revert);
    return focus;
}

/// The focus window's ancestor just below the root. The focus may be no window at all (None, PointerRoot):
/// the query fails then and the value is answered as it stands.
Window topLevelOf(Display* display, Window window)
{
    for (;;) {
        const auto reply = askTree(display, window).take();
        if (!reply || reply->parent == reply->root || reply->parent == 0)
            return window;
        window = reply->parent;
    }
}

/// The windows that are viewable and can show something.
std::vector<Window> shownAmong(Display* display, const std::vector<Window>& windows)
{
    std::vector<Window> shown;
    askAll(
        windows, [&](Window window) { return CStateAnswer(display, window); },
        [&](Window window, CStateAnswer& answer) {
            const CWindowState state = answer.take();
            if (state.viewable && !state.inputOnly)
                shown.push_back(window);
        });
    return shown;
}
} // namespace

Window rootOf(Display* display)
{
    return display ? DefaultRootWindow(display) : 0;
}

Window GetParent(Display* display, Window window)
{
    if (!display || window == 0 || window == rootOf(display))
        return window;
    const auto reply = askTree(display, window).take();
    return reply ? reply->parent : window;
}

Window frameOf(Display* display, Window window)
{
    for (;;) {
        const Window parent = GetParent(display, window);
        if (parent == rootOf(display) || parent == window || parent == 0)
            return window;
        window = parent;
    }
}

bool isKdeFrame(Display* display, std::span<const Window> children)
{
    return !children.empty() && classOf(display, children.front()).isKde();
}

std::optional<CPlacedWindow> childAt(Display* display, const CPlacedWindow& parent,
                                     std::span<const Window> children, const Point& point)
{
    for (size_t size = firstBatch; !children.empty(); size = std::min(4 * size, largestBatch)) {
        const auto batch = children.last(std::min(size, children.size()));
        children = children.first(children.size() - batch.size());
        CPlacedWindow hit{};
        const auto verdict = decide(display, parent, candidatesIn(display, parent, batch, point), point, hit);
        if (verdict == EVerdict::hit)
            return hit;
        if (verdict == EVerdict::vanished)
            return std::nullopt;
    }
    return std::nullopt;
}

Window windowFromPoint(Display* display, const CPlacedWindow& start, const Point& point)
{
    CPlacedWindow deepest = start;
    while (const auto child = childAt(display, deepest, childrenOf(display, deepest.window), point))
        deepest = *child;
    return deepest.window;
}

void chooseAtRect(Display* display, std::span<CTreeWindow> level, const Rect& rect)
{
    readStates(display, level);
    for (CTreeWindow& entry : level)
        entry.descend = entry.state.viewable;
    // Only a window of the right size can match: the others need not be asked where they stand.
    const auto ofThatSize = those(level, [&](const CTreeWindow& entry) {
        return entry.state.viewable && entry.state.width == rect.getWidth() &&
               entry.state.height == rect.getHeight();
    });
    askAll(
        ofThatSize, [&](const CTreeWindow* entry) { return askPlace(display, entry->window); },
        [&](CTreeWindow* entry, auto& answer) {
            const CPlace place = placeOf(answer.take().get());
            entry->chosen = place.known && place.x == rect.getLeft() && place.y == rect.getTop();
        });
}

std::vector<Window> windowsAtRect(Display* display, Window start, const Rect& rect)
{
    CWindowTree tree(display, start);
    tree.read([&](std::span<CTreeWindow> level) { chooseAtRect(display, level, rect); });
    return windowsOf(tree.chosen(EOrder::bottomFirst));
}

CWindow::CWindow(long handle) : m_handle(static_cast<uint64_t>(handle)) {}

CWindow::CWindow(Point* point)
{
    Display* const display = walkDisplay();
    if (display && point)
        m_handle = windowFromPoint(display, {rootOf(display), 0, 0}, *point);
}

CWindow::CWindow(Rect* rect)
{
    const auto found = rect ? windowsAt(*rect) : std::vector<CWindow>();
    if (!found.empty())
        m_handle = found.back().m_handle;
}

CRootWindow::CRootWindow() : CWindow(static_cast<long>(rootOf(walkDisplay()))) {}

void CWindow::getParent(CWindow* out) const
{
    out->setHandle(GetParent(walkDisplay(), m_handle));
}

void CWindow::getOwner(CWindow* out) const
{
    out->setHandle(0);
}

unsigned long CWindow::getGwOwner() const
{
    CWindow owner;
    getOwner(&owner);
    return owner.getHandle();
}

unsigned long CWindow::getTopLevelHandle() const
{
    return frameOf(walkDisplay(), m_handle);
}

std::vector<CWindow> CWindow::childWindows() const
{
    Display* const display = walkDisplay();
    return display ? wrapped(shownAmong(display, childrenOf(display, m_handle))) : std::vector<CWindow>();
}

int CWindow::enumChildWindows(int max, CWindow** out) const
{
    Display* const display = walkDisplay();
    if (!display)
        return 0;
    const auto children = childrenOf(display, m_handle);
    if (std::ssize(children) > max)
        return -1;
    return toArray(wrapped(shownAmong(display, children)), max, out);
}

std::vector<CWindow> CWindow::windowsAt(const Rect& rect)
{
    Display* const display = walkDisplay();
    return display ? wrapped(windowsAtRect(display, rootOf(display), rect)) : std::vector<CWindow>();
}

int CWindow::windowsAtRectangle(Rect* rect, int max, CWindow** out) const
{
    return toArray(rect ? windowsAt(*rect) : std::vector<CWindow>(), max, out);
}

void CWindow::getRectangle(Rect* out) const
{
    *out = Rect();
    Display* const display = walkDisplay();
    if (!display)
        return;
    CStateAnswer stateAnswer(display, m_handle);
    auto placeAnswer = askPlace(display, m_handle);
    const CWindowState state = stateAnswer.take();
    if (!state.readable)
        return;
    const CPlace place = placeOf(placeAnswer.take().get());
    if (place.known)
        *out = Rect(place.y, place.x, state.height, state.width);
}

CWindow CWindow::getForeground()
{
    Display* const display = walkDisplay();
    return display ? CWindow(static_cast<long>(topLevelOf(display, focusOf(display)))) : CWindow();
}

CWindow CWindow::getFocus()
{
    Display* const display = walkDisplay();
    return display ? CWindow(static_cast<long>(focusOf(display))) : CWindow();
}

void CWindow::setFocus() const
{
    Display* const display = walkDisplay();
    if (!display)
        return;
    XSetInputFocus(display, m_handle, RevertToPointerRoot, CurrentTime);
    XSync(display, False);
}

int CWindow::activate() const
{
    bringToTop();
    return 0;
}

void CWindow::setForeground() const
{
    bringToTop();
}

bool CWindow::isShowing() const
{
    Display* const display = walkDisplay();
    return display && stateOf(display, m_handle).viewable;
}

int CWindow::getPid() const
{
    g_window_status = 1;
    return 0;
}

int CWindow::getTid() const
{
    g_window_status = 1;
    return 0;
}

void CWindow::getHScrollRange(int*, int*) const {}

void CWindow::getVScrollRange(int*, int*) const {}
