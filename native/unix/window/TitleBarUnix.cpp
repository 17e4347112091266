// Top-level windows: finding, raising, moving, closing them.
#include "unix/window/WindowManagerUnix.h"

#include "include/GxGlobals.h"
#include "unix/window/WindowArray.h"

#include <algorithm>
#include <array>
#include <atomic>

#include <X11/Xutil.h>

namespace {
enum : long { stateRemove = 0, stateAdd = 1 };    ///< _NET_WM_STATE
enum : long { layerNormal = 4, layerOnTop = 10 }; ///< _WIN_LAYER

Atom atomNamed(Display* display, const char* name)
{
    return XInternAtom(display, name, False);
}

void sendMessage(Display* display, Window target, long mask, Window about, Atom type,
                 const std::array<long, 3>& data)
{
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = about;
    event.xclient.message_type = type;
    event.xclient.format = 32;
    std::copy(data.begin(), data.end(), event.xclient.data.l);
    XSendEvent(display, target, False, mask, &event);
}

/// Window managers place and stack their frames; KDE's takes no requests for the window inside.
Window windowToPlace(Display* display, Window window)
{
    const Window frame = frameOf(display, window);
    return isKdeFrame(display, childrenOf(display, frame)) ? frame : window;
}

/// What tells a top-level window.
struct CNamedAnswer {
    CNamedAnswer(Display* display, Window window) : state(display, window), hint(askClass(display, window)) {}
    CStateAnswer state;
    CAnswer<xcb_get_property_reply_t> hint;
};

/// Finds the transient windows of `owner`, topmost first. Windows without a name may be frames and are looked
/// into.
std::vector<Window> transientsOf(Display* display, Window owner)
{
    CWindowTree tree(display, rootOf(display));
    tree.read([&](Window window) { return CNamedAnswer(display, window); },
              [&](CTreeWindow& entry, CNamedAnswer& answer) {
                  entry.state = answer.state.take();
                  if (!entry.state.readable || entry.state.overrideRedirect)
                      return;
                  entry.hint = classOf(answer.hint.take().get());
                  entry.descend = !entry.hint->given();
                  entry.chosen = !entry.descend && entry.state.viewable;
              });
    std::vector<Window> transients;
    askAll(
        windowsOf(tree.chosen(EOrder::topFirst)),
        [&](Window window) { return askTransientFor(display, window); },
        [&](Window window, auto& answer) {
            if (transientForOf(answer.take().get()) == owner)
                transients.push_back(window);
        });
    return transients;
}

/// In this order, so that the last one ends on top.
void raiseEach(Display* display, const std::vector<Window>& windows)
{
    for (const Window window : windows)
        XRaiseWindow(display, window);
}

void RaiseTransients(Display* display, Window owner)
{
    raiseEach(display, transientsOf(display, owner));
}

/// The window to send a request to close to: the one inside a frame.
Window windowToClose(Display* display, Window window)
{
    const auto children = childrenOf(display, window);
    if (children.empty())
        return window;
    // Without a WM_CLASS at all the window is taken for the client itself.
    const CClassHint hint = classOf(display, window);
    const bool unnamed = hint.present && !hint.given();
    const Window target = unnamed ? children.back() : window;
    if (classOf(display, children.front()).instance != kdeInstance)
        return target;
    const auto inner = childrenOf(display, target);
    return inner.empty() ? target : inner.back();
}

void sendTopMost(Display* display, Window window, long layer, long change)
{
    const Window root = rootOf(display);
    const auto tell = [&](const char* type, long first, long second) {
        sendMessage(display, root, SubstructureRedirectMask, window, atomNamed(display, type),
                    {first, second, 0});
    };
    tell("_WIN_LAYER", layer, 0);
    for (const char* state : {"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_STAYS_ON_TOP"})
        tell("_NET_WM_STATE", change, static_cast<long>(atomNamed(display, state)));
    XSync(display, False);
}

const CClassHint& hintOf(Display* display, CTreeWindow& entry)
{
    if (!entry.hint)
        entry.hint = classOf(display, entry.window);
    return *entry.hint;
}

/// The nearest ancestor with a name; the window itself when it is a child of the root or no ancestor has a
/// name. Each ancestor is asked once in the life of the tree, which starts at the root.
CTreeWindow& GetTopLevelParent(Display* display, CWindowTree& tree, CTreeWindow& window)
{
    for (size_t above = window.parent; above != 0; above = tree.at(above).parent)
        if (hintOf(display, tree.at(above)).given())
            return tree.at(above);
    return window;
}

/// Step of the search below. A match with a name is an answer and not looked into; a match inside a window
/// with a name stands for that window. Everything else viewable is looked into.
void chooseTopLevelAtRect(Display* display, CWindowTree& tree, CTreeWindow& entry)
{
    entry.chosen = hintOf(display, entry).given() || &GetTopLevelParent(display, tree, entry) != &entry;
    entry.descend = !entry.chosen;
}

/// A top-level window that matches. The KDE window manager's own windows are not handed out, yet a search
/// without room for one fails.
struct CTopLevelMatch {
    Window window;
    bool handedOut;
};

CTopLevelMatch matchOf(Display* display, CWindowTree& tree, CTreeWindow& entry)
{
    if (!entry.hint->given())
        return {GetTopLevelParent(display, tree, entry).window, true};
    return {entry.window, entry.hint->instance != kdeInstance && entry.hint->name != kdeClass};
}

/// Topmost first.
std::vector<CTopLevelMatch> topLevelWindowsAtRect(Display* display, const Rect& rect)
{
    CWindowTree tree(display, rootOf(display));
    tree.read([&](Window window) { return CStateAnswer(display, window); },
              [&](CTreeWindow& entry, CStateAnswer& answer) { chooseShown(entry, answer, rect); },
              [&](std::span<CTreeWindow> level) {
                  keepThoseAt(display, level, rect);
                  for (CTreeWindow& entry : level)
                      if (entry.chosen)
                          chooseTopLevelAtRect(display, tree, entry);
              });
    std::vector<CTopLevelMatch> found;
    for (CTreeWindow* entry : tree.chosen(EOrder::topFirst))
        found.push_back(matchOf(display, tree, *entry));
    return found;
}

std::vector<CTopLevelMatch> topLevelMatches(const Rect* rect)
{
    Display* const display = walkDisplay();
    return display && rect ? topLevelWindowsAtRect(display, *rect) : std::vector<CTopLevelMatch>();
}
} // namespace

