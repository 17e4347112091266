/// Native windows: geometry, and the queries on one window. Everything here talks to the X server over
/// g_display and blocks until it answers. One thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A place on the screen or in a window, in pixels; y grows downwards.
class Point {
public:
    constexpr Point() = default;
    constexpr Point(int x, int y) : m_x(x), m_y(y) {}
    constexpr int getx() const { return m_x; }
    constexpr int gety() const { return m_y; }
    constexpr void setx(int value) { m_x = value; }
    constexpr void sety(int value) { m_y = value; }

private:
    int32_t m_x = 0;
    int32_t m_y = 0;
};

/// A rectangle in pixels. It covers width + 1 columns and height + 1 rows: both edges belong to it.
class Rect {
public:
    constexpr Rect() = default;
    constexpr Rect(int top, int left, int height, int width)
        : m_top(top), m_left(left), m_height(height), m_width(width)
    {
    }
    constexpr int getTop() const { return m_top; }
    constexpr int getLeft() const { return m_left; }
    constexpr int getHeight() const { return m_height; }
    constexpr int getWidth() const { return m_width; }
    constexpr void setTop(int value) { m_top = value; }
    constexpr void setLeft(int value) { m_left = value; }
    constexpr void setHeight(int value) { m_height = value; }
    constexpr void setWidth(int value) { m_width = value; }

    bool isZero() const; ///< all four fields are 0
    bool pointInRect(const Point& point) const;
    bool equalTo(const Rect& other) const;
    /// Each edge differs from the other's by at most `tolerance` pixels.
    bool fuzzyEqualTo(const Rect& other, int tolerance) const;
    bool contains(const Rect& other) const;

private:
    // In 64 bits: a rectangle that Java made up must not overflow.
    constexpr int64_t bottom() const { return int64_t{m_top} + m_height; }
    constexpr int64_t right() const { return int64_t{m_left} + m_width; }

    int32_t m_top = 0;
    int32_t m_left = 0;
    int32_t m_height = 0;
    int32_t m_width = 0;
};

/// One native window and the queries on it; a value, nothing is owned. The handle is an X window id, 0 the
/// null window. A query on a window that has gone answers neutrally: 0, false, an empty text, a zero
/// rectangle.
///
/// Lists of windows are written to an array of the caller, as separately allocated objects which the caller
/// deletes. A search that finds more than there is room for answers -1 and owns nothing: retry with twice the
/// room.
class CWindow {
public:
    CWindow() = default;
    explicit CWindow(long handle);
    explicit CWindow(Point* point); ///< the deepest viewable window at a point in root coordinates
    explicit CWindow(Rect* rect);   ///< the last window that covers exactly this rectangle; 0 when none does

    unsigned long getHandle() const { return m_handle; }
    void setHandle(unsigned long handle) { m_handle = handle; }
    bool isNullWindow() const { return m_handle == 0; }
    bool sameHandle(const CWindow* other) const { return m_handle == other->m_handle; }

    /// The parent; the window itself for the root and for a window that has gone; 0 for the null window.
    void getParent(CWindow* out) const;
    void getOwner(CWindow* out) const; ///< always 0: X11 knows no owner
    unsigned long getGwOwner() const;  ///< as getOwner
    /// The ancestor that is a child of the root: the window manager's frame where there is one.
    unsigned long getTopLevelHandle() const;
    /// The viewable children that can show something (no InputOnly windows), bottom of the stack first.
    std::vector<CWindow> childWindows() const;
    /// Into an array that the caller has made, as nothing in the library does; see doc/kept-on-purpose.md.
    int enumChildWindows(int max, CWindow** out) const; ///< -1 also when other children are too many
    /// The viewable windows that cover exactly `rect` (root coordinates, borders not counted), parents before
    /// their children, bottom of the stack first. Whichever window this is.
    static std::vector<CWindow> windowsAt(const Rect& rect);
    int windowsAtRectangle(Rect* rect, int max, CWindow** out) const; ///< see enumChildWindows
    void getRectangle(Rect* out) const; ///< root coordinates, without the border
    /// WM_NAME of this very window, or of the program's window when this is the frame of a window manager, in
    /// the locale's code set; empty when it has none.
    std::string name() const;
    /// The text in the title bar, in UTF-8 whatever the locale: as `name`, and where that has none the caption.
    std::string title() const;
    /// The caption in the locale's code set, at most size - 1 bytes and a terminating 0: the name of a child
    /// of the root; else that of the topmost window in it; else its own.
    void getWindowCaption(char* buffer, int size) const;
    /// Class and instance of WM_CLASS with a blank between them, at most size - 1 bytes and a terminating 0.
    void getWindowClassname(char* buffer, int size) const;

