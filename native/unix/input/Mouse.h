/// The pointer: where it is, which buttons are down, and its capture while a user points at something.
#pragma once

#include "unix/input/EventManager.h"
#include "unix/window/WindowManager.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

/// The kind of pointer image during a capture. X11 shows the same hand for all of them.
enum GX_MOUSE_CURSOR : int {};

/// While it is captured, every button and motion comes to this process instead of to the window below. Any
/// thread; one waits for events at a time. Everything goes over g_display, whose events nobody else may read
/// during a capture.
class Mouse {
public:
    /// The pointer of this process, made by the first call.
    static Mouse& get();

    /// Where the pointer is, in pixels of the root window of the default screen; asks the X server. Nothing
    /// when there is no server, or when the pointer is on another screen.
    static std::optional<Point> getCursorPos();
    /// The buttons that are down: the sum of 1 left, 2 middle and 4 right. Asks the X server; 0 without one.
    static int getMouseState();

    /// Not to be had from an X server: they answer 0 and set g_mouse_status.
    static int getDoubleClickThresholdX();
    static int getDoubleClickThresholdY();
    static int getDragThresholdX();
    static int getDragThresholdY();
    static int getDoubleClickInterval();

    /// Begins a capture. The left button, which the user may be holding down, is released before and pressed
    /// again within; that press is not reported. The server has done so when this returns.
    /// @param window  of no meaning here
    /// @return false when the mouse is captured already, another client has grabbed the pointer, there is
    /// no server, or one without XTest, or the process ends
    bool capture(const CWindow& window, GX_MOUSE_CURSOR cursor);
    /// Ends the capture; its events that nobody has fetched are dropped, and who waits for one gets none. The
    /// left button stays as it is.
    void release();

    /// Waits for the next event of the capture: a MouseEvent::Press, Release or Move with the number of the
    /// button (1 left, 2 middle, 3 right, 0 none) as its modifiers, in pixels of the root window. Wheels and
    /// further buttons are skipped; X events of other kinds count as moves.
    /// @return null when the capture has ended, at most some 20 ms ago, or there is none
    std::unique_ptr<MouseEvent> getNextEvent();
    /// Waits like getNextEvent; of the events that have come by then the last one.
    std::unique_ptr<MouseEvent> getLastEvent();

private:
    Mouse();

    void letGo();

    static std::atomic<Mouse*> s_Mouse;
    static unsigned long s_grabCursor; ///< an X cursor, while captured
    static std::atomic<bool> ignore_buttonpress;

    std::mutex m_changing; ///< held while a capture begins or ends
    std::atomic<bool> m_captured = false;
};
