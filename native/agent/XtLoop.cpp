#include "MainLoop.h"

#include "Agent.h"
#include "Environment.h"
#include "RealFunction.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

#include <X11/Intrinsic.h>

namespace {
constexpr const char* libXt = "libXt.so.6";
constinit CRealFunction<XtIntervalId(XtAppContext, unsigned long, XtTimerCallbackProc, XtPointer)>
    s_addTimeOut{"XtAppAddTimeOut", libXt};
constinit CRealFunction<XtInputId(XtAppContext, int, XtPointer, XtInputCallbackProc, XtPointer)> s_addInput{
    "XtAppAddInput", libXt};
constinit CRealFunction<XtAppContext(Display*)> s_contextOf{"XtDisplayToApplicationContext", libXt};
constinit CRealFunction<void(XtInputId)> s_removeInput{"XtRemoveInput", libXt};

/// An application context, from its first display to its last.
struct CContext {
    XtAppContext app;
    std::vector<Display*> displays;
    std::vector<XtInputId> inputs;
};

std::mutex s_mutex;
std::vector<CContext>& contexts()
{
    static auto* const s_contexts =
        new std::vector<CContext>; // outlives the libraries that close displays at exit
    return *s_contexts;
}

CContext* find(XtAppContext app)
{
    auto& all = contexts();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const CContext& context) { return context.app == app; });
    return found != all.end() ? &*found : nullptr;
}

/// The display that was opened first of those that are open still.
Display* firstDisplay()
{
    return contexts().empty() ? nullptr : contexts().front().displays.front();
}

void onRequest(XtPointer, int*, XtInputId*)
{
    CAgent::deliver();
}

/// The first thing that the loop does when no event waits.
void onLoop(XtPointer app, XtIntervalId*)
{
    if (!CAgent::start())
        return;
    int descriptors[2];
    const int count = CAgent::descriptors(descriptors);
    const std::lock_guard lock(s_mutex);
    CContext* const context = find(static_cast<XtAppContext>(app));
    for (int index = 0; context && index < count; ++index)
        context->inputs.push_back(s_addInput(context->app, descriptors[index],
                                             reinterpret_cast<XtPointer>(XtInputReadMask), onRequest,
                                             nullptr));
}
} // namespace

void XtLoop::onDisplayOpened(Display* display)
{
    const XtAppContext context = s_contextOf(display);
    const std::lock_guard lock(s_mutex);
    if (CContext* const known = find(context)) {
        known->displays.push_back(display);
        return;
    }
    contexts().push_back({context, {display}, {}});
    CAgent::setXtDisplay(firstDisplay());
    s_addTimeOut(context, 0, onLoop, context);
}

void XtLoop::onDisplayClosing(Display* display)
{
    const std::lock_guard lock(s_mutex);
    auto& all = contexts();
    for (auto context = all.begin(); context != all.end(); ++context) {
        const auto found = std::find(context->displays.begin(), context->displays.end(), display);
        if (found == context->displays.end())
            continue;
        context->displays.erase(found);
        if (context->displays.empty()) {
            std::for_each(context->inputs.begin(), context->inputs.end(), s_removeInput.find());
            all.erase(context);
        }
        CAgent::setXtDisplay(firstDisplay());
        return;
    }
}
