/// Frames around rectangles of the screen, which show a user what a test is about to use or has found.
///
/// A frame is an override-redirect window, cut down to its border by the X Shape extension, so that clicks
/// and drawing go through its middle; without the extension it is a filled rectangle. It is marked by the
/// WM_CLASS class "VTXHighlighter", by which the search for a point looks through it. All requests go over a
/// connection of this unit's own, opened when the library is loaded and closed at exit; without a server
/// nothing is shown.
///
/// One frame is the current one, the last that was made: the only one that Java can reach. When the time of a
/// timed frame is over, there is no current one any more, be it that frame or another.
///
/// Threads. Frames are shared by the threads that call from Java and by one timing thread for each timed
/// frame. Everything here wants the lock that CHighlighter::lock() gives, except isHighlighter, which takes
/// it itself, and CRootWindow::highlight, which holds it but while it sleeps. Xlib's own lock is taken within
/// it and never the other way round. The colours, sizes and flags of the sleeping thread are read under it
/// too: nothing is left unlocked.
#pragma once

#include "unix/window/WindowManager.h"

#include <memory>
#include <mutex>

#include <X11/Xlib.h>

struct CHighlighterThread;

class CHighlighter {
public:
    using Lock = std::unique_lock<std::mutex>;
    /// The lock of this unit; blocks while another thread talks to the server for a frame.
    [[nodiscard]] static Lock lock();

    /// Makes a frame, shows it and makes it the current one. Allocate it with new: a timed frame is deleted
    /// by its thread.
    /// @param x          pixels of the root window, as y, width and height; the outer edge. A frame without
    ///                   an area is parked just off the screen.
    /// @param red        0 to 255, as green and blue
    /// @param thickness  of the line, in pixels; 1 where twice as much does not fit
    /// @param interval   milliseconds after which the frame changes between hidden and shown; 0: it does not
    /// @param duration   milliseconds until it goes by itself; 0 for both: it stays
    CHighlighter(int x, int y, int width, int height, int red, int green, int blue, int thickness,
                 int interval, int duration);
    /// As above, with x taken from the rectangle's top and y from its left: engines hand rectangles over that
    /// way round.
    CHighlighter(const Rect& rect, int red, int green, int blue, int thickness, int interval, int duration);
    CHighlighter(const CHighlighter&) = delete;
    CHighlighter& operator=(const CHighlighter&) = delete;

    /// The current frame if it has this window; else null.
    static CHighlighter* current(unsigned long window);
    /// The current frame stays on the screen, but out of Java's reach.
    static void forgetCurrent() { s_highlighter = nullptr; }

    unsigned long window() const { return m_window; } ///< X window id; 0 without a server
    void show();
    void hide();
    /// Whether it is on the screen; asks the server. False when another program destroyed its window.
    bool isVisible() const;
    /// Gives it another place and size, and shows it. Nothing happens, and nothing flickers, when they are
    /// the same.
    void move(int x, int y, int width, int height);
    /// Takes it off the screen; if it is the current one, there is no current one any more. The object
    /// remains.
    void destroy();
    /// destroy(), and then deletes the object: at once, or, when it is timed, by its thread, which ends then.
    static void remove(CHighlighter* highlighter);
    /// Waits until a timed frame is gone; returns at once for others. Gives the lock up meanwhile: the frame
    /// is deleted afterwards.
    static void join(Lock& lock, const CHighlighter& highlighter);

    /// Whether a window is one of these frames, of this process or another. Takes the lock and asks the
    /// server; false for a window that has gone.
    static bool isHighlighter(unsigned long window);

private:
    void create(int red, int green, int blue);
    void makeWindowTransparent();
    void startThread();

    static CHighlighter* s_highlighter;

    std::shared_ptr<CHighlighterThread> m_thread; ///< null when the frame is not timed
    unsigned long m_window = 0;
    int m_x;
    int m_y;
    int m_width;
    int m_height;
    int m_thickness;
    int m_interval;
    int m_duration;
    XColor m_color{}; ///< its flags are 0 when it could not be allocated
};
