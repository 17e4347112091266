/// A Motif application that works on itself: shown, clicked at with the real pointer, and driven until
/// nothing is left to do. For programs with the library inside.
#pragma once

#include "Checks.h"
#include "ClickSpacing.h"

#include "include/GxGlobals.h"
#include "unix/window/WindowManager.h"

#include <cstdlib>
#include <vector>

#include <Xm/BulletinB.h>
#include <Xm/PushB.h>
#include <Xm/Xm.h>

#include <X11/extensions/XTest.h>

class CMotifProgram {
public:
    CMotifProgram(int argc, char** argv)
    {
        setenv("LC_ALL", "C.UTF-8", 1);
        XtSetLanguageProc(nullptr, nullptr, nullptr);
        m_shell = XtVaAppInitialize(&m_application, "GxMotif", nullptr, 0, &argc, argv, nullptr, XmNx, 20,
                                    XmNy, 30, nullptr);
        m_board = XmCreateBulletinBoard(m_shell, const_cast<char*>("board"), nullptr, 0);
        XtManageChild(m_board);
    }
    Widget shell() const { return m_shell; }
    Widget board() const { return m_board; } ///< whose children stand where they say
    Display* display() const { return XtDisplay(m_shell); }

    void show()
    {
        XtRealizeWidget(m_shell);
        settle();
    }
    /// Handles all events there are.
    void settle()
    {
        XSync(display(), False);
        while (XtAppPending(m_application))
            XtAppProcessEvent(m_application, XtIMAll);
        XSync(display(), False);
    }
    void click(int x, int y)
    {
        m_spacing.await([&] { settle(); });
        XTestFakeMotionEvent(display(), -1, x, y, CurrentTime);
        XTestFakeButtonEvent(display(), 1, True, CurrentTime);
        XTestFakeButtonEvent(display(), 1, False, CurrentTime);
        settle();
        m_spacing.clicked();
    }

private:
    XtAppContext m_application = nullptr;
    Widget m_shell = nullptr;
    Widget m_board = nullptr;
    CClickSpacing m_spacing;
};

inline long handleOf(Widget widget)
{
    return static_cast<long>(XtWindowOfObject(widget));
}

/// Where the screen shows a widget or gadget, as Xt counts it.
inline Rect placeOf(Widget widget)
{
    Position left, top;
    Dimension width, height;
    XtTranslateCoords(widget, 0, 0, &left, &top);
    XtVaGetValues(widget, XmNwidth, &width, XmNheight, &height, nullptr);
    return {top, left, height, width};
}

/// What is none of the application's widgets: no window, the root, a window that has gone, another client's.
inline std::vector<long> strangeWindows(Widget doomed, Display* other)
{
    const long gone = handleOf(doomed);
    XtDestroyWidget(doomed);
    XSync(XtDisplay(doomed), False);
    const Window foreign = XCreateSimpleWindow(other, DefaultRootWindow(other), 0, 0, 9, 9, 0, 0, 0);
    XSync(other, False);
    return {0, static_cast<long>(DefaultRootWindow(other)), gone, static_cast<long>(foreign)};
}
