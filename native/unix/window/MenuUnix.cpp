// Menus on X11: finding them, and what does not depend on the toolkit that made them.
#include "unix/window/Menu.h"

#include "common/trace/CTracer.h"
#include "unix/window/MenuToolkit.h"
#include "unix/window/WindowManagerUnix.h"
#include "unix/window/gtkfuncs.h"

#include <algorithm>
#include <atomic>

#include <X11/Xatom.h>

namespace {
/// More panes than this are not listed.
constexpr size_t maxPanes = 64;

std::vector<Window> shownPanes(Display* display)
{
    const IMenuToolkit& toolkit = IMenuToolkit::current();
    toolkit.publish();
    std::vector<Window> shown;
    askAll(
        toolkit.panesIn(wholeTree(display, rootOf(display))),
        [&](Window window) { return CBoxAnswer(display, window); },
        [&](Window window, CBoxAnswer& answer) {
            const bool viewable = answer.state.take().viewable;
            const CPlace place = placeOf(answer.place.take().get());
            if (viewable && toolkit.canShowAt(place) && shown.size() < maxPanes)
                shown.push_back(window);
        });
    return shown;
}

/// The ancestor whose parent is the root; 0 when a window on the way up has gone.
Window getWindowFrame(Display* display, Window window)
{
    const Window frame = frameOf(display, window);
    return GetParent(display, frame) == rootOf(display) ? frame : 0;
}

/// The corner is what the pane's place in its parent becomes when it is taken for a point inside of the pane.
std::optional<Rect> translatedRectangle(Display* display, Window pane)
{
    const CWindowState state = stateOf(display, pane);
    int x = 0, y = 0;
    Window child = 0;
    if (!state.readable ||
        !XTranslateCoordinates(display, pane, rootOf(display), state.x, state.y, &x, &y, &child))
        return std::nullopt;
    CTracer::debugTrace("Menu rectangle after translation- x: %d, y: %d  child %d", x, y,
                        static_cast<int>(child));
    return Rect(y, x, state.height, state.width);
}

std::optional<Rect> parentRectangle(Display* display, Window pane)
{
    const CWindowState state = stateOf(display, GetParent(display, pane));
    if (!state.readable)
        return std::nullopt;
    CTracer::debugTrace("Menu parent rect - x: %d, y: %d, width: %d, height: %d depth:%d ", state.x, state.y,
                        state.width, state.height, state.depth);
    return Rect(state.y, state.x, state.height, state.width);
}

/// Right for panes that stand at (0, 0) in a shell of their own. Any other is told by not fitting into its
/// parent, which is then taken for the shell.
std::optional<Rect> paneRectangle(Display* display, Window pane)
{
    const auto own = translatedRectangle(display, pane);
    const auto parent = own ? parentRectangle(display, pane) : std::nullopt;
    return parent && !parent->contains(*own) ? parent : own;
}

/// Moves a rectangle in a window to root coordinates.
Rect movedTo(const CPlace& window, const Rect& box)
{
    return {window.y + box.getTop(), window.x + box.getLeft(), box.getHeight(), box.getWidth()};
}

std::optional<Rect> onScreen(Display* display, Window window, const Rect& box)
{
    const CPlace place = placeOf(askPlace(display, window).take().get());
    return place.known ? std::optional(movedTo(place, box)) : std::nullopt;
}

void keepShownSubmenus(Display* display, std::vector<GxMenu::ItemView>& views)
{
    std::vector<GxMenu::ItemView*> cascades;
    for (GxMenu::ItemView& view : views)
        if (view.submenu)
            cascades.push_back(&view);
    askAll(
        cascades, [&](const GxMenu::ItemView* view) { return CStateAnswer(display, view->submenu); },
        [](GxMenu::ItemView* view, auto& answer) {
            view->submenu = answer.take().viewable ? view->submenu : 0;
        });
}

/// What the X server would write into an event now: the time of one that it is asked for. 0 when it has gone.
Time serverTime()
{
    Display* const display = walkDisplay();
    XSetWindowAttributes attributes{};
    attributes.event_mask = PropertyChangeMask;
    const Window window = XCreateWindow(display, rootOf(display), 0, 0, 1, 1, 0, 0, InputOnly, nullptr,
                                        CWEventMask, &attributes);
    XChangeProperty(display, window, XA_WM_NAME, XA_STRING, 8, PropModeAppend, nullptr, 0);
    XEvent event{};
    XSync(display, False);
    const bool isThere = XCheckWindowEvent(display, window, PropertyChangeMask, &event);
    XDestroyWindow(display, window);
    return isThere ? event.xproperty.time : 0;
}
} // namespace

const IMenuToolkit& IMenuToolkit::current()
{
    return isGTK2or3() ? gtkMenus() : motifMenus();
}

unsigned long CWindow::getMenuBar() const
{
    Display* const display = walkDisplay();
    if (!display || isNullWindow())
        return 0;
    const IMenuToolkit& toolkit = IMenuToolkit::current();
    toolkit.publish();
    const Window own = toolkit.menuBarIn(display, m_handle);
    return own ? own : toolkit.menuBarIn(display, rootOf(display));
}

