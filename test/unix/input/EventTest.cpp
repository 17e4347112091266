// Mouse and key events as a window receives them, and what becomes of those that cannot be played.
#include "session/Program.h"
#include "unix/input/EventManager.h"
#include "unix/input/HotKeyCounter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>

#include "EventWindow.h"

namespace {
using Kind = MouseEvent::Kind;
constexpr int allKeys = MouseEvent::WithShift | MouseEvent::WithControl | MouseEvent::WithAlt;

CMouseTarget at(int x, int y, long window = 0, long topLevel = 0)
{
    const CWindow target(window);
    const TopLevelWindow top(topLevel);
    return {Point(x, y), &target, &top};
}

CMouseTarget nowhere(long window = 0)
{
    const CWindow target(window);
    const TopLevelWindow none;
    return {std::nullopt, &target, &none};
}

int play(int kind, const CMouseTarget& start, int count = 1, int modifiers = 0, int wheel = 0, int delay = 0,
         const CMouseTarget& end = {})
{
    MouseEvent event(0, kind, count, start, end, modifiers, delay, wheel);
    event.emit();
    EXPECT_EQ(event.status(), Event::s_playbackStatus);
    return event.status();
}

int press(int kind, unsigned long keysym, long window = 0, long topLevel = 0)
{
    KeyEvent(0, kind, static_cast<int>(keysym), static_cast<const char*>(nullptr), CWindow(window),
             TopLevelWindow(topLevel))
        .emit();
    return Event::s_playbackStatus;
}

int type(const char* text, int kind = KeyEvent::KeyString, long window = 0)
{
    KeyEvent(0, kind, 0, text, CWindow(window), TopLevelWindow()).emit();
    return Event::s_playbackStatus;
}

class EventTest : public testing::Test {
protected:
    void SetUp() override
    {
        Event::setDelays(0, 0, 0, 0, 0, 0);
        play(Kind::Move, at(0, 0));
        m_window.events();
    }
    void TearDown() override
    {
        Event::setDelays(0, 0, 0, 1, 10, 0);
        MouseEvent::setMouseMoveInterpolationPx(5);
    }

    CEventWindow m_window{100, 100, 200, 200};
};

TEST_F(EventTest, MouseKindsArriveInOrderWithTheirModifiers)
{
    constexpr struct {
        int kind, count, modifiers, wheel;
        const char* events;
    } rows[] = {
        {Kind::Click, 1, 0, 0, "+1 -1"},
        {Kind::Click, 1, MouseEvent::MiddleButton, 0, "+2 -2"},
        {Kind::Click, 1, MouseEvent::RightButton | MouseEvent::MiddleButton, 0, "+3 -3"},
        {Kind::Click, 0, 0, 0, ""},
        {Kind::Click, 1, allKeys, 0,
         "+Shift_L S+Control_L SC+Alt_L SCA+1 SCA-1 SCA-Alt_L SC-Control_L S-Shift_L"},
        {Kind::Press, 1, MouseEvent::WithShift, 0, "+Shift_L S+1 S-Shift_L"},
        {Kind::Release, 1, MouseEvent::WithShift, 0, "+Shift_L S-1 S-Shift_L"},
        {Kind::Move, 1, MouseEvent::WithAlt, 0, "+Alt_L A-Alt_L"},
        {Kind::Wheel, 1, 0, -3, "+5 -5 +5 -5 +5 -5"},
        {Kind::Wheel, 1, MouseEvent::WithControl, 1, "+Control_L C+4 C-4 C-Control_L"},
        {Kind::Wheel, 1, 0, 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.events);
        EXPECT_EQ(PlaybackDone,
                  play(row.kind, at(10, 10, m_window.id()), row.count, row.modifiers, row.wheel));
        EXPECT_EQ(row.events, m_window.events());
    }
    EXPECT_EQ(PlaybackUnknownKind, play(7, at(10, 10, m_window.id()), 1, MouseEvent::WithShift));
    EXPECT_EQ("+Shift_L S-Shift_L", m_window.events());
}

TEST_F(EventTest, EveryClickButTheFirstWaitsATenthOfASecond)
{
    Event::setDelays(50, 20, 0, -1, -1, -1);
    ASSERT_EQ(PlaybackDone, play(Kind::Click, at(10, 10, m_window.id()), 3));
    ASSERT_EQ("+1 -1 +1 -1 +1 -1", m_window.events());
    const auto& presses = m_window.presses();
    const auto& releases = m_window.releases();
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_GE(releases[i] - presses[i], 18U);
        if (i > 0) {
            EXPECT_GE(presses[i] - releases[i - 1], 95U);
        }
    }
}

