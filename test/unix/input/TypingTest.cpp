// Typing into real programs: what arrives is what was typed, on every layout.
#include "TextProgram.h"

#include "unix/input/InputServer.h"
#include "unix/input/Keyboard.h"
#include "unix/input/UncalledKeys.h"
#include "unix/input/processkey.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <poll.h>
#include <thread>

#include "User.h"
#include <X11/Xutil.h>

using namespace std::chrono_literals;

namespace {
/// The programs and the library convert text in this locale.
const int s_utf8 = setenv("LC_ALL", "C.UTF-8", 1);

/// Characters that no keyboard layout has, none of them twice in a row.
std::u16string chinese(int count)
{
    std::u16string text;
    for (int i = 0; i < count; ++i)
        text += static_cast<char16_t>(0x4E00 + i * 7 % 5000);
    return text;
}

class BusyMachine {
public:
    explicit BusyMachine(int loops)
    {
        for (int i = 0; i < loops; ++i)
            m_loops.push_back(
                std::make_unique<CProgram>(std::vector<std::string>{"sh", "-c", "while :; do :; done"}));
    }

private:
    std::vector<std::unique_ptr<CProgram>> m_loops;
};

class TypingTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override { useLayout("us"); }
    void TearDown() override { useLayout("us"); }
};

/// GX_TYPING_CHARACTERS=1000 asks for as many as it takes to be sure.
int characters()
{
    const char* wanted = getenv("GX_TYPING_CHARACTERS");
    return wanted ? atoi(wanted) : 100;
}

TEST_P(TypingTest, CharactersThatNoKeyHasAllArriveWithAnyDelaysOnAnIdleAndOnABusyMachine)
{
    constexpr struct {
        int down, up, busy;
    } rows[] = {{0, 0, 0}, {1, 10, 0}, {0, 0, 2}, {1, 10, 2}};
    const auto program = textProgram(GetParam());
    for (const auto& row : rows) {
        const BusyMachine busy(row.busy);
        const CKeyDelays delays(row.down, row.up);
        const std::u16string text =
            u"\u00A1Gr\u00FC\u00DFe, \u00C5ngstr\u00F6m \u00BD\u00B5\u00B1\u00B0\u00DE " +
            chinese(characters());
        const auto start = std::chrono::steady_clock::now();
        program->type(text);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        ASSERT_EQ(PlaybackDone, Event::s_playbackStatus);
        const std::string found = program->text(utf8(text).size());
        const size_t wrong = differences(utf8(text), found);
        std::printf("%s, delays %d and %d ms, %d busy loops: %zu of %zu wrong, %.0f characters/s\n",
                    GetParam(), row.down, row.up, row.busy, wrong, text.size(),
                    static_cast<double>(text.size()) / time.count());
        EXPECT_EQ(utf8(text), found);
    }
}

/// Later than the server begins to repeat a key: as if it had been kept from running.
TEST(LayoutTest, ACharacterThatNoKeyHasIsTypedOnceHoweverLateItsKeyGoesUp)
{
    const auto program = textProgram("gtk3-text");
    const CKeyDelays delays(0, 1000);
    program->type(chinese(2));
    EXPECT_EQ(utf8(chinese(2)), program->text(2 * utf8(chinese(1)).size()));
}

/// What the server has: the whole of each keyboard, locks, group, which keys repeat.
struct CKeyboardState {
    std::string m_keyboards;
    unsigned m_locks;
    unsigned m_group;
    std::string m_repeating;

    bool operator==(const CKeyboardState&) const = default;
};

CKeyboardState keyboardState()
{
    const ScopedDisplay display(XOpenDisplay(nullptr));
    XkbStateRec state;
    XkbGetState(display.get(), XkbUseCoreKbd, &state);
    XKeyboardState control;
    XGetKeyboardControl(display.get(), &control);
    return {keyboards(), state.locked_mods, state.locked_group,
            std::string(control.auto_repeats, sizeof control.auto_repeats)};
}

