#include "XErrors.h"

#include "CTracer.h"
#include "GxGlobals.h"
#include "OwnDisplay.h"

namespace {
XErrorHandler s_previousHandler = nullptr;

int _XlibErrorHandler(Display* display, XErrorEvent* error)
{
    traceXError(display, error->error_code, error->serial, error->request_code, error->minor_code);
    return 0;
}
} // namespace

void traceXError(Display* display, int code, unsigned long serial, int major, int minor)
{
    char text[200] = "";
    if (const CXlibGlobals globals; globals)
        XGetErrorText(display, code, text, sizeof text);
    CTracer::debugTrace("X Error : \n\t%s\n\t Serial: %d, Request Code: %d, Minor Code: %d\n", text,
                        static_cast<int>(serial), major, minor);
}

void installXlibErrorHandler()
{
    const CXlibGlobals globals;
    if (!globals)
        return;
    const XErrorHandler previous = XSetErrorHandler(_XlibErrorHandler);
    if (previous != _XlibErrorHandler)
        s_previousHandler = previous;
}

Display* walkDisplay()
{
    return usableDisplay(g_display);
}
