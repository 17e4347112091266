#include "unix/input/processkey.h"

#include "common/text/Ascii.h"
#include "common/text/CodeSet.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "unix/input/EventManager.h"
#include "unix/input/StrokeSink.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>
#include <strings.h>
#include <utility>
#include <vector>

#include <X11/keysym.h>

constinit CSpecialKey g_SpecialKeys[] = {
    {XK_Caps_Lock, "CAPSLOCK"},
    {XK_Num_Lock, "NUMLOCK", CSpecialKey::Extended},
    {XK_Scroll_Lock, "SCROLLLOCK"},
    {XK_Escape, "ESCAPE"},
    {XK_Escape, "ESC"},
    {XK_Return, "ENTER"},
    {XK_Help, "HELP"},
    {XK_Print, "PRTSC"},
    {XK_Tab, "TAB"},
    {XK_Pause, "BREAK"},
    {XK_Clear, "CLEAR"},
    {XK_BackSpace, "BACKSPACE"},
    {XK_BackSpace, "BS"},
    {XK_BackSpace, "BKSP"},
    {XK_Delete, "DELETE"},
    {XK_Delete, "DEL"},
    {XK_Insert, "INSERT"},
    {XK_Left, "LEFT"},
    {XK_Right, "RIGHT"},
    {XK_Up, "UP"},
    {XK_Down, "DOWN"},
    {XK_Prior, "PGUP"},
    {XK_Next, "PGDN"},
    {XK_Home, "HOME"},
    {XK_End, "END"},
    {XK_F1, "F1"},
    {XK_F2, "F2"},
    {XK_F3, "F3"},
    {XK_F4, "F4"},
    {XK_F5, "F5"},
    {XK_F6, "F6"},
    {XK_F7, "F7"},
    {XK_F8, "F8"},
    {XK_F9, "F9"},
    {XK_F10, "F10"},
    {XK_F11, "F11"},
    {XK_F12, "F12"},
    {XK_F13, "F13"},
    {XK_F14, "F14"},
    {XK_F15, "F15"},
    {XK_F16, "F16"},
    {XK_Execute, "APPS", CSpecialKey::Extended},
    {XK_Meta_L, "Win", CSpecialKey::Extended},
    {XK_Meta_L, "LEFTWIN", CSpecialKey::Extended},
    {XK_Meta_R, "RIGHTWIN", CSpecialKey::Extended},
    {XK_Control_L, "Ctrl"},
    {XK_Shift_L, "Shift"},
    {XK_Alt_L, "Alt"},
    {XK_Control_L, "LeftCtrl"},
    {XK_Shift_L, "LeftShift"},
    {XK_Alt_L, "LeftAlt"},
    {XK_Control_R, "RightCtrl", CSpecialKey::Extended},
    {XK_Shift_R, "RightShift"},
    {XK_Alt_R, "RightAlt", CSpecialKey::Extended},
    {XK_Delete, "ExtDelete", CSpecialKey::Extended},
    {XK_Insert, "ExtInsert", CSpecialKey::Extended},
    {XK_Left, "ExtLeft", CSpecialKey::Extended},
    {XK_Right, "ExtRight", CSpecialKey::Extended},
    {XK_Up, "ExtUp", CSpecialKey::Extended},
    {XK_Down, "ExtDown", CSpecialKey::Extended},
    {XK_Prior, "ExtPgUp", CSpecialKey::Extended},
    {XK_Next, "ExtPgDn", CSpecialKey::Extended},
    {XK_Home, "ExtHome", CSpecialKey::Extended},
    {XK_End, "ExtEnd", CSpecialKey::Extended},
    {XK_Delete, "NumDelete"},
    {XK_Insert, "NumInsert"},
    {XK_Left, "NumLeft"},
    {XK_Right, "NumRight"},
    {XK_Up, "NumUp"},
    {XK_Down, "NumDown"},
    {XK_Prior, "NumPgUp"},
    {XK_Next, "NumPgDn"},
    {XK_Home, "NumHome"},
    {XK_End, "NumEnd"},
    {XK_KP_Multiply, "Num*"},
    {XK_KP_Subtract, "Num-"},
    {XK_KP_Divide, "Num/", CSpecialKey::Extended},
    {XK_KP_Add, "Num+"},
    {XK_KP_Enter, "Num~", CSpecialKey::Extended},
    {XK_KP_Enter, "NumEnter", CSpecialKey::Extended},
    {XK_KP_0, "Num0", CSpecialKey::Keypad},
    {XK_KP_1, "Num1", CSpecialKey::Keypad},
    {XK_KP_2, "Num2", CSpecialKey::Keypad},
    {XK_KP_3, "Num3", CSpecialKey::Keypad},
    {XK_KP_4, "Num4", CSpecialKey::Keypad},
    {XK_KP_5, "Num5", CSpecialKey::Keypad},
    {XK_KP_6, "Num6", CSpecialKey::Keypad},
    {XK_KP_7, "Num7", CSpecialKey::Keypad},
    {XK_KP_8, "Num8", CSpecialKey::Keypad},
    {XK_KP_9, "Num9", CSpecialKey::Keypad},
    {XK_KP_Decimal, "Num.", CSpecialKey::Keypad},
    {0, "LKeys", CSpecialKey::LeftKeys},
    {0, "RKeys", CSpecialKey::RightKeys},
};
static_assert(std::size(g_SpecialKeys) == 93);

