#include "unix/window/XtGuard.h"

#include <cstring>

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>
#include <Xm/RowColumn.h>

// libXt exports it, but only a header of its own sources declares it.
extern "C" XtAppContext _XtDefaultAppContext(void);

namespace {
std::jmp_buf s_jumpPoint;
// libXt declares handlers as functions that do not return, which clang takes for a type of their own.
// NOLINTNEXTLINE(modernize-use-using): GCC wants the attribute elsewhere in an alias
typedef void (*Handler)(String, String, String, String, String*, Cardinal*) __attribute__((noreturn));
Handler s_savedHandler = nullptr;

__attribute__((noreturn)) void _xt_error_handler(String, String, String, String, String*, Cardinal*)
{
    std::longjmp(s_jumpPoint, 0); // arrives as 1
}
} // namespace

bool CXtGuard::run(bool (*test)(void*), void* data)
{
    volatile bool answer = false;
    const XtAppContext application = _XtDefaultAppContext();
    s_savedHandler = reinterpret_cast<Handler>(XtAppSetErrorMsgHandler(application, _xt_error_handler));
    if (setjmp(s_jumpPoint) == 0)
        answer = test(data);
    XtAppSetErrorMsgHandler(application, s_savedHandler);
    return answer;
}

Widget widgetOf(Window window)
{
    return XtWindowToWidget(gx_app_display, window);
}

Widget findWidget(Window window)
{
    if (!gx_app_display || window == 0)
        return nullptr;
    Widget found = nullptr;
    auto lookup = [&] {
        found = widgetOf(window);
        return true;
    };
    return CXtGuard::run(lookup) ? found : nullptr;
}

bool isOfClass(Widget widget, WidgetClass widgetClass)
{
    return widget &&
           std::strcmp(XtClass(widget)->core_class.class_name, widgetClass->core_class.class_name) == 0;
}

bool isRowColumn(Widget widget, unsigned char type)
{
    if (!isOfClass(widget, xmRowColumnWidgetClass))
        return false;
    unsigned char actual = 0;
    XtVaGetValues(widget, XmNrowColumnType, &actual, nullptr);
    return actual == type;
}

CMenuItems itemsOf(Widget menu)
{
    CMenuItems items{.isMenu = isOfClass(menu, xmRowColumnWidgetClass)};
    if (items.isMenu)
        XtVaGetValues(menu, XmNchildren, &items.list, XmNnumChildren, &items.count, nullptr);
    return items;
}
