// Tooltips, as a second client of the X server sees them.
#include "session/Program.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <set>
#include <thread>

#include "FrameWatch.h"

#include "unix/feedback/InfoWindow.h"

using namespace std::chrono_literals;

namespace {
/// What becomes visible of a tooltip.
class CTooltipWatch : public CWatcher {
public:
    CTooltipWatch() : m_before(windows()) {}

    /// The only window that has come since this object was made.
    Window found()
    {
        const auto now = windows();
        EXPECT_EQ(m_before.size() + 1, now.size());
        return now.back();
    }
    /// Whether the window comes to look like a text drawn by this client: pale yellow, framed, 10 pixels
    /// around.
    bool shows(Window window, const std::string& latin1, const char* font = nullptr)
    {
        XFontStruct* const info = font ? XLoadQueryFont(display(), font) : tooltipFont();
        const int width =
            std::min(20 + XTextWidth(info, latin1.data(), static_cast<int>(latin1.size())), 32767);
        const int height = 20 + info->ascent + info->descent;
        const Pixmap plan =
            XCreatePixmap(display(), root(), static_cast<unsigned>(width), static_cast<unsigned>(height), 24);
        const GC gc = XCreateGC(display(), plan, 0, nullptr);
        XSetForeground(display(), gc, 0xffff64);
        XFillRectangle(display(), plan, gc, 0, 0, static_cast<unsigned>(width),
                       static_cast<unsigned>(height));
        XSetForeground(display(), gc, 0);
        XSetFont(display(), gc, info->fid);
        XDrawRectangle(display(), plan, gc, 0, 0, static_cast<unsigned>(width - 1),
                       static_cast<unsigned>(height - 1));
        XDrawString(display(), plan, gc, 10, height - 10, latin1.data(),
                    std::min(200, static_cast<int>(latin1.size())));
        const int seen = std::min(width, 1000); // as far as the screen goes
        const bool same = within(10s, [&] {
            return viewable(window) && box(window).ends_with(boxText(0, 0, width, height).substr(3)) &&
                   pixels(window, seen, height) == pixels(plan, seen, height);
        });
        XFreePixmap(display(), plan);
        XFreeGC(display(), gc);
        XFreeFont(display(), info);
        return same;
    }

    /// Its size alone, which depends on the fonts of this machine.
    std::pair<int, int> sizeOf(Window window)
    {
        XWindowAttributes attributes{};
        XGetWindowAttributes(display(), window, &attributes);
        return {attributes.width, attributes.height};
    }

private:
    /// That of tooltips where it is installed; each server has "fixed".
    XFontStruct* tooltipFont()
    {
        XFontStruct* const installed = XLoadQueryFont(display(), "-*-fixed-medium-r-normal--20-*-iso8859-1");
        return installed ? installed : XLoadQueryFont(display(), "fixed");
    }

    std::string pixels(Drawable drawable, int width, int height)
    {
        XImage* const image = XGetImage(display(), drawable, 0, 0, static_cast<unsigned>(width),
                                        static_cast<unsigned>(height), 0xffffff, ZPixmap);
        if (!image)
            return "none";
        std::string all;
        for (int i = 0; i < width * height; ++i)
            all += std::to_string(XGetPixel(image, i % width, i / width) & 0xffffff) + ' ';
        XDestroyImage(image);
        return all;
    }

    const std::vector<Window> m_before;
};

/// The locale of texts while it lives; see CodeSet.h.
struct CUtf8 {
    CUtf8() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
    ~CUtf8() { std::setlocale(LC_CTYPE, "C"); }
};

/// What DISPLAY names while it lives.
class CDisplayName {
public:
    explicit CDisplayName(const std::string& name) { setenv("DISPLAY", name.c_str(), 1); }
    ~CDisplayName() { setenv("DISPLAY", m_before.c_str(), 1); }

private:
    const std::string m_before = std::getenv("DISPLAY");
};

/// Another server for what is made while it lives.
struct COtherServer : CXvfb {
    explicit COtherServer(const std::vector<std::string>& options) : CXvfb(options), m_name(name()) {}
    const CDisplayName m_name;
};
} // namespace

TEST(InfoWindow, ShowsEachTextInPlaceOfTheOneBefore)
{
    const struct {
        std::string text, shown;
    } rows[] = {{"Press OK", "Press OK"},
                {"Wait...!", "Wait...!"}, // as wide as the one before: nothing of that may be left
                {"", "Wait...!"},
                {"Größe: 5 µm", "Gr\xf6\xdf"
                                "e: 5 \xb5m"},
                {"5 €, żółw 🐢", "5 ?, ?\xf3?w ?"},
                {"not \xc3 UTF-8 \xff", "not \xc3 UTF-8 \xff"},
                {std::string(10000, 'x'), std::string(10000, 'x')},
                {"i", "i"}};
    const CUtf8 locale;
    CTraceCapture trace;
    CTooltipWatch watch;
    CInfoWindow tooltip(3, 4, "", false);
    const Window window = watch.found();
    EXPECT_EQ("-2,-2 2x2", watch.box(window));
    EXPECT_FALSE(watch.viewable(window));
    tooltip.show();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 20));
        tooltip.changeText(row.text.c_str());
        EXPECT_TRUE(watch.shows(window, row.shown));
    }
    EXPECT_TRUE(watch.box(window).starts_with("3,4 "));
    EXPECT_TRUE(trace.errors().empty());
}