namespace {
constexpr size_t longestName = 14;
constexpr size_t longestTraced = 20;
constexpr char32_t replacementCharacter = 0xFFFD;

constinit thread_local CStrokeScope* s_innermost = nullptr;

/// Of the text that the calling thread types.
CStrokeScope& state()
{
    GX_ASSERT(s_innermost, "strokes belong to a text");
    return *s_innermost;
}

/// What stands between braces.
struct CBracedItem {
    std::u16string m_name;
    unsigned m_count = 1;
    KeySelector m_selector = Stroke;
};

bool atEnd()
{
    return state().m_stopped || *state().g_szKeys == 0;
}

bool take(char16_t unit)
{
    if (*state().g_szKeys != unit)
        return false;
    ++state().g_szKeys;
    return true;
}

/// The next character of a text, whose pointer moves past it.
char32_t takeCharacter(const char16_t*& text)
{
    const char32_t first = *text++;
    if (first < 0xD800 || first > 0xDFFF)
        return first;
    const bool pair = first < 0xDC00 && *text >= 0xDC00 && *text <= 0xDFFF;
    return pair ? 0x10000 + ((first - 0xD800) << 10) + (*text++ - 0xDC00) : replacementCharacter;
}

/// The only character of a name; nothing when it is not a single one.
std::optional<char32_t> singleCharacter(const std::u16string& name)
{
    const char16_t* rest = name.c_str();
    if (*rest == 0)
        return std::nullopt;
    const char32_t character = takeCharacter(rest);
    return *rest == 0 ? std::optional(character) : std::nullopt;
}

/// The keysym of the key that types a character; noKey when none does.
unsigned long keysymOf(char32_t character)
{
    const auto text = inLocale(character);
    return text ? state().m_sink.translate(text->c_str()) : noKey;
}

void send(unsigned action, unsigned long keysym, int flag)
{
    const int delay = isPress(action) ? state().g_nKeyDelay : state().g_nKeyUpDelay;
    if (!state().m_sink.stroke(action, keysym, delay, flag))
        state().m_stopped = true;
}

/// Presses and releases with the action codes of the modifiers that are held.
void strokes(unsigned long keysym, unsigned count, bool altAlone, int flag)
{
    const auto press = [&] { send(altAlone ? AltKeyPressed : KeyPressed, keysym, flag); };
    const auto release = [&] { send(altAlone ? AltKeyReleased : KeyReleased, keysym, flag); };
    if (count == PressOnly)
        return press();
    if (count == ReleaseOnly)
        return release();
    do {
        press();
        release();
    } while (--count > 0 && !state().m_stopped);
}

unsigned withShift(unsigned modifiers, unsigned long keysym)
{
    return state().m_sink.needsShift(keysym) ? modifiers | ShiftHeld : modifiers;
}

/// Switches Num Lock for a key of the numeric keypad: by a stroke, or where strokes do not switch it by a press or
/// a release alone.
void switchNumLock(unsigned action)
{
    if (state().g_brokenNumLock)
        send(action, XK_Num_Lock, CSpecialKey::OwnNumLock);
    else
        PlayVirtualKey(XK_Num_Lock, 0, CSpecialKey::OwnNumLock);
}

void copyKey(const char* from, const char* to, bool withFlag)
{
    const CSpecialKey* source = findSpecialKey(from);
    CSpecialKey* target = findSpecialKey(to);
    target->m_keysym = source->m_keysym.load();
    if (withFlag)
        target->m_flag = source->m_flag.load();
}

/// From now on Win, Ctrl, Shift and Alt mean the keys of one side. Win and Shift keep their flags: the keys
/// of both sides have the same.
void chooseSide(bool left)
{
    copyKey(left ? "LEFTWIN" : "RIGHTWIN", "Win", false);
    copyKey(left ? "LeftCtrl" : "RightCtrl", "Ctrl", true);
    copyKey(left ? "LeftShift" : "RightShift", "Shift", false);
    copyKey(left ? "LeftAlt" : "RightAlt", "Alt", true);
}

/// A lock key in a text is only noted: it takes effect at the end of the text.
bool noteLock(unsigned long keysym, int flag)
{
    if (keysym == XK_Caps_Lock && flag != CSpecialKey::OwnCapsLock)
        state().gnCpsLckStatement = 1 - state().gnCpsLckStatement;
    else if (keysym == XK_Num_Lock && flag != CSpecialKey::OwnNumLock)
        state().gnNumLckStatement = 1 - state().gnNumLckStatement;
    else
        return false;
    return true;
}

/// The modifiers that stand before an item. A second one of a kind takes the first back.
unsigned takePrefixes()
{
    constexpr std::pair<char16_t, unsigned> prefixes[] = {
        {u'+', ShiftHeld}, {u'^', ControlHeld}, {u'%', AltHeld}};
    unsigned modifiers = 0;
    for (;;) {
        const auto* const prefix = std::find_if(std::begin(prefixes), std::end(prefixes),
                                                [](const auto& each) { return take(each.first); });
        if (prefix == std::end(prefixes))
            return modifiers;
        modifiers ^= prefix->second;
    }
}

int readName(std::u16string& name)
{
    if (state().g_szKeys[0] == u'}' && state().g_szKeys[1] == u'}') {
        name = *state().g_szKeys++;
        return KeysPlayed;
    }
    while (*state().g_szKeys != u' ' && *state().g_szKeys != u'}') {
        if (atEnd())
            return KeysNoBrace;
        if (name.size() == longestName)
            return KeysUnknownName;
        name += *state().g_szKeys++;
    }
    return KeysPlayed;
}

bool isDigit(char16_t unit)
{
    return unit >= u'0' && unit <= u'9';
}

int readCount(unsigned& count)
{
    long value = 0;
    while (isDigit(*state().g_szKeys)) {
        value = value * 10 + (*state().g_szKeys++ - u'0');
        if (value > std::numeric_limits<int>::max())
            return KeysCountOverflow;
    }
    count = static_cast<unsigned>(value);
    return value > 0 ? KeysPlayed : KeysNoCount;
}

/// Reads KeyDn or KeyUp.
int readSelector(KeySelector& selector)
{
    std::u16string word;
    while (word.size() < 5 && state().g_szKeys[word.size()] != 0)
        word += state().g_szKeys[word.size()];
    const std::string name = asciiOf(word);
    if (strcasecmp(name.c_str(), "KeyDn") == 0)
        selector = KeyDn;
    else if (strcasecmp(name.c_str(), "KeyUp") == 0)
        selector = KeyUp;
    else
        return KeysNoCount;
    state().g_szKeys += word.size();
    return KeysPlayed;
}

int readBracedItem(CBracedItem& item)
{
    if (const int result = readName(item.m_name); result != KeysPlayed)
        return result;
    if (take(u' ')) {
        const int result =
            isDigit(*state().g_szKeys) ? readCount(item.m_count) : readSelector(item.m_selector);
        if (result != KeysPlayed)
            return result;
    }
    return take(u'}') ? KeysPlayed : KeysNoBrace;
}

/// The keysym of a name such as "vk65".
std::optional<unsigned long> keysymByNumber(const std::string& name)
{
    if (name.size() < 3 || strncasecmp(name.c_str(), "vk", 2) != 0)
        return std::nullopt;
    unsigned long keysym = 0;
    const char* end = name.data() + name.size();
    const auto [rest, error] = std::from_chars(name.data() + 2, end, keysym);
    return error == std::errc() && rest == end ? std::optional(keysym) : std::nullopt;
}

int playBracedCharacter(char32_t character, const CBracedItem& item, unsigned modifiers)
{
    if (item.m_selector == Stroke)
        return PlayChar(character, item.m_count, modifiers);
    const unsigned long keysym = keysymOf(character);
    if (item.m_selector == KeyUp)
        state().g_KeyDownCollection.erase(static_cast<unsigned>(keysym));
    else if (keysym != noKey)
        state().g_KeyDownCollection.insert(static_cast<unsigned>(keysym));
    return PlayChar(character, item.m_selector == KeyDn ? PressOnly : ReleaseOnly, modifiers);
}

int playBracedItem(unsigned modifiers)
{
    CBracedItem item;
    if (const int result = readBracedItem(item); result != KeysPlayed)
        return result;
    const std::string name = asciiOf(item.m_name);
    if (const auto keysym = keysymByNumber(name))
        return ExecVirtualKey(*keysym, item.m_count, modifiers, 0, item.m_selector);
    if (const CSpecialKey* key = findSpecialKey(name.c_str()))
        return ExecVirtualKey(key->m_keysym, item.m_count, modifiers, key->m_flag, item.m_selector);
    if (const auto character = singleCharacter(item.m_name))
        return playBracedCharacter(*character, item, modifiers);
    return KeysUnknownName;
}

/// An item that is no group and has no prefixes left.
int playSimpleItem(unsigned modifiers)
{
    if (atEnd())
        return KeysPlayed;
    state().m_item = state().g_szKeys;
    if (take(u'{'))
        return playBracedItem(modifiers);
    if (take(u'~'))
        return PlayVirtualKey(XK_Return, modifiers, 0);
    return PlayChar(takeCharacter(state().g_szKeys), modifiers);
}

int playText(bool parse)
{
    int result = KeysPlayed;
    while (!atEnd() && result == KeysPlayed)
        result = parse ? ProcessKeys(0) : PlayChar(takeCharacter(state().g_szKeys), 0);
    return result;
}

/// Switches both locks off and finds out whether Num Lock can be switched at all.
void switchLocksOff()
{
    const CLockState before = state().m_sink.locks();
    if (before.capsLock)
        PlayVirtualKey(XK_Caps_Lock, 0, CSpecialKey::OwnCapsLock);
    if (before.numLock)
        PlayVirtualKey(XK_Num_Lock, 0, CSpecialKey::OwnNumLock);
    PlayVirtualKey(XK_Num_Lock, 0, CSpecialKey::OwnNumLock);
    state().g_brokenNumLock = !state().m_sink.locks().numLock;
    if (!state().g_brokenNumLock)
        PlayVirtualKey(XK_Num_Lock, 0, CSpecialKey::OwnNumLock);
}

void switchLocks(CLockState which)
{
    if (which.capsLock)
        PlayVirtualKey(XK_Caps_Lock, 0, CSpecialKey::OwnCapsLock);
    if (which.numLock)
        PlayVirtualKey(XK_Num_Lock, state().g_brokenNumLock ? PressOnly : 1, 0, CSpecialKey::OwnNumLock);
}

/// @param place  of the item that failed, in units from the start of the text
void traceFailure(int result, size_t place)
{
    std::u16string item;
    for (const char16_t* unit = state().m_item; *unit != 0 && item.size() < longestTraced; ++unit)
        item += *unit;
    CTracer::debugTrace("The key string failed with result %d at index %zu: '%s'", result, place,
                        asciiOf(item).c_str());
}

void releaseHeldKeys()
{
    for (const unsigned keysym : std::exchange(state().g_KeyDownCollection, {}))
        PlayVirtualKey(keysym, ReleaseOnly, 0, 0);
    AdjustModifiers(0);
}
} // namespace

