#include "unix/window/XErrors.h"

#include "common/trace/CTracer.h"
#include "include/GxGlobals.h"
#include "unix/window/OwnDisplay.h"

#include <atomic>
#include <cstdint>

namespace {
XErrorHandler s_previousHandler = nullptr;

/// By numbers: within a handler the server must not be asked for names. Aligned as what is exchanged in one
/// step, which clang goes by.
struct alignas(uint32_t) CXError {
    uint8_t code; ///< 0 for none
    uint8_t major;
    uint16_t minor;
};
constinit std::atomic<CXError> s_last{CXError{}};

std::string textOf(Display* display, int code)
{
    char text[200] = "";
    if (const CXlibGlobals globals; globals)
        XGetErrorText(display, code, text, sizeof text);
    return text;
}

/// Of the extension whose requests have this number; empty for none.
std::string extensionOf(Display* display, int major)
{
    int count = 0;
    char** const names = XListExtensions(display, &count);
    std::string found;
    for (int at = 0, opcode = 0, event = 0, error = 0; at < count && found.empty(); ++at)
        if (XQueryExtension(display, names[at], &opcode, &event, &error) && opcode == major)
            found = names[at];
    if (names)
        XFreeExtensionList(names);
    return found;
}

std::string nameOfRequest(Display* display, const CXError& error)
{
    constexpr int firstOfExtensions = 128;
    const std::string key = error.major < firstOfExtensions
                                ? std::to_string(error.major)
                                : extensionOf(display, error.major) + "." + std::to_string(error.minor);
    char name[100] = "";
    XGetErrorDatabaseText(display, "XRequest", key.c_str(), ("request " + key).c_str(), name, sizeof name);
    return name;
}

int _XlibErrorHandler(Display* display, XErrorEvent* error)
{
    traceXError(display, error->error_code, error->serial, error->request_code, error->minor_code);
    return 0;
}
} // namespace

void traceXError(Display* display, int code, unsigned long serial, int major, int minor)
{
    s_last = CXError{static_cast<uint8_t>(code), static_cast<uint8_t>(major), static_cast<uint16_t>(minor)};
    CTracer::debugTrace("X Error : \n\t%s\n\t Serial: %d, Request Code: %d, Minor Code: %d\n",
                        textOf(display, code).c_str(), static_cast<int>(serial), major, minor);
}

std::string takeXError()
{
    const CXError error = s_last.exchange({});
    Display* const display = walkDisplay();
    return error.code == 0 || !display ? ""
                                       : textOf(display, error.code) + " to " + nameOfRequest(display, error);
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
