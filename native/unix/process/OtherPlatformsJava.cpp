// The native methods of com.talvern.test.gx.sys.OperatingSystem that mean something on other platforms only.
#include "com_talvern_test_gx_sys_OperatingSystem.h"

#include "common/jni/JniEntry.h"
#include "common/jni/jniobject.h"

namespace {
template <class Answer> Answer notSupported(JNIEnv* env, Answer answer = Answer())
{
    CJniJObject::throwException(env, "com/talvern/test/gx/NotSupportedOnUnixException", nullptr);
    return answer;
}
} // namespace

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_OperatingSystem_getViewLog, -1, jclass)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_OperatingSystem_setViewLog, 0, jclass, jint)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_isMSWindows, JNI_FALSE, jclass)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_shellExecute, JNI_FALSE, jclass, jstring)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_isPlandeckInstalled, JNI_FALSE, jclass)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_isDllNetAssembly, JNI_FALSE, jclass,
              jstring)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_OperatingSystem_setThreadPriority, -1, jclass, jint)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_OperatingSystem_trimCurrentProcessWorkingSetSize, 0, jclass)

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_OperatingSystem_getLowLevelHooksTimeout,
              notSupported<jint>(env, -1), jclass)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_OperatingSystem_setLowLevelHooksTimeout,
              notSupported<jint>(env), jclass, jint)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getRegistryValue,
              notSupported<jstring>(env), jclass, jstring, jstring)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_OperatingSystem_getRegistryIntValue, notSupported<jint>(env),
              jclass, jstring, jstring)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_isIEEnabled, notSupported<jboolean>(env),
              jclass)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_OperatingSystem_disableIE, notSupported<jint>(env), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getIEEnabler, notSupported<jstring>(env),
              jclass)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_OperatingSystem_setForegroundLockTimeout,
              notSupported<jint>(env), jclass, jint)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_OperatingSystem_getForegroundLockTimeout,
              notSupported<jint>(env), jclass)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_OperatingSystem_deleteFileOnReboot,
              notSupported<jboolean>(env), jclass, jstring)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getCommonAppDataPath,
              notSupported<jstring>(env), jclass)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getShortPathName,
              notSupported<jstring>(env), jclass, jstring)
GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_OperatingSystem_getProcessName,
              notSupported<jstring>(env), jclass, jint)
GX_JNI_ANSWER(jobjectArray, Java_com_talvern_test_gx_sys_OperatingSystem_getProcessList,
              notSupported<jobjectArray>(env), jclass)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_OperatingSystem_broadcastEvent, notSupported<jint>(env),
              jclass)
