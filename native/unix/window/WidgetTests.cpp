// What kind of widget a window belongs to. Only the process that the widget lives in can tell.
#include "unix/window/WindowManagerUnix.h"

#include "include/GxGlobals.h"
#include "unix/window/DialogUnix.h"
#include "unix/window/MenuToolkit.h"
#include "unix/window/XtGuard.h"
#include "unix/window/gtkfuncs.h"

#include <Xm/RowColumn.h>
#include <Xm/Xm.h>

namespace {
/// Whether the widget is the option menu whose list is `list`.
bool isOptionMenuOf(Widget widget, Window list)
{
    if (!isRowColumn(widget, XmMENU_OPTION))
        return false;
    Widget submenu = nullptr;
    XtVaGetValues(widget, XmNsubMenuId, &submenu, nullptr);
    return submenu && XtWindowOfObject(submenu) == list;
}
} // namespace

bool CWindow::isMenu() const
{
    if (isNullWindow())
        return false;
    if (isGTK2or3())
        if (_gdk_window_lookup(m_handle))
            return isGtkMenu(m_handle);
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
    const std::vector<Window> windows = windowsOf(wholeTree(display, rootOf(display)));
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