    static CWindow getForeground(); ///< the top-level window that holds the input focus
    static CWindow getFocus();      ///< the window with the input focus, as the server reports it
    void setFocus() const;
    int activate() const; ///< raises the window (see bringToTop); 0
    void deactivate() const {}
    void setForeground() const;
    /// Raises the window, or its frame under a frame-drawing manager, and its transients.
    void bringToTop() const;
    void setStyleTopMost() const;
    void clearStyleTopMost() const;

    bool isShowing() const; ///< mapped, and all its ancestors are
    bool isWinVisible() const { return isShowing(); }
    bool isEnabled() const { return true; }
    // Menus of this process's toolkit; 0 and false in any other process. On the thread of the toolkit.

    /// The menu bar inside of this window, else the first anywhere on the screen; 0 for the null window.
    unsigned long getMenuBar() const;
    /// The menu panes that are shown, at most 64. GTK's lie wholly right of and below the screen's corner.
    static std::vector<CWindow> getPopupWindows();
    /// The shown pane that was not opened from another menu; any of GTK's shown panes, the first, as it is
    /// the bottom of the stack. 0 when none is shown.
    static unsigned long getTopContextMenu();
    /// The top-level window of the menu bar that this pane, a menu (isMenu), belongs to; else 0.
    unsigned long getMenuParentWindow() const;
    bool isMenu() const;
    bool isPopup() const;
    bool isComboListBox() const;
    bool isFileDialog() const;

    int getPid() const; ///< not supported on X11: sets g_window_status to 1
    int getTid() const; ///< not supported on X11: sets g_window_status to 1
    int getCtrlId() const { return 0; }
    int getHScrollPosition() const { return -1; }
    int getVScrollPosition() const { return -1; }
    void getHScrollRange(int* low, int* high) const; ///< not available on X11: leaves both untouched
    void getVScrollRange(int* low, int* high) const;
    static unsigned long getMainWindowForProcessId(long) { return 0; }
    static void closeAllPopupWindows() {}

private:
    uint64_t m_handle = 0;
};

/// The root window of the default screen.
class CRootWindow : public CWindow {
public:
    CRootWindow();

    /// Flashes a red frame for 1.8 s: it is hidden and shown nine times, 200 ms each. Blocks as long. Any
    /// thread. Afterwards there is no current frame (see HighlighterUnix.h).
    /// @param rect  root coordinates, with left and top exchanged, as CHighlighter takes rectangles
    static void highlight(const Rect& rect);
};

/// A window that a user sees as an application window.
class TopLevelWindow : public CWindow {
public:
    TopLevelWindow() = default;
    explicit TopLevelWindow(long handle) : CWindow(handle) {}
    explicit TopLevelWindow(Point* point); ///< the child of the root at a point in root coordinates
    explicit TopLevelWindow(Rect* rect);   ///< the only top-level window that covers exactly `rect`, else 0

    /// Every viewable window with a WM_CLASS, whichever window this is; frames without one are looked
    /// through.
    static std::vector<TopLevelWindow> ownedWindows();
    int getOwnedWindows(int max, TopLevelWindow** out) const; ///< see enumChildWindows
    /// The top-level windows that cover exactly `rect`, topmost first.
    static std::vector<TopLevelWindow> topLevelWindowsAt(const Rect& rect);
    int toplevelwindowsAtRectangle(Rect* rect, int max, TopLevelWindow** out) const; ///< see enumChildWindows
    bool isMaximized() const { return false; }
    void maximize() const;
    void restore() const;
    bool isIconified() const;
    void iconify() const;
    void deiconify() const;
    void close() const; ///< asks the window to close itself (WM_DELETE_WINDOW)
    void assertDisabledWindow() const { bringToTop(); }
    bool moveWindow(int x, int y, int width, int height) const; ///< root coordinates; always true
};

/// Set to 1 by an operation that X11 does not support; the exported functions clear it before the call.
extern int g_window_status;
