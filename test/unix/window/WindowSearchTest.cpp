// The searches over trees of windows.
#include "session/Program.h"

#include <gtest/gtest.h>

#include <random>

#include "Scene.h"

#include "PlainSearch.h"
#include "unix/window/WindowManagerUnix.h"

namespace {
std::vector<Window> idsOf(const auto& windows)
{
    std::vector<Window> ids;
    for (const auto& window : windows)
        ids.push_back(window.getHandle());
    return ids;
}

/// Windows of every kind that the searches tell apart, at few places and in few sizes, so that they cover one
/// another.
class CRandomScene : public CScene {
public:
    explicit CRandomScene(unsigned seed) : m_random(seed) { fill(root(), 6, 0); }

    std::vector<Window> someWindows()
    {
        std::vector<Window> some;
        std::sample(m_windows.begin(), m_windows.end(), std::back_inserter(some), 8, m_random);
        return some;
    }
    int below(int limit) { return std::uniform_int_distribution(0, limit - 1)(m_random); }

private:
    void fill(Window parent, int most, int depth)
    {
        for (int count = below(most) + (depth == 0 ? 4 : 0); count > 0; --count) {
            const bool inputOnly = below(8) == 0;
            const Window window = add(parent, {.x = 20 * (below(9) - 2),
                                               .y = 20 * (below(9) - 2),
                                               .width = 40u * static_cast<unsigned>(1 + below(4)),
                                               .height = 40u * static_cast<unsigned>(1 + below(4)),
                                               .border = static_cast<unsigned>(below(3)) * 2,
                                               .mapped = below(6) != 0,
                                               .inputOnly = inputOnly,
                                               .overrideRedirect = below(4) == 0});
            m_windows.push_back(window);
            describe(window);
            if (!inputOnly && depth < 3)
                fill(window, 4, depth + 1);
        }
    }
    void describe(Window window)
    {
        static constexpr struct {
            const char *instance, *name;
        } classes[] = {{"app", "App"},   {"app", ""},      {"", "App"},   {"", ""},
                       {"kwin", "Kwin"}, {"kwin", "kwin"}, {"x", "Kwin"}, {"x", "VTXHighlighter"}};
        if (below(2) == 0) {
            const auto& hint = classes[below(std::ssize(classes))];
            setClass(window, hint.instance, hint.name);
        }
        if (below(3) == 0)
            XSetTransientForHint(display(), window,
                                 m_windows[static_cast<size_t>(below(static_cast<int>(m_windows.size())))]);
        sync();
    }

