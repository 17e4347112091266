// clang-format off
/// From text to key strokes: the key-string syntax, and plain characters.
///
///     +x ^x %x      the next item with Shift, Control, Alt; they combine, a second one takes the first back
///     (items)       modifiers before the parenthesis hold for all items
///     ~             Return
///     {name}        a special key such as {ENTER}, {F1}, {Num5} (any case), or the character itself:
///                   {+}, {~}, {}}
///     {name n}      n times
///     {name KeyDn}  presses it and leaves it down; what is still down at the end of the text is released
///     {name KeyUp}  releases it
///     {vk65}        the key of a keysym, decimal
///
/// Text is 16-bit units up to a terminating 0. Two units that form a surrogate pair are one character; half a
/// pair is typed as U+FFFD, so that the loss can be seen. A character that no key types alone or with Shift
/// is typed as a Unicode keysym, once whatever its count; control characters are what the receiving program
/// makes of U+000A and the like: for the keys write ~ and {TAB}.
///
/// Caps Lock and Num Lock are off while a text is typed and are put back at its end; the lock keys in a text
/// take effect there. Threads that type at once share the keyboard, so their strokes mix and each text gets the
/// modifiers and locks of the others; the state of the call is each one's own. Locks and group come back when
/// the last of them, of whatever process, has ended.
// clang-format on
#pragma once

#include <atomic>
#include <cstddef>
#include <set>

class IStrokeSink;

/// What SendKeys answers. Parsing stops at the first failure; what stands before it has been typed.
enum KeyResult : int {
    KeysPlayed = 1,
    KeysNoBrace = 612,       ///< a "{" has no closing "}"
    KeysUnknownName = 613,   ///< the name in braces is too long, or nobody's
    KeysNoParenthesis = 614, ///< a "(" has no closing ")"
    KeysCountOverflow = 615, ///< a repeat count is too large for 31 bits
    KeysNoCount = 651,       ///< what follows the blank in braces is no count above 0, KeyDn or KeyUp
};

/// Turns a text into strokes, which go to `sink`.
/// @param parse  true: key-string syntax; false: every character as it stands
/// @return a KeyResult. After a failure modifiers, locks and keys pressed with KeyDn stay as they are; a
/// trace line names the result and the place in the text.
int SendKeys(const char16_t* text, bool parse, IStrokeSink& sink);

/// The state of one text. SendKeys has its own; the operations below work on that of the calling thread, the
/// innermost one that lives, and may be used wherever there is one. Whatever their prefixes say, all members
/// belong to this text alone.
class CStrokeScope {
public:
    explicit CStrokeScope(IStrokeSink& sink, const char16_t* text = u"");
    ~CStrokeScope();
    CStrokeScope(const CStrokeScope&) = delete;
    CStrokeScope& operator=(const CStrokeScope&) = delete;

    IStrokeSink& m_sink;
    const char16_t* g_szKeys;               ///< what is still to be typed
    const char16_t* m_item;                 ///< the item that is being played
    bool m_stopped = false;                 ///< no further item and no further repetition is wanted
    const int g_nKeyDelay;                  ///< of a press, milliseconds
    const int g_nKeyUpDelay;                ///< of a release, milliseconds
    unsigned g_uModifiers = 0;              ///< held now, KeyModifier bits
    int gnCpsLckStatement = 0;              ///< 1: the text switches Caps Lock
    int gnNumLckStatement = 0;              ///< 1: the text switches Num Lock
    bool g_brokenNumLock = false;           ///< pressing Num Lock does not switch it
    std::set<unsigned> g_KeyDownCollection; ///< keysyms of the keys that {... KeyDn} left down

private:
    CStrokeScope* const m_outer;
};

constexpr unsigned PressOnly = 0;            ///< as a count
constexpr unsigned ReleaseOnly = 0xFFFFFFFF; ///< as a count

/// Plays the next item of the remaining text with the given modifiers; a group is one item. At the end of the
/// text nothing happens. @return a KeyResult
int ProcessKeys(unsigned modifiers);
/// Types one character. The modifiers stay held until a stroke wants others. @return KeysPlayed
int PlayChar(char32_t character, unsigned count, unsigned modifiers);
int PlayChar(char32_t character, unsigned modifiers);
/// Types a character that no key types.
void playUnicodeChar(char32_t character);
/// What happens to a key between braces.
enum KeySelector : int {
    Stroke = 0, ///< it is pressed and released
    KeyDn = 1,  ///< it is pressed, and is among the held keys from then on
    KeyUp = 2   ///< it is released
};

/// Strokes the key of a keysym. @param flag  the one of its CSpecialKey; 0 without
int PlayVirtualKey(unsigned long keysym, unsigned count, unsigned modifiers, int flag);
int PlayVirtualKey(unsigned long keysym, unsigned modifiers, int flag);
/// @param count     of strokes, for Stroke
/// @param selector  a KeySelector
/// @return a KeyResult; 0 for any other selector
int ExecVirtualKey(unsigned long keysym, unsigned count, unsigned modifiers, int flag, int selector);
/// Makes the held modifiers (KeyModifier bits) those wanted. @return whether Alt is wanted without Control
bool AdjustModifiers(unsigned wanted);
/// As AdjustModifiers, but what is held now is asked of the keyboard: for use outside of a text.
bool AdjustModifiersEx(unsigned wanted);
bool QueueModifiers(unsigned wanted, unsigned changed);

/// A key with a name.
struct CSpecialKey {
    enum Flag : int {
        Ordinary = 0,
        Extended = 1,    ///< which is the same to an X server as an ordinary one
        LeftKeys = 2,    ///< {LKeys}, which has no key
        RightKeys = 3,   ///< {RKeys}
        OwnCapsLock = 4, ///< switches the lock at once: see switchLocksOff
        OwnNumLock = 5,
        Keypad = 6 ///< wants Num Lock
    };
    std::atomic<unsigned long> m_keysym;
    const char* m_name;
    std::atomic<int> m_flag{Ordinary};
};
/// {LKeys} and {RKeys} write to it: which of two keys Ctrl, Shift, Alt and Win stand for. That lasts for the
/// process, and holds for the texts of all threads.
extern CSpecialKey g_SpecialKeys[];
size_t GetSizeofSpecialKeys();
/// The row of a name, without regard to case; null when there is none.
CSpecialKey* findSpecialKey(const char* name);
/// Whether a key with a name has this keysym.
bool isSpecialKey(unsigned long keysym);
