#include "unix/screen/ScreenWatch.h"

#include "unix/window/WindowOwner.h"

#include <algorithm>

namespace {
constexpr int longestWaitMs = 100; ///< Java sees to interruptions in between
}

CScreenWatch::CScreenWatch(const std::vector<int>& processes)
{
    if (!m_connection.lives())
        return;
    const xcb_window_t root = m_connection.screen().root;
    if (processes.empty()) {
        const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(m_connection, root, XCB_CW_EVENT_MASK, &events);
        m_connection.tellOfDrawing(root);
    }
    for (const auto window : processes.empty() ? std::vector<uint32_t>() : WindowOwner::windowsOf(processes))
        m_connection.tellOfDrawing(window);
    m_connection.forgetEvents();
}

CScreenWatch::Seen CScreenWatch::await(int milliseconds)
{
    const std::lock_guard lock(m_mutex);
    const bool changed = m_connection.awaitEvent(std::clamp(milliseconds, 0, longestWaitMs));
    if (!m_connection.lives())
        return Seen::NoServer;
    return changed ? Seen::Change : Seen::Nothing;
}
