#include "processkey.h"

#include "CodeSet.h"
#include "EventManager.h"
#include "StrokeSink.h"
#include "inputkeyunix.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <cwchar>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <strings.h>
#include <vector>

#include <X11/keysym.h>

constinit CSpecialKey g_SpecialKeys[] = {
    {XK_Caps_Lock, "CAPSLOCK", 0},
    {XK_Num_Lock, "NUMLOCK", 1},
    {XK_Scroll_Lock, "SCROLLLOCK", 0},
    {XK_Escape, "ESCAPE", 0},
    {XK_Escape, "ESC", 0},
    {XK_Return, "ENTER", 0},
    {XK_Help, "HELP", 0},
    {XK_Print, "PRTSC", 0},
    {XK_Tab, "TAB", 0},
    {XK_Pause, "BREAK", 0},
    {XK_Clear, "CLEAR", 0},
    {XK_BackSpace, "BACKSPACE", 0},
    {XK_BackSpace, "BS", 0},
    {XK_BackSpace, "BKSP", 0},
    {XK_Delete, "DELETE", 0},
    {XK_Delete, "DEL", 0},
    {XK_Insert, "INSERT", 0},
    {XK_Left, "LEFT", 0},
    {XK_Right, "RIGHT", 0},
    {XK_Up, "UP", 0},
    {XK_Down, "DOWN", 0},
    {XK_Prior, "PGUP", 0},
    {XK_Next, "PGDN", 0},
    {XK_Home, "HOME", 0},
    {XK_End, "END", 0},
    {XK_F1, "F1", 0},
    {XK_F2, "F2", 0},
    {XK_F3, "F3", 0},
    {XK_F4, "F4", 0},
    {XK_F5, "F5", 0},
    {XK_F6, "F6", 0},
    {XK_F7, "F7", 0},
    {XK_F8, "F8", 0},
    {XK_F9, "F9", 0},
    {XK_F10, "F10", 0},
    {XK_F11, "F11", 0},
    {XK_F12, "F12", 0},
    {XK_F13, "F13", 0},
    {XK_F14, "F14", 0},
    {XK_F15, "F15", 0},
    {XK_F16, "F16", 0},
    {XK_Execute, "APPS", 1},
    {XK_Meta_L, "Win", 1},
    {XK_Meta_L, "LEFTWIN", 1},
    {XK_Meta_R, "RIGHTWIN", 1},
    {XK_Control_L, "Ctrl", 0},
    {XK_Shift_L, "Shift", 0},
    {XK_Alt_L, "Alt", 0},
    {XK_Control_L, "LeftCtrl", 0},
    {XK_Shift_L, "LeftShift", 0},
    {XK_Alt_L, "LeftAlt", 0},
    {XK_Control_R, "RightCtrl", 1},
    {XK_Shift_R, "RightShift", 0},
    {XK_Alt_R, "RightAlt", 1},
    {XK_Delete, "ExtDelete", 1},
    {XK_Insert, "ExtInsert", 1},
    {XK_Left, "ExtLeft", 1},
    {XK_Right, "ExtRight", 1},
    {XK_Up, "ExtUp", 1},
    {XK_Down, "ExtDown", 1},
    {XK_Prior, "ExtPgUp", 1},
    {XK_Next, "ExtPgDn", 1},
    {XK_Home, "ExtHome", 1},
    {XK_End, "ExtEnd", 1},
    {XK_Delete, "NumDelete", 0},
    {XK_Insert, "NumInsert", 0},
    {XK_Left, "NumLeft", 0},
    {XK_Right, "NumRight", 0},
    {XK_Up, "NumUp", 0},
    {XK_Down, "NumDown", 0},
    {XK_Prior, "NumPgUp", 0},
    {XK_Next, "NumPgDn", 0},
    {XK_Home, "NumHome", 0},
    {XK_End, "NumEnd", 0},
    {XK_KP_Multiply, "Num*", 0},
    {XK_KP_Subtract, "Num-", 0},
    {XK_KP_Divide, "Num/", 1},
    {XK_KP_Add, "Num+", 0},
    {XK_KP_Enter, "Num~", 1},
    {XK_KP_Enter, "NumEnter", 1},
    {XK_KP_0, "Num0", 6},
    {XK_KP_1, "Num1", 6},
    {XK_KP_2, "Num2", 6},
    {XK_KP_3, "Num3", 6},
    {XK_KP_4, "Num4", 6},
    {XK_KP_5, "Num5", 6},
    {XK_KP_6, "Num6", 6},
    {XK_KP_7, "Num7", 6},
    {XK_KP_8, "Num8", 6},
    {XK_KP_9, "Num9", 6},
    {XK_KP_Decimal, "Num.", 6},
    {0, "LKeys", 2},
    {0, "RKeys", 3},
};
static_assert(std::size(g_SpecialKeys) == 93);

