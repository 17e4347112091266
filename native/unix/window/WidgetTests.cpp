// What kind of widget a window belongs to. Only the process that the widget lives in can tell.
#include "WindowManagerUnix.h"

#include "DialogUnix.h"
#include "GxGlobals.h"
#include "XtGuard.h"
#include "gtkfuncs.h"

#include <Xm/RowColumn.h>
#include <Xm/Xm.h>

namespace {
/// Asks `test(widget)` about the widget of a window, which may be null.
template <class Test> bool askWidget(unsigned long window, Test test)
{
    if (!gx_app_display || window == 0)
        return false;
    auto guarded = [=] { return test(widgetOf(window)); };
    return CXtGuard::run(guarded);
}

bool isRowColumn(Widget widget, unsigned char type)
{
    if (!isOfClass(widget, xmRowColumnWidgetClass))
        return false;
    unsigned char actual = 0;
    XtVaGetValues(widget, XmNrowColumnType, &actual, nullptr);
    return actual == type;
}

/// Whether the widget is the option menu whose list is `list`.
bool isOptionMenuOf(Widget widget, Window list)
{
    if (!isRowColumn(widget, XmMENU_OPTION))
        return false;
    Widget submenu = nullptr;
    XtVaGetValues(widget, XmNsubMenuId, &submenu, nullptr);
    return submenu && XtWindowOfObject(submenu) == list;
}

std::vector<Window> allWindows(Display* display)
{
    std::vector<Window> windows;
    CWindowTree tree(display, rootOf(display));
    const auto nothing = [](Window) { return 0; };
    tree.read(nothing, [](CTreeWindow& entry, int) { entry.descend = true; });
    tree.visit(EOrder::bottomFirst, [&](const CTreeWindow& entry) { windows.push_back(entry.window); });
    return windows;
}

/// The type of a GObject instance: the first word of its class.
unsigned long typeOf(void* instance)
{
    return **static_cast<unsigned long**>(instance);
}

bool isGtkMenu(_GdkDrawable* window)
{
    void* widget = nullptr;
    _gdk_window_get_user_data(window, &widget);
    return widget && _g_type_is_a(typeOf(widget), _gtk_menu_get_type());
}
} // namespace

bool CWindow::isMenu() const
{
    if (isNullWindow())
        return false;
    if (isGTK2() || isGTK3())
        if (_GdkDrawable* const window = _gdk_window_lookup(m_handle))
            return isGtkMenu(window);
    return askWidget(m_handle, [](Widget widget) { return isRowColumn(widget, XmMENU_PULLDOWN); });
}

bool CWindow::isPopup() const
{
    return askWidget(m_handle, [](Widget widget) {
        return isRowColumn(widget, XmMENU_PULLDOWN) || isRowColumn(widget, XmMENU_POPUP);
    });
}

bool CWindow::isComboListBox() const
{
    Display* const display = walkDisplay();
    if (!display || !gx_app_display || isNullWindow())
        return false;
    const std::vector<Window> windows = allWindows(display);
    auto search = [&] {
        for (const Window window : windows)
            if (isOptionMenuOf(widgetOf(window), m_handle))
                return true;
        return false;
    };
    return CXtGuard::run(search);
}

bool CWindow::isFileDialog() const
{
    return askWidget(m_handle, [](Widget widget) { return getFileSelectionBox(widget) != nullptr; });
}