void lock(unsigned modifiers, unsigned group)
{
    const ScopedDisplay display(XOpenDisplay(nullptr));
    XkbLockModifiers(display.get(), XkbUseCoreKbd, 0xFF, modifiers);
    XkbLockGroup(display.get(), XkbUseCoreKbd, group);
    XSync(display.get(), False);
}

TEST(LayoutTest, EveryCharacterIsRightOnEveryLayoutAndTheKeyboardIsAsBefore)
{
    constexpr unsigned numLock = Mod2Mask;
    constexpr struct {
        const char* why;
        const char* layout;
        const char* ofXTest; ///< layout of the XTEST keyboard, when it has another one
        unsigned locks, group;
    } rows[] = {
        {"plain", "us", nullptr, 0, 0},
        {"all locks", "us", nullptr, LockMask | numLock, 0},
        {"AltGr and dead keys", "de", nullptr, 0, 0},
        {"Caps Lock where digits are shifted", "fr", nullptr, LockMask, 0},
        {"Num Lock", "fr", nullptr, numLock, 0},
        {"the other group is locked", "us,ru", nullptr, 0, 1},
        {"the strokes have another map than the last key of the user", "us", "fr", 0, 0},
        {"dead keys on the keys of accents", "us -variant intl", nullptr, 0, 0},
    };
    std::u16string text;
    for (char16_t c = u' '; c < 0x7F; ++c)
        text += c;
    text += u"äÖüßéÈçà^^``´¨~~€µ§°ŁłążшΩω中Aü";
    const auto program = textProgram("gtk3-text");
    const CKeyDelays delays(0, 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        useLayout(row.layout);
        if (row.ofXTest)
            useLayout(std::string("-device 5 ") + row.ofXTest);
        lock(row.locks, row.group);
        switchToXTestKeyboard();
        const CKeyboardState before = keyboardState();
        program->type(text);
        ASSERT_EQ(PlaybackDone, Event::s_playbackStatus);
        EXPECT_EQ(utf8(text), program->text(utf8(text).size()));
        const CKeyboardState after = keyboardState();
        EXPECT_EQ(before.m_locks, after.m_locks);
        EXPECT_EQ(before.m_group, after.m_group);
        EXPECT_TRUE(before.m_keyboards == after.m_keyboards);
        program->type(u"😀", KeyEvent::KeyString);
        EXPECT_EQ(utf8(u"😀"), program->text(4));
    }
    lock(0, 0);
    useLayout("us");
}

/// A plain Xlib client on a thread of this process: a window with the focus that looks its keys up.
class CPlainClient {
public:
    enum Habit {
        Ordinary,
        BusyBeside,   ///< another thread never rests
        WrongAnswers, ///< never rests itself, and answers pings that nobody sent
    };
    explicit CPlainClient(Habit habit = Ordinary) : m_habit(habit)
    {
        if (habit == WrongAnswers)
            XSetWMProtocols(m_window.display(), window(), &m_ping, 1);
        XSync(m_window.display(), False);
        if (habit == BusyBeside)
            m_beside = std::thread([this] {
                while (!m_stop) {
                }
            });
        m_reader = std::thread([this] { read(); });
    }
    ~CPlainClient()
    {
        m_stop = true;
        m_reader.join();
        if (m_beside.joinable())
            m_beside.join();
    }
    /// The keysyms of the presses read so far but those of modifiers, once there are `count`.
    std::vector<KeySym> keys(size_t count)
    {
        within(10s, [&] { return m_count >= count; });
        const std::lock_guard guard(m_using);
        return m_keys;
    }

private:
    Window window() const { return static_cast<Window>(m_window.id()); }
    void read()
    {
        Display* const display = m_window.display();
        pollfd connection{ConnectionNumber(display), POLLIN, 0};
        while (!m_stop) {
            if (m_habit == WrongAnswers)
                answerPing();
            else
                poll(&connection, 1, 20);
            while (XPending(display) > 0)
                readOne();
        }
    }
    void readOne()
    {
        XEvent event;
        XNextEvent(m_window.display(), &event);
        if (event.type == MappingNotify)
            XRefreshKeyboardMapping(&event.xmapping);
        KeySym keysym = NoSymbol;
        if (event.type != KeyPress)
            return;
        XLookupString(&event.xkey, nullptr, 0, &keysym, nullptr);
        if (IsModifierKey(keysym))
            return;
        const std::lock_guard guard(m_using);
        m_keys.push_back(keysym);
        m_count = m_keys.size();
    }
    void answerPing()
    {
        XEvent answer{};
        answer.xclient = {ClientMessage,
                          0,
                          True,
                          m_window.display(),
                          DefaultRootWindow(m_window.display()),
                          XInternAtom(m_window.display(), "WM_PROTOCOLS", False),
                          32,
                          {}};
        answer.xclient.data.l[0] = static_cast<long>(m_ping);
        answer.xclient.data.l[1] = ++m_serial;
        answer.xclient.data.l[2] = m_window.id();
        XSendEvent(m_window.display(), answer.xclient.window, False, SubstructureNotifyMask, &answer);
        XSync(m_window.display(), False);
    }

