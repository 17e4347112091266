/// Errors that the X server reports while the library works on g_display.
#pragma once

#include <string>

#include <X11/Xlib.h>

/// Makes `_XlibErrorHandler` the error handler of this process, so that an X error never ends it: the query
/// that failed reads as failed, and the error is traced. The handler that was there before is remembered but
/// never put back: late errors of requests that nobody waits for still find the library's own. Any number of
/// calls; any thread.
void installXlibErrorHandler();

/// The library's connection, ready for a walk (see usableDisplay). Null without an X server and once it has
/// gone; every operation then gives its neutral answer.
Display* walkDisplay();

/// Writes the trace line of an X error; the same whichever way the error came in.
/// @param serial  of the request that failed
/// @param major   its request code; `minor` is 0 for requests of the core protocol
void traceXError(Display* display, int code, unsigned long serial, int major, int minor);

/// The X error that this process traced last, by name: "BadValue (integer parameter out of range for
/// operation) to X_XTestFakeInput"; empty for none since the last call. Asks the server; any thread.
std::string takeXError();
