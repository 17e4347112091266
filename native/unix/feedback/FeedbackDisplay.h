/// What frames and tooltips share: connections of their own to the X server, and colours on them.
#pragma once

#include <X11/Xlib.h>

/// A connection to the default display, for use by several threads. When the server goes, or cuts this
/// connection, the process lives on: requests then do nothing and queries fail.
/// @return null without a server; else the caller closes it
Display* openFeedbackDisplay();

/// Makes sure that no X error ends the process (see XErrors.h). Before each batch of requests: the host may
/// have set a handler of its own meanwhile.
void expectErrors();

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