std::vector<CWindow> CWindow::getPopupWindows()
{
    Display* const display = walkDisplay();
    std::vector<CWindow> panes;
    for (const Window pane : display ? shownPanes(display) : std::vector<Window>())
        panes.emplace_back(static_cast<long>(pane));
    return panes;
}

unsigned long CWindow::getTopContextMenu()
{
    Display* const display = walkDisplay();
    return display ? IMenuToolkit::current().contextMenuAmong(shownPanes(display)) : 0;
}

unsigned long CWindow::getMenuParentWindow() const
{
    Display* const display = walkDisplay();
    const Window menuBar = display && isMenu() ? getMenuBar() : 0;
    const Window frame = menuBar ? getWindowFrame(display, menuBar) : 0;
    return frame ? IMenuToolkit::current().ownerOf(display, menuBar, frame) : 0;
}

int GxMenu::getItemCount() const
{
    return IMenuToolkit::current().itemCount(m_handle);
}

int GxMenu::getItemText(int index, char* buffer, int size) const
{
    return IMenuToolkit::current().itemText(m_handle, index, buffer, size);
}

void GxMenu::getItemScreenRectangle(int index, Rect* rect) const
{
    Display* const display = walkDisplay();
    const auto box = display ? IMenuToolkit::current().itemBox(m_handle, index) : std::nullopt;
    if (!box)
        return;
    if (const auto found = box->isZero() ? box : onScreen(display, m_handle, *box))
        *rect = *found;
}

std::vector<std::string> GxMenu::getWholeItemTexts() const
{
    return IMenuToolkit::current().wholeTexts(m_handle);
}

GxMenu::View GxMenu::getView() const
{
    View view;
    const IMenuToolkit& toolkit = IMenuToolkit::current();
    Display* const own = walkDisplay();
    Display* const display = own ? toolkit.published(own) : nullptr;
    if (!display)
        return view;
    view.id = toolkit.widgetIdOf(m_handle);
    view.items = toolkit.itemViews(m_handle);
    const auto part = toolkit.partOfWindow(m_handle);
    CBoxAnswer answer(display, m_handle);
    keepShownSubmenus(display, view.items);
    const CWindowState state = answer.state.take();
    const CPlace place = placeOf(answer.place.take().get());
    view.shown = state.viewable;
    if (place.known)
        view.box = movedTo(place, part.value_or(Rect(0, 0, state.height, state.width)));
    for (ItemView& item : view.items)
        item.seenPart = place.known && !item.seenPart.isZero() ? movedTo(place, item.seenPart) : Rect();
    return view;
}

int GxMenu::msUntilClickIsTaken() const
{
    return walkDisplay() ? IMenuToolkit::current().msUntilClickIsTaken(m_handle, serverTime) : 0;
}

namespace {
constinit std::atomic<int> s_lastMark = 0;
constinit std::atomic<int> s_seenTo = 0;

/// The GUI thread alone calls it, for a later mark perhaps before an earlier one.
void noteSeenTo(long mark)
{
    s_seenTo = std::max(s_seenTo.load(), static_cast<int>(mark));
}
} // namespace

int GxMenu::markEvents()
{
    const IMenuToolkit& toolkit = IMenuToolkit::current();
    const int mark = ++s_lastMark;
    toolkit.publish(); // fetches them, too
    toolkit.whenIdle(noteSeenTo, mark);
    return mark;
}

bool GxMenu::hasSeenTo(int mark)
{
    return s_seenTo >= mark;
}

int GxMenu::getItemAtScreenPoint(const Point& point) const
{
    Display* const display = walkDisplay();
    const int count = display ? getItemCount() : -1;
    if (count < 1)
        return -1;
    const CPlace place = placeOf(askPlace(display, m_handle).take().get());
    for (int index = 0; place.known && index < count; ++index)
        if (const auto box = IMenuToolkit::current().itemBox(m_handle, index);
            box && movedTo(place, *box).pointInRect(point))
            return index;
    return -1;
}

void GxMenu::getScreenRectangle(Rect* rect) const
{
    *rect = Rect();
    Display* const display = walkDisplay();
    if (!display)
        return;
    const auto part = IMenuToolkit::current().partOfWindow(m_handle);
    const auto found = part ? onScreen(display, m_handle, *part) : paneRectangle(display, m_handle);
    if (found)
        *rect = *found;
}

void GxMenu::getItemPopupMenu(int index, unsigned long* submenu, unsigned long*) const
{
    *submenu = 0;
    Display* const display = walkDisplay();
    const IMenuToolkit& toolkit = IMenuToolkit::current();
    const Window window = display ? toolkit.submenuWindow(m_handle, index) : 0;
    if (!window)
        return;
    toolkit.publish();
    if (stateOf(display, window).viewable)
        *submenu = window;
}
