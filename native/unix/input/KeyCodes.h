/// Which key types a keysym.
#pragma once

#include <memory>

struct _XDisplay;
struct _XkbDesc;

constexpr unsigned long unicodeKeysyms = 0x1000000; ///< the number of a character follows in the lower bits

struct CFreeKeyboard {
    void operator()(_XkbDesc* map) const noexcept;
};
using KeyboardMap = std::unique_ptr<_XkbDesc, CFreeKeyboard>;

/// The keys as clients see them at the moment at which it is made; changes of the map are not followed.
/// Xlib's own look-ups have the server tell of each change of the map from the first one on, and keep what
/// nobody reads in a process that plays nothing more. Once made, it asks the server for nothing.
class CKeyCodes {
public:
    /// Round trip. @param display  null: no keysym has a key
    explicit CKeyCodes(_XDisplay* display);
    /// The keys of one keyboard. @param map  null: no keysym has a key
    explicit CKeyCodes(KeyboardMap map);
    /// The first key that has the keysym in the lowest place of a key, places being counted through all
    /// groups and levels; 0 when there is none, and for keysym 0.
    unsigned char of(unsigned long keysym) const;
    /// What a key types alone in its first group; 0 for nothing and for a key that there is not.
    unsigned long keysymOf(unsigned key) const;

private:
    bool has(unsigned key, unsigned place) const;

    KeyboardMap m_map;
};
