// The exported functions of the Java recorder.
#include "Recorder.h"

#include "InputStatus.h"
#include "JniEntry.h"

#include "com_talvern_test_gx_sys_graphical_NativeRecorderThread.h"
#include "com_talvern_test_gx_util_NativeActionRecorder.h"

extern "C" {
JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_startRecording(JNIEnv* env,
                                                                                                  jobject)
{
    jniEntry(env, __func__,
             [&] { withStatus(env, g_recorder_status, nullptr, [] { Recorder::create().start(); }); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_stopRecording(JNIEnv* env,
                                                                                                 jobject)
{
    jniEntry(env, __func__, [&] { withStatus(env, g_recorder_status, nullptr, [] { Recorder().stop(); }); });
}

JNIEXPORT jobject JNICALL
Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_getNextEvent(JNIEnv* env, jobject)
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

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_releaseEvent(JNIEnv* env,
                                                                                                jobject)
{
    return jniEntry(env, __func__, [&]() -> jint {
        withStatus(env, g_recorder_status, nullptr, [] { Recorder().releaseEvent(); });
        return g_recorder_status == RecordingEnded ? -1 : 0;
    });
}

JNIEXPORT void JNICALL
Java_com_talvern_test_gx_sys_graphical_NativeRecorderThread_nativeFlushKeys(JNIEnv* env, jobject)
{
    jniEntry(env, __func__, [] { Recorder().flushKeys(); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_util_NativeActionRecorder_setRecorderToIgnoreTimeout(
    JNIEnv* env, jclass, jboolean ignore)
{
    jniEntry(env, __func__, [&] { Recorder().setRecorderToIgnoreTimeout(ignore != JNI_FALSE); });
}
}
