#include "unix/widget/XtGrab.h"

namespace {
void noteAndStop(Widget, XtPointer seen, XEvent*, Boolean* goOn)
{
    *static_cast<bool*>(seen) = true;
    *goOn = False;
}

/// The pointer comes in: what Xt treats as a press, but never passes on to another widget. That of a grab is
/// not compared with what comes next.
XEvent arrivalIn(Widget widget)
{
    XEvent event{};
    event.xcrossing.type = EnterNotify;
    event.xcrossing.send_event = True;
    event.xcrossing.display = XtDisplay(widget);
    event.xcrossing.window = XtWindow(widget);
    event.xcrossing.mode = NotifyGrab;
    event.xcrossing.detail = NotifyNonlinear;
    return event;
}
} // namespace

bool getsPresses(Widget widget)
{
    bool seen = false;
    XEvent event = arrivalIn(widget);
    XEvent* const last = XtLastEventProcessed(XtDisplay(widget)); // stays what it is
    const XEvent before = last ? *last : event;
    XtInsertRawEventHandler(widget, EnterWindowMask, False, noteAndStop, &seen, XtListHead);
    XtDispatchEvent(&event);
    XtRemoveRawEventHandler(widget, EnterWindowMask, False, noteAndStop, &seen);
    if (last)
        *last = before;
    return seen;
}
