// Players that are killed in the middle of what they play, and players beside each other.
#include "ChildProcess.h"
#include "Seed.h"
#include "TextProgram.h"
#include "unix/input/HeldInput.h"
#include "unix/input/inputkeyunix.h"
#include "unix/input/processkey.h"

#include <gtest/gtest.h>

#include <random>
#include <thread>

#include "User.h"
#include "unix/input/Keyboards.h"

namespace {
void pressKey(KeySym keysym, int kind = KeyEvent::Press)
{
    KeyEvent(0, kind, static_cast<int>(keysym), static_cast<const char*>(nullptr), CWindow(),
             TopLevelWindow())
        .emit();
}

void typeText(const char* text)
{
    KeyEvent(0, KeyEvent::KeyString, 0, text, CWindow(), TopLevelWindow()).emit();
}

void mouse(int kind, int modifiers, Point start, Point end = {})
{
    const CWindow none;
    const TopLevelWindow noTop;
    MouseEvent(0, kind, 1, CMouseTarget(start, &none, &noTop), CMouseTarget(end, &none, &noTop), modifiers, 0,
               0)
        .emit();
}

/// Another process that plays: once before the constructor returns, then again, once or for ever.
class COtherPlayer {
public:
    explicit COtherPlayer(const std::function<void()>& play, bool forever = true)
        : m_process([=](CChildProcess& parent) {
              g_display = XOpenDisplay(nullptr);
              play();
              parent.pass();
              do {
                  play();
              } while (forever);
              parent.pass();
              parent.wait();
          })
    {
        m_process.wait();
    }
    void end() { m_process.wait(); }
    void die() { m_process.die(); }

private:
    CChildProcess m_process;
};

/// What is down, on whatever device, and whether a user's keys would not repeat.
std::string down()
{
    const ScopedDisplay display(XOpenDisplay(nullptr));
    char keys[32] = {};
    Window window;
    int x;
    unsigned state = 0;
    XQueryKeymap(display.get(), keys);
    XQueryPointer(display.get(), DefaultRootWindow(display.get()), &window, &window, &x, &x, &x, &x, &state);
    std::string all;
    for (int key = 0; key < 256; ++key)
        if (keys[key / 8] >> key % 8 & 1)
            all += "key " + std::to_string(key) + ' ';
    XKeyboardState control{};
    XGetKeyboardControl(display.get(), &control);
    if (control.global_auto_repeat != AutoRepeatModeOn)
        all += "no repeats ";
    return all + (state & (Button1Mask | Button2Mask | Button3Mask) ? "button" : "");
}

class PlayersTest : public testing::Test {
protected:
    PlayersTest()
    {
        useLayout("de");
        useLayout("-device 5 us,ru");
        switchToXTestKeyboard();
    }
    ~PlayersTest() override
    {
        pressKey(XK_Num_Lock, KeyEvent::Release);
        lock(0, 0);
        useLayout("us");
    }
    static void lock(unsigned modifiers, unsigned group)
    {
        XkbLockModifiers(g_display, XkbUseCoreKbd, 0xFF, modifiers);
        XkbLockGroup(g_display, XkbUseCoreKbd, group);
        XSync(g_display, False);
    }
    static unsigned locksAndGroup()
    {
        XkbStateRec state{};
        XkbGetState(g_display, XkbUseCoreKbd, &state);
        return state.locked_mods + (unsigned{state.locked_group} << 8);
    }
    /// GX_KILLS=200 asks for as many as it takes to be sure.
    static int kills()
    {
        const char* wanted = getenv("GX_KILLS");
        return wanted ? atoi(wanted) : 10;
    }
};

TEST_F(PlayersTest, TheNextOneReleasesWhatAKilledOneHeldAndPutsTheKeyboardsBack)
{
    const struct {
        const char* why;
        std::function<void()> play;
    } rows[] = {
        {"modifiers and a key", [] { typeText("^%({F3 KeyDn}ab{F3 KeyUp})"); }},
        {"borrowed keys", [] { typeText("+(\u4E2D\u6587a)\u00E9"); }},
        {"strokes without a text",
         [] { pressKey(XK_Shift_R), pressKey(XK_F5), pressKey(XK_F5, KeyEvent::Release); }},
        {"a drag with modifiers",
         [] { mouse(MouseEvent::Drag, MouseEvent::WithAlt, Point(5, 5), Point(400, 300)); }},
    };
    const std::string before = keyboards();
    const std::vector<uint32_t> keysBefore = keysOfAllKeyboards(g_display);
    lock(LockMask, 1);
    std::mt19937 random(seed());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        for (int i = 0; i < kills(); ++i) {
            COtherPlayer other(row.play);
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
            other.die();
            CEventWindow window(0, 0, 500, 500);
            if (i % 2 == 0)
                typeText("xy");
            else
                mouse(MouseEvent::Click, 0, Point(9, 9));
            const std::string events = window.events();
            ASSERT_NE(std::string::npos, events.find(i % 2 == 0 ? " +x -x +y -y +Caps" : "L+1 L-1"))
                << events;
            ASSERT_EQ("", down());
            ASSERT_EQ(LockMask + (1U << 8), locksAndGroup());
            ASSERT_TRUE(keysBefore == keysOfAllKeyboards(g_display));
        }
        EXPECT_EQ(before, keyboards());
    }
}

