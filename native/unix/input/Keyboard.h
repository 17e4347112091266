/// The keyboard: what its keys are, which are down, and the modifier keys that the library holds down. Every
/// operation asks the X server on g_display and answers neutrally without one.
#pragma once

#include <vector>

class Keyboard {
public:
    /// Whether the key of an X keysym is down; false for a keysym without a key.
    static bool isKeyDown(int keysym);
    /// Toggle states and single keys are not told apart on this platform.
    static int getKeyState(int) { return 1; }
    static int getPressedKey() { return 1; }
    /// Presses and releases the left Shift, Control and Alt keys until exactly those are down that are
    /// wanted.
    /// @param wanted  bits 1 Shift, 2 Control, 4 Alt; others are ignored
    static void setModifierKeys(unsigned wanted);
    /// The first of these keysyms that no key of the keyboard has: a stroke of it would be left out. 0 when each
    /// has a key.
    static unsigned long firstWithoutKey(const std::vector<unsigned long>& keysyms);
};

/// The X keysym of a character that a key types alone or with Shift, or of a special key by its name in
/// braces, such as "{F1}", in any case.
/// @param text  in the code set of the locale
/// @return -1 when there is no such key
int GetKeyCode(const char* text);
