#include "WidgetTree.h"

#include "CodeSet.h"
#include "WindowManagerUnix.h"
#include "XtFacts.h"
#include "XtGuard.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>
#include <X11/StringDefs.h>
#include <Xm/ScrolledW.h>
#include <Xm/Xm.h>

namespace {
/// Runs `ask` under the guard, in which nothing that has a destructor may live. @return false after an Xt
/// error
template <class Ask> bool guarded(Ask ask)
{
    auto run = [&ask] {
        ask();
        return true;
    };
    return CXtGuard::run(run);
}

/// A text of Xt, which is freed, in UTF-8. Text of another code set than the locale's is taken for Latin-1.
std::string taken(char* text)
{
    const XtPtr<char> owner(text);
    std::string utf8;
    if (!text)
        return utf8;
    const CEnvironmentLocale locale;
    if (convertText("UTF-8", locale.codeSet(), text, utf8) == Conversion::complete)
        return utf8;
    utf8.clear();
    convertText("UTF-8", "ISO-8859-1", text, utf8);
    return utf8;
}

/// Where the inside of a widget's window, or of the window that a gadget is drawn into, begins on the screen.
struct COrigin {
    int x = 0;
    int y = 0;
};

struct CChildren {
    WidgetList list = nullptr;
    Cardinal count = 0;
};

CChildren childrenOf(Widget widget)
{
    CChildren children;
    guarded([&] {
        if (XtIsComposite(widget))
            XtVaGetValues(widget, XtNchildren, &children.list, XtNnumChildren, &children.count, nullptr);
    });
    return children;
}

/// The children of a widget that are not being destroyed.
std::vector<Widget> livingChildren(Widget widget)
{
    const CChildren children = childrenOf(widget);
    std::vector<Widget> living(children.list, children.list + children.count);
    std::erase_if(living, [](Widget child) { return !child || child->core.being_destroyed; });
    return living;
}

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
    CChildren roots;
    guarded([&] {
        XtVaGetValues(XtHooksOfDisplay(gx_app_display), XtNshells, &roots.list, XtNnumShells, &roots.count,
                      nullptr);
    });
    std::vector<Widget> all;
    for (const Widget root : std::vector<Widget>(roots.list, roots.list + roots.count)) {
        all.push_back(root);
        collectShells(root, all);
    }
    std::set<Widget> known;
    std::erase_if(all,
                  [&](Widget shell) { return shell->core.being_destroyed || !known.insert(shell).second; });
    return all;
}

Rect boxOf(Widget widget, const COrigin& around)
{
    return {around.y + widget->core.y + widget->core.border_width,
            around.x + widget->core.x + widget->core.border_width, widget->core.height, widget->core.width};
}

/// Reads the widgets in one shell.
class CXtReader {
public:
    CWidgetNode read(Widget widget, const Rect& box, bool aroundShows, int depth);
    bool takeWidget() { return m_budget.takeWidget(); }

private:
    void readState(Widget widget, CWidgetNode& node);
    void readRows(Widget list, CWidgetNode& node);
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
        enabled = XtIsSensitive(widget);
        focused = XmGetFocusWidget(widget) == widget;
    });
    if (isOfKind(XtParent(widget), "XmMenuShell")) // its panes are mapped past Xt
        shows = stateOf(walkDisplay(), XtWindow(widget)).viewable;
    node.showing = node.showing && shows;
    node.enabled = enabled;
    node.focused = focused;
}

void CXtReader::readRows(Widget list, CWidgetNode& node)
{
    CXtList facts;
    guarded([&] { readXtList(list, facts); });
    node.rowCount = facts.count;
    const int end = std::min(facts.count, facts.first + facts.visible);
    for (int index = std::max(facts.first, 0); node.showing && index < end; ++index) {
        if (node.rows.size() >= CTreeLimits::rows) {
            node.childrenCut = true;
            return;
        }
        CXtItem item;
        guarded([&] { readXtItem(list, index, item); });
        const Rect box(node.box.getTop() + item.y, node.box.getLeft() + item.x, item.height, item.width);
        node.rows.push_back({std::to_string(index), item.selected, box, {taken(item.text)}, {box}});
    }
}

