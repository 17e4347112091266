// The hot keys of playback, pressed by the user (a client of its own) and typed by the library in this and
// another process.
#include "include/GxGlobals.h"
#include "include/Within.h"
#include "session/Program.h"
#include "unix/input/EventManager.h"
#include "unix/input/HotKeyCounter.h"
#include "unix/input/Player.h"

#include <gtest/gtest.h>

#include <future>

#include "EventWindow.h"
#include "User.h"

using namespace std::chrono_literals;

namespace {
int type(const char* text)
{
    KeyEvent(0, KeyEvent::KeyString, 0, text, CWindow(), TopLevelWindow()).emit();
    return Event::s_playbackStatus;
}

/// Types in a process of its own that has the library.
int typeElsewhere(const std::string& text)
{
    setenv("GX_TYPED_TEXT", text.c_str(), 1);
    CProgram typist(
        {"/proc/self/exe", "--gtest_also_run_disabled_tests", "--gtest_filter=DISABLED_Typist.*"});
    while (typist.line()) {
    }
    return typist.wait(20s).value_or(-1);
}

TEST(DISABLED_Typist, Types)
{
    EXPECT_EQ(PlaybackDone, type(getenv("GX_TYPED_TEXT")));
}

class PlayerTest : public testing::Test {
protected:
    PlayerTest() { Player::get().start(); }
    ~PlayerTest() override
    {
        Player::get().end();
        hotKeys(XK_F11, XK_F12);
        Event::setDelays(0, 0, 0, 1, 10, 0);
        XkbSetAutoRepeatRate(m_user.display(), XkbUseCoreKbd, 660, 40);
        EXPECT_EQ(0, StopHotKeyCounter().getValue());
        EXPECT_EQ(0, PauseHotKeyCounter().getValue());
    }
    static void hotKeys(KeySym stop, KeySym pause)
    {
        Player::get().setStopHotKey(static_cast<int>(stop));
        Player::get().setPauseHotKey(static_cast<int>(pause));
    }
    void listen()
    {
        m_answer = std::async(std::launch::async, [] { return Player::get().getNextEvent(); });
    }
    int answer()
    {
        if (m_answer.wait_for(10s) != std::future_status::ready) {
            ADD_FAILURE() << "nothing was heard";
            Player::get().end();
        }
        return m_answer.get();
    }
    int answerTo(KeySym keysym)
    {
        listen();
        m_user.tap(keysym);
        return answer();
    }
    bool hearsNothing() const { return m_answer.wait_for(50ms) == std::future_status::timeout; }
    static void restart()
    {
        Player::get().end();
        Player::get().start();
    }

