#include "unix/window/MenuToolkit.h"

#include "common/text/CodeSet.h"
#include "common/trace/CTracer.h"
#include "unix/window/LoopKnock.h"
#include "unix/window/XtGuard.h"

#include <algorithm>
#include <cstdint>
#include <strings.h>

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>

#include <Xm/CascadeB.h>
#include <Xm/CascadeBG.h>
#include <Xm/Label.h>
#include <Xm/LabelG.h>
#include <Xm/MenuShell.h>
#include <Xm/RowColumn.h>
#include <Xm/ToggleB.h>
#include <Xm/ToggleBG.h>
#include <Xm/Xm.h>

namespace {
/// Whatever a program has made of its multi-click time, nobody is to wait longer.
constexpr int longestDoubleClick = 1000; // ms

/// A menu that has been torn off stands in another shell, for as long as it is not opened as a menu.
bool isPane(Widget widget)
{
    return (isRowColumn(widget, XmMENU_PULLDOWN) || isRowColumn(widget, XmMENU_POPUP)) &&
           isOfClass(XtParent(widget), xmMenuShellWidgetClass);
}

/// A pane hangs in a menu shell; the shell's parent is what the pane was made for: a menu bar for its
/// pulldowns, the shell of another pane for a cascade.
bool isOpenedByUser(Widget pane)
{
    const Widget shell = pane ? XtParent(pane) : nullptr;
    const Widget opener = shell ? XtParent(shell) : nullptr;
    return pane && !isOfClass(opener, xmMenuShellWidgetClass) && !isRowColumn(opener, XmMENU_BAR);
}

/// Whether a pane hangs, over its cascades, in an option or context menu, not in a menu bar.
bool isOfOptionOrContextMenu(Widget pane)
{
    if (!isPane(pane))
        return false;
    Widget opener = XtParent(pane);
    while (isOfClass(opener, xmMenuShellWidgetClass))
        opener = XtParent(opener);
    return !isRowColumn(opener, XmMENU_BAR);
}

/// Asks ask(items) under the guard. @return its answer; false when the window is no menu
template <class Ask> bool askItems(Window menu, Ask ask)
{
    return askWidget(menu, [=](Widget widget) {
        const CMenuItems items = itemsOf(widget);
        return items.isMenu && ask(items);
    });
}

/// Whatever unit the program has given the widget for its resources.
Rect boxOf(Widget item)
{
    return {item->core.y, item->core.x, item->core.height, item->core.width};
}

/// A copy of the label, in the code set of the application's locale; null for a widget that shows no text.
/// Inside of CXtGuard only.
char* labelOf(Widget item)
{
    if (!item || (!XtIsSubclass(item, xmLabelWidgetClass) && !XtIsSubclass(item, xmLabelGadgetClass)))
        return nullptr;
    unsigned char type = XmPIXMAP;
    XmString label = nullptr;
    XtVaGetValues(item, XmNlabelType, &type, XmNlabelString, &label, nullptr);
    char* const text = type == XmPIXMAP
                           ? nullptr
                           : static_cast<char*>(XmStringUnparse(label, nullptr, XmCHARSET_TEXT,
                                                                XmCHARSET_TEXT, nullptr, 0, XmOUTPUT_ALL));
    XmStringFree(label);
    return text;
}

Widget submenuWidgetOf(Widget item)
{
    if (!isOfClass(item, xmCascadeButtonWidgetClass) && !isOfClass(item, xmCascadeButtonGadgetClass))
        return nullptr;
    Widget submenu = nullptr;
    XtVaGetValues(item, XmNsubMenuId, &submenu, nullptr);
    return submenu;
}

Window submenuOf(Widget item)
{
    const Widget submenu = submenuWidgetOf(item);
    return submenu ? XtWindowOfObject(submenu) : 0;
}

/// None while it is torn off: then it shows, and the item has not opened it.
Window submenuToOpen(Widget item)
{
    return isPane(submenuWidgetOf(item)) ? submenuOf(item) : 0;
}

/// Inside of CXtGuard only.
std::optional<bool> checkedOf(Widget item)
{
    if (!XmIsToggleButton(item) && !XmIsToggleButtonGadget(item))
        return std::nullopt;
    unsigned char set = XmUNSET;
    XtVaGetValues(item, XmNset, &set, nullptr);
    return set == XmSET;
}

bool isKwin(const CClassHint& hint)
{
    return strcasecmp(hint.name.c_str(), kdeInstance) == 0 ||
           strcasecmp(hint.instance.c_str(), kdeInstance) == 0;
}

class CMotifMenus final : public IMenuToolkit {
public:
    void publish() const override
    {
        if (gx_app_display)
            XSync(gx_app_display, False);
    }
    Display* published(Display* other) const override { return gx_app_display ? gx_app_display : other; }
    Window menuBarIn(Display* display, Window start) const override
    {
        return firstThat(windowsOf(wholeTree(display, start)),
                         [](Widget widget) { return isRowColumn(widget, XmMENU_BAR); });
    }
    std::vector<Window> panesIn(CWindowTree tree) const override;
    bool canShowAt(const CPlace&) const override { return true; }
    Window contextMenuAmong(const std::vector<Window>& panes) const override
    {
        return firstThat(panes, isOpenedByUser);
    }
    Window ownerOf(Display* display, Window menuBar, Window frame) const override;
    unsigned long widgetIdOf(Window menu) const override;
    std::optional<Rect> partOfWindow(Window) const override { return std::nullopt; }
    int itemCount(Window menu) const override;
    int itemText(Window, int, char*, int) const override { return 0; }
    std::optional<Rect> itemBox(Window menu, int index) const override;
    Window submenuWindow(Window menu, int index) const override;
    std::vector<std::string> wholeTexts(Window menu) const override;
    std::vector<GxMenu::ItemView> itemViews(Window menu) const override;
    int msUntilClickIsTaken(Window menu, Time (*now)()) const override;
    void whenIdle(void (*seenTo)(long), long mark) const override;

private:
    template <class Take> void visitItems(Window menu, int count, Take take) const;

