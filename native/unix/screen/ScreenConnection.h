/// A connection to the X server for pictures of the screen and for waiting until it changes.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "include/ScopedX.h"
#include <xcb/damage.h>

/// Opened for one purpose and closed with this object. Without a server, and once the connection is lost,
/// requests fail and answers are null; nothing else comes of it. One thread.
class CScreenConnection {
public:
    CScreenConnection();
    CScreenConnection(const CScreenConnection&) = delete;
    CScreenConnection& operator=(const CScreenConnection&) = delete;

    operator xcb_connection_t*() const { return m_connection.get(); }
    bool lives() const { return xcb_connection_has_error(*this) == 0; }
    const xcb_screen_t& screen() const { return *m_screen; } ///< the default one; only while it lives
    bool has(xcb_extension_t& extension) const;
    /// Waits until the server has played all requests. @return whether it did
    bool sync() const;

    /// From now on drawing into a window and what is in it comes as an event, once until the next rearm().
    /// @return whether the server tells of drawing, in the version that is asked for
    bool tellOfDrawing(xcb_window_t window);
    /// Begins anew: the server takes a window for drawn when it is asked to tell of drawing.
    void forgetEvents();
    /// Waits until an event comes and drops all that are there.
    /// @param milliseconds  0 does not wait
    /// @return whether one came; false as well when the connection is lost
    bool awaitEvent(int milliseconds);

private:
    bool dropEvents();
    void rearm();

    const xcb_screen_t* m_screen = nullptr; // found as the connection is made
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
    std::vector<xcb_damage_damage_t> m_damages;
};
