#include "unix/input/KeyCodes.h"

#include <utility>

#include <X11/XKBlib.h>

void CFreeKeyboard::operator()(XkbDescPtr map) const noexcept
{
    XkbFreeKeyboard(map, 0, True);
}

CKeyCodes::CKeyCodes(Display* display)
    : m_map(display ? XkbGetMap(display, XkbKeySymsMask, XkbUseCoreKbd) : nullptr)
{
}

CKeyCodes::CKeyCodes(KeyboardMap map) : m_map(std::move(map)) {}

unsigned char CKeyCodes::of(unsigned long keysym) const
{
    bool more = m_map && keysym != NoSymbol;
    for (unsigned place = 0; more; ++place) {
        more = false;
        for (unsigned key = m_map->min_key_code; key <= m_map->max_key_code; ++key) {
            if (!has(key, place))
                continue;
            if (XkbKeySym(m_map, key, place) == keysym)
                return static_cast<unsigned char>(key);
            more = true;
        }
    }
    return 0;
}

unsigned long CKeyCodes::keysymOf(unsigned key) const
{
    return m_map && has(key, 0) ? XkbKeySym(m_map, key, 0) : NoSymbol;
}

bool CKeyCodes::has(unsigned key, unsigned place) const
{
    return key >= m_map->min_key_code && key <= m_map->max_key_code &&
           place < static_cast<unsigned>(XkbKeyNumSyms(m_map, key));
}
