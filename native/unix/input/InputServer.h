/// What input asks an X server: a round trip each. Without a display nothing is down, the pointer is nowhere.
#pragma once

#include "unix/window/WindowManager.h"

struct _XDisplay;

/// Whether it plays input. Asked before anything is faked: Xlib would write to standard error that the extension
/// is missing, or that a server which goes at that moment lacks it.
bool hasXTest(_XDisplay* display);

struct CPointerState {
    Point m_place;             ///< on the root window of its screen
    unsigned m_state = 0;      ///< modifiers and buttons, as events have them
    bool m_isOnScreen = false; ///< the default one
};
CPointerState pointerOf(_XDisplay* display);

/// Whether keys repeat while they are down, all of them; keys that do not repeat by themselves stay so.
bool keysRepeat(_XDisplay* display);
void letKeysRepeat(_XDisplay* display, bool repeat); ///< No round trip; does not flush.

/// The keys that are down, by key code.
class CKeysDown {
public:
    explicit CKeysDown(_XDisplay* display);
    bool has(unsigned code) const { return m_bits[code / 8 % sizeof m_bits] >> (code % 8) & 1; }

private:
    char m_bits[32] = {};
};
