#include "unix/screen/ScreenPicture.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstring>
#include <string_view>
#include <utility>

#include "unix/window/WindowLevel.h"
#include "unix/window/WindowProperty.h"

namespace {
using Clock = std::chrono::steady_clock;

constexpr auto longestRepaint = std::chrono::milliseconds(300);
constexpr int quietMs = 30; ///< programs that have drawn nothing for so long have drawn all

const xcb_visualtype_t* visualOf(const xcb_screen_t& screen)
{
    for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0; xcb_depth_next(&depth))
        for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
             xcb_visualtype_next(&visual))
            if (visual.data->visual_id == screen.root_visual)
                return visual.data;
    return nullptr;
}

const xcb_format_t* formatOf(const xcb_setup_t* setup, uint8_t depth)
{
    for (auto format = xcb_setup_pixmap_formats_iterator(setup); format.rem > 0; xcb_format_next(&format))
        if (format.data->depth == depth)
            return format.data;
    return nullptr;
}

/// The part of a pixel that a mask names, as a number up to 255.
class CComponent {
public:
    explicit CComponent(uint32_t mask) : m_shift(std::countr_zero(mask)), m_largest(mask >> m_shift)
    {
        for (uint32_t value = 0; value < m_levels.size(); ++value)
            m_levels[value] = static_cast<uint8_t>(value * 255 / std::max(m_largest, 1U));
    }
    uint32_t of(uint32_t pixel) const { return m_levels[pixel >> m_shift & m_largest]; }

private:
    int m_shift;
    uint32_t m_largest;
    std::array<uint8_t, 1024> m_levels; ///< the deepest screens have ten bits
};

/// @param over  with a share of opacity in its highest byte, by which the other bytes are multiplied already
uint32_t blended(uint32_t over, uint32_t under)
{
    const uint32_t rest = 255 - (over >> 24);
    uint32_t sum = 0;
    for (int shift = 0; shift < 24; shift += 8)
        sum |= std::min(255U, (over >> shift & 255) + (under >> shift & 255) * rest / 255) << shift;
    return sum;
}
/// As the server has them, less what is not shown: nothing else is done to a pixel, so that it is read and
/// written once.
void copyColors(const uint8_t* from, std::span<uint32_t> pixels)
{
    for (size_t at = 0; at < pixels.size(); ++at) {
        uint32_t pixel;
        std::memcpy(&pixel, from + at * sizeof pixel, sizeof pixel);
        pixels[at] = pixel & 0xFFFFFF;
    }
}
} // namespace

CScreenPicture::~CScreenPicture()
{
    for (const auto frame : m_hidden)
        xcb_map_window(m_connection, frame);
    if (m_hidden.empty())
        CScreenSource::keep(std::move(m_source));
    else
        m_connection.sync(); // and it is told of all drawing from now on
}

std::vector<xcb_window_t> CScreenPicture::shownFrames() const
{
    const auto tree =
        answer(m_connection, xcb_query_tree(m_connection, m_connection.screen().root), xcb_query_tree_reply);
    if (!tree)
        return {};
    const std::span windows(xcb_query_tree_children(tree.get()), tree->children_len);
    std::vector<xcb_get_property_cookie_t> classes;
    for (const auto window : windows)
        classes.push_back(
            xcb_get_property(m_connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64));
    std::vector<xcb_window_t> frames;
    for (size_t i = 0; i < windows.size(); ++i) {
        const auto property = answer(m_connection, classes[i], xcb_get_property_reply);
        if (textIn(property.get(), XCB_ATOM_STRING).find(highlighterClass) != std::string_view::npos)
            frames.push_back(windows[i]);
    }
    std::erase_if(frames, [&](xcb_window_t frame) {
        const auto state = answer(m_connection, xcb_get_window_attributes(m_connection, frame),
                                  xcb_get_window_attributes_reply);
        return !state || state->map_state != XCB_MAP_STATE_VIEWABLE;
    });
    return frames;
}

void CScreenPicture::hideFrames()
{
    if (!m_connection.lives())
        return;
    m_hidden = shownFrames();
    if (m_hidden.empty())
        return;
    const bool isTold = m_connection.tellOfDrawing(m_connection.screen().root);
    for (const auto frame : m_hidden)
        xcb_unmap_window(m_connection, frame);
    m_connection.sync();
    const auto end = Clock::now() + longestRepaint;
    while (Clock::now() < end && (m_connection.awaitEvent(quietMs) || !isTold)) {
    }
}

bool CScreenPicture::isWithinScreen(const CScreenPart& part) const
{
    const auto box = answer(m_connection, xcb_get_geometry(m_connection, m_connection.screen().root),
                            xcb_get_geometry_reply);
    return box && part.x >= 0 && part.y >= 0 && part.width > 0 && part.height > 0 &&
           part.x <= box->width - part.width && part.y <= box->height - part.height;
}

