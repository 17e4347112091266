#include "unix/input/inputkeyunix.h"

#include "common/text/CodeSet.h"
#include "common/trace/CTracer.h"
#include "include/GxGlobals.h"
#include "include/Pause.h"
#include "unix/input/EventManager.h"
#include "unix/input/HeldInput.h"
#include "unix/input/HotKeyCounter.h"
#include "unix/input/InputServer.h"
#include "unix/input/KeyReceiver.h"
#include "unix/input/RunningInput.h"
#include "unix/input/processkey.h"
#include "unix/window/OwnDisplay.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "include/ScopedX.h"
#include "unix/input/Keyboards.h"
#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

constinit CKeyMapping g_KeyMappingTable[2 * keyCodesConsidered] = {};
constinit std::atomic<bool> g_bKeyMappingTableBuilt = false;

namespace {
struct CFreeModifiers {
    void operator()(XModifierKeymap* map) const noexcept { XFreeModifiermap(map); }
};

void sendKey(KeyCode key, bool press, int delayMs)
{
    if (!isConnected(g_display))
        return;
    fakeKey(key, press, static_cast<unsigned long>(delayMs));
    XSync(g_display, False);
}

/// The modifier bit that Num Lock sets; 0 when it is on no modifier.
unsigned numLockBit(const CKeyCodes& codes)
{
    const std::unique_ptr<XModifierKeymap, CFreeModifiers> map(XGetModifierMapping(g_display));
    if (!map)
        return 0;
    const int keys = map->max_keypermod;
    for (int i = 0; i < 8 * keys; ++i)
        if (codes.keysymOf(map->modifiermap[i]) == XK_Num_Lock)
            return 1U << (i / keys);
    return 0;
}

/// The Latin-1 character in the code set of the locale, as XLookupString would give it in a host that called
/// setlocale.
void writeInLocale(unsigned long keysym, char (&text)[6])
{
    const auto bytes = inLocale(static_cast<char32_t>(keysym));
    if (bytes && bytes->size() < sizeof text)
        bytes->copy(text, bytes->size());
}

void describeKey(XkbDescRec& map, unsigned key, bool shifted, CKeyMapping& entry)
{
    unsigned unused;
    KeySym keysym = NoSymbol;
    entry = {key, shifted, 0, {}};
    if (key < map.min_key_code || key > map.max_key_code ||
        !XkbTranslateKeyCode(&map, static_cast<KeyCode>(key), shifted ? ShiftMask : 0, &unused, &keysym) ||
        keysym >= 256 || keysym == NoSymbol)
        return;
    entry.m_keysym = keysym;
    writeInLocale(keysym, entry.m_text);
}
} // namespace

/// The lowest key code, which is given the keysym of one character after the other. It lives for one text.
///
/// A window looks the key up in the map in force when it reads the event, so the map stays until the window
/// has read it (CKeyReceiver). The map is written through the core protocol, which gives all keyboards the
/// keys of the one used last, and knows less of groups and levels than the server; at the end each has the
/// keys that it had before.
class CUnicodeKey {
public:
    CUnicodeKey() : m_receiver(DisplayString(g_display))
    {
        XDisplayKeycodes(g_display, &m_lowest, &m_highest);
        m_map.reset(XGetKeyboardMapping(g_display, key(), m_highest - m_lowest + 1, &m_width));
    }

