/// Lookups of Motif widgets by their X windows, on the application's display (gx_app_display).
#pragma once

#include "include/GxGlobals.h"

#include <csetjmp>
#include <memory>

#include <X11/Intrinsic.h>

/// An Xt error ends the program unless its handler does not return. While a lookup runs, the handler jumps
/// back here. Process-wide: one lookup at a time.
class CXtGuard {
public:
    /// Runs test(data). @return its answer; false when Xt reported an error
    /// The jump skips destructors: nothing that has one may live in `test`.
    static bool run(bool (*test)(void* data), void* data);

    template <class Test> static bool run(Test& test)
    {
        return run([](void* data) { return (*static_cast<Test*>(data))(); }, &test);
    }
};

struct CXtFree {
    void operator()(void* memory) const noexcept { XtFree(static_cast<char*>(memory)); }
};
template <class T>
using XtPtr = std::unique_ptr<T, CXtFree>; ///< memory that Xt or Motif handed out; not inside of CXtGuard

/// The widget of an X window, null when the application has none. Inside of CXtGuard only.
Widget widgetOf(Window window);
/// The same, looked up under the guard: anywhere on the GUI thread. Null, too, for window 0, without an
/// application's display, and when Xt reports an error.
Widget findWidget(Window window);
/// Whether the widget is exactly of that class; derived ones don't count. False for null.
bool isOfClass(Widget widget, WidgetClass widgetClass);
/// Whether the widget is a RowColumn of a type such as XmMENU_BAR. Inside of CXtGuard only.
bool isRowColumn(Widget widget, unsigned char type);

/// The items of a Motif menu pane or menu bar, separators included; borrowed from the widget.
struct CMenuItems {
    bool isMenu = false; ///< whether there is such a menu at all
    WidgetList list = nullptr;
    Cardinal count = 0;

    /// Null for an index that no item has.
    Widget at(int index) const
    {
        return index >= 0 && static_cast<Cardinal>(index) < count ? list[index] : nullptr;
    }
};
/// Inside of CXtGuard only.
CMenuItems itemsOf(Widget menu);

/// Asks `test(widget)` about the widget of a window under the guard. The widget may be null.
/// @return its answer; false, too, for window 0, without an application's display, and when Xt reports an
/// error
template <class Test> bool askWidget(Window window, Test test)
{
    if (!gx_app_display || window == 0)
        return false;
    auto guarded = [=] { return test(widgetOf(window)); };
    return CXtGuard::run(guarded);
}