    const Habit m_habit;
    CEventWindow m_window{0, 0, 50, 50};
    Atom m_ping = XInternAtom(m_window.display(), "_NET_WM_PING", False);
    long m_serial = 0;
    std::mutex m_using;
    std::vector<KeySym> m_keys;
    std::atomic<size_t> m_count = 0;
    std::atomic<bool> m_stop = false;
    std::thread m_reader;
    std::thread m_beside;
};

/// Types plain characters into the window with the focus.
void typeHere(const char* text)
{
    KeyEvent(0, KeyEvent::InputChars, 0, text, CWindow(), TopLevelWindow()).emit();
}

TEST(ReceiverTest, TheFirstKeysOfAClientAreReadBeforeTheMapChanges)
{
    const CKeyDelays delays(0, 0);
    for (int i = 0; i < 75; ++i) {
        CPlainClient client;
        typeHere("\u00E9a");
        ASSERT_EQ((std::vector<KeySym>{XK_eacute, XK_a}), client.keys(2)) << "client " << i;
    }
}

/// Busy machines make all times longer: those of the first text are the measure of the others.
TEST(ReceiverTest, ATextIsNotHeldUpByABusyThreadNorByWrongAnswersAndWhatIsKnownHoldsForTheNext)
{
    const CKeyDelays delays(0, 0);
    constexpr int texts = 20;
    const auto timeOf = [](int count) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < count; ++i)
            typeHere("\u00E9");
        return std::chrono::steady_clock::now() - start;
    };
    for (const auto habit : {CPlainClient::BusyBeside, CPlainClient::WrongAnswers}) {
        SCOPED_TRACE(habit);
        CPlainClient client(habit);
        const auto first = timeOf(1);
        EXPECT_GT(10s, first);
        EXPECT_GT((texts - 1) * first / 2, timeOf(texts - 1));
        const std::vector<KeySym> keys = client.keys(texts);
        EXPECT_TRUE(habit == CPlainClient::WrongAnswers || keys == std::vector<KeySym>(texts, XK_eacute));
    }
}

TEST(LayoutTest, KeysBeforeTheFirstTextAreThoseOfTheXTestKeyboardToo)
{
    useLayout("us");
    useLayout("-device 5 fr");
    CEventWindow window(100, 100, 50, 50);
    KeyEvent(0, KeyEvent::Press, XK_q, static_cast<const char*>(nullptr), CWindow(), TopLevelWindow()).emit();
    KeyEvent(0, KeyEvent::Release, XK_q, static_cast<const char*>(nullptr), CWindow(), TopLevelWindow())
        .emit();
    EXPECT_EQ("+q -q", window.events());
    useLayout("us");
}

