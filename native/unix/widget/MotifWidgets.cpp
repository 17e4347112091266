#include "unix/widget/WidgetTree.h"

#include "unix/widget/XtFacts.h"
#include "unix/widget/XtGrab.h"
#include "unix/widget/XtHold.h"
#include "unix/widget/XtObjects.h"
#include "unix/widget/XtRows.h"
#include "unix/widget/XtScroll.h"
#include "unix/window/WindowManagerUnix.h"
#include "unix/window/XtGuard.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>
#include <X11/StringDefs.h>
#include <Xm/RowColumn.h>
#include <Xm/ScrolledW.h>
#include <Xm/Xm.h>

namespace {
/// Widgets with windows have popups, gadgets do not.
std::vector<Widget> popupsOf(Widget widget)
{
    if (!XtIsWidget(widget))
        return {};
    return {widget->core.popup_list, widget->core.popup_list + widget->core.num_popups};
}

/// Some programs make their windows as ordinary children of a shell that they never show.
void collectShells(Widget widget, std::vector<Widget>& shells)
{
    for (const Widget child : livingChildren(widget)) {
        if (XtIsShell(child))
            shells.push_back(child);
        collectShells(child, shells);
    }
    for (const Widget popup : popupsOf(widget)) {
        shells.push_back(popup);
        collectShells(popup, shells);
    }
}

/// Every shell of the application, those that it pops up as well.
std::vector<Widget> allShells()
{
    if (!gx_app_display)
        return {};
    WidgetList roots = nullptr;
    Cardinal count = 0;
    guarded([&] {
        XtVaGetValues(XtHooksOfDisplay(gx_app_display), XtNshells, &roots, XtNnumShells, &count, nullptr);
    });
    std::vector<Widget> all;
    for (const Widget root : std::vector<Widget>(roots, roots + count)) {
        all.push_back(root);
        collectShells(root, all);
    }
    std::set<Widget> known;
    std::erase_if(all,
                  [&](Widget shell) { return shell->core.being_destroyed || !known.insert(shell).second; });
    return all;
}

/// The line that a menu is torn off by is in no list of children.
std::vector<Widget> childrenToRead(Widget widget)
{
    std::vector<Widget> children = livingChildren(widget);
    Widget line = nullptr;
    guarded([&] {
        if (isRowColumn(widget, XmMENU_PULLDOWN) || isRowColumn(widget, XmMENU_POPUP))
            line = XmGetTearOffControl(widget);
    });
    if (line && !line->core.being_destroyed)
        children.insert(children.begin(), line);
    return children;
}

bool isInNotebook(Widget widget)
{
    return XtIsWidget(widget) && isOfKind(XtParent(widget), "XmNotebook");
}

/// Where there is no room for a tab or an item, or its page or folder is closed, it is moved out at the
/// corner.
bool isMovedAway(Widget widget)
{
    return isOutAtCorner(widget) &&
           (isOfKind(XtParent(widget), "XmNotebook") || isOfKind(XtParent(widget), "XmContainer"));
}

/// The tab of a page has no widget; no widget has an odd address.
unsigned long idOfTab(Widget page)
{
    return reinterpret_cast<unsigned long>(page) | 1;
}

/// Reads the widgets in one shell.
class CXtReader {
public:
    CWidgetNode read(Widget widget, const Rect& box, bool aroundShows, int depth);
    bool takeWidget() { return m_budget.takeWidget(); }

private:
    void readState(Widget widget, CWidgetNode& node);
    void readTabs(Widget stack, CWidgetNode& node);
    void readChildren(Widget widget, CWidgetNode& node, int depth);

