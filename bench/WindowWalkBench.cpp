// Window searches on a desktop of 500 top-level windows with four children each, bare and under a window
// manager: against the same requests sent by XCB all at once, their windows known beforehand ("pipelined"),
// and against one waiting Xlib call after the other ("waiting").
//
// On fixed processors, since a round trip that wakes another one costs several times as much. processors:1
// has server, window manager and searches on the same, processors:2 has the searches on one of their own.
#include "Compare.h"
#include "PlainSearch.h"
#include "session/Program.h"

#include <map>
#include <memory>
#include <optional>
#include <sched.h>
#include <thread>

#include "include/GxGlobals.h"
#include "unix/window/WindowManagerUnix.h"

#include <X11/Xutil.h>

using namespace std::chrono_literals;

namespace {
constexpr int topLevels = 500;
constexpr int childrenEach = 4;
constexpr int size = 40;

void pinTo(int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(processor, &set);
    sched_setaffinity(0, sizeof set, &set);
}

/// What the server holds and where it runs. All that a desktop starts shares processor 0.
class CDesktop {
public:
    explicit CDesktop(bool managed)
    {
        pinTo(0);
        m_server.emplace();
        setenv("DISPLAY", m_server->name().c_str(), 1);
        m_display = XOpenDisplay(nullptr);
        if (managed) {
            m_manager.emplace(
                std::vector<std::string>{"openbox", "--sm-disable", "--startup", "echo started"});
            m_manager->waitForLine("started", 60s);
        }
        for (int i = 0; i < topLevels; ++i)
            addTopLevel(i);
        settle();
    }

    Display* display() const { return m_display; }
    Window root() const { return DefaultRootWindow(m_display); }
    /// All windows below the root.
    const std::vector<Window>& windows() const { return m_windows; }
    Window lowest() const { return m_lowest; }
    Rect boxOf(Window window) const
    {
        Rect box;
        CWindow(static_cast<long>(window)).getRectangle(&box);
        return box;
    }

private:
    void addTopLevel(int i)
    {
        XClassHint hint{const_cast<char*>("bench"), const_cast<char*>("Bench")};
        const Window window =
            XCreateSimpleWindow(m_display, root(), i % 25 * size, i / 25 * size, size, size, 0, 0, 0);
        XSetClassHint(m_display, window, &hint);
        for (int child = 0; child < childrenEach; ++child)
            XCreateSimpleWindow(m_display, window, child * 9, 10, 9, 10, 0, 0, 0);
        XMapSubwindows(m_display, window);
        XMapWindow(m_display, window);
        if (i == 0)
            m_lowest = window;
    }
    /// Waits until all windows are viewable, then notes what there is.
    void settle()
    {
        g_display = m_display;
        XSync(m_display, False);
        while (TopLevelWindow::ownedWindows().size() < topLevels)
            std::this_thread::sleep_for(100ms);
        CWindowTree tree(walkDisplay(), root());
        tree.read([](Window) { return 0; }, [](CTreeWindow& entry, int) { entry.descend = true; });
        tree.visit(EOrder::bottomFirst, [&](auto& entry) { m_windows.push_back(entry.window); });
    }