TEST_F(PlayersTest, WhatPeopleAndLivingPlayersHoldStaysDown)
{
    COtherPlayer living([] { pressKey(XK_Shift_L); }, false);
    COtherPlayer killed([] { pressKey(XK_Shift_L), pressKey(XK_Control_L), pressKey(XK_Alt_L); });
    const KeyCode ofUser = CKeyCodes(g_display).of(XK_F7);
    pressOnKeyboardOfUser(ofUser, true);
    killed.die();
    CEventWindow window(0, 0, 50, 50);
    typeText("x");
    const std::string events = window.events();
    EXPECT_TRUE(events.ends_with(" S+x S-x")) << events;
    EXPECT_EQ("key " + std::to_string(CKeyCodes(g_display).of(XK_Shift_L)) + " key " +
                  std::to_string(ofUser) + " ",
              down());
    pressOnKeyboardOfUser(ofUser, false);
    living.die();
    typeText("x");
    EXPECT_EQ("", down());
}

/// Killed with Num Lock held down, before or after the text of another one begins.
TEST_F(PlayersTest, ATextPutsBackTheLocksOfOneThatIsKilledMeanwhile)
{
    const auto stroke = [](CLockState locks) {
        if (locks.numLock)
            PlayVirtualKey(XK_Num_Lock, 0, CSpecialKey::OwnNumLock);
    };
    for (const bool isKilledBefore : {true, false}) {
        lock(0, 1);
        COtherPlayer killed(
            [] {
                new CPlayedInput;
                (new CServerStrokes)->beginText([] {});
                pressKey(XK_Num_Lock);
            },
            false);
        ASSERT_NE("", down());
        const CPlayedInput played;
        if (isKilledBefore)
            killed.die();
        CServerStrokes strokes;
        const CStrokeScope scope(strokes);
        strokes.beginText([] {});
        if (!isKilledBefore)
            killed.die();
        strokes.endText({}, stroke);
        EXPECT_EQ("", down());
        EXPECT_EQ(1U << 8, locksAndGroup()) << isKilledBefore;
    }
}

/// Their characters may come out wrong.
TEST_F(PlayersTest, TextsAndClicksAtOnceLeaveTheKeyboardsLocksAndKeysAsTheyWere)
{
    const CKeyDelays delays(0, 0);
    const std::string before = keyboards();
    const auto play = [] {
        for (int i = 0; i < 20; ++i) {
            typeText("\u4E2D\u6587aA{Num5}");
            mouse(MouseEvent::Click, MouseEvent::WithShift | MouseEvent::WithControl, Point(9, 9));
        }
    };
    for (const unsigned locks : {0U, unsigned{LockMask | Mod2Mask}}) {
        lock(locks, 1);
        {
            COtherPlayer other(play, false);
            COtherPlayer killed(play);
            std::thread first(play), second(play);
            killed.die();
            first.join();
            second.join();
            other.end();
        }
        typeText("a"); // puts back what the killed one borrowed
        EXPECT_EQ("", down());
        EXPECT_EQ(locks + (1U << 8), locksAndGroup());
        EXPECT_EQ(before, keyboards());
    }
}
} // namespace
