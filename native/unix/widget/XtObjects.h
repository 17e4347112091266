/// Widgets and gadgets of Xt: what is asked of them under the guard and outlives it. GUI thread only.
#pragma once

#include "unix/window/WindowManager.h"
#include "unix/window/XtGuard.h"

#include <string>
#include <vector>

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
std::string taken(char* text);

/// Where the inside of a widget's window, or of the window that a gadget is drawn into, begins on the screen.
struct COrigin {
    int x = 0;
    int y = 0;
};

/// The children of a widget that are not being destroyed.
std::vector<Widget> livingChildren(Widget widget);
/// @param around  of what it lies in @return in root coordinates, without the border
Rect boxOf(Widget widget, const COrigin& around);
/// Whether a widget lies wholly above and left of what it lies in.
bool isOutAtCorner(Widget widget);
