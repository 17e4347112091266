/// A short text on the screen beside the application under test: black on pale yellow, in a black frame,
/// without any decoration of the window manager.
#pragma once

#include "unix/window/WindowManager.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include <X11/Xlib.h>
#include <xcb/xcb.h>

/// One tooltip, with a connection to the X server and a drawing thread of its own. Texts are in the locale's
/// code set; characters outside of Latin-1, which X core fonts stop at, are shown as "?". Places are pixels
/// of the root window.
///
/// Any thread may call; the calls send their requests and return, and the drawing thread follows. Text, place
/// and measured size are guarded by a mutex, held for no request. Without a server, or once it has gone,
/// nothing is shown.
///
/// Once the window is made, all requests go by XCB, over Xlib's connection: errors that Xlib sees would be up
/// to the host's handler; XCB's calls just fail.
class CInfoWindow {
public:
    /// Makes a window that is not mapped yet, and small and off the screen until it is drawn first: by the
    /// first move() or changeText().
    /// @param x     where it appears when the text changes before any move()
    /// @param text  null counts as empty; the flag after it has no meaning
    CInfoWindow(int x, int y, const char* text, bool);
    ~CInfoWindow() { destroy(); }
    /// Java knows a tooltip by its address, and may still use it when the tooltip has gone: the memory of the
    /// last 1024 stays out of use.
    static void* operator new(size_t size);
    static void operator delete(void* memory);
    CInfoWindow(const CInfoWindow&) = delete;
    CInfoWindow& operator=(const CInfoWindow&) = delete;

    /// Replaces the text, to be seen when it is drawn next; an empty one, or null, leaves the old text.
    void setText(const char* text);
    void changeText(const char* text); ///< setText, and draws it
    void move(int x, int y);           ///< the upper left corner; the window follows when the thread draws
    void show();
    void hide();
    /// The place, and the size of the text as it was drawn last with 10 pixels around. Width and height are
    /// exchanged: callers of getBounds exchange them back.
    Rect getRectangle() const;
    /// Takes the window away, ends the thread and closes the connection; blocks until the thread has ended.
    /// Called once, by whoever has the object for itself.
    void destroy();

private:
    void createWindow();
    void createGraphics(uint32_t foreground);
    void requestRedraw();
    void doTooltip(xcb_connection_t* connection);
    void redraw(xcb_connection_t* connection);
    struct CSize {
        int width;
        int height;
    };
    std::optional<CSize> measure(xcb_connection_t* connection, std::string_view text) const;
    void draw(xcb_connection_t* connection, std::string_view text, CSize size, int x, int y);
    void trace(const xcb_generic_error_t& error) const;
    xcb_window_t window() const { return static_cast<xcb_window_t>(m_window); }

    xcb_gcontext_t m_gc = 0; ///< Xlib's would hold memory that a lost connection cannot give back
    Window m_window = 0;
    Display* m_display;
    /// Of the display, once there is a window; null again after destroy().
    xcb_connection_t* m_connection = nullptr;
    std::string m_text; ///< Latin-1
    int m_textWidth = 0;
    int m_textHeight = 0;
    std::thread m_thread;
    int m_x;
    int m_y;
    mutable std::mutex m_mutex; ///< guards text, size and place
};

/// The tooltips that Java holds, by the handles that it was given. Any thread.
namespace InfoWindows {
/// Keeps a new tooltip. @return its handle, never 0; the address of the object
long add(std::unique_ptr<CInfoWindow> tooltip);
/// Null for a handle that was never given or has been removed. The tooltip lives at least as long as the
/// answer.
std::shared_ptr<CInfoWindow> find(long handle);
/// As find, and forgets the tooltip: the last to use it destroys it.
std::shared_ptr<CInfoWindow> remove(long handle);
} // namespace InfoWindows
