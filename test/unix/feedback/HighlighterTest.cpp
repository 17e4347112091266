// Frames, as a second client of the X server sees them.
#include "session/Program.h"

#include <atomic>
#include <climits>
#include <random>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

#include "FrameWatch.h"

#include "unix/feedback/HighlighterUnix.h"

using namespace std::chrono_literals;

namespace {
/// A frame as Java holds it: a window id, which may name the current frame or not.
struct CFrame {
    CFrame(int x, int y, int width, int height, int thickness = 5, int interval = 0, int duration = 0,
           int green = 0)
    {
        const auto lock = CHighlighter::lock();
        window =
            (new CHighlighter(x, y, width, height, 255, green, 0, thickness, interval, duration))->window();
        CHighlighter::current(window)->isVisible(); // returns once the server has done it
    }
    template <class Operation> void with(Operation operation) const
    {
        auto lock = CHighlighter::lock();
        if (CHighlighter* const current = CHighlighter::current(window))
            operation(*current, lock);
    }
    bool isVisible() const
    {
        bool visible = false;
        with([&](CHighlighter& frame, auto&) { visible = frame.isVisible(); });
        return visible;
    }
    /// Returns once the server has done it.
    void move(int x, int y, int width, int height) const
    {
        with([&](CHighlighter& frame, auto&) {
            frame.move(x, y, width, height);
            frame.isVisible();
        });
    }
    void remove() const
    {
        with([](CHighlighter& frame, auto&) { CHighlighter::remove(&frame); });
    }
    void join() const
    {
        with([](CHighlighter& frame, auto& lock) { CHighlighter::join(lock, frame); });
    }
    Window window;
};
} // namespace

TEST(Highlighter, CutsTheWindowDownToItsBorder)
{
    constexpr struct {
        const char* why;
        int x, y, width, height, thickness;
        const char *box, *shape;
    } rows[] = {
        {"a frame", 10, 20, 100, 50, 5, "10,20 100x50", "0,0 100x5 | 0,5 5x40 | 95,5 5x40 | 0,45 100x5"},
        {"twice the thickness fits", 1, 1, 10, 12, 5, "1,1 10x12", "0,0 10x12"},
        {"too thick for its width", 1, 1, 4, 20, 5, "1,1 4x20", "0,0 4x1 | 0,1 1x18 | 3,1 1x18 | 0,19 4x1"},
        {"too thick for its height", 1, 1, 20, 9, 5, "1,1 20x9", "0,0 20x1 | 0,1 1x7 | 19,1 1x7 | 0,8 20x1"},
        {"one pixel", 5, 5, 1, 1, 5, "5,5 1x1", "0,0 1x1"},
        {"a line", 5, 5, 1, 30, 5, "5,5 1x30", "0,0 1x30"},
        {"no thickness", 5, 5, 40, 40, 0, "5,5 40x40", ""},
        {"less than none", 5, 5, 40, 40, -7, "5,5 40x40", ""},
        {"the thickest", 5, 5, 9, 3, INT_MAX, "5,5 9x3", "0,0 9x1 | 0,1 1x1 | 8,1 1x1 | 0,2 9x1"},
        {"nothing", 30, 30, 0, 0, 5, "-2,-2 2x2", "0,0 2x2"},
        {"no width", 30, 30, 0, 30, 5, "-2,-2 2x2", "0,0 2x2"},
        {"less than no height", 30, 30, 30, -30, 5, "-2,-2 2x2", "0,0 2x2"},
        {"beyond 16 bits", 70000, -70000, 100000, 20, 1, "32767,-32768 32767x20",
         "0,0 32767x1 | 0,1 1x18 | 32766,1 1x18 | 0,19 32767x1"},
        {"as large as can be", INT_MIN, INT_MIN, INT_MAX, INT_MAX, 1, "-32768,-32768 32767x32767",
         "0,0 32767x1 | 0,1 1x32765 | 32766,1 1x32765 | 0,32766 32767x1"},
    };
    CWatcher watcher;
    CTraceCapture trace;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const CFrame frame(row.x, row.y, row.width, row.height, row.thickness);
        EXPECT_TRUE(frame.isVisible());
        EXPECT_EQ(row.box, watcher.box(frame.window));
        EXPECT_EQ(row.shape, watcher.shape(frame.window, ShapeBounding));
        EXPECT_EQ(row.shape, watcher.shape(frame.window, ShapeClip));
        frame.remove();
        EXPECT_TRUE(watcher.isGone(frame.window));
    }
    EXPECT_TRUE(trace.errors().empty());
}