// No ancestor of a window that this walk meets has a class.
std::vector<Window> topLevelWindows(Display* display, Window start)
{
    CWindowTree tree(display, start);
    tree.read([&](Window window) { return CNamedAnswer(display, window); },
              [](CTreeWindow& entry, CNamedAnswer& answer) {
                  if (!answer.state.take().viewable)
                      return;
                  entry.chosen = classOf(answer.hint.take().get()).given();
                  entry.descend = !entry.chosen;
              });
    return windowsOf(tree.chosen(EOrder::bottomFirst));
}

TopLevelWindow::TopLevelWindow(Point* point) : CWindow(static_cast<long>(CWindow(point).getTopLevelHandle()))
{
}

TopLevelWindow::TopLevelWindow(Rect* rect)
{
    TopLevelWindow* only = nullptr;
    if (toplevelwindowsAtRectangle(rect, 1, &only) != 1)
        return;
    setHandle(only->getHandle());
    delete only;
}

std::vector<TopLevelWindow> TopLevelWindow::ownedWindows()
{
    Display* const display = walkDisplay();
    std::vector<TopLevelWindow> found;
    for (const Window window : display ? topLevelWindows(display, rootOf(display)) : std::vector<Window>())
        found.emplace_back(static_cast<long>(window));
    return found;
}

int TopLevelWindow::getOwnedWindows(int max, TopLevelWindow** out) const
{
    return toArray(ownedWindows(), max, out);
}

std::vector<TopLevelWindow> TopLevelWindow::topLevelWindowsAt(const Rect& rect)
{
    std::vector<TopLevelWindow> found;
    for (const CTopLevelMatch& match : topLevelMatches(&rect))
        if (match.handedOut)
            found.emplace_back(static_cast<long>(match.window));
    return found;
}

int TopLevelWindow::toplevelwindowsAtRectangle(Rect* rect, int max, TopLevelWindow** out) const
{
    std::vector<TopLevelWindow> found;
    for (const CTopLevelMatch& match : topLevelMatches(rect)) {
        if (std::ssize(found) >= max)
            return -1;
        if (match.handedOut)
            found.emplace_back(static_cast<long>(match.window));
    }
    return toArray(found, max, out);
}

void TopLevelWindow::maximize() const
{
    Display* const display = walkDisplay();
    if (!display)
        return;
    const CWindowState screen = stateOf(display, rootOf(display));
    XMoveResizeWindow(display, getHandle(), 0, 0, static_cast<unsigned>(screen.width),
                      static_cast<unsigned>(screen.height));
    XSync(display, False);
}

void TopLevelWindow::restore() const
{
    if (isIconified())
        deiconify();
}

bool TopLevelWindow::isIconified() const
{
    Display* const display = walkDisplay();
    return display && stateOf(display, getHandle()).unmapped;
}

void TopLevelWindow::iconify() const
{
    Display* const display = walkDisplay();
    if (!display)
        return;
    XIconifyWindow(display, getHandle(), DefaultScreen(display));
    XSync(display, False);
}

void TopLevelWindow::deiconify() const
{
    Display* const display = walkDisplay();
    if (!display)
        return;
    XMapRaised(display, getHandle());
    XSync(display, False);
}

void TopLevelWindow::close() const
{
    Display* const display = walkDisplay();
    if (!display || isNullWindow())
        return;
    // Two threads that fill these at the same time store the same numbers.
    static std::atomic<Atom> deleteWindow, protocols;
    if (!protocols) {
        deleteWindow = atomNamed(display, "WM_DELETE_WINDOW");
        protocols = atomNamed(display, "WM_PROTOCOLS");
    }
    const Window target = windowToClose(display, getHandle());
    sendMessage(display, target, NoEventMask, target, protocols,
                {static_cast<long>(deleteWindow.load()), CurrentTime, 0});
    XSync(display, False);
}

bool TopLevelWindow::moveWindow(int x, int y, int width, int height) const
{
    Display* const display = walkDisplay();
    if (!display)
        return true;
    const CWindowState state = stateOf(display, getHandle());
    const Window window = windowToPlace(display, getHandle());
    if (state.readable && state.width == width && state.height == height)
        XMoveWindow(display, window, x, y);
    else
        XMoveResizeWindow(display, window, x, y, static_cast<unsigned>(width), static_cast<unsigned>(height));
    XSync(display, False);
    return true;
}

void CWindow::bringToTop() const
{
    Display* const display = walkDisplay();
    if (!display || isNullWindow())
        return;
    raiseEach(display, {windowToPlace(display, getHandle())});
    RaiseTransients(display, getHandle());
    XSync(display, False);
}

void CWindow::setStyleTopMost() const
{
    if (Display* const display = walkDisplay(); display && !isNullWindow())
        sendTopMost(display, getHandle(), layerOnTop, stateAdd);
}

void CWindow::clearStyleTopMost() const
{
    if (Display* const display = walkDisplay(); display && !isNullWindow())
        sendTopMost(display, getHandle(), layerNormal, stateRemove);
}
