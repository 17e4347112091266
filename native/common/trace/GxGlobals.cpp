// The exported state of the process, in the ground: every room may look at it.
#include "include/GxGlobals.h"

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