CStrokeScope::CStrokeScope(IStrokeSink& sink, const char16_t* text)
    : m_sink(sink), g_szKeys(text), m_item(text), g_nKeyDelay(g_delayKeyDown), g_nKeyUpDelay(g_delayKeyUp),
      m_outer(std::exchange(s_innermost, this))
{
}

CStrokeScope::~CStrokeScope()
{
    s_innermost = m_outer;
}

size_t GetSizeofSpecialKeys()
{
    return std::size(g_SpecialKeys);
}

CSpecialKey* findSpecialKey(const char* name)
{
    for (CSpecialKey& key : g_SpecialKeys)
        if (strcasecmp(key.m_name, name) == 0)
            return &key;
    return nullptr;
}

bool isSpecialKey(unsigned long keysym)
{
    return std::any_of(std::begin(g_SpecialKeys), std::end(g_SpecialKeys),
                       [&](const CSpecialKey& key) { return key.m_keysym == keysym; });
}

int SendKeys(const char16_t* text, bool parse, IStrokeSink& sink)
{
    const CEnvironmentLocale locale;
    const CStrokeScope scope(sink, text);
    sink.beginText(switchLocksOff);
    if (const int result = playText(parse); result != KeysPlayed) {
        traceFailure(result, static_cast<size_t>(scope.m_item - text));
        return result;
    }
    releaseHeldKeys();
    sink.endText({scope.gnCpsLckStatement != 0, scope.gnNumLckStatement != 0}, switchLocks);
    return KeysPlayed;
}

