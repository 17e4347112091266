// The capture of the pointer and the queries, with a user whose hands are on the mouse.
#include "session/Program.h"
#include "unix/input/Keyboard.h"
#include "unix/input/Mouse.h"
#include "unix/window/MessageWindow.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "EventWindow.h"
#include "User.h"

using namespace std::chrono_literals;

namespace {
bool capture()
{
    return Mouse::get().capture(CWindow(), GX_MOUSE_CURSOR(3));
}

std::string text(const std::unique_ptr<MouseEvent>& event)
{
    if (!event)
        return "none";
    const std::string button = std::to_string(event->button());
    const Point at = *event->point();
    const std::string place = std::to_string(at.getx()) + "," + std::to_string(at.gety());
    switch (event->kind()) {
    case MouseEvent::Press:
        return "+" + button + "@" + place;
    case MouseEvent::Release:
        return "-" + button + "@" + place;
    default:
        return std::to_string(event->kind()) + "/" + button + "@" + place;
    }
}

class MouseCaptureTest : public testing::Test {
protected:
    MouseCaptureTest() { m_user.handle("50,50"); }
    ~MouseCaptureTest() override
    {
        Mouse::get().release();
        m_user.handle("-1 -2 -3");
        XSync(g_display, True);
    }

    CUser m_user;
    CEventWindow m_below{0, 0, 200, 200};
};

TEST_F(MouseCaptureTest, EveryButtonAndMotionComesHereAndNotToTheWindowBelow)
{
    constexpr struct {
        const char* mouse;
        const char* events;
    } rows[] = {
        {"-1", "-1@50,50"},         {"+1", "+1@50,50"},   {"60,70", "3/0@60,70"},
        {"+2", "+2@60,70"},         {"-2", "-2@60,70"},   {"+3", "+3@60,70"},
        {"900,700", "3/0@900,700"}, {"-3", "-3@900,700"}, {"+4 -4 +9 -9 -1", "-1@900,700"},
        {"0,0", "3/0@0,0"},
    };
    m_below.events();
    m_user.handle("+1"); // the user holds the button down, as on the handle of a tool
    m_below.events();
    ASSERT_TRUE(capture());
    EXPECT_EQ("-1", m_below.events()); // let go of for the grab; the press that follows is nobody's
    for (const auto& [mouse, events] : rows) {
        m_user.handle(mouse);
        EXPECT_EQ(events, text(Mouse::get().getNextEvent()));
    }
    EXPECT_EQ("", m_below.events(true));
}

TEST_F(MouseCaptureTest, TheLastEventStandsForAllThatCameBefore)
{
    constexpr struct {
        const char* mouse;
        const char* event;
    } rows[] = {{"1,1 2,2 -1 3,3 4,4", "3/0@4,4"},
                {"5,5 +3 -3", "-3@5,5"},
                {"6,6 +2 +4 -4", "+2@6,6"},
                {"-2", "-2@6,6"}};
    ASSERT_TRUE(capture());
    for (const auto& [mouse, event] : rows) {
        m_user.handle(mouse);
        EXPECT_EQ(event, text(Mouse::get().getLastEvent()));
    }
}

TEST_F(MouseCaptureTest, APointerThatSomebodyHoldsIsNotCaptured)
{
    Display* const other = m_below.display();
    XGrabPointer(other, m_below.id(), False, ButtonPressMask, GrabModeAsync, GrabModeAsync, None, None,
                 CurrentTime);
    XSync(other, False);
    EXPECT_FALSE(capture());
    EXPECT_EQ("none", text(Mouse::get().getNextEvent()));
    XUngrabPointer(other, CurrentTime);
    XSync(other, False);
    EXPECT_TRUE(capture());
    EXPECT_FALSE(capture());
    Mouse::get().release();
    Mouse::get().release();
    EXPECT_TRUE(capture());
}

TEST_F(MouseCaptureTest, ACaptureThatEndsFreesWhoWaitsAndLeavesNothingBehind)
{
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(capture());
        m_user.handle("-1");
        EXPECT_EQ("-1@50,50", text(Mouse::get().getNextEvent()));
        auto waiting = std::async(std::launch::async, [] { return text(Mouse::get().getLastEvent()); });
        EXPECT_EQ(0, Mouse::getMouseState()); // a round trip of another thread
        EXPECT_EQ(std::future_status::timeout, waiting.wait_for(30ms));
        Mouse::get().release();
        ASSERT_EQ(std::future_status::ready, waiting.wait_for(5s));
        EXPECT_EQ("none", waiting.get());
        ASSERT_TRUE(capture());
        m_user.handle("-1 +3 -3 70,70 50,50");
        Mouse::get().release(); // with events that nobody has fetched
    }
    EXPECT_EQ(0, XEventsQueued(g_display, QueuedAfterReading));
    m_below.events();
    m_user.handle("+1 -1");
    EXPECT_EQ("+1 -1", m_below.events());
}

