// gx click, type, keys.
#include "common/text/CodeSet.h"
#include "gx/CommandLine.h"
#include "gx/Commands.h"
#include "gx/Seen.h"
#include "unix/input/EventManager.h"
#include "unix/input/KeyReceiver.h"
#include "unix/input/Keyboard.h"
#include "unix/input/StrokeSink.h"
#include "unix/input/processkey.h"

#include <algorithm>
#include <set>

#include "unix/window/XErrors.h"

namespace {
/// Plays nothing: a key string that is faulty somewhere is not to be typed up to there. Notes which keys it
/// wants.
class CNoKeyboard : public IStrokeSink {
public:
    CLockState locks() override { return {}; }
    unsigned long translate(const char* text) override
    {
        m_characters.insert(static_cast<unsigned char>(*text));
        return static_cast<unsigned char>(*text);
    }
    bool needsShift(unsigned long) override { return false; }
    bool stroke(unsigned, unsigned long keysym, int, int flag) override
    {
        if (!m_characters.contains(keysym) && flag != CSpecialKey::OwnCapsLock &&
            flag != CSpecialKey::OwnNumLock)
            m_named.insert(keysym);
        return true;
    }
    bool typeUnicode(char32_t) override { return true; }
    unsigned modifiersDown() override { return 0; }
    void beginText(const std::function<void()>&) override {}
    void endText(CLockState, const std::function<void(CLockState)>&) override {}

    /// Keysyms of keys that have names or numbers.
    std::vector<unsigned long> named() const { return {m_named.begin(), m_named.end()}; }

private:
    std::set<unsigned long> m_characters, m_named;
};

/// A key that no keyboard has would be left out without a word.
void demandKeys(const std::vector<unsigned long>& keysyms)
{
    if (const unsigned long lacking = Keyboard::firstWithoutKey(keysyms); lacking != 0)
        throw CNotSo("nothing was typed", "no key of this keyboard has the keysym " + std::to_string(lacking),
                     "setxkbmap gives it a layout that has one");
}

/// The argument in 16-bit units, with the 0 at its end.
std::u16string unitsOf(const std::string& argument)
{
    const CEnvironmentLocale locale;
    std::u16string units;
    if (toUnits(locale.codeSet(), argument, units) != Conversion::complete)
        throw CWrongUse(std::string("the text is not in the code set of the locale, ") + locale.codeSet());
    return units;
}

const char* meaningOf(int result)
{
    switch (result) {
    case KeysNoBrace:
        return "a { has no closing }";
    case KeysUnknownName:
        return "the name in braces is no key's";
    case KeysNoParenthesis:
        return "a ( has no closing )";
    case KeysCountOverflow:
        return "a count is above 2147483647";
    case KeysNoCount:
        return "what follows the blank in braces is no count above 0, KeyDn or KeyUp";
    default:
        return "it cannot be read";
    }
}

const char* meaningOf(PlaybackStatus status)
{
    switch (status) {
    case PlaybackNoXTest:
        return "the X server lacks the extension XTEST, which input needs";
    case PlaybackOffScreen:
        return "the point lies outside of the screen, which gx shot shows";
    case PlaybackFailed:
        return "the keys could not be played, or another process kept the input to itself, as a trace says "
               "(doc/diagnostics.md)";
    default:
        return "it could not be played";
    }
}

/// X answers wrong requests late, and plays the others: a key that the keyboard lacks is one.
void play(Event& event, const std::string& what)
{
    takeXError();
    event.emit();
    if (event.status() != PlaybackDone)
        throw CNotSo(what, meaningOf(static_cast<PlaybackStatus>(event.status())),
                     event.status() == PlaybackOffScreen ? "" : "gx doctor says more");
    if (const std::string refused = takeXError(); !refused.empty())
        throw CNotSo(what, "the X server has answered " + refused,
                     "the keyboard or pointer may lack that key or button");
}

int typeText(const CCall& call, KeyEvent::Kind kind)
{
    const std::u16string units = unitsOf(call.arguments[0]);
    CNoKeyboard nowhere;
    if (const int result = SendKeys(units.c_str(), kind == KeyEvent::KeyString, nowhere);
        result != KeysPlayed)
        throw CWrongUse(std::string("that is no key string: ") + meaningOf(result) + " (" +
                        std::to_string(result) +
                        "); nothing was typed; doc/key-strings.md has the syntax and the names");
    Seen::requireServer();
    demandKeys(nowhere.named());
    KeyEvent event(0, kind, 0, reinterpret_cast<const unsigned short*>(units.c_str()), CWindow(),
                   TopLevelWindow());
    play(event, "not typed, or not all of it"); // which may be a password
    CKeyReceiver::awaitKeysTaken();
    return StatusFine;
}

int modifiersOf(const std::string& button)
{
    if (button == "left")
        return 0;
    if (button == "middle")
        return MouseEvent::MiddleButton;
    if (button == "right")
        return MouseEvent::RightButton;
    throw CWrongUse("--button is \"" + button + "\" and not left, middle or right");
}
} // namespace

int runClick(const CCall& call)
{
    if (call.has("text") != call.arguments.empty() || call.arguments.size() == 1)
        throw CWrongUse("a click wants either X and Y or --text TEXT");
    if (call.has("text"))
        return runInEngine(call);
    if (call.has("in"))
        throw CWrongUse("--in goes with --text");
    const Point point(call.number(size_t{0}), call.number(size_t{1}));
    const int count = call.number("count", 1);
    const int modifiers = modifiersOf(call.option("button", "left"));
    if (count < 1 || count > 100)
        throw CWrongUse("--count is 1 to 100");
    Seen::requireServer();
    const CWindow none;
    const TopLevelWindow noneEither;
    MouseEvent event(0, MouseEvent::Click, count, {point, &none, &noneEither}, {}, modifiers, 0, 0);
    play(event, "no click at " + call.arguments[0] + "," + call.arguments[1]);
    CKeyReceiver::awaitClickTaken();
    return StatusFine;
}

int runType(const CCall& call)
{
    return typeText(call, KeyEvent::InputChars);
}

int runKeys(const CCall& call)
{
    return typeText(call, KeyEvent::KeyString);
}