    void playUnicodeChar(char32_t character)
    {
        if (!m_map || m_width == 0)
            return;
        AdjustModifiers(0);
        const KeySym saved[] = {m_map.get()[0], m_map.get()[m_width > 1]};
        const KeySym keysym = keysymOf(character);
        // An Xlib client asks to be told of changes of the map when it looks its first key up. It may have
        // been sent keys that it has not read yet.
        if (m_receiver.aim())
            m_receiver.awaitRead();
        write(keysym, keysym);
        keepFromRepeating();
        stroke();
        m_receiver.awaitRead();
        write(saved[0], saved[1]);
    }

private:
    /// The characters of Latin-1 are their own keysyms. Xlib takes the Unicode keysym of one of them for a
    /// byte of Latin-1, whatever the locale: in UTF-8, xterm and Motif programs would read a malformed
    /// character.
    static KeySym keysymOf(char32_t character)
    {
        const bool latin1 =
            (character >= 0x20 && character < 0x7F) || (character >= 0xA0 && character < 0x100);
        return latin1 ? character : unicodeKeysyms + character;
    }
    KeyCode key() const { return static_cast<KeyCode>(m_lowest); }
    /// Sends both at once: nothing keeps this process from sending the second.
    void stroke()
    {
        if (!isConnected(g_display))
            return;
        fakeKey(key(), true, static_cast<unsigned long>(g_delayKeyDown));
        fakeKey(key(), false, static_cast<unsigned long>(g_delayKeyUp));
        XSync(g_display, False);
    }
    /// Gives the key a keysym without and with Shift. A capital alone would do for both: the server reads it
    /// as the small letter and, with Shift, the capital. The highest key is left out: it keeps what it has.
    void write(KeySym plain, KeySym shifted)
    {
        m_map.get()[m_width > 1] = shifted;
        m_map.get()[0] = plain;
        XChangeKeyboardMapping(g_display, m_lowest, m_width, m_map.get(), m_highest - m_lowest);
        XSync(g_display, False);
    }
    /// However late it goes up; when its keysyms change again, the server lets it repeat again.
    void keepFromRepeating()
    {
        XKeyboardControl control{};
        control.key = m_lowest;
        control.auto_repeat_mode = AutoRepeatModeOff;
        XChangeKeyboardControl(g_display, KBKey | KBAutoRepeatMode, &control);
    }

    CBorrowedKeyboards m_borrowed;
    CKeyReceiver m_receiver;
    XPtr<KeySym> m_map;
    int m_width = 0; ///< keysyms of one key in m_map
    int m_lowest = 0;
    int m_highest = 0;
};

bool mayGoOn()
{
    return !CRunningInput::mustStop() && isConnected(g_display);
}

void BuildKeyMappingTable()
{
    static std::mutex s_building;
    const std::lock_guard guard(s_building);
    if (g_bKeyMappingTableBuilt)
        return;
    const CEnvironmentLocale locale;
    const KeyboardMap map = mapOfXTestKeyboard(g_display);
    for (unsigned i = 0; map && i < 2 * keyCodesConsidered; ++i)
        describeKey(*map, i % keyCodesConsidered, i >= keyCodesConsidered, g_KeyMappingTable[i]);
    g_bKeyMappingTableBuilt = map != nullptr;
}

size_t FindInKeyMappingTable(const char* text)
{
    if (*text != 0)
        for (size_t i = 0; i < std::size(g_KeyMappingTable); ++i)
            if (std::strcmp(g_KeyMappingTable[i].m_text, text) == 0)
                return i;
    return static_cast<size_t>(-1);
}

unsigned long TranslateChar(const char* text)
{
    if (!g_bKeyMappingTableBuilt)
        BuildKeyMappingTable();
    const char first[] = {*text, 0};
    const size_t entry = FindInKeyMappingTable(first);
    return entry < std::size(g_KeyMappingTable) ? g_KeyMappingTable[entry].m_keysym : noKey;
}

unsigned IsShifted(unsigned long keysym)
{
    if (!g_bKeyMappingTableBuilt)
        BuildKeyMappingTable();
    for (const CKeyMapping& entry : g_KeyMappingTable)
        if (entry.m_keysym == keysym)
            return entry.m_shifted;
    return 0;
}