    CUser m_user;
    std::future<int> m_answer;
    CEventWindow m_focus{100, 100, 200, 200};
};

TEST_F(PlayerTest, TheUserIsHeardWhateverLocksAndModifiersAreOn)
{
    for (const unsigned locks : {0, LockMask, Mod2Mask, LockMask | Mod2Mask})
        for (const KeySym held : {XK_F1, XK_Shift_L, XK_Control_R, XK_Alt_L, XK_Super_L}) {
            SCOPED_TRACE(std::to_string(locks) + " " + XKeysymToString(held));
            XkbLockModifiers(m_user.display(), XkbUseCoreKbd, LockMask | Mod2Mask, locks);
            m_user.press(held, true);
            EXPECT_EQ(Player::PausePressed, answerTo(XK_F12));
            EXPECT_EQ(Player::PausePressed, answerTo(XK_F12));
            EXPECT_EQ(Player::StopPressed, answerTo(XK_F11));
            m_user.press(held, false);
            restart();
        }
    XkbLockModifiers(m_user.display(), XkbUseCoreKbd, LockMask | Mod2Mask, 0);
    EXPECT_EQ(std::string::npos, m_focus.events().find("+F11"));
}

TEST_F(PlayerTest, WhatTheLibraryTypesHereOrElsewhereDoesNotEndPlayback)
{
    XkbSetAutoRepeatRate(m_user.display(), XkbUseCoreKbd, 150, 20);
    const struct {
        const char* text;
        int keyUp;
    } rows[] = {
        {"a{F11}b{F12}c", 10},       {"{F12 3}{F11 3}", 0}, {"^{F11}%(+{F12})", 10},
        {"{F11 KeyDn}ab{F12}c", 10}, {"{F11}{F12}", 300}, // long enough for the server to repeat the key
    };
    listen();
    for (const auto& [text, keyUp] : rows) {
        SCOPED_TRACE(text);
        Event::setDelays(0, 0, 0, 0, keyUp, 0);
        EXPECT_EQ(PlaybackDone, type(text));
        EXPECT_EQ(0, typeElsewhere(text));
        EXPECT_TRUE(hearsNothing());
        EXPECT_EQ(0, StopHotKeyCounter().getValue());
        EXPECT_EQ(0, PauseHotKeyCounter().getValue());
    }
    EXPECT_NE(std::string::npos, m_focus.events().find("+a"));
    XkbSetAutoRepeatRate(m_user.display(), XkbUseCoreKbd, 5000, 20);
    EXPECT_EQ(PlaybackDone, type("{F11}"));
    m_user.tap(XK_F11); // before the player can have seen that the other is up
    EXPECT_EQ(Player::StopPressed, answer());
}

TEST_F(PlayerTest, HotKeysThatChangeDuringPlaybackAreOtherKeysAtOnce)
{
    listen();
    hotKeys(XK_F12, XK_F11);
    m_user.tap(XK_F11);
    EXPECT_EQ(Player::PausePressed, answer());
    hotKeys(XK_Pause, XK_F9);
    EXPECT_EQ(Player::PausePressed, answerTo(XK_F9));
    m_focus.events();
    listen();
    m_user.tap(XK_F11);
    m_user.tap(XK_F12);
    EXPECT_TRUE(hearsNothing());
    EXPECT_EQ("+F11 -F11 +F12 -F12", m_focus.events());
    EXPECT_EQ(PlaybackDone, type("{F9}"));
    m_user.tap(XK_Pause);
    EXPECT_EQ(Player::StopPressed, answer());
    restart();
    hotKeys(XK_F10, XK_F10); // typed, it is counted for both
    listen();
    EXPECT_EQ(PlaybackDone, type("{F10}"));
    EXPECT_TRUE(hearsNothing());
    hotKeys(0, 0x1004E00); // on no key
    m_focus.events();
    m_user.tap(XK_F10);
    m_user.tap(XK_a);
    EXPECT_TRUE(hearsNothing());
    EXPECT_EQ("+F10 -F10 +a -a", m_focus.events());
    Player::get().end();
    EXPECT_EQ(Player::PlaybackEnded, answer());
}

TEST_F(PlayerTest, KeysBelongToThePlayerOnlyWhilePlaybackRuns)
{
    m_user.tap(XK_F12);
    EXPECT_EQ("", m_focus.events());
    EXPECT_EQ(Player::PausePressed, Player::get().getNextEvent());
    listen();
    EXPECT_TRUE(hearsNothing());
    Player::get().end();
    EXPECT_EQ(Player::PlaybackEnded, answer());
    m_user.tap(XK_F12);
    EXPECT_EQ("+F12 -F12", m_focus.events());
    EXPECT_EQ(Player::PlaybackEnded, Player::get().getNextEvent());
}

TEST_F(PlayerTest, AHotKeyThatAnotherClientHasGrabbedStaysWithIt)
{
    Player::get().end();
    Display* const other = m_user.display();
    const Window root = DefaultRootWindow(other);
    XGrabKey(other, m_user.code(XK_F11), ControlMask, root, False, GrabModeAsync, GrabModeAsync);
    XSync(other, False);
    Player::get().start();
    listen();
    m_user.tap(XK_F11);
    EXPECT_TRUE(hearsNothing());
    EXPECT_EQ("+F11 -F11", m_focus.events());
    m_user.tap(XK_F12);
    EXPECT_EQ(Player::PausePressed, answer());
    XUngrabKey(other, m_user.code(XK_F11), ControlMask, root);
    XSync(other, False);
    restart();
    EXPECT_EQ(Player::StopPressed, answerTo(XK_F11));
}

TEST_F(PlayerTest, ThreadsMayPlayAndChangeHotKeysWhileOneListens)
{
    listen();
    std::atomic<bool> done = false;
    auto changing = std::async(std::launch::async, [&] {
        for (KeySym other = XK_F5; !done; other = other == XK_F5 ? XK_F6 : XK_F5)
            Player::get().setPauseHotKey(static_cast<int>(other));
    });
    EXPECT_EQ(PlaybackDone, type("a{F11}b{F11}c"));
    done = true;
    changing.get();
    EXPECT_TRUE(hearsNothing());
    Player::get().end();
    EXPECT_EQ(Player::PlaybackEnded, answer());
}

TEST(PlayerDeathTest, PausingHooksEndsTheProcess)
{
    EXPECT_DEATH(Player::get().pauseHooks(), "Assertion failed");
    EXPECT_DEATH(Player::get().resumeHooks(), "Assertion failed");
}
} // namespace