TEST(InfoWindow, MovesHidesAndSurvivesBeingCovered)
{
    CTooltipWatch watch;
    CInfoWindow tooltip(0, 0, "tip", false);
    const Window window = watch.found();
    tooltip.move(50, 60);
    tooltip.show();
    EXPECT_TRUE(watch.shows(window, "tip"));
    EXPECT_TRUE(watch.box(window).starts_with("50,60 "));
    const auto [width, height] = watch.sizeOf(window);
    // Top, left, height, width: exchanged.
    EXPECT_TRUE(tooltip.getRectangle().equalTo(Rect(60, 50, width, height)));
    tooltip.hide();
    EXPECT_TRUE(within(10s, [&] { return !watch.viewable(window); }));
    tooltip.setText("hidden");
    tooltip.show();
    EXPECT_TRUE(watch.shows(window, "hidden"));
    const Window cover = watch.add({.x = 40, .y = 50, .width = 100, .height = 100, .overrideRedirect = true});
    watch.destroy(cover);
    EXPECT_TRUE(watch.shows(window, "hidden"));
    tooltip.move(INT_MAX, INT_MIN);
    EXPECT_TRUE(within(10s, [&] { return watch.box(window).starts_with("32767,-32767 "); }));
}

TEST(InfoWindow, TakesTheFontWhereThereIsOne)
{
    char directory[] = "/tmp/fontsXXXXXX";
    ASSERT_TRUE(mkdtemp(directory));
    const std::string path = directory;
    // Any other font will do under that name: that for cursors looks like no text.
    std::ofstream(path + "/fonts.dir") << "0\n";
    std::ofstream(path + "/fonts.alias")
        << "\"-misc-fixed-medium-r-normal--20-200-75-75-c-100-iso8859-1\" \"cursor\"\n";
    {
        const COtherServer server({"-fp", path + ",built-ins"});
        CTooltipWatch watch;
        CInfoWindow tooltip(5, 5, "BDF", false);
        tooltip.move(5, 5);
        tooltip.show();
        EXPECT_TRUE(watch.shows(watch.found(), "BDF", "cursor"));
    }
    std::filesystem::remove_all(path);
}

TEST(InfoWindow, HundredsLeaveNothingBehind)
{
    CTooltipWatch watch;
    const auto windows = watch.windows();
    const long files = countOf("fd"), threads = countOf("task");
    CTraceCapture trace;
    for (int i = 0; i < 300; ++i) {
        CInfoWindow tooltip(0, 0, "tip", false);
        tooltip.move(i, i);
        tooltip.show();
        if (i % 3 == 1) {
            XDestroyWindow(watch.display(), watch.found());
            watch.sync();
            tooltip.changeText("nowhere");
        } else if (i % 3 == 2) {
            XKillClient(watch.display(), watch.found());
            watch.sync();
            tooltip.move(1, 1);
            tooltip.hide();
        }
    }
    EXPECT_EQ(windows, watch.windows());
    EXPECT_EQ(files, countOf("fd"));
    EXPECT_TRUE(within(10s, [&] { return countOf("task") == threads; }));
}

TEST(InfoWindow, ThreadsMayDoAnythingAtOnce)
{
    std::vector<std::thread> threads;
    std::atomic<long> last = 0;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i) {
                const long handle =
                    last.exchange(InfoWindows::add(std::make_unique<CInfoWindow>(0, 0, "tip", false)));
                if (const auto tooltip = InfoWindows::find(handle)) {
                    tooltip->show();
                    tooltip->changeText(std::string(static_cast<size_t>(i), 'x').c_str());
                    tooltip->move(i, i);
                    tooltip->getRectangle();
                }
                InfoWindows::remove(handle);
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_TRUE(InfoWindows::remove(last));
    EXPECT_FALSE(InfoWindows::remove(last));
}

TEST(InfoWindow, ALateCallForATooltipThatHasGoneMeetsNoOther)
{
    const CDisplayName none(":999"); // nothing of them but their handles matters
    std::set<long> handles;
    for (int i = 0; i < 1024; ++i) {
        const long handle = InfoWindows::add(std::make_unique<CInfoWindow>(0, 0, "tip", false));
        InfoWindows::remove(handle);
        handles.insert(handle);
    }
    EXPECT_EQ(1024U, handles.size());
}

TEST(InfoWindow, TheProcessOutlivesTheServer)
{
    std::optional<COtherServer> server(std::in_place, std::vector<std::string>{});
    CInfoWindow tooltip(0, 0, "tip", false);
    tooltip.show();
    server.reset();
    tooltip.changeText("still here");
    tooltip.hide();
    const CDisplayName none(":999");
    CInfoWindow nowhere(0, 0, "tip", false);
    nowhere.show();
    nowhere.move(1, 2);
    EXPECT_TRUE(nowhere.getRectangle().equalTo(Rect(2, 1, 20, 20)));
}
