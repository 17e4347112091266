// What the in-application side calls from the toolkit's main loop.
#include "common/trace/CTracer.h"
#include "include/InApplication.h"
#include "unix/app/CallbackGlobals.h"
#include "unix/app/Channel.h"
#include "unix/app/Infestor.h"
#include "unix/app/LoopChanges.h"
#include "unix/window/LoopKnock.h"
#include "unix/window/MessageWindow.h"

#include <pthread.h>

#include <X11/Xlib.h>

namespace {
/// Requests wait for the thread of the spy port: on another one they would find no port and be lost.
bool mayDeliver()
{
    const CSpyPort* const port = CInfestor::getDefaultSpyPort();
    return !port || port->isAlive(pthread_self());
}

int runCallbackGlobals()
{
    const auto request = CCallbackGlobals::take(pthread_self());
    return request ? run_callback(request->callback, request->param) : 0;
}

int openWaitingChannel()
{
    const CSpyPort* const port = CInfestor::getDefaultSpyPort();
    return port ? CWaitingChannel::open(port->env()) : 0;
}
} // namespace

extern "C" int gxRequestDescriptors(int* out, int room)
{
    CLoopKnock::listen();
    int written = 0;
    const int descriptors[] = {CMessageWindow::wakeDescriptor(),
                               g_display ? ConnectionNumber(g_display) : -1};
    for (const int descriptor : descriptors)
        if (descriptor >= 0 && written < room)
            out[written++] = descriptor;
    return written;
}

extern "C" int gxHasDomain()
{
    const CSpyPort* const port = CInfestor::getDefaultSpyPort();
    return port && port->hasDomain();
}

extern "C" int gxDeliverRequests()
{
    if (!mayDeliver())
        return 0;
    const CLoopChanges::COwn own(CLoopChanges::COwn::descriptor);
    const CMessageWindow::CTurn turn;
    // First what empties the wake descriptor: a request stored meanwhile is seen below, a later one wakes
    // anew.
    const int delivered = CMessageWindow::deliver();
    try {
        const int requests = delivered + runCallbackGlobals();
        return requests + openWaitingChannel();
    } catch (...) {
        CTracer::debugTrace("The request of the callback globals failed");
        return delivered;
    }
}
