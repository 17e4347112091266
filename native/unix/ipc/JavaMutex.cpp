// The native methods of com.talvern.test.gx.sys.Mutex. Input takes such a mutex around every event: they are
// not traced.
#include "com_talvern_test_gx_sys_Mutex.h"

#include "JavaLockHolder.h"
#include "JniDataTypes.h"
#include "JniEntry.h"
#include "Mutex.h"

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_Mutex_create(JNIEnv* env, jobject self, jstring name)
{
    return jniEntry(env, nullptr,
                    [&] { return static_cast<jboolean>(CUnixMutex(env, self).create(CJString(env, name))); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_Mutex_free(JNIEnv* env, jobject self)
{
    jniEntry(env, nullptr, [&] { CUnixMutex(env, self).free(); });
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_Mutex_acquire(JNIEnv* env, jobject self,
                                                                      jint timeoutMs)
{
    return jniEntry(env, nullptr, [&] {
        CUnixMutex mutex(env, self);
        mutex.refresh();
        const bool acquired = mutex.acquire(timeoutMs);
        if (acquired)
            mutex.update();
        return static_cast<jboolean>(acquired);
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_Mutex_release(JNIEnv* env, jobject self)
{
    jniEntry(env, nullptr, [&] {
        CUnixMutex mutex(env, self);
        mutex.refresh();
        mutex.release();
    });
}

JNIEXPORT jobject JNICALL Java_com_talvern_test_gx_sys_Mutex_holder(JNIEnv* env, jobject self)
{
    return jniEntry(env, nullptr, [&] { return newLockHolder(env, CUnixMutex(env, self).holder()); });
}
