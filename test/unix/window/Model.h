/// The window searches as plainly as they can be written: one waiting Xlib call after the other.
#pragma once

#include "WindowManager.h"

#include <vector>

#include <X11/Xlib.h>

namespace Model {
Window windowAtPoint(Display* display, Window window, int originX, int originY, const Point& point);
void windowsAtRect(Display* display, Window window, const Rect& rect, std::vector<Window>& found);
std::vector<Window> childWindows(Display* display, Window window);
void topLevelWindows(Display* display, Window window, std::vector<Window>& found);
void topLevelWindowsAtRect(Display* display, Window window, const Rect& rect, std::vector<Window>& found);
void transients(Display* display, Window window, Window owner, std::vector<Window>& found);
} // namespace Model