    std::optional<CXvfb> m_server;
    std::optional<CProgram> m_manager;
    Display* m_display = nullptr;
    Window m_lowest = 0;
    std::vector<Window> m_windows;
};

/// The desktop that a benchmark asks for, made once.
CDesktop& desktopFor(benchmark::State& state)
{
    static std::map<bool, std::unique_ptr<CDesktop>> s_desktops;
    auto& desktop = s_desktops[state.range(0) != 0];
    if (!desktop)
        desktop = std::make_unique<CDesktop>(state.range(0) != 0);
    g_display = desktop->display();
    pinTo(state.range(1) == 1 ? 0 : 1);
    return *desktop;
}

/// The requests of a search through the whole tree, without a thought of what they are for: attributes,
/// geometry and children of every window, and its name where the search wants it.
template <bool isNamed> void pipelinedTree(const CDesktop& desktop)
{
    auto* const connection = XGetXCBConnection(desktop.display());
    struct CSent {
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_geometry_cookie_t geometry;
        xcb_get_property_cookie_t name;
        xcb_query_tree_cookie_t tree;
    };
    std::vector<CSent> sent;
    sent.reserve(desktop.windows().size());
    for (const Window id : desktop.windows()) {
        const auto window = static_cast<xcb_window_t>(id);
        CSent& request = sent.emplace_back();
        request.attributes = xcb_get_window_attributes(connection, window);
        request.geometry = xcb_get_geometry(connection, window);
        if (isNamed)
            request.name =
                xcb_get_property(connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, BUFSIZ);
        request.tree = xcb_query_tree(connection, window);
    }
    for (const CSent& request : sent) {
        std::free(xcb_get_window_attributes_reply(connection, request.attributes, nullptr));
        std::free(xcb_get_geometry_reply(connection, request.geometry, nullptr));
        if (isNamed)
            std::free(xcb_get_property_reply(connection, request.name, nullptr));
        std::free(xcb_query_tree_reply(connection, request.tree, nullptr));
    }
}
constexpr auto pipelinedRect = pipelinedTree<false>;
constexpr auto pipelinedTopLevels = pipelinedTree<true>;

/// The requests of a search at a point that lies in the lowest window: the tree, then all geometries, on each
/// level.
void pipelinedPoint(const CDesktop& desktop, const std::vector<Window>& path)
{
    auto* const connection = XGetXCBConnection(desktop.display());
    for (const Window window : path) {
        const auto children = childrenOf(desktop.display(), window);
        std::vector<xcb_get_geometry_cookie_t> sent;
        for (const Window child : children)
            sent.push_back(xcb_get_geometry(connection, static_cast<xcb_window_t>(child)));
        for (const auto& request : sent)
            std::free(xcb_get_geometry_reply(connection, request, nullptr));
    }
}

/// The windows from the root down to `window`.
std::vector<Window> pathTo(const CDesktop& desktop, Window window)
{
    std::vector<Window> path{window};
    while (path.back() != desktop.root())
        path.push_back(GetParent(desktop.display(), path.back()));
    std::reverse(path.begin(), path.end());
    return path;
}

/// In the lowest window, which none other covers, and in one of its children.
Point lowestPoint(const CDesktop& desktop)
{
    const Rect box = desktop.boxOf(desktop.lowest());
    return {box.getLeft() + 3, box.getTop() + 13};
}

void pointAgainstPipelined(benchmark::State& state)
{
    CDesktop& desktop = desktopFor(state);
    Point point = lowestPoint(desktop);
    const auto path = pathTo(desktop, CWindow(&point).getHandle());
    compare(
        state, [&] { CWindow found(&point); }, [&] { pipelinedPoint(desktop, path); });
    state.counters["windows"] = static_cast<double>(desktop.windows().size());
}

void pointAgainstWaiting(benchmark::State& state)
{
    CDesktop& desktop = desktopFor(state);
    Point point = lowestPoint(desktop);
    compare(
        state, [&] { CWindow found(&point); },
        [&] {
            PlainSearch::windowAtPoint(desktop.display(), desktop.root(), 0, 0, point.getx(), point.gety());
        });
}

void rectAgainstPipelined(benchmark::State& state)
{
    CDesktop& desktop = desktopFor(state);
    const Rect rect = desktop.boxOf(desktop.lowest());
    compare(
        state, [&] { CWindow::windowsAt(rect); }, [&] { pipelinedRect(desktop); });
    state.counters["windows"] = static_cast<double>(desktop.windows().size());
}

void rectAgainstWaiting(benchmark::State& state)
{
    CDesktop& desktop = desktopFor(state);
    const Rect rect = desktop.boxOf(desktop.lowest());
    compare(
        state, [&] { CWindow::windowsAt(rect); },
        [&] {
            std::vector<Window> found;
            PlainSearch::windowsAtRect(desktop.display(), desktop.root(),
                                       {rect.getLeft(), rect.getTop(), rect.getWidth(), rect.getHeight()},
                                       found);
        });
}

void topLevelsAgainstPipelined(benchmark::State& state)
{
    CDesktop& desktop = desktopFor(state);
    compare(
        state, [&] { TopLevelWindow::ownedWindows(); }, [&] { pipelinedTopLevels(desktop); });
}

void topLevelRectAgainstPipelined(benchmark::State& state)
{
    CDesktop& desktop = desktopFor(state);
    const Rect rect = desktop.boxOf(desktop.lowest());
    compare(
        state, [&] { TopLevelWindow::topLevelWindowsAt(rect); }, [&] { pipelinedRect(desktop); });
}

void topLevelsAgainstWaiting(benchmark::State& state)
{
    CDesktop& desktop = desktopFor(state);
    compare(
        state, [&] { TopLevelWindow::ownedWindows(); },
        [&] {
            std::vector<Window> found;
            PlainSearch::topLevelWindows(desktop.display(), desktop.root(), found);
        });
}

void desktops(benchmark::internal::Benchmark* benchmark)
{
    benchmark->ArgNames({"managed", "processors"})->ArgsProduct({{0, 1}, {1, 2}})->UseManualTime();
}
// Waiting for each of 40 000 windows takes many seconds: once is enough there.
void desktopsOnce(benchmark::internal::Benchmark* benchmark)
{
    desktops(benchmark);
    benchmark->Iterations(1);
}
BENCHMARK(pointAgainstPipelined)->Apply(desktops)->Iterations(101);
BENCHMARK(rectAgainstPipelined)->Apply(desktops)->Iterations(11);
BENCHMARK(topLevelsAgainstPipelined)->Apply(desktops)->Iterations(11);
BENCHMARK(topLevelRectAgainstPipelined)->Apply(desktops)->Iterations(11);
BENCHMARK(pointAgainstWaiting)->Apply(desktops)->Iterations(11);
BENCHMARK(rectAgainstWaiting)->Apply(desktopsOnce);
BENCHMARK(topLevelsAgainstWaiting)->Apply(desktopsOnce);
} // namespace
