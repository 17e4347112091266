/// Keys of the X server: typing a text, which key types what, strokes through XTest, characters that no key
/// produces. On g_display, which must be open and have XTest; everything but the table blocks until the server
/// has done it.
#pragma once

#include "unix/input/HeldInput.h"
#include "unix/input/KeyCodes.h"
#include "unix/input/StrokeSink.h"
#include "unix/input/WholeStrokes.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>

/// Types a text into the window with the keyboard focus; blocks until the server has processed the last
/// stroke. What it parses and answers is that of SendKeys with a sink (processkey.h).
int SendKeys(const char16_t* text, bool parse);

/// Whether what is being played may go on: the process does not end and the server has not gone.
bool mayGoOn();

/// What one key types without modifiers or with Shift, in the first group of the layout.
struct CKeyMapping {
    unsigned m_keyCode;
    unsigned m_shifted;     ///< 1: with Shift
    unsigned long m_keysym; ///< of Latin-1, below 256
    char m_text[6];         ///< in the code set of the locale; empty when the key types no Latin-1 character
};
constexpr unsigned keyCodesConsidered = 248;
/// Entry k is key code k without modifiers, entry 248 + k the same with Shift. Built at the first
/// translation from the map that the keyboard of XTest has then, whoever pressed a key last; later changes of
/// the layout are not seen.
extern CKeyMapping g_KeyMappingTable[2 * keyCodesConsidered];
extern std::atomic<bool> g_bKeyMappingTableBuilt;
/// Does nothing when it has been built. Any thread; the others wait.
void BuildKeyMappingTable();

/// Index of the first entry with this text; all ones when there is none.
size_t FindInKeyMappingTable(const char* text);
/// The keysym of the first byte of `text`; noKey when no key produces it. Builds the table.
unsigned long TranslateChar(const char* text);
/// The same: on this platform there is one keyboard layout, that of the server.
inline unsigned long TranslateCharEx(const char* text)
{
    return TranslateChar(text);
}
/// 1 when the first entry of a keysym is one with Shift, else 0.
unsigned IsShifted(unsigned long keysym);
inline unsigned HIBYTE(unsigned long keysym)
{
    return IsShifted(keysym);
}

/// Sends one stroke (KeyAction) to the key of a keysym. A press of a hot key of the player is sent twice, 100
/// ms apart: the player drops the first one, which it was told to expect.
/// Nothing in the library calls it; see doc/kept-on-purpose.md.
/// @param delayMs  milliseconds that the server waits before it
/// @param flag     a CSpecialKey::Flag; the keys of an X server need none
void QueueVirtualKey(unsigned action, unsigned long keysym, int delayMs, int flag);

class CUnicodeKey;

/// The strokes of one text, sent to the X server. From the beginning of the text the first group of the layout
/// is locked, since that is the one the table describes; the group of before comes back at its end, and with
/// it the exact maps of all keyboards. The keys of keysyms are those of before it.
class CServerStrokes : public IStrokeSink {
public:
    CServerStrokes();
    ~CServerStrokes() override;

    CLockState locks() override;
    unsigned long translate(const char* text) override { return TranslateChar(text); }
    bool needsShift(unsigned long keysym) override { return IsShifted(keysym) != 0; }
    bool stroke(unsigned action, unsigned long keysym, int delayMs, int flag) override;
    bool typeUnicode(char32_t character) override;
    unsigned modifiersDown() override;
    void beginText(const std::function<void()>& switchOff) override;
    void endText(CLockState switched, const std::function<void(CLockState)>& switchOver) override;

private:
    CLockState locksIn(unsigned modifiers) const;

    const CKeyCodes m_keys;
    CWholeStrokes m_strokes;
    const unsigned m_numLock; ///< the modifier bit that Num Lock sets; 0 when it is on no modifier
    std::optional<CSwitchedLocks> m_locks;
    std::unique_ptr<CUnicodeKey> m_unicodeKey;
};

/// Makes the keyboard map that XTest strokes are looked up in the current one. The server keeps a map a
/// device and shows the one of the device used last; a stroke of the XTest keyboard switches to its own. A
/// release of a key that is not down does that and nothing else.
/// @return the keys of that map
CKeyCodes switchToXTestKeyboard();