int ProcessKeys(unsigned modifiers)
{
    struct CGroup {
        unsigned m_modifiers;
        const char16_t* m_start;
    };
    std::vector<CGroup> groups; // a text of a million "(" must not exhaust the stack of a Java thread
    do {
        if (!groups.empty() && atEnd()) {
            state().m_item = groups.back().m_start;
            return state().m_stopped ? KeysPlayed : KeysNoParenthesis;
        }
        if (!groups.empty() && take(u')')) {
            groups.pop_back();
            continue;
        }
        const unsigned held = (groups.empty() ? modifiers : groups.back().m_modifiers) ^ takePrefixes();
        if (take(u'('))
            groups.push_back({held, state().g_szKeys - 1});
        else if (const int result = playSimpleItem(held); result != KeysPlayed)
            return result;
    } while (!groups.empty());
    return KeysPlayed;
}

int PlayChar(char32_t character, unsigned count, unsigned modifiers)
{
    const unsigned long keysym = keysymOf(character);
    if (keysym == noKey)
        playUnicodeChar(character);
    else
        strokes(keysym, count, AdjustModifiers(withShift(modifiers, keysym)), CSpecialKey::Ordinary);
    return KeysPlayed;
}

void playUnicodeChar(char32_t character)
{
    if (!state().m_sink.typeUnicode(character))
        state().m_stopped = true;
}

