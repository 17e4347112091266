#include "InfoWindow.h"

#include "CodeSet.h"
#include "FeedbackDisplay.h"
#include "GxDebug.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <map>
#include <string_view>
#include <system_error>
#include <utility>

namespace {
constexpr int margin = 10;
constexpr const char* fontName = "-*-fixed-medium-r-normal--20-*-iso8859-1";

/// X transfers places in 16 bits with a sign; a longer window could not be drawn to its end.
constexpr int largest = 32767;

struct CFreeFont {
    void operator()(XFontStruct* font) const noexcept { XFreeFontInfo(nullptr, font, 1); }
};
using ScopedFontInfo = std::unique_ptr<XFontStruct, CFreeFont>;

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

int length(const std::string& text)
{
    return static_cast<int>(text.size());
}

unsigned toSize(int pixels)
{
    return static_cast<unsigned>(std::clamp(pixels, 1, largest));
}

int toPlace(int pixels)
{
    return std::clamp(pixels, -largest, largest);
}
} // namespace

CInfoWindow::CInfoWindow(int x, int y, const char* text, bool)
    : m_display(openFeedbackDisplay()), m_x(x), m_y(y)
{
    setText(text);
    if (!m_display)
        return;
    expectErrors();
    createWindow();
    try {
        m_thread = std::thread([this] { doTooltip(); });
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
    m_gc = XCreateGC(m_display, m_window, 0, nullptr);
    XSetForeground(m_display, m_gc, foreground.pixel);
    setFont();
    XFlush(m_display);
}

/// The font goes to the server at once, with the graphics context: the thread asks the server how wide it is.
void CInfoWindow::setFont()
{
    XFontStruct* const font = XLoadQueryFont(m_display, fontName);
    if (font)
        XSetFont(m_display, m_gc, font->fid);
    XFlushGC(m_display, m_gc);
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
    if (!m_display)
        return;
    expectErrors();
    sendToThread(Expose);
    XFlush(m_display);
}

/// Without an event mask: such an event goes to the client that made the window, which is this connection.
void CInfoWindow::sendToThread(int eventType)
{
    XEvent event{};
    event.type = eventType;
    event.xany.window = m_window;
    if (eventType == DestroyNotify)
        event.xdestroywindow.window = m_window;
    XSendEvent(m_display, m_window, False, NoEventMask, &event);
}

void CInfoWindow::show()
{
    if (!m_display)
        return;
    expectErrors();
    XMapWindow(m_display, m_window);
    XFlush(m_display);
}

void CInfoWindow::hide()
{
    if (!m_display)
        return;
    expectErrors();
    XUnmapWindow(m_display, m_window);
    XFlush(m_display);
}

Rect CInfoWindow::getRectangle() const
{
    const std::lock_guard lock(m_mutex);
    return Rect(m_y, m_x, m_textWidth + 2 * margin, m_textHeight + 2 * margin);
}

void CInfoWindow::destroy()
{
    if (!m_display)
        return;
    expectErrors();
    sendToThread(DestroyNotify);
    XDestroyWindow(m_display, m_window);
    XFlush(m_display);
    if (m_thread.joinable())
        m_thread.join();
    XFreeGC(m_display, m_gc);
    XCloseDisplay(std::exchange(m_display, nullptr));
}

/// The drawing thread. Ends with the window, and when the connection is lost: XNextEvent then returns without
/// an event.
void CInfoWindow::doTooltip()
{
    for (;;) {
        XEvent event{};
        XNextEvent(m_display, &event);
        if (event.type == Expose && event.xexpose.count == 0)
            redraw();
        else if (event.type == DestroyNotify || event.type == 0)
            return;
    }
}

void CInfoWindow::redraw()
{
    const ScopedFontInfo font(XQueryFont(m_display, XGContextFromGC(m_gc)));
    if (!font)
        return;
    std::string text;
    int x = 0;
    int y = 0;
    {
        const std::lock_guard lock(m_mutex);
        m_textWidth = XTextWidth(font.get(), m_text.data(), length(m_text));
        m_textHeight = font->ascent + font->descent;
        text = m_text;
        x = m_x;
        y = m_y;
    }
    draw(text, x, y, *font);
}

void CInfoWindow::draw(const std::string& text, int x, int y, const XFontStruct& font)
{
    const int width = XTextWidth(const_cast<XFontStruct*>(&font), text.data(), length(text));
    const int height = font.ascent + font.descent;
    XMoveResizeWindow(m_display, m_window, toPlace(x), toPlace(y), toSize(width + 2 * margin),
                      toSize(height + 2 * margin));
    XClearWindow(m_display, m_window); // the window keeps its contents when its size stays the same
    XDrawRectangle(m_display, m_window, m_gc, 0, 0, toSize(width + 2 * margin - 1),
                   toSize(height + 2 * margin - 1));
    const int drawn = std::min(length(text), largest / std::max<int>(font.max_bounds.width, 1));
    XDrawString(m_display, m_window, m_gc, margin, height + margin, text.data(), drawn);
    XFlush(m_display);
}

namespace {
std::mutex s_mutex;

/// Never freed: at exit, Java threads may still ask for tooltips.
std::map<long, std::shared_ptr<CInfoWindow>>& tooltips()
{
    static auto& s_tooltips = *new std::map<long, std::shared_ptr<CInfoWindow>>;
    return s_tooltips;
}

/// Runs at exit, and when the library is unloaded: the threads must not run code that goes.
void destroyAll()
{
    std::map<long, std::shared_ptr<CInfoWindow>> left;
    const std::lock_guard lock(s_mutex);
    left.swap(tooltips());
}
} // namespace

long InfoWindows::add(std::shared_ptr<CInfoWindow> tooltip)
{
    [[maybe_unused]] static const int s_registered = std::atexit(destroyAll);
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
