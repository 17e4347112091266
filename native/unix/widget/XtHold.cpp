#include "unix/widget/XtHold.h"

#include <exception>
#include <utility>

namespace {
/// A number that neither the protocol nor an extension uses: Xt has a place for it.
constexpr int noEvent = 127;

struct CRun {
    const std::function<void()>& work;
    XEvent* last; ///< what Xt keeps as the last event: stays what it is
    XEvent before = *last;
    std::exception_ptr thrown; ///< must not pass through Xt
};

constinit CRun* s_run = nullptr;

Boolean runWork(XEvent*)
{
    CRun& run = *std::exchange(s_run, nullptr);
    *run.last = run.before;
    try {
        run.work();
    } catch (...) {
        run.thrown = std::current_exception();
    }
    return True;
}
} // namespace

void withXtWidgetsHeld(Display* display, const std::function<void()>& work)
{
    XEvent* const last = display ? XtLastEventProcessed(display) : nullptr;
    if (!last) { // before the first one, Xt has none
        work();
        return;
    }
    CRun run{work, last};
    XEvent event = run.before;
    event.type = noEvent;
    event.xany.display = display;
    s_run = &run;
    const XtEventDispatchProc before = XtSetEventDispatcher(display, noEvent, runWork);
    XtDispatchEvent(&event);
    XtSetEventDispatcher(display, noEvent, before);
    if (run.thrown)
        std::rethrow_exception(run.thrown);
}