int PlayChar(char32_t character, unsigned modifiers)
{
    return PlayChar(character, 1, modifiers);
}

int PlayVirtualKey(unsigned long keysym, unsigned count, unsigned modifiers, int flag)
{
    if (flag == CSpecialKey::Keypad)
        switchNumLock(KeyPressed);
    if (keysym == 0) {
        if (flag == CSpecialKey::LeftKeys || flag == CSpecialKey::RightKeys)
            chooseSide(flag == CSpecialKey::LeftKeys);
    } else if (!noteLock(keysym, flag)) {
        strokes(keysym, count, AdjustModifiers(withShift(modifiers, keysym)), flag);
    }
    if (flag == CSpecialKey::Keypad)
        switchNumLock(KeyReleased);
    return KeysPlayed;
}

int PlayVirtualKey(unsigned long keysym, unsigned modifiers, int flag)
{
    return PlayVirtualKey(keysym, 1, modifiers, flag);
}

int ExecVirtualKey(unsigned long keysym, unsigned count, unsigned modifiers, int flag, int selector)
{
    switch (selector) {
    case Stroke:
        return PlayVirtualKey(keysym, count, modifiers, flag);
    case KeyDn:
        state().g_KeyDownCollection.insert(static_cast<unsigned>(keysym));
        return PlayVirtualKey(keysym, PressOnly, modifiers, flag);
    case KeyUp:
        state().g_KeyDownCollection.erase(static_cast<unsigned>(keysym));
        return PlayVirtualKey(keysym, ReleaseOnly, modifiers, flag);
    default:
        return 0;
    }
}

bool QueueModifiers(unsigned wanted, unsigned changed)
{
    const bool altAlone = (wanted & AltHeld) && !(wanted & ControlHeld);
    constexpr std::pair<unsigned, unsigned long> keys[] = {
        {AltHeld, XK_Alt_L}, {ControlHeld, XK_Control_L}, {ShiftHeld, XK_Shift_L}};
    for (const auto& [bit, keysym] : keys) {
        if (!(changed & bit))
            continue;
        if (wanted & bit)
            send(altAlone ? AltKeyPressed : KeyPressed, keysym, CSpecialKey::Ordinary);
        else
            send(altAlone ? AltKeyReleased : KeyReleased, keysym, CSpecialKey::Ordinary);
    }
    return altAlone;
}

bool AdjustModifiers(unsigned wanted)
{
    const bool altAlone = QueueModifiers(wanted, wanted ^ state().g_uModifiers);
    state().g_uModifiers = wanted;
    return altAlone;
}

bool AdjustModifiersEx(unsigned wanted)
{
    const bool altAlone = QueueModifiers(wanted, wanted ^ state().m_sink.modifiersDown());
    state().g_uModifiers = wanted;
    return altAlone;
}
