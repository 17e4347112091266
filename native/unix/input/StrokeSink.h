/// Where the strokes of a typed text go: to the X server, or to a recording of them. The translation of text
/// into strokes (processkey) needs nothing else of a keyboard.
#pragma once

#include <functional>

/// The locks that would change what a key means.
struct CLockState {
    bool capsLock = false;
    bool numLock = false;
};

/// Bits of modifiers in key strings; AltGr is not among them.
enum KeyModifier : unsigned { ShiftHeld = 1, ControlHeld = 2, AltHeld = 4 };

/// What a stroke does. The numbers are the window messages of this code's first platform; on this one only
/// press versus release matters.
enum KeyAction : unsigned { KeyPressed = 256, KeyReleased = 257, AltKeyPressed = 260, AltKeyReleased = 261 };

constexpr bool isPress(unsigned action)
{
    return (action & ~4U) == KeyPressed;
}

constexpr unsigned long noKey = 0xFFFF; ///< as a keysym

/// The keyboard of one text, used by the thread that types it.
class IStrokeSink {
public:
    virtual ~IStrokeSink() = default;
    virtual CLockState locks() = 0; ///< as they are now
    /// The keysym of the key that types the first byte of `text` (in the locale's code set) alone or with
    /// Shift; noKey when there is none.
    virtual unsigned long translate(const char* text) = 0;
    virtual bool needsShift(unsigned long keysym) = 0;
    /// Presses or releases the key of a keysym; a keysym without a key does nothing.
    /// @param delayMs  milliseconds before it happens
    /// @param flag     a CSpecialKey::Flag: which kind of key asks for it
    /// @return false: no more is wanted; the text ends as after its last character
    virtual bool stroke(unsigned action, unsigned long keysym, int delayMs, int flag) = 0;
    /// Types a character that no key produces. @return as stroke
    virtual bool typeUnicode(char32_t character) = 0;
    virtual unsigned modifiersDown() = 0; ///< KeyModifier bits of the modifier keys that are down

    /// Begins a text. Texts that are typed at once share the locks.
    /// @param switchOff  is called when it is the only one; no other one begins meanwhile
    virtual void beginText(const std::function<void()>& switchOff) = 0;
    /// Ends a text that has been played; one that has failed just ends with the sink.
    /// @param switched    the locks that the text asked to be switched at its end
    /// @param switchOver  is called when no other text is being typed, with the locks to switch; no other one
    ///                    begins meanwhile
    virtual void endText(CLockState switched, const std::function<void(CLockState)>& switchOver) = 0;
};