TEST_F(MouseCaptureTest, OtherEventsOfTheConnectionDoNoHarm)
{
    CMessageWindow messages;
    int delivered = 0;
    ASSERT_TRUE(messages.send({1, 2, 3, 4}, [&] { ++delivered; }));
    ASSERT_TRUE(capture());
    m_below.destroy();
    m_user.handle("-1 77,66");
    EXPECT_EQ("-1@50,50", text(Mouse::get().getNextEvent()));
    EXPECT_EQ("3/0@77,66", text(Mouse::get().getNextEvent()));
    XVisibilityEvent strange{};
    strange.type = VisibilityNotify;
    XPutBackEvent(g_display, reinterpret_cast<XEvent*>(&strange));
    EXPECT_EQ("3/0@77,66", text(Mouse::get().getLastEvent()));
    Mouse::get().release();
    EXPECT_EQ(1, CMessageWindow::deliver());
    EXPECT_EQ(1, delivered);
}

TEST_F(MouseCaptureTest, QueriesTellWhatIsDownAndWhere)
{
    constexpr struct {
        const char* mouse;
        int buttons;
    } rows[] = {{"+1", 1}, {"+3", 5}, {"+2", 7}, {"-1", 6}, {"-2 -3", 0}, {"123,45", 0}};
    for (const auto& [mouse, buttons] : rows) {
        m_user.handle(mouse);
        EXPECT_EQ(buttons, Mouse::getMouseState()) << mouse;
    }
    ASSERT_TRUE(Mouse::getCursorPos());
    EXPECT_EQ(123, Mouse::getCursorPos()->getx());
    EXPECT_EQ(45, Mouse::getCursorPos()->gety());
    m_user.press(XK_F5, true);
    EXPECT_TRUE(Keyboard::isKeyDown(XK_F5));
    m_user.press(XK_F5, false);
    for (const unsigned keysym : {unsigned{XK_F5}, 0U, 0x1004E00U, 0xFFFFFFFFU})
        EXPECT_FALSE(Keyboard::isKeyDown(static_cast<int>(keysym)));
}

TEST_F(MouseCaptureTest, HeldModifiersBecomeThoseWanted)
{
    m_user.press(XK_Control_L, true);
    for (const unsigned wanted : {5U, 7U, 2U, 0xFFFFFFF8U}) {
        Keyboard::setModifierKeys(wanted);
        EXPECT_EQ((wanted & 1) != 0, Keyboard::isKeyDown(XK_Shift_L)) << wanted;
        EXPECT_EQ((wanted & 2) != 0, Keyboard::isKeyDown(XK_Control_L)) << wanted;
        EXPECT_EQ((wanted & 4) != 0, Keyboard::isKeyDown(XK_Alt_L)) << wanted;
    }
}

TEST_F(MouseCaptureTest, TextsHaveKeyCodes)
{
    const struct {
        const char* text;
        int code;
    } rows[] = {{"a", XK_a},
                {"A", XK_A},
                {"{F1}", 0xFFBE},
                {"{f1}", 0xFFBE},
                {"{NumEnter}", XK_KP_Enter},
                {"F1", -1},
                {"", -1},
                {"{}", -1},
                {"{", XK_braceleft},
                {"{F1", -1},
                {"{nobody}", -1},
                {"\xC3\xA4", -1},
                {"\xE4", -1},
                {nullptr, -1}};
    for (const auto& [text, code] : rows)
        EXPECT_EQ(code, GetKeyCode(text)) << (text ? text : "null");
}

TEST_F(MouseCaptureTest, WithoutAServerTheAnswersAreNeutral)
{
    const COtherDisplay none(nullptr);
    EXPECT_FALSE(capture());
    EXPECT_EQ("none", text(Mouse::get().getLastEvent()));
    EXPECT_FALSE(Mouse::getCursorPos());
    EXPECT_EQ(0, Mouse::getMouseState());
    EXPECT_FALSE(Keyboard::isKeyDown(XK_Shift_L));
    Keyboard::setModifierKeys(7);
    EXPECT_EQ(-1, GetKeyCode("a"));
}
} // namespace
