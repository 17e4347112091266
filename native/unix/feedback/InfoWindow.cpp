#include "unix/feedback/InfoWindow.h"

#include "common/text/CodeSet.h"
#include "common/trace/GxDebug.h"
#include "include/NeverDestroyed.h"
#include "unix/feedback/FeedbackDisplay.h"
#include "unix/process/ProcessEnd.h"
#include "unix/window/OwnDisplay.h"
#include "unix/window/XErrors.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <deque>
#include <map>
#include <system_error>
#include <utility>
#include <vector>

#include "include/ScopedX.h"

#include <X11/Xlib-xcb.h>

namespace {
constexpr int margin = 10;
constexpr const char* fontName = "-*-fixed-medium-r-normal--20-*-iso8859-1";

/// X transfers places in 16 bits with a sign; a longer window could not be drawn to its end.
constexpr int largest = 32767;

/// In the type of an event: a client sent it.
constexpr int sentEvent = 0x80;

/// A byte that is no text of the locale stands for itself: the text may be Latin-1 already.
std::string toLatin1(std::string_view text)
{
    const CEnvironmentLocale locale;
    std::mbstate_t state{};
    std::string latin1;
    while (!text.empty()) {
        wchar_t character = static_cast<unsigned char>(text.front());
        size_t length = std::mbrtowc(&character, text.data(), text.size(), &state);
        if (length == 0 || length > text.size()) {
            state = {};
            length = 1;
        }
        latin1 += character <= 0xff ? static_cast<char>(character) : '?';
        text.remove_prefix(length);
    }
    return latin1;
}

uint16_t toSize(int pixels)
{
    return static_cast<uint16_t>(std::clamp(pixels, 1, largest));
}

uint32_t toPlace(int pixels)
{
    return static_cast<uint32_t>(std::clamp(pixels, -largest, largest));
}

/// Sends an event to a window. Without an event mask: it goes to the client that made the window.
template <class Event> void sendTo(xcb_connection_t* connection, xcb_window_t window, const Event& event)
{
    char bytes[32] = "";
    static_assert(sizeof event <= sizeof bytes);
    std::memcpy(bytes, &event, sizeof event);
    xcb_send_event(connection, 0, window, XCB_EVENT_MASK_NO_EVENT, bytes);
}

/// A text as requests hold it: runs of up to 254 characters, each with its length and a distance of 0 before
/// it.
std::string textItems(std::string_view text)
{
    constexpr size_t longest = 254;
    std::string items;
    for (; !text.empty(); text.remove_prefix(std::min(text.size(), longest))) {
        const auto run = text.substr(0, longest);
        items += static_cast<char>(run.size());
        items += '\0';
        items += run;
    }
    return items;
}
} // namespace

CInfoWindow::CInfoWindow(int x, int y, const char* text, bool) : m_display(openOwnDisplay()), m_x(x), m_y(y)
{
    setText(text);
    if (!usableDisplay(m_display))
        return;
    createWindow();
    try {
        m_thread = std::thread([this] { doTooltip(XGetXCBConnection(m_display)); });
    } catch (const std::system_error& error) {
        GenericNative.Error("No thread for a tooltip, which is not drawn: %s", error.what());
    }
}

/// Exposures are selected, so that the text comes back where something covered it, and the structure, so that
/// the thread ends when another program destroys the window.
void CInfoWindow::createWindow()
{
    const XColor background = allocateColor(m_display, 255, 255, 100);
    const XColor foreground = allocateColor(m_display, 0, 0, 0);
    m_window = createPlainWindow(m_display, -2, -2, 2, 2, background, ExposureMask | StructureNotifyMask);
    createGraphics(static_cast<uint32_t>(foreground.pixel));
    XFlush(m_display);
    m_connection = XGetXCBConnection(m_display);
}