void CXtReader::readChildren(Widget widget, CWidgetNode& node, int depth)
{
    const COrigin inside{node.box.getLeft(), node.box.getTop()};
    for (const Widget child : livingChildren(widget)) {
        if (XtIsShell(child) || !XtIsRectObj(child))
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
    if (facts.hasValue)
        node.value = facts.value;
    if (facts.checked >= 0)
        node.checked = facts.checked != 0;
    node.editable = facts.editable;
    node.secret = facts.secret;
    node.box = facts.pressed ? boxOf(facts.pressed, {box.getLeft(), box.getTop()}) : box;
    node.window = XtIsWidget(widget) ? XtWindow(widget) : 0;
    node.showing = aroundShows;
    readState(widget, node);
    if (facts.isList)
        readRows(widget, node);
    if (!facts.isLeaf)
        readChildren(widget, node, depth);
    return node;
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
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        const CorePart& place = (*child)->core;
        if (XtIsRectObj(*child) && !XtIsWidget(*child) && XtIsManaged(*child) && x >= place.x &&
            y >= place.y && x < place.x + place.width && y < place.y + place.height)
            return *child;
    }
    return widget;
}

bool isIn(Widget widget, Widget around)
{
    while (widget && widget != around)
        widget = XtParent(widget);
    return widget != nullptr;
}

Widget shellOf(Widget widget)
{
    while (widget && !XtIsShell(widget))
        widget = XtParent(widget);
    return widget;
}

/// Whether a dialog keeps presses from what is in another shell.
bool isModalFor(Widget dialog, Widget shell)
{
    const std::vector<Widget> boxes =
        isOfKind(dialog, "XmDialogShell") ? livingChildren(dialog) : std::vector<Widget>();
    int modality = 0;
    if (!boxes.empty())
        guarded([&] { modality = modalityOf(boxes.front()); });
    return modality == 2 || (modality == 1 && isIn(dialog, shell));
}

/// Whether a menu is open that a press elsewhere would only close.
bool isOpenMenu(Display* display, Widget shell)
{
    return isOfKind(shell, "XmMenuShell") && placeOfShell(display, shell);
}

/// The dialog or menu that keeps presses from a widget; null when none does.
Widget shellBefore(Display* display, Widget widget)
{
    const Widget own = shellOf(widget);
    const bool isInMenu = isOfKind(own, "XmMenuShell");
    for (const Widget shell : allShells())
        if (!isIn(widget, shell) && (isModalFor(shell, own) || (!isInMenu && isOpenMenu(display, shell))))
            return shell;
    return nullptr;
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

bool scrollsByItself(Widget widget)
{
    unsigned char policy = XmAPPLICATION_DEFINED;
    guarded([&] {
        if (isOfKind(widget, "XmScrolledWindow"))
            XtVaGetValues(widget, XmNscrollingPolicy, &policy, nullptr);
    });
    return policy == XmAUTOMATIC;
}

class CMotifWidgets final : public IWidgetToolkit {
public:
    std::vector<CWidgetNode> windows() const override;
    std::vector<unsigned long> at(const Point& point) const override;
    bool reveal(unsigned long id) const override;
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
    const Widget taker = shellBefore(display, widget);
    std::vector<unsigned long> chain;
    for (Widget each = taker ? taker : gadgetAt(widget, point.getx() - place.x, point.gety() - place.y); each;
         each = XtParent(each))
        chain.push_back(reinterpret_cast<unsigned long>(each));
    return chain;
}

bool CMotifWidgets::reveal(unsigned long id) const
{
    const Widget widget = findIn(allShells(), id);
    bool scrolls = false;
    for (Widget around = widget ? XtParent(widget) : nullptr; around; around = XtParent(around))
        if (scrollsByItself(around)) {
            scrolls = true;
            guarded([&] { XmScrollVisible(around, widget, 0, 0); });
        }
    return scrolls;
}
} // namespace

const IWidgetToolkit& motifWidgets()
{
    static const CMotifWidgets s_widgets;
    return s_widgets;
}
