/// Waiting until the window with the keyboard focus has read the key events sent to it.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

struct xcb_connection_t;

/// Waits until the receiver of a key event has looked it up in the keyboard map, so that the map may change
/// again. There is no such acknowledgement in the X protocol; the first of these applies:
///  1. The top-level window takes part in _NET_WM_PING: its client answers messages in the order of its
///  events.
///  2. Client and server run on this machine: both sleep at the same time, so the client has nothing left to
///  read, and
///     is not merely waiting for an answer of the server.
///  3. A pause.
/// It works on a connection of its own, open while the object lives, and asks the server. One thread.
class CKeyReceiver {
public:
    /// @param display  name of the display; without a connection, every wait is the pause
    explicit CKeyReceiver(const char* display);

    /// Notes who receives the next stroke. Call it before the stroke.
    void aim();
    /// Blocks until the window last aimed at has read the events sent to it. A window that lets ten seconds
    /// pass without a sign is waited for only briefly from then on, until it gives one.
    void awaitRead();

private:
    using Clock = std::chrono::steady_clock;
    using Window = uint32_t;

    struct CDisconnect {
        void operator()(xcb_connection_t* connection) const noexcept;
    };

    bool usable() const;
    void findReceiver();
    Window windowUnderPointer();
    Window parentOf(Window window);
    bool answersPings(Window window);
    int localProcessOf(Window window);
    bool pingAnswered(Clock::time_point end);
    std::optional<uint32_t> answeredPing(const void* event) const;
    bool bothAsleep() const;
    bool asleep(Clock::time_point end) const;
    bool waitForInput(Clock::time_point end);

    std::unique_ptr<xcb_connection_t, CDisconnect> m_connection;
    uint32_t m_protocols = 0; ///< atom WM_PROTOCOLS
    uint32_t m_ping = 0;      ///< atom _NET_WM_PING
    Window m_root = 0;
    Window m_focus = 0;         ///< window that the receiver was found from
    Window m_receiver = 0;      ///< top-level window that answers pings; 0 when there is none
    int m_process = 0;          ///< process of the focus window, when it is on this machine; else 0
    int m_server = 0;           ///< process of the X server, likewise
    uint32_t m_serial = 0;      ///< of the last ping
    Clock::duration m_patience; ///< longest wait
};
