/// Walks over the windows of the X server that several units share. All of them take a display that
/// walkDisplay() gave and block until the server answers.
#pragma once

#include "unix/window/WindowLevel.h"
#include "unix/window/WindowManager.h"

#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// The root of the default screen; 0 for a null display.
Window rootOf(Display* display);

/// The parent of a window. 0 for 0; the window itself when it is the root or has gone.
Window GetParent(Display* display, Window window);

/// Climbs to the ancestor that is a child of the root, a frame where a window manager draws one. The window
/// itself when it is the root, 0, no window or has gone; where a window on the way up vanishes, the climb ends there.
Window frameOf(Display* display, Window window);

/// Whether the KDE window manager drew this frame: it is known by the WM_CLASS of the frame's first child.
bool isKdeFrame(Display* display, std::span<const Window> children);

/// A window and where its coordinates start, in pixels of the root; border widths are not counted on the way
/// down.
struct CPlacedWindow {
    Window window;
    int x;
    int y;
};

/// A window at a point, and its children, bottom of the stack first.
struct CHit {
    CPlacedWindow at;
    std::vector<Window> children;
};

/// The child that a point belongs to: of the viewable ones whose box holds the point, edges included, the
/// topmost that is not one of the library's own highlight frames. Nothing when there is none, or when a child
/// above it has vanished.
std::optional<CHit> childAt(Display* display, const CHit& parent, const Point& point);

/// The deepest window at a point: childAt, repeated from the root down.
Window windowFromPoint(Display* display, const CPlacedWindow& start, const Point& point);

/// What is asked of a menu pane.
struct CBoxAnswer {
    CBoxAnswer(Display* display, Window window) : state(display, window), place(askPlace(display, window)) {}
    CStateAnswer state;
    CAnswer<xcb_translate_coordinates_reply_t> place;
};
/// Two steps of a search for the viewable windows that cover exactly `rect`, in root coordinates and without
/// borders. The first lets the walk descend into what is viewable, and marks as `chosen` what is as large. The
/// second asks where those stand: that costs the server more than all else that a search asks.
void chooseShown(CTreeWindow& entry, CStateAnswer& answer, const Rect& rect);
void keepThoseAt(Display* display, std::span<CTreeWindow> level, const Rect& rect);

/// The viewable windows below `start` that cover exactly `rect`, parents first, bottom of the stack first.
std::vector<Window> windowsAtRect(Display* display, Window start, const Rect& rect);

/// Top-level windows in the user's sense that are inside of `start`: viewable and named by WM_CLASS, bottom
/// of the stack first. A window without one is a frame and looked into.
std::vector<Window> topLevelWindows(Display* display, Window start);

/// Copies as much of a text as fits and the terminating 0. @param size  of the buffer; nothing happens below
/// 1
void copyText(std::string_view text, char* buffer, int size);
