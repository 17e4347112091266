#include "agent/MainLoop.h"

#include "agent/Agent.h"
#include "agent/AgentVariables.h"
#include "agent/RealFunction.h"

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

/// Has the loop of a context, if that is still there, call `callback` while a descriptor is readable.
void watch(XtAppContext app, int descriptor, XtInputCallbackProc callback)
{
    const std::lock_guard lock(s_mutex);
    if (CContext* const context = find(app))
        context->inputs.push_back(
            s_addInput(app, descriptor, reinterpret_cast<XtPointer>(XtInputReadMask), callback, app));
}

void unwatch(XtAppContext app, XtInputId input)
{
    const std::lock_guard lock(s_mutex);
    s_removeInput(input);
    if (CContext* const context = find(app))
        context->inputs.erase(std::remove(context->inputs.begin(), context->inputs.end(), input),
                              context->inputs.end());
}

void onReady(XtPointer app, int*, XtInputId* input)
{
    const auto context = static_cast<XtAppContext>(app);
    unwatch(context, *input);
    int descriptors[2];
    const int count = CAgent::start() ? CAgent::descriptors(descriptors) : 0;
    for (int index = 0; index < count; ++index)
        watch(context, descriptors[index], onRequest);
}

/// The first thing that the loop does when no event waits.
void onLoop(XtPointer app, XtIntervalId*)
{
    if (const int ready = CAgent::begin(); ready >= 0)
        watch(static_cast<XtAppContext>(app), ready, onReady);
}
} // namespace

void XtLoop::onDisplayOpened(Display* display)
{
    CAgent::noteDisplay(display);
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
