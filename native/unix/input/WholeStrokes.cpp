#include "unix/input/WholeStrokes.h"

#include "include/GxGlobals.h"
#include "unix/input/HeldInput.h"
#include "unix/input/InputServer.h"
#include "unix/window/OwnDisplay.h"

#include <utility>

#include <X11/Xlib.h>

CWholeStrokes::CWholeStrokes() : m_keysRepeat(keysRepeat(g_display)) {}

CWholeStrokes::~CWholeStrokes()
{
    if (!m_press || !isConnected(g_display))
        return;
    send();
    XSync(g_display, False);
}

void CWholeStrokes::press(unsigned char key, int delayMs)
{
    send();
    m_press = {key, delayMs};
}

void CWholeStrokes::release(unsigned char key, int delayMs)
{
    if (!isConnected(g_display))
        return;
    const bool isWhole = m_keysRepeat && m_press && m_press->m_key == key;
    if (isWhole)
        letKeysRepeat(g_display, false);
    send();
    fakeKey(key, false, static_cast<unsigned long>(delayMs));
    if (isWhole)
        letKeysRepeat(g_display, true);
    XSync(g_display, False);
}

void CWholeStrokes::send()
{
    const auto press = std::exchange(m_press, std::nullopt);
    if (press && isConnected(g_display))
        fakeKey(press->m_key, true, static_cast<unsigned long>(press->m_delayMs));
}