TEST(Highlighter, MovesWithoutFlickeringWhereNothingChanges)
{
    CWatcher watcher;
    const CFrame frame(10, 10, 100, 100);
    frame.move(10, 10, 100, 100);
    EXPECT_EQ("m", watcher.events(frame.window));
    frame.move(20, 10, 100, 100);
    EXPECT_EQ("mucm", watcher.events(frame.window));
    frame.move(20, 10, 30, 12);
    EXPECT_EQ("20,10 30x12", watcher.box(frame.window));
    EXPECT_EQ("0,0 30x5 | 0,5 5x2 | 25,5 5x2 | 0,7 30x5", watcher.shape(frame.window, ShapeBounding));
    frame.move(20, 10, 0, 12);
    frame.move(20, 10, 8, 12);
    EXPECT_EQ("0,0 8x1 | 0,1 1x10 | 7,1 1x10 | 0,11 8x1", watcher.shape(frame.window, ShapeClip));
    frame.with([](CHighlighter& current, auto&) { current.hide(); });
    EXPECT_FALSE(frame.isVisible());
    frame.remove();
}

TEST(Highlighter, GoesByItselfWhenItsTimeHasCome)
{
    constexpr struct {
        int interval, duration;
        const char* events;
        int atLeast; // milliseconds
    } rows[] = {{0, 300, "mud", 300},    {200, 500, "mumud", 600}, {100, 0, "mud", 0},
                {-5, 100, "mud", 100},   {0, 1999, "mud", 1000}, // the rest of 999 modulo 1 second
                {1999, 100, "mud", 1000}};
    CWatcher watcher;
    CTraceCapture trace;
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.interval) + " " + std::to_string(row.duration));
        const auto start = std::chrono::steady_clock::now();
        const CFrame frame(10, 10, 60, 60, 5, row.interval, row.duration);
        frame.join();
        const auto taken = (std::chrono::steady_clock::now() - start) / 1ms;
        EXPECT_LE(row.atLeast, taken);
        EXPECT_GT(row.atLeast + 990, taken); // coarse: others use this machine too
        EXPECT_TRUE(watcher.isGone(frame.window));
        EXPECT_EQ(row.events, watcher.events(frame.window));
        EXPECT_FALSE(frame.isVisible());
    }
    EXPECT_TRUE(trace.has("HighlighterUnix: Highlight use case not implemented"));
}

TEST(Highlighter, OnlyTheLastFrameCanBeReached)
{
    CWatcher watcher;
    const CFrame timed(10, 10, 60, 60, 5, 0, 300);
    const CFrame last(10, 10, 60, 60);
    CHighlighter* const object = CHighlighter::current(last.window);
    timed.remove();
    EXPECT_TRUE(watcher.viewable(timed.window));
    EXPECT_TRUE(watcher.isGone(timed.window));
    EXPECT_FALSE(last.isVisible()); // the end of any timed frame leaves no current one
    EXPECT_TRUE(watcher.viewable(last.window));
    const auto lock = CHighlighter::lock();
    CHighlighter::remove(object);
}

TEST(Highlighter, AFrameThatSomebodyElseDestroysIsSurvived)
{
    CWatcher watcher;
    CTraceCapture trace;
    const CFrame last(10, 10, 60, 60);
    XDestroyWindow(watcher.display(), last.window);
    watcher.sync();
    EXPECT_FALSE(last.isVisible());
    last.move(1, 1, 10, 10);
    last.remove();
    last.remove();
    EXPECT_FALSE(trace.errors().empty()); // and the process lives
}

TEST(Highlighter, FlashesARedFrameAtExchangedCoordinates)
{
    CWatcher watcher;
    const auto before = watcher.windows();
    std::thread flash([] { CRootWindow::highlight(Rect(200, 100, 40, 60)); }); // top, left, height, width
    ASSERT_TRUE(within(5s, [&] { return watcher.windows().size() > before.size(); }));
    const Window frame = watcher.windows().back();
    EXPECT_EQ("200,100 60x40", watcher.box(frame));
    flash.join();
    EXPECT_TRUE(watcher.isGone(frame));
    EXPECT_EQ("mumumumumud", watcher.events(frame));
}

TEST(Highlighter, WindowSearchesLookThroughFrames)
{
    CWatcher watcher;
    const Window below = watcher.add({.x = 100, .y = 100, .width = 80, .height = 80});
    const CFrame frame(90, 90, 100, 100, 40);
    Point inside(110, 110);
    EXPECT_EQ(below, CWindow(&inside).getHandle());
    const Window other = watcher.add({.x = 300});
    watcher.setClass(other, "VTXHighlighter", "vtxhighlighter");
    const Window gone = watcher.add({.x = 300});
    watcher.destroy(gone);
    EXPECT_TRUE(CHighlighter::isHighlighter(frame.window));
    for (const Window window : {below, other, gone, watcher.root(), Window(0)})
        EXPECT_FALSE(CHighlighter::isHighlighter(window));
    frame.remove();
}

