// The exported functions of the Java mouse: queries, and its capture.
#include "Mouse.h"

#include "InputStatus.h"
#include "JniEntry.h"

#include "com_talvern_test_gx_sys_graphical_NativeMouse.h"
#include "com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread.h"

namespace {
/// The Java form of what a wait for an event of the capture gave.
jobject javaForm(JNIEnv* env, const std::unique_ptr<MouseEvent>& event)
{
    return event ? event->toJavaEvent(env) : nullptr;
}
} // namespace

extern "C" {
JNIEXPORT jlong JNICALL Java_com_talvern_test_gx_sys_graphical_NativeMouse_createCaptureWindow(JNIEnv* env,
                                                                                               jobject, jlong)
{
    return jniEntry(env, __func__, [] { return jlong{0}; }); // a capture needs no window here
}

JNIEXPORT jobject JNICALL Java_com_talvern_test_gx_sys_graphical_NativeMouse_getCursorPos(JNIEnv* env,
                                                                                          jobject)
{
    return jniEntry(env, __func__, [&]() -> jobject {
        const auto position =
            withStatus(env, g_mouse_status, "NativeMouse.getCursorPos", [] { return Mouse::getCursorPos(); });
        if (!position)
            return nullptr;
        return CJniClass(env, "java/awt/Point").construct("(II)V", position->getx(), position->gety());
    });
}

/// A query with a number for an answer. The messages keep the spelling that callers look for.
#define EXPORT_MOUSE_QUERY(method, message)                                                                  \
    JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_graphical_NativeMouse_##method(JNIEnv* env, jobject) \
    {                                                                                                        \
        return jniEntry(env, __func__, [&]() -> jint {                                                       \
            return withStatus(env, g_mouse_status, "NativeMouse." message, [] { return Mouse::method(); });  \
        });                                                                                                  \
    }
EXPORT_MOUSE_QUERY(getMouseState, "getMouseState")
EXPORT_MOUSE_QUERY(getDoubleClickThresholdX, "getDoubleClickThreadholdX")
EXPORT_MOUSE_QUERY(getDoubleClickThresholdY, "getDoubleClickThreadholdY")
EXPORT_MOUSE_QUERY(getDragThresholdX, "getDragThresholdX")
EXPORT_MOUSE_QUERY(getDragThresholdY, "getDragThresholdY")
EXPORT_MOUSE_QUERY(getDoubleClickInterval, "getDoubleClickInterval")

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread_startCapture(
    JNIEnv* env, jobject, jlong window, jint cursor)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        return withStatus(env, g_mouse_status, "NativeMouseCaptureThread.startCapture", [&] {
            return Mouse::get().capture(CWindow(window), static_cast<GX_MOUSE_CURSOR>(cursor));
        });
    });
}

JNIEXPORT void JNICALL
Java_com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread_stopCapture(JNIEnv* env, jobject)
{
    jniEntry(env, __func__, [&] {
        withStatus(env, g_mouse_status, "NativeMouseCaptureThread.stopCapture",
                   [] { Mouse::get().release(); });
    });
}

JNIEXPORT jobject JNICALL
Java_com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread_getNextEvent(JNIEnv* env, jobject)
{
    return jniEntry(env, __func__, [&] {
        return javaForm(env, withStatus(env, g_mouse_status, "NativeMouseCaptureThread.getNextEvent",
                                        [] { return Mouse::get().getNextEvent(); }));
    });
}

JNIEXPORT jobject JNICALL
Java_com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread_getLastEvent(JNIEnv* env, jobject)
{
    return jniEntry(env, __func__, [&] {
        return javaForm(env, withStatus(env, g_mouse_status, "NativeMouseCaptureThread.getLastEvent",
                                        [] { return Mouse::get().getLastEvent(); }));
    });
}
}
