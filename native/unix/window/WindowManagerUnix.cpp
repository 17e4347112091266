#include "unix/window/WindowManagerUnix.h"

#include "unix/window/WindowArray.h"

#include <algorithm>

int g_window_status = 0;

namespace {
/// A batch of windows is asked for at once. A hit near the top of the stack should not wait for the whole
/// desktop; a later batch is worth its round trip.
constexpr size_t firstBatch = 64;
constexpr size_t batchGrowth = 8;

bool covers(int x, int y, int width, int height, const Point& point)
{
    return x <= point.getx() && point.getx() <= x + width && y <= point.gety() && point.gety() <= y + height;
}

/// What decides about a window at a point, and where the search goes on in it.
struct CCandidate {
    Window window;
    CAnswer<xcb_get_property_reply_t> hint;
    CStateAnswer state;
    CAnswer<xcb_query_tree_reply_t> tree;
};

/// The windows of a batch that may be the one at the point, topmost first. Those that cannot be asked stay
/// in, so that they are asked again in the order that the walk follows: they may be highlighters, and those
/// don't end it.
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

EVerdict decide(CCandidate& candidate, const CPlacedWindow& parent, const Point& point, CHit& hit)
{
    if (classOf(candidate.hint.take().get()).name == highlighterClass)
        return EVerdict::miss;
    const CWindowState state = candidate.state.take();
    if (!state.readable)
        return EVerdict::vanished;
    hit.at = {candidate.window, parent.x + state.x, parent.y + state.y};
    if (!state.viewable || !covers(hit.at.x, hit.at.y, state.width, state.height, point))
        return EVerdict::miss;
    hit.children = childrenOf(std::move(candidate.tree));
    return EVerdict::hit;
}

/// Decides about candidates in their order. Once one is decided the answers of the others are dropped.
EVerdict decideAll(Display* display, const CPlacedWindow& parent, const std::vector<Window>& candidates,
                   const Point& point, CHit& hit)
{
    std::vector<CCandidate> asked;
    asked.reserve(candidates.size());
    for (const Window window : candidates)
        asked.push_back(
            {window, askClass(display, window), CStateAnswer(display, window), askTree(display, window)});
    for (CCandidate& candidate : asked)
        if (const auto verdict = decide(candidate, parent, point, hit); verdict != EVerdict::miss)
            return verdict;
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
        const auto reply = display && window != 0 ? askTree(display, window).take() : nullptr;
        if (!reply || reply->parent == reply->root || reply->parent == 0)
            return window;
        window = reply->parent;
    }
}

bool isKdeFrame(Display* display, std::span<const Window> children)
{
    return !children.empty() && classOf(display, children.front()).isKde();
}

std::optional<CHit> childAt(Display* display, const CHit& parent, const Point& point)
{
    std::span children(parent.children);
    for (size_t size = firstBatch; !children.empty(); size *= batchGrowth) {
        const auto batch = children.last(std::min(size, children.size()));
        children = children.first(children.size() - batch.size());
        CHit hit{};
        const auto candidates = candidatesIn(display, parent.at, batch, point);
        const auto verdict = decideAll(display, parent.at, candidates, point, hit);
        if (verdict == EVerdict::hit)
            return hit;
        if (verdict == EVerdict::vanished)
            return std::nullopt;
    }
    return std::nullopt;
}

Window windowFromPoint(Display* display, const CPlacedWindow& start, const Point& point)
{
    CHit deepest{start, childrenOf(display, start.window)};
    while (auto child = childAt(display, deepest, point))
        deepest = std::move(*child);
    return deepest.at.window;
}

void chooseShown(CTreeWindow& entry, CStateAnswer& answer, const Rect& rect)
{
    entry.state = answer.take();
    entry.descend = entry.state.viewable;
    entry.chosen =
        entry.descend && entry.state.width == rect.getWidth() && entry.state.height == rect.getHeight();
}

void keepThoseAt(Display* display, std::span<CTreeWindow> level, const Rect& rect)
{
    std::vector<CTreeWindow*> asked;
    for (CTreeWindow& entry : level)
        if (entry.chosen)
            asked.push_back(&entry);
    askAll(
        asked, [&](const CTreeWindow* entry) { return askPlace(display, entry->window); },
        [&](CTreeWindow* entry, auto& answer) {
            const CPlace place = placeOf(answer.take().get());
            entry->chosen = place.known && place.x == rect.getLeft() && place.y == rect.getTop();
        });
}

std::vector<Window> windowsAtRect(Display* display, Window start, const Rect& rect)
{
    CWindowTree tree(display, start);
    tree.read([&](Window window) { return CStateAnswer(display, window); },
              [&](CTreeWindow& entry, CStateAnswer& answer) { chooseShown(entry, answer, rect); },
              [&](std::span<CTreeWindow> level) { keepThoseAt(display, level, rect); });
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
    return display ? CWindow(static_cast<long>(frameOf(display, focusOf(display)))) : CWindow();
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
