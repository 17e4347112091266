// State of the process, set up when the library is loaded. There is no JNI_OnLoad: the library is also loaded
// into applications that have no JVM.
#include "include/GxGlobals.h"

#include "unix/process/ProcessEnd.h"
#include "unix/window/OwnDisplay.h"

namespace {
/// Runs at exit, and when the library is unloaded. Whoever comes later finds no display.
void close_display()
{
    if (endsWithProcess())
        return;
    Display* const display = g_display;
    g_display = nullptr;
    closeOwnDisplay(display);
}
} // namespace

int GetDefaultScreen()
{
    fillCompanions();
    g_display = openOwnDisplay();
    if (!g_display)
        return 0;
    atProcessEnd<close_display>();
    return DefaultScreen(g_display);
}

int GetDefaultStopHotKey()
{
    return 0xFFC8;
} // XK_F11
int GetDefaultPauseHotKey()
{
    return 0xFFC9;
} // XK_F12

// In this order: no other unit of the library needs to be initialised before.
int g_screen = GetDefaultScreen();
std::atomic<int> g_stophotkey = GetDefaultStopHotKey();
std::atomic<int> g_pausehotkey = GetDefaultPauseHotKey();