TEST_F(EventTest, AnInterpolatedMoveRunsPastItsTargetAndComesBack)
{
    MouseEvent::setMouseMoveInterpolationPx(4);
    MouseEvent::setMouseMoveInterpolationPx(0);
    play(Kind::Move, at(10, 10, m_window.id()));
    m_window.events(true);
    EXPECT_EQ(PlaybackDone, play(Kind::Hover, at(20, 10, m_window.id())));
    EXPECT_EQ("14,10 18,10 22,10 17,10 21,10 16,10 20,10", m_window.events(true));
    EXPECT_EQ(PlaybackDone, play(Kind::Hover, at(20, 10, m_window.id())));
    EXPECT_EQ("", m_window.events(true));
}

TEST_F(EventTest, ADragClicksFirstAndMovesInStepsWithTheButtonDown)
{
    MouseEvent::setMouseMoveInterpolationPx(10);
    play(Kind::Move, at(50, 50, m_window.id()));
    m_window.events();
    EXPECT_EQ(PlaybackDone,
              play(Kind::Drag, at(50, 50, m_window.id()), 2, 0, 0, 0, at(70, 50, m_window.id())));
    EXPECT_EQ("+1 -1 +1 60,50 70,50 -1", m_window.events(true));
    EXPECT_GE(m_window.presses()[0] + 5000, m_window.releases()[1]);
}

TEST_F(EventTest, TargetsAreChecked)
{
    CEventWindow covering(250, 100, 50, 50);
    CEventWindow gone(400, 400, 10, 10);
    gone.destroy();
    CEventWindow inner(10, 10, 50, 50, static_cast<Window>(m_window.id()));
    const long window = m_window.id();
    const struct {
        const char* why;
        int status;
        CMouseTarget target;
    } rows[] = {
        {"a point of the screen", PlaybackDone, at(5, 5)},
        {"the edge of the screen belongs to it", PlaybackDone, at(1280, 1024)},
        {"beyond the screen", PlaybackOffScreen, at(1281, 5)},
        {"before the screen", PlaybackOffScreen, at(5, -1)},
        {"no point", PlaybackNoPoint, nowhere()},
        {"a window without a point", PlaybackNoPoint, nowhere(window)},
        {"in the window", PlaybackDone, at(100, 100, window)},
        {"beside the window", PlaybackOutsideTarget, at(201, 10, window)},
        {"covered by another one", PlaybackTargetCovered, at(160, 10, window)},
        {"covered by its own child", PlaybackTargetCovered, at(20, 20, window)},
        {"a child", PlaybackDone, at(5, 5, inner.id())},
        {"a child in its top-level window", PlaybackDone, at(5, 5, inner.id(), window)},
        {"a child in another one", PlaybackOtherTopLevel, at(5, 5, inner.id(), covering.id())},
        {"a window that has gone", PlaybackTargetNotShown, at(5, 5, gone.id())},
        {"a top-level window that has gone", PlaybackTargetNotShown, at(100, 100, window, gone.id())},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(row.status, play(Kind::Move, row.target));
        EXPECT_EQ(row.status, play(Kind::Drag, at(5, 5), 1, 0, 0, 0, row.target));
    }
    for (const int kind : {Kind::Release, Kind::Hover, Kind::Wheel})
        EXPECT_EQ(PlaybackNoPoint, play(kind, nowhere()));
    EXPECT_EQ(PlaybackDone, play(Kind::Release, nowhere(window)));
}

TEST_F(EventTest, AKeyGoesToTheWindowThatItNames)
{
    CEventWindow other(400, 100, 50, 50);
    CEventWindow inner(10, 10, 50, 50, static_cast<Window>(m_window.id()));
    EXPECT_EQ(PlaybackDone, press(KeyEvent::Press, XK_a, inner.id()));
    EXPECT_EQ(PlaybackDone, press(KeyEvent::Release, XK_a));
    EXPECT_EQ("+a -a", inner.events());
    EXPECT_EQ(PlaybackDone, type("+b", KeyEvent::KeyString, other.id()));
    EXPECT_EQ("", inner.events());
    EXPECT_NE(std::string::npos, other.events().find("+Shift_L S+b S-b S-Shift_L"));
    EXPECT_EQ(PlaybackDone, press(KeyEvent::Press, XK_Shift_L, inner.id(), m_window.id()));
    EXPECT_EQ(PlaybackDone, press(KeyEvent::Release, XK_Shift_L, inner.id(), m_window.id()));
    EXPECT_EQ(PlaybackOtherTopLevel, press(KeyEvent::Press, XK_a, inner.id(), other.id()));
    EXPECT_EQ("+Shift_L S-Shift_L", inner.events());
    other.destroy();
    EXPECT_EQ(PlaybackDone, press(KeyEvent::Release, XK_a, other.id()));
}

