// The native methods of com.talvern.test.gx.util.GxDebug.
#include "com_talvern_test_gx_util_GxDebug.h"

#include "GxDebug.h"
#include "JniDataTypes.h"
#include "JniEntry.h"

namespace {
/// Calls one of the setters of GxDebug; a negative number is one that is too large for it.
void set(JNIEnv* env, const char* function, void (*setter)(unsigned) noexcept, jint value)
{
    jniEntry(env, function, [=] { setter(static_cast<unsigned>(value)); });
}

jint get(JNIEnv* env, const char* function, unsigned (*getter)() noexcept)
{
    return jniEntry(env, function, [=] { return static_cast<jint>(getter()); });
}

void setComponentLevel(JNIEnv* env, const char* function, void (*setter)(const char*, unsigned) noexcept,
                       jstring component, jint level)
{
    jniEntry(env, function,
             [=] { setter(CJString(env, component).ansiString(), static_cast<unsigned>(level)); });
}
} // namespace

JNIEXPORT void JNICALL Java_com_talvern_test_gx_util_GxDebug_LogSetLevelN(JNIEnv* env, jclass, jint level)
{
    set(env, __func__, GxDebug::LogSetLevel, level);
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_util_GxDebug_TraceSetLevelN(JNIEnv* env, jclass, jint level)
{
    set(env, __func__, GxDebug::TraceSetLevel, level);
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_util_GxDebug_LogGetLevelN(JNIEnv* env, jclass)
{
    return get(env, __func__, GxDebug::LogGetLevel);
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_util_GxDebug_TraceGetLevelN(JNIEnv* env, jclass)
{
    return get(env, __func__, GxDebug::TraceGetLevel);
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_util_GxDebug_LogSetFileSizeLimitN(JNIEnv* env, jclass,
                                                                                  jint kib)
{
    set(env, __func__, GxDebug::LogSetFileSizeLimit, kib);
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_util_GxDebug_TraceSetFileSizeLimitN(JNIEnv* env, jclass,
                                                                                    jint kib)
{
    set(env, __func__, GxDebug::TraceSetFileSizeLimit, kib);
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_util_GxDebug_LogGetFileSizeLimitN(JNIEnv* env, jclass)
{
    return get(env, __func__, GxDebug::LogGetFileSizeLimit);
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_util_GxDebug_TraceGetFileSizeLimitN(JNIEnv* env, jclass)
{
    return get(env, __func__, GxDebug::TraceGetFileSizeLimit);
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_util_GxDebug_LogSetComponentLevelN(JNIEnv* env, jclass,
                                                                                   jstring component,
                                                                                   jint level)
{
    setComponentLevel(env, __func__, GxDebug::LogSetComponentLevel, component, level);
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_util_GxDebug_TraceSetComponentLevelN(JNIEnv* env, jclass,
                                                                                     jstring component,
                                                                                     jint level)
{
    setComponentLevel(env, __func__, GxDebug::TraceSetComponentLevel, component, level);
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_util_GxDebug_TraceSetEnabledN(JNIEnv* env, jclass,
                                                                              jboolean enabled)
{
    jniEntry(env, __func__, [=] { GxDebug::TraceSetEnabled(enabled == 1); });
}
