// The native methods of com.talvern.test.gx.util.GxDebug.
#include "com_talvern_test_gx_util_GxDebug.h"

#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/trace/GxDebug.h"

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

GX_JNI(void, Java_com_talvern_test_gx_util_GxDebug_LogSetLevelN, jclass, jint level)
{
    set(env, __func__, GxDebug::LogSetLevel, level);
}

GX_JNI(void, Java_com_talvern_test_gx_util_GxDebug_TraceSetLevelN, jclass, jint level)
{
    set(env, __func__, GxDebug::TraceSetLevel, level);
}

GX_JNI(jint, Java_com_talvern_test_gx_util_GxDebug_LogGetLevelN, jclass)
{
    return get(env, __func__, GxDebug::LogGetLevel);
}

GX_JNI(jint, Java_com_talvern_test_gx_util_GxDebug_TraceGetLevelN, jclass)
{
    return get(env, __func__, GxDebug::TraceGetLevel);
}

GX_JNI(void, Java_com_talvern_test_gx_util_GxDebug_LogSetFileSizeLimitN, jclass, jint kib)
{
    set(env, __func__, GxDebug::LogSetFileSizeLimit, kib);
}

GX_JNI(void, Java_com_talvern_test_gx_util_GxDebug_TraceSetFileSizeLimitN, jclass, jint kib)
{
    set(env, __func__, GxDebug::TraceSetFileSizeLimit, kib);
}

GX_JNI(jint, Java_com_talvern_test_gx_util_GxDebug_LogGetFileSizeLimitN, jclass)
{
    return get(env, __func__, GxDebug::LogGetFileSizeLimit);
}

GX_JNI(jint, Java_com_talvern_test_gx_util_GxDebug_TraceGetFileSizeLimitN, jclass)
{
    return get(env, __func__, GxDebug::TraceGetFileSizeLimit);
}

GX_JNI(void, Java_com_talvern_test_gx_util_GxDebug_LogSetComponentLevelN, jclass, jstring component,
       jint level)
{
    setComponentLevel(env, __func__, GxDebug::LogSetComponentLevel, component, level);
}

GX_JNI(void, Java_com_talvern_test_gx_util_GxDebug_TraceSetComponentLevelN, jclass, jstring component,
       jint level)
{
    setComponentLevel(env, __func__, GxDebug::TraceSetComponentLevel, component, level);
}

GX_JNI(void, Java_com_talvern_test_gx_util_GxDebug_TraceSetEnabledN, jclass, jboolean enabled)
{
    jniEntry(env, __func__, [=] { GxDebug::TraceSetEnabled(enabled == 1); });
}