namespace {
/// Tells the players of all processes that the press of a hot key that follows is not the user's.
void countHotKey(unsigned long keysym) noexcept
try {
    if (keysym == static_cast<unsigned long>(g_stophotkey.load()))
        StopHotKeyCounter().increment();
    if (keysym == static_cast<unsigned long>(g_pausehotkey.load()))
        PauseHotKeyCounter().increment();
} catch (...) {
    CTracer::debugTrace("The press of hot key 0x%lx could not be counted", keysym);
}

KeyCode keyOf(const CKeyCodes& codes, unsigned long keysym)
{
    const KeyCode key = codes.of(keysym); // the server answers key code 0 with an error
    if (key == 0)
        CTracer::debugTrace("The keyboard has no key for keysym 0x%lx", keysym);
    return key;
}

void queueKey(const CKeyCodes& codes, unsigned action, unsigned long keysym, int delayMs)
{
    const KeyCode key = keyOf(codes, keysym);
    if (key == 0)
        return;
    if (isPress(action))
        countHotKey(keysym);
    sendKey(key, isPress(action), delayMs);
    for (const int hotKey : {g_stophotkey.load(), g_pausehotkey.load()}) {
        if (!isPress(action) || keysym != static_cast<unsigned long>(hotKey))
            continue;
        pauseFor(std::chrono::milliseconds(100));
        sendKey(key, true, delayMs);
    }
}

bool isHotKey(unsigned long keysym)
{
    return keysym == static_cast<unsigned long>(g_stophotkey.load()) ||
           keysym == static_cast<unsigned long>(g_pausehotkey.load());
}
} // namespace

void QueueVirtualKey(unsigned action, unsigned long keysym, int delayMs, int /*flag*/)
{
    queueKey(CKeyCodes(g_display), action, keysym, delayMs);
}

CKeyCodes switchToXTestKeyboard()
{
    int lowest, highest;
    XDisplayKeycodes(g_display, &lowest, &highest);
    sendKey(static_cast<KeyCode>(lowest), false, 0);
    return CKeyCodes(g_display);
}

int SendKeys(const char16_t* text, bool parse)
{
    CServerStrokes strokes;
    return SendKeys(text, parse, strokes);
}

CServerStrokes::CServerStrokes() : m_keys(switchToXTestKeyboard()), m_numLock(numLockBit(m_keys)) {}

CServerStrokes::~CServerStrokes() = default;

CLockState CServerStrokes::locks()
{
    m_strokes.send();
    return locksIn(pointerOf(g_display).m_state);
}

bool CServerStrokes::stroke(unsigned action, unsigned long keysym, int delayMs, int /*flag*/)
{
    const int delay = CRunningInput::mustStop() ? 0 : delayMs;
    if (isHotKey(keysym)) {
        m_strokes.send();
        queueKey(m_keys, action, keysym, delay);
    } else if (const KeyCode key = keyOf(m_keys, keysym); key != 0) {
        isPress(action) ? m_strokes.press(key, delay) : m_strokes.release(key, delay);
    }
    return mayGoOn();
}

bool CServerStrokes::typeUnicode(char32_t character)
{
    if (!mayGoOn())
        return false;
    m_strokes.send();
    if (!m_unicodeKey)
        m_unicodeKey = std::make_unique<CUnicodeKey>();
    m_unicodeKey->playUnicodeChar(character);
    return true;
}

unsigned CServerStrokes::modifiersDown()
{
    m_strokes.send();
    const CKeysDown down(g_display);
    const auto held = [&](unsigned long keysym, KeyModifier bit) {
        const KeyCode key = m_keys.of(keysym);
        return key != 0 && down.has(key) ? unsigned{bit} : 0U;
    };
    return held(XK_Shift_L, ShiftHeld) | held(XK_Control_L, ControlHeld) | held(XK_Alt_L, AltHeld);
}

CLockState CServerStrokes::locksIn(unsigned modifiers) const
{
    return {(modifiers & LockMask) != 0, (modifiers & m_numLock) != 0};
}

void CServerStrokes::beginText(const std::function<void()>& switchOff)
{
    m_locks.emplace(LockMask | m_numLock, switchOff);
}

void CServerStrokes::endText(CLockState switched, const std::function<void(CLockState)>& switchOver)
{
    m_strokes.send();
    m_unicodeKey.reset();
    const unsigned modifiers = (switched.capsLock ? LockMask : 0U) | (switched.numLock ? m_numLock : 0U);
    m_locks->end(modifiers, [&](unsigned on) { switchOver(locksIn(on)); });
}
