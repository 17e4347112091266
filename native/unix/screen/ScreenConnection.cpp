#include "unix/screen/ScreenConnection.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>

namespace {
const xcb_screen_t* screenOf(xcb_connection_t* connection, int number)
{
    if (xcb_connection_has_error(connection))
        return nullptr;
    auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (number-- > 0 && screen.rem > 1)
        xcb_screen_next(&screen);
    return screen.data;
}

xcb_connection_t* connect(const xcb_screen_t*& screen)
{
    int number = 0;
    xcb_connection_t* const connection = xcb_connect(nullptr, &number);
    screen = screenOf(connection, number);
    return connection;
}
} // namespace

CScreenConnection::CScreenConnection() : m_connection(connect(m_screen), xcb_disconnect) {}

bool CScreenConnection::has(xcb_extension_t& extension) const
{
    const auto* const found = lives() ? xcb_get_extension_data(*this, &extension) : nullptr;
    return found && found->present;
}

bool CScreenConnection::sync() const
{
    return answer(*this, xcb_get_input_focus(*this), xcb_get_input_focus_reply) != nullptr;
}

bool CScreenConnection::tellOfDrawing(xcb_window_t window)
{
    if (!has(xcb_damage_id))
        return false;
    if (m_damages.empty() &&
        !answer(*this, xcb_damage_query_version(*this, 1, 1), xcb_damage_query_version_reply))
        return false;
    m_damages.push_back(xcb_generate_id(*this));
    xcb_damage_create(*this, m_damages.back(), window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
    return true;
}

void CScreenConnection::rearm()
{
    for (const auto damage : m_damages)
        xcb_damage_subtract(*this, damage, XCB_NONE, XCB_NONE);
    xcb_flush(*this);
}

bool CScreenConnection::dropEvents()
{
    bool any = false;
    while (const MallocPtr<xcb_generic_event_t> event{xcb_poll_for_event(*this)})
        any |= event->response_type != 0; // not the error of a window that has gone
    return any;
}

void CScreenConnection::forgetEvents()
{
    rearm();
    sync();
    dropEvents();
}

bool CScreenConnection::awaitEvent(int milliseconds)
{
    rearm();
    if (dropEvents())
        return true;
    pollfd socket{xcb_get_file_descriptor(*this), POLLIN, 0};
    if (!lives() || poll(&socket, 1, milliseconds) <= 0)
        return false;
    return dropEvents();
}
