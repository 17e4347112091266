/// The window searches as plainly as they can be written: one waiting Xlib call after the other. What the
/// library finds is compared with them, and so is its speed.
#pragma once

#include <vector>

#include <X11/Xlib.h>

namespace PlainSearch {
struct CBox {
    int x, y, width, height;
};

Window windowAtPoint(Display* display, Window window, int originX, int originY, int x, int y);
void windowsAtRect(Display* display, Window window, const CBox& box, std::vector<Window>& found);
std::vector<Window> childWindows(Display* display, Window window);
void topLevelWindows(Display* display, Window window, std::vector<Window>& found);
void topLevelWindowsAtRect(Display* display, Window window, const CBox& box, std::vector<Window>& found);
void transients(Display* display, Window window, Window owner, std::vector<Window>& found);
} // namespace PlainSearch