/// The graphics context keeps the font, which is not needed otherwise. Without it, it has the server's own
/// one.
void CInfoWindow::createGraphics(uint32_t foreground)
{
    xcb_connection_t* const connection = XGetXCBConnection(m_display);
    XFontStruct* const font = XLoadQueryFont(m_display, fontName);
    const uint32_t values[] = {foreground, font ? static_cast<uint32_t>(font->fid) : 0};
    m_gc = xcb_generate_id(connection);
    xcb_create_gc(connection, m_gc, window(), XCB_GC_FOREGROUND | (font ? XCB_GC_FONT : 0), values);
    if (font)
        XFreeFont(m_display, font);
}

void CInfoWindow::setText(const char* text)
{
    if (!text || !*text)
        return;
    std::string latin1 = toLatin1(text);
    const std::lock_guard lock(m_mutex);
    m_text.swap(latin1);
}

void CInfoWindow::changeText(const char* text)
{
    setText(text);
    requestRedraw();
}

void CInfoWindow::move(int x, int y)
{
    {
        const std::lock_guard lock(m_mutex);
        m_x = x;
        m_y = y;
    }
    requestRedraw();
}

void CInfoWindow::requestRedraw()
{
    if (!m_connection)
        return;
    const CNoBrokenPipe guard;
    xcb_expose_event_t event{};
    event.response_type = XCB_EXPOSE;
    event.window = window();
    sendTo(m_connection, window(), event);
    xcb_flush(m_connection);
}

void CInfoWindow::show()
{
    if (!m_connection)
        return;
    const CNoBrokenPipe guard;
    xcb_map_window(m_connection, window());
    xcb_flush(m_connection);
}

void CInfoWindow::hide()
{
    if (!m_connection)
        return;
    const CNoBrokenPipe guard;
    xcb_unmap_window(m_connection, window());
    xcb_flush(m_connection);
}

Rect CInfoWindow::getRectangle() const
{
    const std::lock_guard lock(m_mutex);
    return {m_y, m_x, m_textWidth + 2 * margin, m_textHeight + 2 * margin};
}

void CInfoWindow::destroy()
{
    if (!m_connection)
        return;
    const CNoBrokenPipe guard;
    xcb_destroy_notify_event_t event{};
    event.response_type = XCB_DESTROY_NOTIFY;
    event.event = event.window = window();
    sendTo(m_connection, window(), event);
    xcb_destroy_window(m_connection, window());
    xcb_flush(std::exchange(m_connection, nullptr));
    if (m_thread.joinable())
        m_thread.join();
    closeOwnDisplay(m_display);
}

/// The drawing thread. Ends with the window, and when the connection is lost.
void CInfoWindow::doTooltip(xcb_connection_t* connection)
{
    const CNoBrokenPipe guard;
    while (const MallocPtr<xcb_generic_event_t> event{xcb_wait_for_event(connection)}) {
        const int type = event->response_type & ~sentEvent;
        if (type == XCB_DESTROY_NOTIFY)
            return;
        if (type == XCB_EXPOSE && reinterpret_cast<xcb_expose_event_t&>(*event).count == 0)
            redraw(connection);
        else if (type == 0)
            trace(reinterpret_cast<xcb_generic_error_t&>(*event));
    }
}

void CInfoWindow::trace(const xcb_generic_error_t& error) const
{
    traceXError(m_display, error.error_code, error.full_sequence, error.major_code, error.minor_code);
}

void CInfoWindow::redraw(xcb_connection_t* connection)
{
    std::unique_lock lock(m_mutex);
    const std::string text = m_text;
    lock.unlock();
    const auto size = measure(connection, text);
    if (!size)
        return;
    lock.lock();
    m_textWidth = size->width;
    m_textHeight = size->height;
    const int x = m_x;
    const int y = m_y;
    lock.unlock();
    draw(connection, text, *size, x, y);
}

