/// State of the process that the library exports: the in-application side and the engine's other libraries
/// look these names up. Each global has a companion with a "P" that holds its address, filled when the
/// library is loaded.
#pragma once

#include <jni.h>

#include <atomic>

#define GX_EXPORT [[gnu::visibility("default")]]

struct _XDisplay;

/// A callback of the in-application side; the meaning of the long is the callback's own.
using GxCallback = int (*)(JNIEnv*, long);

extern "C" {
/// The library's own connection to the X server, for windows and input. Null when there is no server. Opened
/// when the library is loaded, closed at exit unless other threads still run. Work on it from one thread at a
/// time.
GX_EXPORT extern _XDisplay* g_display;
GX_EXPORT extern _XDisplay** g_displayP;
/// The Xt display of the application under test, set by the in-application side; null elsewhere. Widget tests
/// use it.
GX_EXPORT extern _XDisplay* gx_app_display;
GX_EXPORT extern _XDisplay** gx_app_displayP;
GX_EXPORT extern int gx_MarloSUT; ///< not 0: this process is the application under test
GX_EXPORT extern int* gx_MarloSUTP;
GX_EXPORT extern int gx_MarloRecordMode; ///< not 0: recording is in progress
GX_EXPORT extern int* gx_MarloRecordModeP;
GX_EXPORT extern void* GlobalRunCallback; ///< the run callback of the in-application side
GX_EXPORT extern void** GlobalRunCallbackP;
GX_EXPORT extern GxCallback GlobalMessageCallback;
GX_EXPORT extern GxCallback* GlobalMessageCallbackP;
GX_EXPORT extern long GlobalParam; ///< what both callbacks are given
GX_EXPORT extern long* GlobalParamP;
GX_EXPORT extern int accelerate_on_linux; ///< playback acceleration
GX_EXPORT extern int* accelerate_on_linuxP;
GX_EXPORT extern unsigned long GlobalThreadId; ///< the thread recorded for the callbacks
GX_EXPORT extern unsigned long* GlobalThreadIdP;
}

extern int g_screen; ///< default screen number of g_display; 0 without a server

/// Set by one thread while another types or waits for the hot keys.
extern std::atomic<int> g_stophotkey;  ///< keysym of the hot key that stops playback
extern std::atomic<int> g_pausehotkey; ///< keysym of the hot key that pauses playback

/// Makes each companion hold the address of its global.
void fillCompanions();

/// Fills the companions, opens g_display on the default display and has it closed at exit.
/// @return the default screen number; 0 when no display could be opened
int GetDefaultScreen();

/// Keysyms of the hot keys that hold until others are set: F11 stops playback, F12 pauses it.
int GetDefaultStopHotKey();
int GetDefaultPauseHotKey();
