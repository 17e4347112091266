/// Wakes a main loop of Xt that the program runs itself. Such a loop waits in `select` for its display, and
/// does not know what else Xt watches: what this library has for it would lie until a time-out of the
/// program's.
#pragma once

#include <X11/Intrinsic.h>

/// The knock is an event of the program's own display that nobody has an ear for: a message to a window
/// without a widget.
class CLoopKnock {
public:
    /// Makes the window on `gx_app_display`, once for each display; nothing without one. GUI thread only.
    static void listen();
    /// Has the loop come by, if it waits. Any thread; does not wait.
    static void knock();
    /// What `XtAppPending` answers, but for knocks that have not been taken. GUI thread only.
    static XtInputMask pendingBeside(XtAppContext context);
};
