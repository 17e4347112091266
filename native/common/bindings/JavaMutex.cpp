// The native methods of com.talvern.test.gx.sys.Mutex. Input takes such a mutex around every event: they are
// not traced.
#include "com_talvern_test_gx_sys_Mutex.h"

#include "common/bindings/JavaLockHolder.h"
#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "unix/ipc/Mutex.h"

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_Mutex_create, jobject self, jstring name)
{
    return jniEntry(env, nullptr,
                    [&] { return static_cast<jboolean>(CUnixMutex(env, self).create(CJString(env, name))); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_Mutex_free, jobject self)
{
    jniEntry(env, nullptr, [&] { CUnixMutex(env, self).free(); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_Mutex_acquire, jobject self, jint timeoutMs)
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

GX_JNI(void, Java_com_talvern_test_gx_sys_Mutex_release, jobject self)
{
    jniEntry(env, nullptr, [&] {
        CUnixMutex mutex(env, self);
        mutex.refresh();
        mutex.release();
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_Mutex_holder, jobject self)
{
    return jniEntry(env, nullptr, [&] { return newLockHolder(env, CUnixMutex(env, self).holder()); });
}
