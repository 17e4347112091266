// The native methods of com.talvern.test.gx.sys.OperatingSystem that mean something on other platforms only.
#include "com_talvern_test_gx_sys_OperatingSystem.h"

#include "JniEntry.h"
#include "jniobject.h"

#include <type_traits>

namespace {
template <class Answer> Answer notSupported(JNIEnv* env, const char* function, Answer answer)
{
    return jniEntry(env, function, [&] {
        CJniJObject::throwException(env, "com/talvern/test/gx/NotSupportedOnUnixException", nullptr);
        return answer;
    });
}

template <class Answer> Answer fixed(JNIEnv* env, const char* function, Answer answer)
{
    return jniEntry(env, function, [&] { return answer; });
}
} // namespace

// X(how, type of the answer, method, answer, types of the arguments, which are ignored)
#define OTHER_PLATFORMS(X)                                                                                   \
    X(fixed, jint, getViewLog, -1)                                                                           \
    X(fixed, void, setViewLog, 0, jint)                                                                      \
    X(fixed, jboolean, isMSWindows, 0)                                                                       \
    X(fixed, jboolean, shellExecute, 0, jstring)                                                             \
    X(fixed, jboolean, isPlandeckInstalled, 0)                                                               \
    X(fixed, jboolean, isDllNetAssembly, 0, jstring)                                                         \
    X(fixed, jint, setThreadPriority, -1, jint)                                                              \
    X(fixed, void, trimCurrentProcessWorkingSetSize, 0)                                                      \
    X(notSupported, jint, getLowLevelHooksTimeout, -1)                                                       \
    X(notSupported, void, setLowLevelHooksTimeout, 0, jint)                                                  \
    X(notSupported, jstring, getRegistryValue, 0, jstring, jstring)                                          \
    X(notSupported, jint, getRegistryIntValue, 0, jstring, jstring)                                          \
    X(notSupported, jboolean, isIEEnabled, 0)                                                                \
    X(notSupported, void, disableIE, 0)                                                                      \
    X(notSupported, jstring, getIEEnabler, 0)                                                                \
    X(notSupported, void, setForegroundLockTimeout, 0, jint)                                                 \
    X(notSupported, jint, getForegroundLockTimeout, 0)                                                       \
    X(notSupported, jboolean, deleteFileOnReboot, 0, jstring)                                                \
    X(notSupported, jstring, getCommonAppDataPath, 0)                                                        \
    X(notSupported, jstring, getShortPathName, 0, jstring)                                                   \
    X(notSupported, jstring, getProcessName, 0, jint)                                                        \
    X(notSupported, jobjectArray, getProcessList, 0)                                                         \
    X(notSupported, void, broadcastEvent, 0)
#define EXPORT_OTHER_PLATFORM(how, Answer, Name, value, ...)                                                 \
    JNIEXPORT Answer JNICALL Java_com_talvern_test_gx_sys_OperatingSystem_##Name(                            \
        JNIEnv* env, jclass __VA_OPT__(, ) __VA_ARGS__)                                                      \
    {                                                                                                        \
        using Value = std::conditional_t<std::is_void_v<Answer>, jint, Answer>;                              \
        return static_cast<Answer>(how<Value>(env, __func__, value));                                        \
    }
OTHER_PLATFORMS(EXPORT_OTHER_PLATFORM)
