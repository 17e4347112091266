/// What frames and tooltips share: windows and colours on connections of their own (see OwnDisplay.h).
#pragma once

#include <X11/Xlib.h>

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
