// Frames against the bare Xlib calls: the same requests, on a connection that does nothing else, without the
// lock, the check of the connection and the error handler. Each ends with a round trip, so that the server's
// work is in both.
#include "Compare.h"

#include <memory>

#include "unix/feedback/HighlighterUnix.h"

#include <X11/Xutil.h>
#include <X11/extensions/shape.h>

namespace {
class CBareFrame {
public:
    explicit CBareFrame(Display* display) : m_display(display)
    {
        XParseColor(display, map(), "RGB:ff/00/00", &m_color);
        XAllocColor(display, map(), &m_color);
        XSetWindowAttributes attributes{};
        attributes.background_pixel = m_color.pixel;
        attributes.override_redirect = True;
        m_window = XCreateWindow(display, DefaultRootWindow(display), 10, 10, 200, 100, 0, CopyFromParent,
                                 InputOutput, nullptr, CWBackPixel | CWOverrideRedirect, &attributes);
        XClassHint hint{nullptr, const_cast<char*>("Bare")};
        XSetClassHint(display, m_window, &hint);
        cut(200, 100);
        XMapWindow(display, m_window);
        XFlush(display);
    }
    ~CBareFrame()
    {
        XDestroyWindow(m_display, m_window);
        XFreeColors(m_display, map(), &m_color.pixel, 1, 0);
        XFlush(m_display);
    }
    CBareFrame(const CBareFrame&) = delete;

    void move(int x, unsigned width, bool resized)
    {
        XUnmapWindow(m_display, m_window);
        XMoveResizeWindow(m_display, m_window, x, 10, width, 100);
        if (resized)
            cut(width, 100);
        XMapWindow(m_display, m_window);
        XFlush(m_display);
    }
    void wait()
    {
        XWindowAttributes attributes;
        XGetWindowAttributes(m_display, m_window, &attributes);
    }

private:
    Colormap map() const { return DefaultColormap(m_display, DefaultScreen(m_display)); }
    void cut(unsigned width, unsigned height)
    {
        const Pixmap mask = XCreatePixmap(m_display, m_window, width, height, 1);
        const GC gc = XCreateGC(m_display, mask, 0, nullptr);
        XSetForeground(m_display, gc, 1);
        XFillRectangle(m_display, mask, gc, 0, 0, width, height);
        XSetForeground(m_display, gc, 0);
        XFillRectangle(m_display, mask, gc, 5, 5, width - 10, height - 10);
        XShapeCombineMask(m_display, m_window, ShapeBounding, 0, 0, mask, ShapeSet);
        XShapeCombineMask(m_display, m_window, ShapeClip, 0, 0, mask, ShapeSet);
        XFreePixmap(m_display, mask);
        XFreeGC(m_display, gc);
    }

    Display* m_display;
    Window m_window = 0;
    XColor m_color{};
};

struct CClose {
    void operator()(Display* display) const { XCloseDisplay(display); }
};
using ScopedDisplay = std::unique_ptr<Display, CClose>;

CHighlighter* newFrame()
{
    return new CHighlighter(10, 10, 200, 100, 255, 0, 0, 5, 0, 0);
}

void showAndDestroy(benchmark::State& state)
{
    const ScopedDisplay display(XOpenDisplay(nullptr));
    compare(
        state,
        [] {
            const auto lock = CHighlighter::lock();
            CHighlighter* const frame = newFrame();
            frame->isVisible();
            CHighlighter::remove(frame);
        },
        [&] { CBareFrame(display.get()).wait(); });
}

void move(benchmark::State& state)
{
    const ScopedDisplay display(XOpenDisplay(nullptr));
    const bool resized = state.range(0) != 0;
    int step = 0;
    const auto width = [&] { return 200 + (resized ? step % 7 : 0); };
    const auto x = [&] { return 20 + ++step % 90; };
    CBareFrame bare(display.get());
    auto lock = CHighlighter::lock();
    CHighlighter* const frame = newFrame();
    lock.unlock();
    compare(
        state,
        [&] {
            const auto held = CHighlighter::lock();
            frame->move(x(), 10, width(), 100);
            frame->isVisible();
        },
        [&] {
            bare.move(x(), static_cast<unsigned>(width()), resized);
            bare.wait();
        });
    lock.lock();
    CHighlighter::remove(frame);
}
BENCHMARK(showAndDestroy)->UseManualTime()->Iterations(2000);
BENCHMARK(move)->ArgName("resized")->Arg(0)->Arg(1)->UseManualTime()->Iterations(2000);
} // namespace
