#include "unix/input/Keyboard.h"

#include "unix/input/HeldInput.h"
#include "unix/input/InputServer.h"
#include "unix/input/InputStatus.h"
#include "unix/input/Keyboards.h"
#include "unix/input/RunningInput.h"
#include "unix/input/inputkeyunix.h"
#include "unix/input/processkey.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "unix/window/XErrors.h"
#include <X11/Xlib.h>

constinit thread_local int g_keyboard_status = InputSupported;

bool Keyboard::isKeyDown(int keysym)
{
    Display* const display = walkDisplay();
    const KeyCode key = CKeyCodes(display).of(static_cast<unsigned>(keysym));
    return key != 0 && CKeysDown(display).has(key);
}

void Keyboard::setModifierKeys(unsigned wanted)
{
    const CRunningInput running;
    if (!running.mayBegin() || !hasXTest(walkDisplay()))
        return;
    const CPlayedInput played;
    CServerStrokes strokes;
    const CStrokeScope scope(strokes);
    strokes.beginText([] {});
    AdjustModifiersEx(wanted & (ShiftHeld | ControlHeld | AltHeld));
}

unsigned long Keyboard::firstWithoutKey(const std::vector<unsigned long>& keysyms)
{
    Display* const display = keysyms.empty() ? nullptr : walkDisplay();
    if (!display)
        return 0;
    const CKeyCodes keys(mapOfXTestKeyboard(display)); // what a user's keyboard has does not help a stroke
    const auto found = std::find_if(keysyms.begin(), keysyms.end(),
                                    [&](unsigned long keysym) { return keys.of(keysym) == 0; });
    return found != keysyms.end() ? *found : 0;
}

int GetKeyCode(const char* text)
{
    if (!text || !*text)
        return -1;
    const size_t length = std::strlen(text);
    if (length == 1)
        return walkDisplay() ? static_cast<int16_t>(TranslateChar(text)) : -1;
    if (text[0] != '{' || text[length - 1] != '}')
        return -1;
    const CSpecialKey* const key = findSpecialKey(std::string(text + 1, length - 2).c_str());
    return key ? static_cast<int>(key->m_keysym) : -1;
}
