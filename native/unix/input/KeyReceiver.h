/// Waiting until the window with the keyboard focus has read the key events sent to it.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <utility>

struct xcb_connection_t;

/// Waits until the receiver of a key event has looked it up in the keyboard map, so that the map may change
/// again. There is no such acknowledgement in the X protocol; any of these is taken for one:
///  1. The top-level window takes part in _NET_WM_PING and answers: its client answers in the order of its
///     events.
///  2. Client and server run on this machine and sleep at the same time: the client has nothing left to read,
///     and is not merely waiting for an answer of the server. Threads of the client that never come to rest
///     while the others do are no readers, and are not waited for again.
///  3. A pause, where there is neither.
/// Waits that end without a sign add up to half a second at most for one object; then there are no further
/// ones, and the trace says so. Time in which client or server wanted a processor and others had it counts
/// for a tenth, as does that in which this thread did, except at the end of this process: on a busy machine a
/// wait is as much longer as they are slower, and all of them end after five seconds. What has been found out
/// about a window and its process holds for later objects of this process, too: a window that gave no sign is
/// waited for only briefly until it gives one. It works on a connection of its own, open while the object
/// lives, and asks the server. One thread.
class CKeyReceiver {
public:
    /// @param display  name of the display; without a connection, every wait is the pause
    explicit CKeyReceiver(const char* display);
    ~CKeyReceiver();

    /// Notes who receives the next stroke. Call it before the stroke.
    /// @return whether that is another window than before, and not known to give no sign
    bool aim();
    /// Aims at who receives a click: the window manager, which may hold it back, when the window under the
    /// pointer is in a frame of its; else the client of that window.
    void aimAtFrameUnderPointer();
    void aimUnderPointer();
    /// Waits for the window manager and the program under the pointer to read a click, and for a frame of
    /// GTK 3.
    static void awaitClickTaken();
    /// The part of that which needs no sign of the program: waits for the window manager, which may hold back
    /// the press of a button.
    static void awaitClickPassedOn();
    /// GTK 3 reads events at once and looks at motions, and at what comes behind them, when its next frame
    /// begins.
    static void awaitFrame();
    /// Waits for the window with the focus to read what was typed.
    static void awaitKeysTaken();
    /// Blocks until the window last aimed at has read the events sent to it, or gives no sign.
    void awaitRead();

private:
    using Clock = std::chrono::steady_clock;
    using Window = uint32_t;

    struct CDisconnect {
        void operator()(xcb_connection_t* connection) const noexcept;
    };
    /// What stays known of a window and the process that it belongs to.
    struct CKnown {
        bool m_silent = false;    ///< the last wait ended without a sign
        std::set<int> m_restless; ///< threads that do not come to rest while the others do
    };
    class CWait;
    using Memory = std::map<std::pair<Window, int>, CKnown>;

    bool usable() const;
    bool aimAt(Window window);
    Window frameUnderPointer();
    void findReceiver();
    static Memory& remembered();
    void remember() const;
    Window windowUnderPointer();
    Window parentOf(Window window);
    bool answersPings(Window window);
    int localProcessOf(Window window);
    bool sign(CWait& wait);
    void noSign(Clock::duration waited);
    Clock::duration patience() const;
    void ping();
    bool pingAnswered(Clock::duration longest);
    bool isAnswer(const void* event) const;
    bool atRest(CWait& wait);
    void noteWorkers(const CWait& wait);
    void waitForInput(Clock::duration longest) const;

    std::unique_ptr<xcb_connection_t, CDisconnect> m_connection;
    uint32_t m_protocols = 0; ///< atom WM_PROTOCOLS
    uint32_t m_ping = 0;      ///< atom _NET_WM_PING
    Window m_root = 0;
    Window m_focus = 0;         ///< window that the receiver was found from
    Window m_receiver = 0;      ///< top-level window that answers pings; 0 when there is none
    int m_process = 0;          ///< process of the focus window, when it is on this machine; else 0
    int m_server = 0;           ///< process of the X server, likewise
    uint32_t m_serial = 0;      ///< of the last ping
    CKnown m_known;             ///< of m_focus and m_process
    Clock::duration m_inVain{}; ///< length of all waits that ended without a sign
};
