/// The library's own connections to the X server: opened, asked whether they live, and closed.
///
/// Xlib ends the process when a connection is lost. One of these is lost without harm to the host program:
/// the call that finds out returns as one that failed does, whatever Xlib is asked after that fails at once,
/// and the trace names the display, once. Connections of the host stay its own: its handler for lost
/// connections still runs for them, and so does the end of the process.
#pragma once

#include <csignal>
#include <shared_mutex>

#include <X11/Xlib.h>

/// Opens a connection to the default display, for use by several threads. Without a server the answer is null
/// and the trace names the display and the reason. Works before any static object of the library is
/// initialised.
Display* openOwnDisplay();

/// Closes what openOwnDisplay opened, lost or not; null does nothing. Waits for the server where it lives.
/// Of a lost one some memory stays.
void closeOwnDisplay(Display* display);

/// For handlers of atexit, which run when the process ends and when the library is unloaded: whether a
/// connection is to be left to the end of the process, since other threads run that may be at work on it for
/// as long as the server takes. It is closed when the library is unloaded, and at the end of a process
/// without other threads.
bool endsWithProcess();

/// Whether the server is there and has not cut the connection, as a program that kills the owner of a window
/// makes it do; false for null. Does not wait: a loop that sends requests without answers asks it in every
/// turn.
bool isConnected(Display* display);

/// The same connection, ready for requests: the library's handlers of X errors and of lost connections are
/// the process's, whatever the host has set meanwhile. Null for one that is null or lost, and the operation
/// answers neutrally. Ask it at the start of each operation; it does not wait.
Display* usableDisplay(Display* display);

/// Leave for a scope to call what takes a lock of Xlib's own, other than those of connections: what opens and
/// closes these, sets handlers and looks up the texts of errors. Xlib frees its locks at the end of the
/// process; threads that still run then must not look for them. Any number at a time; may be nested.
class CXlibGlobals {
public:
    CXlibGlobals();
    /// False when the process ends.
    explicit operator bool() const { return m_areThere; }

private:
    std::shared_lock<std::shared_timed_mutex> m_guard;
    bool m_areThere;
};

/// Keeps SIGPIPE from the calling thread while it lives: a request on a lost connection raises it, and not
/// every host ignores it.
class CNoBrokenPipe {
public:
    CNoBrokenPipe();
    ~CNoBrokenPipe();
    CNoBrokenPipe(const CNoBrokenPipe&) = delete;
    CNoBrokenPipe& operator=(const CNoBrokenPipe&) = delete;

private:
    sigset_t m_before;
};