TEST(Highlighter, HundredsLeaveNothingBehind)
{
    CWatcher watcher;
    const auto windows = watcher.windows();
    const long files = countOf("fd"), threads = countOf("task");
    for (int i = 0; i < 300; ++i) {
        // Of every four, one stays, one goes by itself, one is removed early and one long before its time.
        const CFrame frame(i, i, 50, 50, 5, i % 4 == 2 ? 1 : 0,
                           i % 4 == 0   ? 0
                           : i % 4 == 3 ? 3'600'000
                                        : 5,
                           i % 256);
        i % 4 == 1 ? frame.join() : frame.remove();
    }
    EXPECT_TRUE(within(10s, [&] { return watcher.windows() == windows && countOf("task") == threads; }));
    EXPECT_EQ(files, countOf("fd"));
}

TEST(Highlighter, ThreadsMayDoAnythingAtOnce)
{
    CWatcher watcher;
    const auto windows = watcher.windows();
    std::atomic<Window> last = 0;
    const auto work = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 150; ++i) {
            CFrame frame(10, 10, 60, 60, 5, static_cast<int>(random() % 3),
                         static_cast<int>(1 + random() % 4));
            frame.window = last.exchange(frame.window);
            frame.move(static_cast<int>(random() % 50), 10, 60, 60);
            CHighlighter::isHighlighter(frame.window);
            random() % 2 ? frame.remove() : frame.join();
        }
    };
    std::vector<std::thread> threads;
    for (unsigned seed = 1; seed <= 4; ++seed)
        threads.emplace_back(work, seed);
    for (auto& thread : threads)
        thread.join();
    EXPECT_TRUE(within(10s, [&] { return watcher.windows() == windows; }));
}

/// Run by the next test in another process, whose library finds that other server when it is loaded.
TEST(Highlighter, DISABLED_OnAServerWithoutShapesAndWithFewColours)
{
    CWatcher watcher;
    CTraceCapture trace;
    for (int i = 0; i < 300; ++i)
        CFrame(i, i, 50, 50, 5, 0, 0, i % 256).remove();
    EXPECT_FALSE(trace.has("Couldn't allocate color"));
    const CFrame frame(10, 10, 50, 50, 5, 0, 0, 0x1000000);
    EXPECT_TRUE(watcher.viewable(frame.window));
    EXPECT_TRUE(trace.has("X11 Shape extension not available!"));
    EXPECT_TRUE(trace.has("Couldn't allocate color RGB:ff/1000000/00!"));
}

namespace {
/// Hands everything on between its clients and an X server, which it lets have no extension "SHAPE": no
/// server can be told to leave that out.
class CWithoutShapes {
public:
    explicit CWithoutShapes(const std::string& server)
        : name(":" + std::to_string(10000 + getpid())),
          m_listen(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), m_address(addressOf(name)),
          m_server(addressOf(server))
    {
        EXPECT_EQ(0, bind(m_listen, reinterpret_cast<const sockaddr*>(&m_address), sizeof m_address));
        listen(m_listen, 8);
        m_accept = std::thread([this] {
            for (int client; (client = accept4(m_listen, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;)
                m_clients.emplace_back([this, client] { serve(client); });
        });
    }
    ~CWithoutShapes()
    {
        shutdown(m_listen, SHUT_RDWR);
        m_accept.join();
        for (auto& client : m_clients)
            client.join();
        close(m_listen);
        unlink(m_address.sun_path);
    }
    const std::string name;

private:
    static sockaddr_un addressOf(const std::string& display)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ("/tmp/.X11-unix/X" + display.substr(1)).copy(address.sun_path, sizeof address.sun_path - 1);
        return address;
    }
    static bool forward(int from, int to)
    {
        char bytes[65536];
        const ssize_t count = read(from, bytes, sizeof bytes);
        const std::string_view text(bytes, static_cast<size_t>(std::max<ssize_t>(count, 0)));
        if (const auto at = text.find("SHAPE"); at != text.npos)
            bytes[at] = '-';
        return count > 0 && send(to, bytes, text.size(), MSG_NOSIGNAL) == count;
    }
    void serve(int client) const
    {
        const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(0, connect(server, reinterpret_cast<const sockaddr*>(&m_server), sizeof m_server));
        for (pollfd ends[2] = {{client, POLLIN, 0}, {server, POLLIN, 0}}; poll(ends, 2, -1) > 0;)
            if ((ends[0].revents && !forward(client, server)) ||
                (ends[1].revents && !forward(server, client)))
                break;
        close(server);
        close(client);
    }

    const int m_listen;
    const sockaddr_un m_address;
    const sockaddr_un m_server;
    std::thread m_accept;
    std::vector<std::thread> m_clients;
};
} // namespace

TEST(Highlighter, WorksWithoutShapesAndFreesItsColours)
{
    CXvfb server({"-screen", "0", "640x480x8", "-cc", "3"});
    const CWithoutShapes without(server.name());
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    CProgram other({"/usr/bin/env", "DISPLAY=" + without.name, self, "--gtest_also_run_disabled_tests",
                    "--gtest_filter=*DISABLED_On*"});
    std::string output;
    while (const auto line = other.line(30s))
        output += *line + "\n";
    EXPECT_EQ(0, other.wait(30s)) << output;
}