TEST(LayoutTest, TheTableIsOfTheKeysThatXTestPresses)
{
    useLayout("fr");
    useLayout("-device 5 us");
    pressOnKeyboardOfUser(8, false); // makes its map the one that clients see
    EXPECT_EQ('1', GetKeyCode("1"));
    EXPECT_EQ(XK_eacute, Keyboard::firstWithoutKey({XK_1, XK_eacute}));
    CEventWindow window(100, 100, 50, 50);
    typeHere("1a;");
    const std::string events = window.events();
    EXPECT_NE(std::string::npos, events.find("+1 -1 +a -a +semicolon -semicolon")) << events;
    useLayout("us");
}

TEST(LayoutTest, ComposeTypesLatin1WhereTheKeyboardHasTheKey)
{
    constexpr struct {
        const char* layout;
        unsigned character;
        int result;
        const char* events;
    } rows[] = {
        {"us", 0xE9, 0, ""},
        {"us -option compose:menu", 0xE9, 1, "+Multi_key -Multi_key +e -e +apostrophe -apostrophe"},
        {"us -option compose:menu", 'a', 0, ""},
    };
    for (const auto& row : rows) {
        useLayout(row.layout);
        CEventWindow window(100, 100, 50, 50);
        CServerStrokes strokes;
        const CStrokeScope scope(strokes);
        EXPECT_EQ(row.result, playCharWithCompose(row.character));
        EXPECT_EQ(row.events, window.events());
    }
    useLayout("us -option");
}

TEST(LayoutTest, ModifiersAreComparedWithWhatTheKeyboardReports)
{
    useLayout("us");
    CEventWindow window(100, 100, 50, 50);
    CServerStrokes strokes;
    const CStrokeScope scope(strokes);
    AdjustModifiersEx(ShiftHeld | AltHeld);
    AdjustModifiersEx(ShiftHeld | ControlHeld);
    AdjustModifiersEx(0);
    EXPECT_EQ("+Alt_L A+Shift_L SA-Alt_L S+Control_L SC-Control_L S-Shift_L", window.events());
}

TEST(LayoutTest, AStrokeIsOneHoweverLateItsReleaseIs)
{
    constexpr int longerThanTheServerWaits = 900;
    useLayout("us");
    CEventWindow window(100, 100, 50, 50);
    CServerStrokes strokes;
    const unsigned key = CKeyCodes(g_display).of(XK_a);
    const ScopedDisplay other(XOpenDisplay(nullptr));
    strokes.stroke(KeyPressed, XK_a, 0, 0);
    EXPECT_FALSE(CKeysDown(other.get()).has(key)) << "this process may not run for long now";
    strokes.stroke(KeyReleased, XK_a, longerThanTheServerWaits, 0);
    EXPECT_EQ("+a -a", window.events());
    XKeyboardState state{};
    XGetKeyboardControl(other.get(), &state);
    EXPECT_EQ(AutoRepeatModeOn, state.global_auto_repeat);
    strokes.stroke(KeyPressed, XK_a, 0, 0); // held: it repeats
    strokes.modifiersDown();
    pauseFor(std::chrono::milliseconds(longerThanTheServerWaits));
    strokes.stroke(KeyReleased, XK_a, 0, 0);
    EXPECT_GT(window.events().size(), std::string_view("+a -a").size());
}

TEST(LayoutTest, TheServerDoesNotKeepChangesOfTheMapForAProcessThatHasTyped)
{
    typeHere("a\u00E9");
    Keyboard::setModifierKeys(0);
    EXPECT_FALSE(Keyboard::isKeyDown(XK_Shift_L));
    useLayout("fr");
    useLayout("us");
    EXPECT_EQ(0, XEventsQueued(g_display, QueuedAfterReading));
}

INSTANTIATE_TEST_SUITE_P(Programs, TypingTest, testing::Values("gtk3-text", "motif-text", "xterm"),
                         [](const auto& program) {
                             const std::string name = program.param;
                             return name.substr(0, name.find('-'));
                         });
} // namespace
