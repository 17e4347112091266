// The exported functions of the Java mouse: queries, and its capture.
#include "unix/input/Mouse.h"

#include "common/jni/JniEntry.h"
#include "unix/input/InputStatus.h"
#include "unix/window/JavaGeometry.h"

#include "com_talvern_test_gx_sys_graphical_NativeMouse.h"
#include "com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread.h"

namespace {
/// The Java form of what a wait for an event of the capture gave.
jobject javaForm(JNIEnv* env, const std::unique_ptr<MouseEvent>& event)
{
    return event ? event->toJavaEvent(env) : nullptr;
}

/// A query with a number for an answer.
jint ask(JNIEnv* env, const char* operation, int (*query)())
{
    return withStatus(env, g_mouse_status, operation, query);
}
} // namespace

GX_JNI(jlong, Java_com_talvern_test_gx_sys_graphical_NativeMouse_createCaptureWindow, jobject, jlong)
{
    return jniEntry(env, __func__, [] { return jlong{0}; }); // a capture needs no window here
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeMouse_getCursorPos, jobject)
{
    return jniEntry(env, __func__, [&]() -> jobject {
        const auto position =
            withStatus(env, g_mouse_status, "NativeMouse.getCursorPos", [] { return Mouse::getCursorPos(); });
        return position ? newPoint(env, *position) : nullptr;
    });
}

// The messages keep the spelling that callers look for.
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeMouse_getMouseState,
              ask(env, "NativeMouse.getMouseState", Mouse::getMouseState), jobject)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeMouse_getDoubleClickThresholdX,
              ask(env, "NativeMouse.getDoubleClickThreadholdX", Mouse::getDoubleClickThresholdX), jobject)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeMouse_getDoubleClickThresholdY,
              ask(env, "NativeMouse.getDoubleClickThreadholdY", Mouse::getDoubleClickThresholdY), jobject)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeMouse_getDragThresholdX,
              ask(env, "NativeMouse.getDragThresholdX", Mouse::getDragThresholdX), jobject)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeMouse_getDragThresholdY,
              ask(env, "NativeMouse.getDragThresholdY", Mouse::getDragThresholdY), jobject)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeMouse_getDoubleClickInterval,
              ask(env, "NativeMouse.getDoubleClickInterval", Mouse::getDoubleClickInterval), jobject)

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread_startCapture, jobject,
       jlong window, jint cursor)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        return withStatus(env, g_mouse_status, "NativeMouseCaptureThread.startCapture", [&] {
            return Mouse::get().capture(CWindow(window), static_cast<GX_MOUSE_CURSOR>(cursor));
        });
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread_stopCapture, jobject)
{
    jniEntry(env, __func__, [&] {
        withStatus(env, g_mouse_status, "NativeMouseCaptureThread.stopCapture",
                   [] { Mouse::get().release(); });
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread_getNextEvent, jobject)
{
    return jniEntry(env, __func__, [&] {
        return javaForm(env, withStatus(env, g_mouse_status, "NativeMouseCaptureThread.getNextEvent",
                                        [] { return Mouse::get().getNextEvent(); }));
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeMouseCaptureThread_getLastEvent, jobject)
{
    return jniEntry(env, __func__, [&] {
        return javaForm(env, withStatus(env, g_mouse_status, "NativeMouseCaptureThread.getLastEvent",
                                        [] { return Mouse::get().getLastEvent(); }));
    });
}
