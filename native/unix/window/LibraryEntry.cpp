// State of the process, set up when the library is loaded. There is no JNI_OnLoad: the library is also loaded
// into applications that have no JVM.
#include "GxGlobals.h"

#include "OwnDisplay.h"
#include "ProcessEnd.h"

extern "C" {
constinit _XDisplay* g_display = nullptr;
constinit _XDisplay** g_displayP = nullptr;
constinit _XDisplay* gx_app_display = nullptr;
constinit _XDisplay** gx_app_displayP = nullptr;
constinit int gx_MarloSUT = 0;
constinit int* gx_MarloSUTP = nullptr;
constinit int gx_MarloRecordMode = 0;
constinit int* gx_MarloRecordModeP = nullptr;
constinit void* GlobalRunCallback = nullptr;
constinit void** GlobalRunCallbackP = nullptr;
constinit GxCallback GlobalMessageCallback = nullptr;
constinit GxCallback* GlobalMessageCallbackP = nullptr;
constinit long GlobalParam = 0;
constinit long* GlobalParamP = nullptr;
constinit int accelerate_on_linux = 0;
constinit int* accelerate_on_linuxP = nullptr;
constinit unsigned long GlobalThreadId = 0;
constinit unsigned long* GlobalThreadIdP = nullptr;
}

namespace {
void fillCompanions()
{
    g_displayP = &g_display;
    gx_app_displayP = &gx_app_display;
    gx_MarloSUTP = &gx_MarloSUT;
    gx_MarloRecordModeP = &gx_MarloRecordMode;
    GlobalRunCallbackP = &GlobalRunCallback;
    GlobalMessageCallbackP = &GlobalMessageCallback;
    GlobalParamP = &GlobalParam;
    accelerate_on_linuxP = &accelerate_on_linux;
    GlobalThreadIdP = &GlobalThreadId;
}

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
