/// What frames and tooltips share: connections of their own to the X server, and colours on them.
#pragma once

#include <csignal>

#include <X11/Xlib.h>

/// A connection to the default display, for use by several threads. Null without a server.
Display* openFeedbackDisplay();

/// Closes it, any display but null. A connection that was lost is not talked to any more.
void closeFeedbackDisplay(Display* display);

/// Whether requests can be made. False for a null display, and once the server has gone or cut the
/// connection, as a program that kills the owner of a window makes it do: the next request would make Xlib
/// exit. (One that is lost between this call and the request still does.) Installs the library's error
/// handler (see XErrors.h), as the host may have set one of its own meanwhile. Call it before each batch of
/// requests; it does not wait.
bool isReady(Display* display);

/// Sends what is buffered, and drops the events that the server sends unasked to every client: each typed
/// character that needs a new keyboard mapping makes one, and a connection that never reads would keep them
/// all.
void flushRequests(Display* display);

/// A colour allocated in the default colour map. Where that fails it is traced, and `flags` of the answer is
/// 0.
/// @param red  0 to 255, as green and blue; other values may name no colour
XColor allocateColor(Display* display, int red, int green, int blue);

/// The default screen's root as the parent of a new override-redirect window with the parent's depth and
/// visual.
Window createPlainWindow(Display* display, int x, int y, unsigned width, unsigned height,
                         const XColor& background, long eventMask);

/// Keeps SIGPIPE from the calling thread while it lives: a request on a lost connection raises it, and not
/// every host ignores it.
class CNoBrokenPipe {
public:
    CNoBrokenPipe();
    ~CNoBrokenPipe();
    CNoBrokenPipe(const CNoBrokenPipe&) = delete;
    CNoBrokenPipe& operator=(const CNoBrokenPipe&) = delete;

private:
    sigset_t m_before;
};