    /// The first window whose widget passes; 0, too, after an Xt error.
    template <class Test> static Window firstThat(const std::vector<Window>& windows, Test test)
    {
        Window found = 0;
        auto search = [&] {
            for (size_t i = 0; i < windows.size() && !found; ++i)
                if (test(widgetOf(windows[i])))
                    found = windows[i];
            return true;
        };
        return gx_app_display && CXtGuard::run(search) ? found : 0;
    }
};

std::vector<Window> CMotifMenus::panesIn(CWindowTree tree) const
{
    const std::vector<Window> windows = windowsOf(std::move(tree));
    std::vector<Window> panes(windows.size()); // with room for all: nothing may be allocated under the guard
    size_t count = 0;
    auto collect = [&] {
        for (const Window window : windows)
            if (isPane(widgetOf(window)))
                panes[count++] = window;
        return true;
    };
    panes.resize(gx_app_display && CXtGuard::run(collect) ? count : 0);
    return panes;
}

/// In the frames of the KDE window manager, which have a window of its own beside the client's, the owner is
/// the client's window, or the only one inside of that.
Window CMotifMenus::ownerOf(Display* display, Window menuBar, Window frame) const
{
    CTracer::debugTrace("Menu Bar Handle: %d", static_cast<int>(menuBar));
    const auto children = childrenOf(display, frame);
    for (size_t i = 0; children.size() == 2 && i < 2; ++i) {
        if (!isKwin(classOf(display, children[i])))
            continue;
        const Window other = children[1 - i];
        const auto inner = childrenOf(display, other);
        return inner.size() == 1 ? inner.front() : other;
    }
    return frame;
}

unsigned long CMotifMenus::widgetIdOf(Window menu) const
{
    unsigned long id = 0;
    auto look = [&] {
        id = reinterpret_cast<unsigned long>(widgetOf(menu));
        return true;
    };
    return gx_app_display && CXtGuard::run(look) ? id : 0;
}

int CMotifMenus::itemCount(Window menu) const
{
    int count = -1;
    const bool known = askItems(menu, [&count](const CMenuItems& items) {
        count = static_cast<int>(items.count);
        return true;
    });
    return known ? count : -1;
}

std::optional<Rect> CMotifMenus::itemBox(Window menu, int index) const
{
    Rect box;
    const bool known = askItems(menu, [index, &box](const CMenuItems& items) {
        if (const Widget item = items.at(index))
            box = boxOf(item);
        return true;
    });
    return known ? std::optional(box) : std::nullopt;
}

Window CMotifMenus::submenuWindow(Window menu, int index) const
{
    Window submenu = 0;
    const bool known = askItems(menu, [index, &submenu](const CMenuItems& items) {
        if (const Widget item = items.at(index))
            submenu = submenuOf(item);
        return true;
    });
    return known ? submenu : 0;
}

/// Calls take(index, item) for the items of a menu, under the guard: with room for what it takes made before.
template <class Take> void CMotifMenus::visitItems(Window menu, int count, Take take) const
{
    askItems(menu, [=](const CMenuItems& items) {
        for (int index = 0; index < count; ++index)
            if (const Widget item = items.at(index))
                take(index, item);
        return true;
    });
}

std::vector<std::string> CMotifMenus::wholeTexts(Window menu) const
{
    const int count = std::max(itemCount(menu), 0);
    std::vector<XtPtr<char>> labels(static_cast<size_t>(count));
    visitItems(menu, count,
               [room = labels.data()](int index, Widget item) { room[index].reset(labelOf(item)); });
    const CEnvironmentLocale locale;
    std::vector<std::string> texts(labels.size());
    for (size_t index = 0; index < labels.size(); ++index)
        if (labels[index])
            convertText("UTF-8", locale.codeSet(), labels[index].get(), texts[index]);
    return texts;
}

std::vector<GxMenu::ItemView> CMotifMenus::itemViews(Window menu) const
{
    const int count = std::max(itemCount(menu), 0);
    std::vector<GxMenu::ItemView> views(static_cast<size_t>(count));
    visitItems(menu, count, [room = views.data()](int index, Widget item) {
        GxMenu::ItemView& view = room[index];
        view.shown = XtIsManaged(item) != False;
        view.enabled = XtIsSensitive(item) != False;
        view.submenu = submenuToOpen(item);
        view.checked = checkedOf(item);
        if (view.shown) {
            const Rect around = boxOf(XtParent(item));
            view.seenPart = clipped(boxOf(item), around.getWidth(), around.getHeight());
        }
    });
    return views;
}

/// A call that the main loop makes once it has nothing left to do. Its work procedure is never called by a loop of
/// the program's own that turns to Xt for what is pending alone: a timer looks whether anything is.
class CIdleCall {
public:
    CIdleCall(XtAppContext context, void (*seenTo)(long), long mark)
        : m_context(context), m_seenTo(seenTo), m_mark(mark), m_work(XtAppAddWorkProc(context, onWork, this))
    {
        setTimer();
    }
    CIdleCall(const CIdleCall&) = delete;

private:
    static Boolean onWork(XtPointer data)
    {
        auto* const call = static_cast<CIdleCall*>(data);
        if ((call->pending() & XtIMXEvent) != 0)
            return False; // again, once it has seen to these
        if (call->m_timer)
            XtRemoveTimeOut(call->m_timer);
        end(call);
        return True;
    }
    static void end(CIdleCall* call)
    {
        const std::unique_ptr<CIdleCall> owner(call);
        call->m_seenTo(call->m_mark);
    }
    /// What there is to see to, with the events that the program's own requests have caused, such as those of
    /// a selection that is handed over.
    XtInputMask pending() const
    {
        if (gx_app_display)
            XSync(gx_app_display, False);
        return CLoopKnock::pendingBeside(m_context);
    }
    static void onTimer(XtPointer data, XtIntervalId*)
    {
        auto* const call = static_cast<CIdleCall*>(data);
        call->m_timer = 0;
        call->m_quiet = call->pending() == 0 ? call->m_quiet + 1 : 0;
        if (call->m_quiet < 2) { // a loop of Xt's would have come to the work procedure in between
            call->setTimer();
            return;
        }
        XtRemoveWorkProc(call->m_work);
        end(call);
    }
    void setTimer()
    {
        constexpr unsigned long lookMs = 10;
        if (--m_looksLeft > 0)
            m_timer = XtAppAddTimeOut(m_context, lookMs, onTimer, this);
    }

    XtAppContext m_context;
    void (*m_seenTo)(long);
    long m_mark;
    XtWorkProcId m_work;
    XtIntervalId m_timer = 0;
    int m_quiet = 0;
    int m_looksLeft = 200; ///< nobody waits longer
};

void CMotifMenus::whenIdle(void (*seenTo)(long), long mark) const
{
    if (gx_app_display) // it ends itself
        new CIdleCall(XtDisplayToApplicationContext(gx_app_display), seenTo, mark);
}

/// Motif keeps the time at which it posted a menu to itself. The time of the last event that Xt has handed
/// out is that, or later.
int CMotifMenus::msUntilClickIsTaken(Window menu, Time (*now)()) const
{
    if (!askWidget(menu, [](Widget widget) { return isOfOptionOrContextMenu(widget); }))
        return 0;
    const auto age = static_cast<int32_t>(now() - XtLastTimestampProcessed(gx_app_display));
    return std::clamp(XtGetMultiClickTime(gx_app_display) - std::max(age, 0), 0, longestDoubleClick);
}
} // namespace

const IMenuToolkit& motifMenus()
{
    static const CMotifMenus s_menus;
    return s_menus;
}
