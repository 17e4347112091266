// The Java side of synthetic input: the exported functions that build and emit events.
#include "unix/input/EventManager.h"

#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/jni/LocalRef.h"
#include "unix/input/Mouse.h"
#include "unix/window/JavaGeometry.h"

#include "com_talvern_test_gx_sys_graphical_Event.h"
#include "com_talvern_test_gx_sys_graphical_NativeKeyMouseEvent.h"
#include "com_talvern_test_gx_sys_graphical_ScrollEvent.h"

namespace {
constexpr const char* windowClass = "com/talvern/test/gx/sys/graphical/NativeWindow";
constexpr const char* cannotPerform = "com/talvern/test/gx/UnableToPerformActionException";
constexpr const char* noXTest = "com/talvern/test/gx/sys/graphical/UnsupportedXServerException";
constexpr const char* offScreen = "com/talvern/test/gx/CoordinateOffScreenException";

void raise(JNIEnv* env, const char* exception)
{
    CJniJObject::throwException(env, exception, nullptr);
}

/// Plays a mouse event and raises what a failure means.
void emitMouse(JNIEnv* env, MouseEvent&& event)
{
    event.emit();
    switch (event.status()) {
    case PlaybackDone:
        return;
    case PlaybackNoXTest:
        return raise(env, noXTest);
    case PlaybackOffScreen:
        return raise(env, offScreen);
    default:
        return raise(env, cannotPerform);
    }
}

/// Plays a key or scroll event and raises what a failure means.
void emitKey(JNIEnv* env, Event&& event)
{
    event.emit();
    if (event.status() != PlaybackDone)
        raise(env, event.status() == PlaybackNoXTest ? noXTest : cannotPerform);
}

/// 0 is no window. A top-level window alone serves as both; a window alone goes without its top-level window.
CMouseTarget targetOf(std::optional<Point> point, jlong windowHandle, jlong topLevelHandle)
{
    const CWindow window(windowHandle != 0 ? windowHandle : topLevelHandle);
    const TopLevelWindow topLevel(topLevelHandle);
    return {point, &window, &topLevel};
}
} // namespace

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeKeyMouseEvent_emitLLMouseEvent, jclass,
       jobject point, jlong window, jlong topWindow, jint modifiers, jint wheelAmount, jint kind)
{
    jniEntry(env, __func__, [&](CJniTrace& trace) {
        auto place = pointOf(env, point);
        if (!place && Event::getIsLowLevelPlayback())
            place = Mouse::getCursorPos();
        if (!place) {
            trace.note(" - Exception thrown");
            return raise(env, cannotPerform);
        }
        emitMouse(env, {0, kind, 1, targetOf(place, window, topWindow), {}, modifiers, 0, wheelAmount});
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeKeyMouseEvent_emitHLMouseEvent, jclass,
       jobject start, jlong window, jlong topWindow, jobject end, jlong endWindow, jlong endTopWindow,
       jint modifiers, jint delay, jint kind, jint count)
{
    jniEntry(env, __func__, [&] {
        emitMouse(env, {0, kind, count, targetOf(pointOf(env, start), window, topWindow),
                        targetOf(pointOf(env, end), endWindow, endTopWindow), modifiers, delay, 0});
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeKeyMouseEvent_emitLLKeyEvent, jclass, jlong window,
       jlong topWindow, jint kind, jint keysym)
{
    jniEntry(env, __func__, [&] {
        emitKey(env, KeyEvent(0, kind, keysym, static_cast<const char*>(nullptr), CWindow(window),
                              TopLevelWindow(topWindow)));
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeKeyMouseEvent_emitHLKeyEvent, jclass, jlong window,
       jlong topWindow, jint kind, jstring text)
{
    jniEntry(env, __func__, [&] {
        const CJString characters(env, text);
        constexpr unsigned short none = 0;
        const unsigned short* const units = characters.ansiStringW();
        emitKey(env, KeyEvent(0, kind, 0, units ? units : &none, CWindow(window), TopLevelWindow(topWindow)));
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_ScrollEvent_emit, jobject self)
{
    jniEntry(env, __func__, [&] {
        const CJniJObject event(env, self, nullptr);
        const CWindow window(event.getObject("window", windowClass).getLong("handle"));
        emitKey(env, ScrollEvent(0, window,
                                 {event.getInt("orientation"), event.getInt("position"),
                                  event.getInt("minimum"), event.getInt("maximum")}));
    });
}

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_Event_getNumTaggedEvents, g_num_tagged_events,
              jclass)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_Event_getNumHookCalls, g_num_hook_calls, jclass)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_Event_getNumHookCallsTagged,
              g_num_hook_calls_tagged, jclass)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_Event_getNumWaits, g_num_waits, jclass)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_Event_getNumTimeouts, g_num_timeouts, jclass)
