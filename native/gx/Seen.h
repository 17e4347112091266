/// The windows that a user sees, as the command line tells them.
#pragma once

#include "gx/Json.h"
#include "unix/window/WindowManager.h"

#include <string>
#include <vector>

struct CSeenWindow {
    unsigned long id = 0;
    int process = 0;       ///< 0: the X server does not say
    std::string className; ///< of WM_CLASS, as it stands there; empty for none
    std::string instance;
    std::string caption;  ///< UTF-8
    bool isPopup = false; ///< a menu, a tooltip or the like, which no window manager has
    Rect box;             ///< pixels of the screen, without frame and border
};

namespace Seen {
/// @throws CNotSo  there is no X server: which was asked, what came back, what to do
void requireServer();

/// Bottom of the stack first.
std::vector<CSeenWindow> all();
/// What a window is, whichever it is; without its process.
CSeenWindow of(unsigned long window);
/// The topmost window that is called so: by its whole caption, else by what stands in front of or behind a
/// dash, else by its id; a popup only where no other is called so: tooltips may be called as their program
/// is. Null for none.
const CSeenWindow* called(const std::string& caption, const std::vector<CSeenWindow>& windows);
/// @throws CNotSo  it names those that there are
CSeenWindow demand(const std::string& caption);
/// Those that there are, for messages.
std::string list(const std::vector<CSeenWindow>& windows);

std::string idOf(unsigned long window); ///< hexadecimal, as other tools write it
/// Place and size as X tools write them: 484x316+10+20.
std::string placeOf(const Rect& box);
/// One line for people; in the locale's code set.
std::string lineOf(const CSeenWindow& window, size_t classWidth = 0);
void write(CJson& json, const CSeenWindow& window); ///< its members, without the braces
/// UTF-8 for a terminal: in the locale's code set, '?' for what that lacks.
std::string shown(const std::string& text);
} // namespace Seen