TEST_F(EventTest, AFailedKeyEventSaysWhy)
{
    EXPECT_EQ(PlaybackFailed, type("{"));
    EXPECT_EQ(PlaybackUnknownKind, press(5, XK_a));
    EXPECT_EQ(PlaybackDone, press(KeyEvent::Press, 0x1004E00)); // on no key
    EXPECT_EQ(PlaybackDone, press(KeyEvent::Press, 0xFFFFFFFF));
    EXPECT_EQ(PlaybackDone, type("{vk123456}"));
    m_window.events();
    EXPECT_EQ(PlaybackUnknownKind, press(KeyEvent::Press, 0)); // Xlib knows a key without keysyms for it
    EXPECT_EQ(PlaybackUnknownKind, press(KeyEvent::KeyString, XK_a));
    EXPECT_EQ(PlaybackUnknownKind, type("a", KeyEvent::Press));
    EXPECT_EQ("", m_window.events());
}

TEST_F(EventTest, EveryEventKnowsItsOwnOutcomeWhileOthersPlay)
{
    std::vector<std::future<int>> threads;
    for (const int wrong : {0, 1, 2, 3})
        threads.push_back(std::async(std::launch::async, [wrong] {
            int mistaken = 0;
            for (int i = 0; i < 1000; ++i) {
                const bool fails = i % 4 == wrong;
                MouseEvent event(0, Kind::Hover, 1, fails ? at(5, -1) : at(5, 5), {}, 0, 0, 0);
                event.emit();
                mistaken += event.status() != (fails ? PlaybackOffScreen : PlaybackDone);
            }
            return mistaken;
        }));
    for (auto& thread : threads)
        EXPECT_EQ(0, thread.get());
}

TEST(DISABLED_Traced, Fails)
{
    for (const char* text : {"ab{what}c", "(a(b", "x{", "{a -1}"})
        type(text);
    play(Kind::Move, at(5, -1));
}

TEST(EventTraceTest, AFailureNamesItsStatusAndItsPlaceInTheText)
{
    const std::filesystem::path home = std::string(getenv("HOME")) + "/traced";
    const auto directory = home / "Quessa" / "ZEMO";
    std::filesystem::create_directories(directory);
    std::ofstream(directory / "vtx_log_trace.properties") << "enableTrace=true\r\n"
                                                             "traceComponentLevelFilter=native,0\r\n";
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    CProgram failing({"env", "HOME=" + home.string(), self, "--gtest_also_run_disabled_tests",
                      "--gtest_filter=DISABLED_Traced.*"});
    EXPECT_EQ(0, failing.wait());
    std::stringstream trace;
    trace << std::ifstream(directory / "vtx_trace.txt").rdbuf();
    for (const char* line : {"The key string failed with result 613 at index 2: '{what}c'",
                             "The key string failed with result 614 at index 2: '(b'",
                             "The key string failed with result 612 at index 1: '{'",
                             "The key string failed with result 651 at index 0: '{a -1}'",
                             "The event ended with playback status 4: the text could not be typed",
                             "The event ended with playback status 9: the point lies outside of the screen"})
        EXPECT_THAT(trace.str(), testing::HasSubstr(line));
    std::filesystem::remove_all(home);
}

// The second press itself stays in the server, for which the key is down already.
TEST_F(EventTest, AHotKeyOfThePlayerIsCountedAndStaysDownForASecondPress)
{
    StopHotKeyCounter stops;
    PauseHotKeyCounter pauses;
    const struct {
        const char* key;
        HotKeyCounter& counter;
    } rows[] = {{"{F11}", stops}, {"{F12}", pauses}};
    for (const auto& [key, counter] : rows) {
        EXPECT_EQ(PlaybackDone, type(key));
        EXPECT_EQ(1, counter.getValue());
        counter.decrement();
        m_window.events();
        EXPECT_GE(m_window.releases().back() - m_window.presses().back(), 95U);
    }
}

TEST_F(EventTest, WithoutXTestOrServerEveryEventFails)
{
    CXvfb server({"-extension", "XTEST"});
    const ScopedDisplay without(XOpenDisplay(server.name().c_str()));
    ASSERT_TRUE(without);
    for (Display* display : {without.get(), static_cast<Display*>(nullptr)}) {
        const COtherDisplay other(display);
        for (int kind = 0; kind < 10; ++kind) {
            EXPECT_EQ(PlaybackNoXTest, play(kind, at(5, 5)));
            EXPECT_EQ(PlaybackNoXTest, press(kind, XK_a));
        }
        EXPECT_EQ(PlaybackNoXTest, type("a"));
    }
}
} // namespace