    CTreeBudget m_budget;
};

void CXtReader::readState(Widget widget, CWidgetNode& node)
{
    bool shows = false, enabled = false, focused = false;
    guarded([&] {
        shows = XtIsManaged(widget) || XtIsShell(widget);
        shows = shows && XtIsRealized(widget) &&
                (!XtIsWidget(widget) || XtIsShell(widget) || widget->core.mapped_when_managed);
        if (isOfKind(XtParent(widget), "XmTabStack") && !isOfKind(widget, "XmTabBox"))
            shows = shows && isXtTabSelected(XtParent(widget), widget);
        enabled = XtIsSensitive(widget);
        focused = XmGetFocusWidget(widget) == widget;
    });
    // panes of menus and pages of notebooks are mapped past Xt
    if (isOfKind(XtParent(widget), "XmMenuShell") || isInNotebook(widget))
        shows = stateOf(walkDisplay(), XtWindow(widget)).viewable;
    node.showing = node.showing && shows && !isMovedAway(widget);
    node.enabled = enabled;
    node.focused = focused;
}

void CXtReader::readTabs(Widget stack, CWidgetNode& node)
{
    CXtTab tabs[mostXtTabs];
    int count = 0;
    guarded([&] { count = readXtTabs(stack, tabs); });
    for (int index = 0; index < count; ++index) {
        const CXtTab& tab = tabs[index];
        char* text = nullptr;
        CWidgetNode& child = node.children.emplace_back();
        guarded([&] {
            text = textOfXtTab(tab.page);
            child.selected = isXtTabSelected(stack, tab.page);
        });
        child.role = "TAB";
        child.id = idOfTab(tab.page);
        child.text = taken(text);
        child.enabled = node.enabled;
        child.showing = node.showing;
        child.box = Rect(node.box.getTop() + tab.top, node.box.getLeft() + tab.left, tab.bottom - tab.top + 1,
                         tab.right - tab.left + 1);
    }
}

void CXtReader::readChildren(Widget widget, CWidgetNode& node, int depth)
{
    const COrigin inside{node.box.getLeft(), node.box.getTop()};
    for (const Widget child : childrenToRead(widget)) {
        if (child->core.being_destroyed || XtIsShell(child) || !XtIsRectObj(child))
            continue;
        if (depth >= CTreeLimits::depth || !m_budget.takeWidget()) {
            node.childrenCut = true;
            return;
        }
        node.children.push_back(read(child, boxOf(child, inside), node.showing, depth + 1));
    }
}

CWidgetNode CXtReader::read(Widget widget, const Rect& box, bool aroundShows, int depth)
{
    CXtFacts facts;
    guarded([&] { readXtFacts(widget, facts); });
    CWidgetNode node;
    node.className = XtClass(widget)->core_class.class_name;
    node.role = facts.role;
    node.id = reinterpret_cast<unsigned long>(widget);
    node.name = XtName(widget) ? XtName(widget) : "";
    node.text = taken(facts.text);
    node.label = taken(facts.label);
    node.tip = taken(facts.tip);
    if (facts.hasValue)
        node.value = facts.value;
    if (facts.checked >= 0)
        node.checked = facts.checked != 0;
    node.editable = facts.editable;
    node.secret = facts.secret;
    node.selected = facts.selected;
    node.rowsToggle = facts.rowsToggle;
    node.box = facts.pressed ? boxOf(facts.pressed, {box.getLeft(), box.getTop()}) : box;
    if (facts.opener.width > 0)
        node.opener = Rect(box.getTop() + facts.opener.y, box.getLeft() + facts.opener.x, facts.opener.height,
                           facts.opener.width);
    node.window = XtIsWidget(widget) ? XtWindow(widget) : 0;
    node.showing = aroundShows;
    readState(widget, node);
    if (facts.isList)
        readXtRows(widget, node);
    if (isOfKind(widget, "XmTabStack"))
        readTabs(widget, node);
    if (!facts.isLeaf)
        readChildren(widget, node, depth);
    return node;
}

/// What its title bar says: programs set that past Xt as well, which knows nothing of it then.
void readCaption(Widget shell, CWidgetNode& node)
{
    const std::string caption =
        XtIsWMShell(shell) ? CWindow(static_cast<long>(XtWindow(shell))).title() : std::string();
    if (!caption.empty())
        node.text = caption;
}

/// The panes of a menu bar share one shell, in which one of them shows.
CWidgetNode withoutMenuShell(CWidgetNode shell)
{
    for (CWidgetNode& pane : shell.children)
        if (std::string_view(shell.role) == "MENU" && std::string_view(pane.role) == "MENU" && pane.showing) {
            CWidgetNode menu = std::move(pane);
            return menu;
        }
    return shell;
}

/// A shell that is on the screen, and where that is.
std::optional<COrigin> placeOfShell(Display* display, Widget shell)
{
    const Window window = XtWindow(shell);
    if (!window || !stateOf(display, window).viewable)
        return std::nullopt;
    const CPlace place = placeOf(askPlace(display, window).take().get());
    return place.known ? std::optional(COrigin{place.x, place.y}) : std::nullopt;
}

/// The gadget in a widget at a place inside of it; the widget itself when there is none.
Widget gadgetAt(Widget widget, int x, int y)
{
    const std::vector<Widget> children = livingChildren(widget);
    const auto found = std::find_if(children.rbegin(), children.rend(), [&](Widget child) {
        const CorePart& place = child->core;
        return XtIsRectObj(child) && !XtIsWidget(child) && XtIsManaged(child) && x >= place.x &&
               y >= place.y && x < place.x + place.width && y < place.y + place.height;
    });
    return found == children.rend() ? widget : *found;
}

/// What reacts of a widget and those around it: what does not gets no press, whoever else does.
Widget reactingAround(Widget widget)
{
    while (!XtIsSensitive(widget) && !XtIsShell(widget))
        widget = XtParent(widget);
    return widget;
}

bool isReached(Widget widget)
{
    bool isReached = false;
    if (XtIsWidget(widget) && XtIsRealized(widget))
        guarded([&] { isReached = getsPresses(reactingAround(widget)); });
    return isReached;
}

/// The first of some widgets, and those in them, that shows and gets presses; null for none. A pane stands for
/// the shell that it shares with other menus.
Widget firstReached(Display* display, const std::vector<Widget>& widgets)
{
    for (const Widget each : widgets) {
        if (!isOfKind(each, "XmMenuShell") && isReached(each) && stateOf(display, XtWindow(each)).viewable)
            return each;
        if (const Widget inside = firstReached(display, livingChildren(each)))
            return inside;
    }
    return nullptr;
}

/// A widget and those that it lies in.
std::vector<unsigned long> withThoseAround(Widget widget)
{
    std::vector<unsigned long> chain;
    for (; widget; widget = XtIsShell(widget) ? nullptr : XtParent(widget))
        chain.push_back(reinterpret_cast<unsigned long>(widget));
    return chain;
}

/// A widget by its address, looked for among all there are; null when it has gone.
Widget findIn(const std::vector<Widget>& widgets, unsigned long id)
{
    for (const Widget each : widgets) {
        if (reinterpret_cast<unsigned long>(each) == id)
            return each;
        if (const Widget found = findIn(livingChildren(each), id))
            return found;
    }
    return nullptr;
}

/// The widget with a window whose inside a place is counted in, and its place on the screen.
std::optional<COrigin> placeOfWidget(Display* display, Widget widget)
{
    const CPlace place = placeOf(askPlace(display, XtWindow(widget)).take().get());
    return place.known ? std::optional(COrigin{place.x, place.y}) : std::nullopt;
}

Rect boxOnScreen(Display* display, Widget widget)
{
    const auto around = widget ? placeOfWidget(display, XtParent(widget)) : std::nullopt;
    return around ? boxOf(widget, *around) : Rect();
}

/// The tab that a stack of pages draws at a place; 0 for none.
unsigned long tabAt(Display* display, Widget widget, const Point& point)
{
    while (widget && !isOfKind(widget, "XmTabStack"))
        widget = XtIsShell(widget) ? nullptr : XtParent(widget);
    const auto place = widget ? placeOfWidget(display, widget) : std::nullopt;
    Widget page = nullptr;
    if (place)
        guarded([&] {
            page = pageOfXtTab(widget, static_cast<Position>(point.getx() - place->x),
                               static_cast<Position>(point.gety() - place->y));
        });
    return page ? idOfTab(page) : 0;
}

/// The first file selection box in a widget; null for none.
Widget fileBoxIn(Widget widget)
{
    if (isOfKind(widget, "XmFileSelectionBox"))
        return widget;
    for (const Widget child : livingChildren(widget))
        if (const Widget found = fileBoxIn(child))
            return found;
    return nullptr;
}

/// Calls visit(shell, box) for all shells on the screen in which there is a file selection box.
template <class Visit> void visitFileBoxes(Visit visit)
{
    Display* const display = walkDisplay();
    if (!display || !gx_app_display)
        return;
    XSync(gx_app_display, False);
    for (const Widget shell : allShells())
        if (const Widget box = placeOfShell(display, shell) ? fileBoxIn(shell) : nullptr;
            box && XtIsManaged(box))
            visit(display, shell, box);
}

/// Whether a scrolled window scrolls what lies in that child of it: its scroll bars do not go away.
bool scrollsByItself(Widget widget, Widget child)
{
    unsigned char policy = XmAPPLICATION_DEFINED;
    Widget clip = nullptr;
    guarded([&] {
        if (isOfKind(widget, "XmScrolledWindow"))
            XtVaGetValues(widget, XmNscrollingPolicy, &policy, XmNclipWindow, &clip, nullptr);
    });
    return policy == XmAUTOMATIC && child == clip;
}

class CMotifWidgets final : public IWidgetToolkit {
public:
    void hold(const std::function<void()>& work) const override { withXtWidgetsHeld(gx_app_display, work); }
    std::vector<CWidgetNode> windows() const override;
    std::vector<unsigned long> at(const Point& point) const override;
    bool reveal(unsigned long id) const override;
    std::vector<CWidgetRow> rows(unsigned long id, size_t first, size_t count) const override;
    std::vector<std::vector<std::string>> texts(unsigned long id, size_t first, size_t count) const override;
    bool revealRow(unsigned long id, const std::string& path, int column) const override;
    std::optional<CScrollBar> scrollBar(unsigned long id) const override;
    std::vector<CFileDialog> fileDialogs() const override;
    void setFile(unsigned long window, const CJString& file) const override;
};

std::vector<CWidgetNode> CMotifWidgets::windows() const
{
    Display* const display = walkDisplay();
    if (!display || !gx_app_display)
        return {};
    XSync(gx_app_display, False);
    CXtReader reader;
    std::vector<CWidgetNode> nodes;
    for (const Widget shell : allShells())
        if (const auto place = placeOfShell(display, shell); place && reader.takeWidget()) {
            const Rect box(place->y, place->x, shell->core.height, shell->core.width);
            nodes.push_back(withoutMenuShell(reader.read(shell, box, true, 0)));
            if (std::string_view(nodes.back().role) != "MENU")
                readCaption(shell, nodes.back());
        }
    return nodes;
}

std::vector<unsigned long> CMotifWidgets::at(const Point& point) const
{
    Display* const display = walkDisplay();
    if (!display || !gx_app_display)
        return {};
    const Window root = rootOf(display);
    Window window = windowFromPoint(display, {root, 0, 0}, point);
    Widget widget = findWidget(window);
    while (!widget && window && window != root) {
        window = GetParent(display, window);
        widget = window == root ? nullptr : findWidget(window);
    }
    const CPlace place = widget ? placeOf(askPlace(display, window).take().get()) : CPlace();
    if (!place.known)
        return {};
    if (!isReached(widget)) {
        const Widget taker = firstReached(display, allShells());
        return taker ? withThoseAround(taker) : std::vector<unsigned long>{nobodysId};
    }
    std::vector<unsigned long> chain =
        withThoseAround(gadgetAt(widget, point.getx() - place.x, point.gety() - place.y));
    if (const unsigned long tab = tabAt(display, widget, point))
        chain.insert(chain.begin(), tab);
    return chain;
}

bool CMotifWidgets::reveal(unsigned long id) const
{
    const Widget widget = findIn(allShells(), id);
    bool scrolls = false;
    Widget child = widget;
    for (Widget around = widget ? XtParent(widget) : nullptr; around;
         child = std::exchange(around, XtParent(around)))
        if (scrollsByItself(around, child)) {
            scrolls = true;
            guarded([&] { XmScrollVisible(around, widget, 0, 0); });
        }
    return scrolls;
}

std::vector<CWidgetRow> CMotifWidgets::rows(unsigned long id, size_t first, size_t count) const
{
    Display* const display = walkDisplay();
    const Widget widget = display ? findIn(allShells(), id) : nullptr;
    return widget && XtIsRealized(widget) ? xtRowsOf(widget, boxOnScreen(display, widget), first, count)
                                          : std::vector<CWidgetRow>();
}

std::vector<std::vector<std::string>> CMotifWidgets::texts(unsigned long id, size_t first, size_t count) const
{
    const Widget widget = findIn(allShells(), id);
    return widget && XtIsRealized(widget) ? xtTextsOf(widget, first, count)
                                          : std::vector<std::vector<std::string>>();
}

bool CMotifWidgets::revealRow(unsigned long id, const std::string& path, int column) const
{
    const Widget widget = findIn(allShells(), id);
    const Widget shown = widget ? showXtRow(widget, path, column < 0) : nullptr;
    if (shown)
        reveal(reinterpret_cast<unsigned long>(shown));
    return shown != nullptr;
}

std::optional<CScrollBar> CMotifWidgets::scrollBar(unsigned long id) const
{
    Display* const display = walkDisplay();
    const Widget widget = display ? findIn(allShells(), id) : nullptr;
    CScrollBar bar;
    bool isThere = false;
    if (widget && XtIsRealized(widget))
        guarded([&] { isThere = readXtScrollBar(widget, bar); });
    const auto origin = isThere ? placeOfWidget(display, widget) : std::nullopt;
    if (!origin)
        return std::nullopt;
    for (Rect* const box : {&bar.thumb, &bar.way})
        *box = Rect(origin->y + box->getTop(), origin->x + box->getLeft(), box->getHeight(), box->getWidth());
    return bar;
}

std::vector<CFileDialog> CMotifWidgets::fileDialogs() const
{
    std::vector<CFileDialog> dialogs;
    visitFileBoxes([&](Display* display, Widget shell, Widget box) {
        CXtFileBox parts;
        CXtFacts facts;
        guarded([&] { readXtFileBox(box, parts); });
        guarded([&] { readXtFacts(shell, facts); });
        dialogs.push_back({XtWindow(shell), taken(facts.text), boxOnScreen(display, parts.ok),
                           boxOnScreen(display, parts.cancel), boxOnScreen(display, parts.file), true,
                           parts.ok && XtIsSensitive(parts.ok), reinterpret_cast<unsigned long>(parts.ok)});
    });
    return dialogs;
}

void CMotifWidgets::setFile(unsigned long window, const CJString& file) const
{
    const char* const text = file.ansiString();
    visitFileBoxes([&](Display*, Widget shell, Widget box) {
        if (XtWindow(shell) == window && text)
            guarded([&] { setXtFile(box, text); });
    });
}
} // namespace

const IWidgetToolkit& motifWidgets()
{
    static const CMotifWidgets s_widgets;
    return s_widgets;
}