    std::mt19937 m_random;
    std::vector<Window> m_windows;
};

class RandomScene : public testing::TestWithParam<unsigned> {};

TEST_P(RandomScene, EverySearchAnswersAsThePlainAlgorithmDoes)
{
    CRandomScene scene(GetParam());
    Display* const display = walkDisplay();
    ASSERT_TRUE(display);
    for (int i = 0; i < 40; ++i) {
        Point point(scene.below(400) - 60, scene.below(400) - 60);
        EXPECT_EQ(PlainSearch::windowAtPoint(display, scene.root(), 0, 0, point.getx(), point.gety()),
                  CWindow(&point).getHandle())
            << point.getx() << "," << point.gety();
    }
    for (const Window window : scene.someWindows()) {
        const CWindow asked(static_cast<long>(window));
        Rect rect;
        asked.getRectangle(&rect);
        const PlainSearch::CBox box{rect.getLeft(), rect.getTop(), rect.getWidth(), rect.getHeight()};
        std::vector<Window> anywhere, topLevel;
        PlainSearch::windowsAtRect(display, scene.root(), box, anywhere);
        EXPECT_EQ(anywhere, idsOf(CWindow::windowsAt(rect)));
        EXPECT_EQ(anywhere.empty() ? 0 : anywhere.back(), CWindow(&rect).getHandle());
        PlainSearch::topLevelWindowsAtRect(display, scene.root(), box, topLevel);
        EXPECT_EQ(topLevel, idsOf(TopLevelWindow::topLevelWindowsAt(rect)));
        EXPECT_EQ(PlainSearch::childWindows(display, window), idsOf(asked.childWindows()));
    }
    std::vector<Window> all;
    PlainSearch::topLevelWindows(display, scene.root(), all);
    EXPECT_EQ(all, idsOf(TopLevelWindow::ownedWindows()));
}

/// The stack of the root's children after some of them were raised, one after the other.
std::vector<Window> raised(std::vector<Window> stack, const std::vector<Window>& windows)
{
    for (const Window window : windows)
        if (const auto at = std::find(stack.begin(), stack.end(), window); at != stack.end())
            std::rotate(at, at + 1, stack.end());
    return stack;
}

TEST_P(RandomScene, RaisingAWindowRaisesItsTransientsAfterIt)
{
    CRandomScene scene(GetParam() + 1000);
    Display* const display = walkDisplay();
    ASSERT_TRUE(display);
    for (const Window window : scene.someWindows()) {
        if (GetParent(display, window) != scene.root())
            continue;
        std::vector<Window> order;
        PlainSearch::transients(display, scene.root(), window, order);
        order.insert(order.begin(), window);
        const auto expected = raised(childrenOf(display, scene.root()), order);
        CWindow(static_cast<long>(window)).bringToTop();
        EXPECT_EQ(expected, childrenOf(display, scene.root()));
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomScene, testing::Range(1u, 16u));

TEST(WindowSearch, FindsMoreThanOneBatchDeep)
{
    CScene scene;
    const Window lowest = scene.add({.x = 10, .y = 10, .width = 30, .height = 30});
    for (int i = 0; i < 700; ++i)
        XMapWindow(scene.display(),
                   XCreateSimpleWindow(scene.display(), scene.root(), 100, 100, 20, 20, 0, 0, 0));
    scene.sync();
    Point inside(40, 40), outside(41, 40);
    EXPECT_EQ(lowest, CWindow(&inside).getHandle()); // its right and lower edge belong to it
    EXPECT_EQ(scene.root(), CWindow(&outside).getHandle());
    EXPECT_EQ(700u, CWindow::windowsAt(Rect(100, 100, 20, 20)).size());
}

/// Runs an array search with room for `max` and frees what it found.
template <class Element, class Search> int countWith(int max, Search search)
{
    std::vector<Element*> out(16, nullptr);
    const int count = search(max, out.data());
    int allocated = 0;
    for (Element* element : out) {
        allocated += element != nullptr;
        delete element;
    }
    EXPECT_EQ(std::max(count, 0), allocated) << "with room for " << max;
    return count;
}

TEST(WindowSearch, ASearchWithoutRoomOwnsNothing)
{
    CScene scene;
    const Window parent = scene.add({.width = 300, .height = 300});
    for (int i = 0; i < 3; ++i)
        scene.setClass(scene.add(parent, {.x = 10, .y = 10}), "app", "App");
    scene.add(parent, {.mapped = false});
    const Window kde = scene.add(parent, {.x = 10, .y = 10}); // topmost
    scene.setClass(kde, "kwin", "Kwin");
    Rect rect(10, 10, 50, 50);
    const CWindow window(static_cast<long>(parent));
    const TopLevelWindow topLevel;
    const auto children = [&](int max, CWindow** out) { return window.enumChildWindows(max, out); };
    const auto anywhere = [&](int max, CWindow** out) { return window.windowsAtRectangle(&rect, max, out); };
    const auto atRect = [&](int max, TopLevelWindow** out) {
        return topLevel.toplevelwindowsAtRectangle(&rect, max, out);
    };
    const auto owned = [&](int max, TopLevelWindow** out) { return topLevel.getOwnedWindows(max, out); };
    EXPECT_EQ(4, countWith<CWindow>(5, children));
    EXPECT_EQ(-1, countWith<CWindow>(4, children)); // the unmapped child counts
    EXPECT_EQ(4, countWith<CWindow>(4, anywhere));
    EXPECT_EQ(-1, countWith<CWindow>(3, anywhere));
    EXPECT_EQ(3, countWith<TopLevelWindow>(3, atRect));
    EXPECT_EQ(-1, countWith<TopLevelWindow>(2, atRect));
    EXPECT_EQ(0u, TopLevelWindow(&rect).getHandle());
    EXPECT_EQ(4, countWith<TopLevelWindow>(4, owned));
    EXPECT_EQ(-1, countWith<TopLevelWindow>(3, owned));
    XLowerWindow(scene.display(), kde);
    scene.sync();
    // The window manager's window takes room, if only at the end.
    EXPECT_EQ(-1, countWith<TopLevelWindow>(3, atRect));
    EXPECT_EQ(3, countWith<TopLevelWindow>(4, atRect));
}

// What happens when windows go while a walk is under way.

TEST(VanishingWindows, AChildThatVanishedAboveTheHitEndsTheSearch)
{
    CScene scene;
    Display* const display = walkDisplay();
    const Window hit = scene.add({});
    const Window elsewhere = scene.add({.x = 500});
    const Window gone = scene.add({});
    scene.destroy(gone);
    const Point point(25, 25);
    const auto answer = [&](std::vector<Window> children) {
        const auto child = childAt(display, {{scene.root(), 0, 0}, std::move(children)}, point);
        return child ? child->at.window : scene.root();
    };
    {
        const CTraceCapture trace;
        EXPECT_EQ(hit, answer({gone, hit, elsewhere})) << "below the hit nobody looks";
        EXPECT_EQ(std::vector<std::string>(), trace.errors());
    }
    const CTraceCapture trace;
    EXPECT_EQ(scene.root(), answer({hit, gone, elsewhere}));
    const std::vector<std::string> asXlib{"BadWindow (invalid Window parameter)/20, Minor Code: 0",
                                          "BadWindow (invalid Window parameter)/3, Minor Code: 0"};
    EXPECT_EQ(asXlib, trace.errors());
    EXPECT_EQ("BadWindow (invalid Window parameter) to X_GetWindowAttributes", takeXError());
    EXPECT_EQ("", takeXError());
}

TEST(VanishingWindows, WindowsThatGoBetweenTwoLevelsAreLeftOut)
{
    CScene scene;
    Display* const display = walkDisplay();
    const Window frame = scene.add({.width = 300, .height = 300});
    const Window lower = scene.add(frame, {.width = 200, .height = 200});
    const Window child = scene.add(lower, {});
    const Window kept = scene.add(frame, {});
    const Window grandchild = scene.add(kept, {});
    const Window sibling = scene.add(kept, {});
    std::vector<Window> met;
    const CTraceCapture trace;
    CWindowTree tree(display, frame);
    tree.read([&](Window window) { return askGeometry(display, window); },
              [&](CTreeWindow& entry, auto& answer) {
                  met.push_back(entry.window);
                  entry.chosen = entry.descend = answer.take() != nullptr;
                  if (entry.window == kept)
                      scene.destroy(grandchild);
              });
    EXPECT_EQ((std::vector<Window>{lower, kept, child, grandchild, sibling}), met);
    EXPECT_EQ((std::vector<Window>{kept, sibling, lower, child}), windowsOf(tree.chosen(EOrder::topFirst)));
    EXPECT_EQ(std::vector<std::string>{"BadDrawable (invalid Pixmap or Window parameter)/14, Minor Code: 0"},
              trace.errors());
}

TEST(VanishingWindows, AnErrorReadsTheSameWhetherXlibOrTheReaderMeetsIt)
{
    Display* const display = walkDisplay();
    const Window gone = 0x1fffffff;
    const CTraceCapture trace;
    Window root, parent, *children;
    unsigned count;
    XWindowAttributes attributes;
    XClassHint hint;
    int x, y;
    XQueryTree(display, gone, &root, &parent, &children, &count);
    XGetWindowAttributes(display, gone, &attributes);
    XGetClassHint(display, gone, &hint);
    XTranslateCoordinates(display, gone, DefaultRootWindow(display), 0, 0, &x, &y, &root);
    const auto xlib = trace.errors();
    childrenOf(display, gone);
    stateOf(display, gone);
    classOf(display, gone);
    placeOf(askPlace(display, gone).take().get());
    const auto both = trace.errors();
    ASSERT_EQ(4u, xlib.size());
    ASSERT_EQ(8u, both.size());
    EXPECT_EQ(xlib, std::vector<std::string>(both.begin() + 4, both.end()));
}

TEST(VanishingWindows, WhatStaysIsFoundWhileOthersComeAndGo)
{
    CScene scene;
    const Window lowest = scene.add({.x = 600, .y = 600});
    scene.setClass(lowest, "stays", "Stays");
    const Window inner = scene.add(lowest, {.x = 7, .y = 7, .width = 11, .height = 11});
    CProgram churn({std::string(GX_APPS_DIR) + "/windowchurn"});
    churn.waitForLine("ready ");
    const Rect rect(607, 607, 11, 11);
    const auto has = [](const auto& windows, Window wanted) {
        return std::ranges::any_of(windows, [&](const auto& window) { return window.getHandle() == wanted; });
    };
    for (int i = 0; i < 60; ++i) {
        ASSERT_TRUE(has(CWindow::windowsAt(rect), inner));
        ASSERT_TRUE(has(TopLevelWindow::ownedWindows(), lowest));
        Point point(610, 610);
        const Window found = CWindow(&point).getHandle();
        ASSERT_TRUE(found == inner || found == scene.root() || found == lowest) << found;
        CWindow(static_cast<long>(lowest)).bringToTop();
    }
}
} // namespace