namespace {
constexpr unsigned long noKey = 0xFFFF;
constexpr size_t longestName = 14;
constexpr char32_t replacementCharacter = 0xFFFD;

constinit IStrokeSink* g_sink = nullptr;
constinit const char16_t* g_szKeys = u""; ///< what is still to be typed
constinit int g_nKeyDelay = 0;            ///< of a press, milliseconds
constinit int g_nKeyUpDelay = 0;          ///< of a release, milliseconds
constinit unsigned g_uModifiers = 0;      ///< held now, KeyModifier bits
constinit int gnCpsLckStatement = 0;      ///< 1: the text switches Caps Lock
constinit int gnNumLckStatement = 0;
constinit bool g_brokenNumLock = false; ///< pressing Num Lock does not switch it
std::set<unsigned> g_KeyDownCollection; ///< keysyms of the keys that {... KeyDn} left down

/// What stands between braces.
struct CBracedItem {
    std::u16string m_name;
    unsigned m_count = 1;
    int m_selector = 0; ///< as of ExecVirtualKey
};

bool atEnd()
{
    return *g_szKeys == 0;
}

bool take(char16_t unit)
{
    if (*g_szKeys != unit)
        return false;
    ++g_szKeys;
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

/// A name of a special key is ASCII; anything else matches none.
std::string asciiOf(const std::u16string& name)
{
    std::string ascii;
    for (const char16_t unit : name)
        ascii += unit < 0x80 ? static_cast<char>(unit) : '?';
    return ascii;
}

/// The character in the locale's code set; nothing when that has no such character.
std::optional<std::string> inLocale(char32_t character)
{
    const wchar_t wide[] = {static_cast<wchar_t>(character), 0};
    char bytes[16];
    const size_t length = std::wcstombs(bytes, wide, sizeof bytes);
    return length < sizeof bytes ? std::optional(std::string(bytes, length)) : std::nullopt;
}

/// The keysym of the key that types a character; noKey when none does.
unsigned long keysymOf(char32_t character)
{
    const auto text = inLocale(character);
    return text ? g_sink->translate(text->c_str()) : noKey;
}

/// Presses and releases with the action codes of the modifiers that are held.
void strokes(unsigned long keysym, unsigned count, bool altAlone)
{
    const unsigned press = altAlone ? AltKeyPressed : KeyPressed;
    const unsigned release = altAlone ? AltKeyReleased : KeyReleased;
    if (count == PressOnly)
        g_sink->stroke(press, keysym, g_nKeyDelay);
    else if (count == ReleaseOnly)
        g_sink->stroke(release, keysym, g_nKeyUpDelay);
    else
        for (unsigned i = 0; i < count; ++i)
            if (!g_sink->stroke(press, keysym, g_nKeyDelay) ||
                !g_sink->stroke(release, keysym, g_nKeyUpDelay))
                return;
}

unsigned withShift(unsigned modifiers, unsigned long keysym)
{
    return g_sink->needsShift(keysym) ? modifiers | ShiftHeld : modifiers;
}

/// Switches Num Lock for a key of the numeric keypad, by a stroke, or by half a one where strokes do not
/// switch it.
void switchNumLock(unsigned action)
{
    if (g_brokenNumLock)
        g_sink->stroke(action, XK_Num_Lock, isPress(action) ? g_nKeyDelay : g_nKeyUpDelay);
    else
        PlayVirtualKey(XK_Num_Lock, 0, CSpecialKey::OwnNumLock);
}

void copyKey(const char* from, const char* to, bool withFlag)
{
    const CSpecialKey* source = findSpecialKey(from);
    CSpecialKey* target = findSpecialKey(to);
    target->m_keysym = source->m_keysym;
    if (withFlag)
        target->m_flag = source->m_flag;
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
        gnCpsLckStatement = 1 - gnCpsLckStatement;
    else if (keysym == XK_Num_Lock && flag != CSpecialKey::OwnNumLock)
        gnNumLckStatement = 1 - gnNumLckStatement;
    else
        return false;
    return true;
}

unsigned takePrefixes()
{
    unsigned modifiers = 0;
    for (;;) {
        if (take(u'+'))
            modifiers ^= ShiftHeld;
        else if (take(u'^'))
            modifiers ^= ControlHeld;
        else if (take(u'%'))
            modifiers ^= AltHeld;
        else
            return modifiers;
    }
}

int readName(std::u16string& name)
{
    if (g_szKeys[0] == u'}' && g_szKeys[1] == u'}') {
        name = *g_szKeys++;
        return KeysPlayed;
    }
    while (*g_szKeys != u' ' && *g_szKeys != u'}') {
        if (atEnd())
            return KeysNoBrace;
        if (name.size() == longestName)
            return KeysUnknownName;
        name += *g_szKeys++;
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
    while (isDigit(*g_szKeys)) {
        value = value * 10 + (*g_szKeys++ - u'0');
        if (value > std::numeric_limits<int>::max())
            return KeysCountOverflow;
    }
    count = static_cast<unsigned>(value);
    return value > 0 ? KeysPlayed : KeysNoCount;
}

/// Reads KeyDn or KeyUp.
int readSelector(int& selector)
{
    std::u16string word;
    while (word.size() < 5 && g_szKeys[word.size()] != 0)
        word += g_szKeys[word.size()];
    const std::string name = asciiOf(word);
    if (strcasecmp(name.c_str(), "KeyDn") == 0)
        selector = 1;
    else if (strcasecmp(name.c_str(), "KeyUp") == 0)
        selector = 2;
    else
        return KeysNoCount;
    g_szKeys += word.size();
    return KeysPlayed;
}

int readBracedItem(CBracedItem& item)
{
    if (const int result = readName(item.m_name); result != KeysPlayed)
        return result;
    if (take(u' ')) {
        const int result = isDigit(*g_szKeys) ? readCount(item.m_count) : readSelector(item.m_selector);
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
    if (item.m_selector == 0)
        return PlayChar(character, item.m_count, modifiers);
    const unsigned long keysym = keysymOf(character);
    if (item.m_selector == 2)
        g_KeyDownCollection.erase(static_cast<unsigned>(keysym));
    else if (keysym != noKey)
        g_KeyDownCollection.insert(static_cast<unsigned>(keysym));
    return PlayChar(character, item.m_selector == 1 ? PressOnly : ReleaseOnly, modifiers);
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
    if (take(u'{'))
        return playBracedItem(modifiers);
    if (take(u'~'))
        return PlayVirtualKey(XK_Return, modifiers, 0);
    return PlayChar(takeCharacter(g_szKeys), modifiers);
}

int playText(bool parse)
{
    int result = KeysPlayed;
    while (!atEnd() && result == KeysPlayed)
        result = parse ? ProcessKeys(0) : PlayChar(takeCharacter(g_szKeys), 0);
    return result;
}

/// Switches both locks off and finds out whether Num Lock can be switched at all.
CLockState switchLocksOff()
{
    const CLockState before = g_sink->locks();
    if (before.capsLock)
        PlayVirtualKey(XK_Caps_Lock, 0, CSpecialKey::OwnCapsLock);
    if (before.numLock)
        PlayVirtualKey(XK_Num_Lock, 0, CSpecialKey::OwnNumLock);
    PlayVirtualKey(XK_Num_Lock, 0, CSpecialKey::OwnNumLock);
    g_brokenNumLock = !g_sink->locks().numLock;
    if (!g_brokenNumLock)
        PlayVirtualKey(XK_Num_Lock, 0, CSpecialKey::OwnNumLock);
    return before;
}

/// The locks as they were, less or more what the text asked for.
void restoreLocks(const CLockState& before)
{
    if (before.capsLock + gnCpsLckStatement == 1)
        PlayVirtualKey(XK_Caps_Lock, 0, CSpecialKey::OwnCapsLock);
    if (before.numLock + gnNumLckStatement == 1)
        PlayVirtualKey(XK_Num_Lock, g_brokenNumLock ? PressOnly : 1, 0, CSpecialKey::OwnNumLock);
}

void releaseHeldKeys()
{
    const std::set<unsigned> held = std::move(g_KeyDownCollection);
    g_KeyDownCollection.clear();
    for (const unsigned keysym : held)
        PlayVirtualKey(keysym, ReleaseOnly, 0, 0);
    AdjustModifiers(0);
}
} // namespace

CStrokeScope::CStrokeScope(IStrokeSink& sink) : m_outer(g_sink)
{
    g_sink = &sink;
    g_nKeyDelay = g_delayKeyDown;
    g_nKeyUpDelay = g_delayKeyUp;
    g_uModifiers = 0;
}

CStrokeScope::~CStrokeScope()
{
    g_sink = m_outer;
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

int SendKeys(const char16_t* text, bool parse)
{
    CServerStrokes strokes;
    return SendKeys(text, parse, strokes);
}

int SendKeys(const char16_t* text, bool parse, IStrokeSink& sink)
{
    const CEnvironmentLocale locale;
    const CStrokeScope scope(sink);
    g_szKeys = text;
    gnCpsLckStatement = 0;
    gnNumLckStatement = 0;
    const CLockState before = switchLocksOff();
    const int result = playText(parse);
    g_szKeys = u"";
    if (result != KeysPlayed) {
        g_KeyDownCollection.clear();
        return result;
    }
    releaseHeldKeys();
    restoreLocks(before);
    return KeysPlayed;
}

int ProcessKeys(unsigned modifiers)
{
    std::vector<unsigned> groups; // a text of a million "(" must not exhaust the stack of a Java thread
    do {
        if (!groups.empty() && atEnd())
            return KeysNoParenthesis;
        if (!groups.empty() && take(u')')) {
            groups.pop_back();
            continue;
        }
        const unsigned held = (groups.empty() ? modifiers : groups.back()) ^ takePrefixes();
        if (take(u'('))
            groups.push_back(held);
        else if (const int result = playSimpleItem(held); result != KeysPlayed)
            return result;
    } while (!groups.empty());
    return KeysPlayed;
}

int PlayChar(char32_t character, unsigned count, unsigned modifiers)
{
    const unsigned long keysym = keysymOf(character);
    if (keysym == noKey)
        g_sink->typeUnicode(character);
    else
        strokes(keysym, count, AdjustModifiers(withShift(modifiers, keysym)));
    return KeysPlayed;
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
        strokes(keysym, count, AdjustModifiers(withShift(modifiers, keysym)));
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
    case 0:
        return PlayVirtualKey(keysym, count, modifiers, flag);
    case 1:
        g_KeyDownCollection.insert(static_cast<unsigned>(keysym));
        return PlayVirtualKey(keysym, PressOnly, modifiers, flag);
    case 2:
        g_KeyDownCollection.erase(static_cast<unsigned>(keysym));
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
            g_sink->stroke(altAlone ? AltKeyPressed : KeyPressed, keysym, g_nKeyDelay);
        else
            g_sink->stroke(altAlone ? AltKeyReleased : KeyReleased, keysym, g_nKeyUpDelay);
    }
    return altAlone;
}

bool AdjustModifiers(unsigned wanted)
{
    const bool altAlone = QueueModifiers(wanted, wanted ^ g_uModifiers);
    g_uModifiers = wanted;
    return altAlone;
}

bool AdjustModifiersEx(unsigned wanted)
{
    const bool altAlone = QueueModifiers(wanted, wanted ^ g_sink->modifiersDown());
    g_uModifiers = wanted;
    return altAlone;
}