bool CScreenPicture::findFormat()
{
    const auto& screen = m_connection.screen();
    const auto* const visual = visualOf(screen);
    const auto* const format = formatOf(xcb_get_setup(m_connection), screen.root_depth);
    if (!visual || !format || visual->_class < XCB_VISUAL_CLASS_TRUE_COLOR || format->bits_per_pixel < 16)
        return false;
    const unsigned pad = format->scanline_pad;
    const auto bits = static_cast<size_t>(m_part.width) * format->bits_per_pixel;
    m_format = {visual, format->bits_per_pixel / 8U,
                xcb_get_setup(m_connection)->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST,
                (bits + pad - 1) / pad * pad / 8};
    return true;
}

bool CScreenPicture::read(const CScreenPart& part)
{
    if (!m_connection.lives() || !isWithinScreen(part))
        return false;
    m_part = part;
    return findFormat() && (readShared() || readOverConnection());
}

bool CScreenPicture::readShared()
{
    const uint8_t* const memory = m_source->memory(m_format.stride * static_cast<size_t>(m_part.height));
    const auto box =
        memory ? answer(m_connection,
                        xcb_shm_get_image(m_connection, m_connection.screen().root,
                                          static_cast<int16_t>(m_part.x), static_cast<int16_t>(m_part.y),
                                          static_cast<uint16_t>(m_part.width),
                                          static_cast<uint16_t>(m_part.height), ~0U,
                                          XCB_IMAGE_FORMAT_Z_PIXMAP, m_source->segment(), 0),
                        xcb_shm_get_image_reply)
               : nullptr;
    m_data = box ? memory : nullptr;
    return box != nullptr;
}

bool CScreenPicture::readOverConnection()
{
    m_reply =
        answer(m_connection,
               xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_connection.screen().root,
                             static_cast<int16_t>(m_part.x), static_cast<int16_t>(m_part.y),
                             static_cast<uint16_t>(m_part.width), static_cast<uint16_t>(m_part.height), ~0U),
               xcb_get_image_reply);
    m_data = m_reply ? xcb_get_image_data(m_reply.get()) : nullptr;
    return m_reply && static_cast<size_t>(xcb_get_image_data_length(m_reply.get())) >=
                          m_format.stride * static_cast<size_t>(m_part.height);
}

uint32_t CScreenPicture::pixelAt(const uint8_t* from) const
{
    uint32_t pixel = 0;
    for (unsigned i = 0; i < m_format.bytesPerPixel; ++i)
        pixel |= static_cast<uint32_t>(from[i])
                 << 8 * (m_format.lowestFirst ? i : m_format.bytesPerPixel - 1 - i);
    return pixel;
}

/// Whether only the bits that are not shown have to be cleared.
bool CScreenPicture::isLikeJava() const
{
    const auto& visual = *m_format.visual;
    return m_format.bytesPerPixel == 4 && visual.red_mask == 0xFF0000 && visual.green_mask == 0xFF00 &&
           visual.blue_mask == 0xFF && std::endian::native == std::endian::little && m_format.lowestFirst;
}

void CScreenPicture::convert(std::span<uint32_t> pixels) const
{
    const auto& visual = *m_format.visual;
    const CComponent red(visual.red_mask), green(visual.green_mask), blue(visual.blue_mask);
    const auto width = static_cast<size_t>(m_part.width);
    for (size_t at = 0; at < pixels.size(); ++at) {
        const uint32_t pixel =
            pixelAt(m_data + at / width * m_format.stride + at % width * m_format.bytesPerPixel);
        pixels[at] = red.of(pixel) << 16 | green.of(pixel) << 8 | blue.of(pixel);
    }
}

void CScreenPicture::copyTo(std::span<uint32_t> pixels) const
{
    const auto width = static_cast<size_t>(m_part.width);
    if (!isLikeJava())
        convert(pixels);
    else
        for (size_t y = 0; y < pixels.size() / width; ++y)
            copyColors(m_data + y * m_format.stride, pixels.subspan(y * width, width));
    if (m_pointer)
        drawPointer(pixels);
}

void CScreenPicture::readPointer()
{
    if (m_connection.has(xcb_xfixes_id) &&
        answer(m_connection, xcb_xfixes_query_version(m_connection, 4, 0), xcb_xfixes_query_version_reply))
        m_pointer = answer(m_connection, xcb_xfixes_get_cursor_image(m_connection),
                           xcb_xfixes_get_cursor_image_reply);
}

void CScreenPicture::drawPointer(std::span<uint32_t> pixels) const
{
    const uint32_t* next = xcb_xfixes_get_cursor_image_cursor_image(m_pointer.get());
    const int left = m_pointer->x - m_pointer->xhot - m_part.x;
    const int top = m_pointer->y - m_pointer->yhot - m_part.y;
    for (int y = top; y < top + m_pointer->height; ++y)
        for (int x = left; x < left + m_pointer->width; ++x, ++next)
            if (x >= 0 && x < m_part.width && y >= 0 && y < m_part.height) {
                uint32_t& pixel = pixels[static_cast<size_t>(y) * static_cast<size_t>(m_part.width) +
                                         static_cast<size_t>(x)];
                pixel = blended(*next, pixel);
            }
}
