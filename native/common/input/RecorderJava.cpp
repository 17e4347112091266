// The exported functions of the Java recorder.
#include "unix/input/Recorder.h"

#include "common/jni/JniEntry.h"
#include "unix/input/InputStatus.h"

#include "com_talvern_test_gx_sys_graphical_NativeRecorderThread.h"
#include "com_talvern_test_gx_util_NativeActionRecorder.h"

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_startRecording, jobject)
{
    jniEntry(env, __func__,
             [&] { withStatus(env, g_recorder_status, nullptr, [] { Recorder::create().start(); }); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_stopRecording, jobject)
{
    jniEntry(env, __func__, [&] { withStatus(env, g_recorder_status, nullptr, [] { Recorder().stop(); }); });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_getNextEvent, jobject)
{
    return jniEntry(env, __func__, [&]() -> jobject {
        Recorder* const recorder = Recorder::get();
        if (!recorder)
            return nullptr;
        const auto event =
            withStatus(env, g_recorder_status, nullptr, [&] { return recorder->getNextEvent(); });
        return event && g_recorder_status == InputSupported ? event->toJavaEvent(env) : nullptr;
    });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_releaseEvent, jobject)
{
    return jniEntry(env, __func__, [&]() -> jint {
        withStatus(env, g_recorder_status, nullptr, [] { Recorder().releaseEvent(); });
        return g_recorder_status == RecordingEnded ? -1 : 0;
    });
}

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_nativeFlushKeys,
              Recorder().flushKeys(), jobject)

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_util_NativeActionRecorder_setRecorderToIgnoreTimeout,
              Recorder().setRecorderToIgnoreTimeout(ignore != JNI_FALSE), jclass, jboolean ignore)
