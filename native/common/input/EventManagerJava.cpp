// The Java side of synthetic input: the exported functions that build and emit events.
#include "EventManager.h"

#include "JniDataTypes.h"
#include "JniEntry.h"
#include "LocalRef.h"
#include "Mouse.h"

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

std::optional<Point> pointOf(JNIEnv* env, jobject object)
{
    if (!object)
        return std::nullopt;
    const CJniJObject point(env, object, nullptr);
    return Point(point.getInt("x"), point.getInt("y"));
}

/// 0 is no window. A top-level window alone serves as both; a window alone goes without its top-level window.
CMouseTarget targetOf(std::optional<Point> point, jlong windowHandle, jlong topLevelHandle)
{
    const CWindow window(windowHandle != 0 ? windowHandle : topLevelHandle);
    const TopLevelWindow topLevel(topLevelHandle);
    return {point, &window, &topLevel};
}
} // namespace

extern "C" {
JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativeKeyMouseEvent_emitLLMouseEvent(
    JNIEnv* env, jclass, jobject point, jlong window, jlong topWindow, jint modifiers, jint wheelAmount,
    jint kind)
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

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativeKeyMouseEvent_emitHLMouseEvent(
    JNIEnv* env, jclass, jobject start, jlong window, jlong topWindow, jobject end, jlong endWindow,
    jlong endTopWindow, jint modifiers, jint delay, jint kind, jint count)
{
    jniEntry(env, __func__, [&] {
        emitMouse(env, {0, kind, count, targetOf(pointOf(env, start), window, topWindow),
                        targetOf(pointOf(env, end), endWindow, endTopWindow), modifiers, delay, 0});
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativeKeyMouseEvent_emitLLKeyEvent(
    JNIEnv* env, jclass, jlong window, jlong topWindow, jint kind, jint keysym)
{
    jniEntry(env, __func__, [&] {
        emitKey(env, KeyEvent(0, kind, keysym, static_cast<const char*>(nullptr), CWindow(window),
                              TopLevelWindow(topWindow)));
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativeKeyMouseEvent_emitHLKeyEvent(
    JNIEnv* env, jclass, jlong window, jlong topWindow, jint kind, jstring text)
{
    jniEntry(env, __func__, [&] {
        const CJString characters(env, text);
        constexpr unsigned short none = 0;
        const unsigned short* const units = characters.ansiStringW();
        emitKey(env, KeyEvent(0, kind, 0, units ? units : &none, CWindow(window), TopLevelWindow(topWindow)));
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_ScrollEvent_emit(JNIEnv* env, jobject self)
{
    jniEntry(env, __func__, [&] {
        const CJniJObject event(env, self, nullptr);
        const CWindow window(event.getObject("window", windowClass).getLong("handle"));
        emitKey(env, ScrollEvent(0, window,
                                 {event.getInt("orientation"), event.getInt("position"),
                                  event.getInt("minimum"), event.getInt("maximum")}));
    });
}

#define EXPORT_COUNTER(method, counter)                                                                      \
    JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_graphical_Event_##method(JNIEnv* env, jclass)        \
    {                                                                                                        \
        return jniEntry(env, __func__, [] { return jint{counter}; });                                        \
    }
EXPORT_COUNTER(getNumTaggedEvents, g_num_tagged_events)
EXPORT_COUNTER(getNumHookCalls, g_num_hook_calls)
EXPORT_COUNTER(getNumHookCallsTagged, g_num_hook_calls_tagged)
EXPORT_COUNTER(getNumWaits, g_num_waits)
EXPORT_COUNTER(getNumTimeouts, g_num_timeouts)
}