/// Asks the server, as far at a time as one request can hold. Nothing where the connection is lost.
std::optional<CInfoWindow::CSize> CInfoWindow::measure(xcb_connection_t* connection,
                                                       std::string_view text) const
{
    constexpr size_t atOnce = 8192;
    CSize size{0, 0};
    do {
        std::vector<xcb_char2b_t> part;
        for (const char character : text.substr(0, atOnce))
            part.push_back({0, static_cast<uint8_t>(character)});
        const auto asked =
            xcb_query_text_extents(connection, m_gc, static_cast<uint32_t>(part.size()), part.data());
        const MallocPtr<xcb_query_text_extents_reply_t> reply(
            xcb_query_text_extents_reply(connection, asked, nullptr));
        if (!reply)
            return std::nullopt;
        size = {size.width + reply->overall_width, reply->font_ascent + reply->font_descent};
        text.remove_prefix(part.size());
    } while (!text.empty());
    return size;
}

void CInfoWindow::draw(xcb_connection_t* connection, std::string_view text, CSize size, int x, int y)
{
    const uint16_t width = toSize(size.width + 2 * margin);
    const uint16_t height = toSize(size.height + 2 * margin);
    const uint32_t place[] = {toPlace(x), toPlace(y), width, height};
    xcb_configure_window(connection, window(),
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         place);
    xcb_clear_area(connection, 0, window(), 0, 0, 0, 0); // a window that keeps its size keeps the old text
    const xcb_rectangle_t frame{0, 0, static_cast<uint16_t>(width - 1), static_cast<uint16_t>(height - 1)};
    xcb_poly_rectangle(connection, window(), m_gc, 1, &frame);
    const size_t fitting =
        size.width > largest ? text.size() * largest / static_cast<size_t>(size.width) : text.size();
    const std::string items = textItems(text.substr(0, fitting));
    xcb_poly_text_8(connection, window(), m_gc, margin, static_cast<int16_t>(size.height + margin),
                    static_cast<uint32_t>(items.size()), reinterpret_cast<const uint8_t*>(items.data()));
    xcb_flush(connection);
}

namespace {
std::mutex s_mutex;

/// Never freed: at exit, Java threads may still ask for tooltips.
std::map<long, std::shared_ptr<CInfoWindow>>& tooltips()
{
    static CNeverDestroyed<std::map<long, std::shared_ptr<CInfoWindow>>> s_tooltips;
    return *s_tooltips;
}

/// Runs at exit, and when the library is unloaded: the threads must not run code that goes.
void destroyAll()
{
    std::map<long, std::shared_ptr<CInfoWindow>> left;
    const std::lock_guard lock(s_mutex);
    left.swap(tooltips());
}
} // namespace

void* CInfoWindow::operator new(size_t size)
{
    return ::operator new(size);
}

void CInfoWindow::operator delete(void* memory)
{
    constexpr size_t kept = 1024;
    static std::mutex s_mutex;
    static CNeverDestroyed<std::deque<void*>> s_gone;
    const std::lock_guard lock(s_mutex);
    s_gone->push_back(memory);
    if (s_gone->size() <= kept)
        return;
    ::operator delete(s_gone->front());
    s_gone->pop_front();
}

long InfoWindows::add(std::unique_ptr<CInfoWindow> tooltip)
{
    [[maybe_unused]] static const int s_registered = atProcessEnd<destroyAll>();
    const long handle = reinterpret_cast<intptr_t>(tooltip.get());
    const std::lock_guard lock(s_mutex);
    tooltips()[handle] = std::move(tooltip);
    return handle;
}

std::shared_ptr<CInfoWindow> InfoWindows::find(long handle)
{
    const std::lock_guard lock(s_mutex);
    const auto found = tooltips().find(handle);
    return found == tooltips().end() ? nullptr : found->second;
}

std::shared_ptr<CInfoWindow> InfoWindows::remove(long handle)
{
    const std::lock_guard lock(s_mutex);
    const auto taken = tooltips().extract(handle);
    return taken ? std::move(taken.mapped()) : nullptr;
}
