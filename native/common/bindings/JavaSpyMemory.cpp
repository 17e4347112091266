#include "common/bindings/JavaSpyMemory.h"

#include "com_talvern_test_gx_sys_SpyMemory.h"

#include "common/bindings/JavaLockHolder.h"
#include "common/bindings/JavaSpyVariant.h"
#include "common/bindings/SpyEntry.h"
#include "common/jni/LocalRef.h"

#include <algorithm>

namespace {
constinit CJavaField s_handle{"handle", "J"};
constexpr char WriteBeyondEnd[] = "Internal Error: Attempt to write past the end of allocated memory";
} // namespace

CJavaSpyMemory::CJavaSpyMemory(JNIEnv* env, jobject object, CJniClass* javaClass)
    : CJniJObject(env, object, javaClass), m_native(&m_memory)
{
    memRef();
}

CJavaSpyMemory::CJavaSpyMemory(const CJniJObject& object) : CJniJObject(object), m_native(&m_memory)
{
    memRef();
}

CJavaSpyMemory::CJavaSpyMemory(JNIEnv* env, const CSpyMemRef& ref, const char* className)
    : CJniJObject(env, className, true), m_native(&m_memory)
{
    memRef(ref);
}

CJavaSpyMemory::CJavaSpyMemory(const CJString& name)
    : CJniJObject(name.env(), static_cast<jobject>(nullptr), nullptr), m_memory(name), m_native(&m_memory)
{
}

CJavaSpyMemory::CJavaSpyMemory(JNIEnv* env, jobject object, CSpyMemory* container)
    : CJniJObject(env, object, nullptr), m_native(container)
{
}

CJavaSpyMemory::CJavaSpyMemory(const CJniJObject& object, CSpyMemory* container)
    : CJniJObject(object), m_native(container)
{
}

CSpyMemRef CJavaSpyMemory::refOf(JNIEnv* env, jobject object)
{
    return CSpyMemRef::fromHandle(s_handle.getLong(env, object));
}

bool CJavaSpyMemory::attach(const CSpyMemRef& ref)
{
    return s_handle.setLong(env(), *this, ref.handle());
}

const CSpyMemRef& CJavaSpyMemory::memRef()
{
    if (m_native->isNull() && isValid())
        m_native->setRef(refOf(env(), *this));
    return m_native->ref();
}

void CJavaSpyMemory::memRef(const CSpyMemRef& ref)
{
    m_native->setRef(ref);
    attach(ref);
}

CJniJObject CJavaSpyMemory::getStats(JNIEnv* env)
{
    const CHeapStats stats = CSpyHeap::getStats();
    CJniJObject statistics(env, "com/talvern/test/gx/sys/SpyMemoryStatistics", true);
    const std::pair<const char*, uint32_t> fields[] = {
        {"numberFreeBlocks", stats.numberFreeBlocks},
        {"numberBytesFree", stats.numberBytesFree},
        {"numberUsedBlocks", stats.numberUsedBlocks},
        {"largestUsedBlock", stats.largestUsedBlock},
        {"largestFreeBlock", stats.largestFreeBlock},
        {"numberBytesAllocated", stats.numberBytesAllocated},
        {"numberOfActiveHeaps", stats.numberOfActiveHeaps},
    };
    for (const auto& [name, value] : fields)
        statistics.set(name, static_cast<int>(value));
    return statistics;
}

void CJavaSpyMemory::throwOutOfMemory(JNIEnv* env, const char* message)
{
    if (!env)
        throw COutOfSpyMemory(message);
    throwException(env, COutOfSpyMemory::JavaClass, message ? message : "out of Spy Memory");
}

void CJavaSpyMemory::throwInvalidReference(JNIEnv* env, const char* message)
{
    if (!env)
        throw CInvalidSpyMemRef(CSpyMemRef());
    throwException(env, CInvalidSpyMemRef::JavaClass, message);
}

void CJavaSpyMemory::throwHeapLocked(JNIEnv* env)
{
    if (!env)
        throw CSpyHeapLockedException();
    throwException(env, CSpyHeapLockedException::JavaClass, CSpyHeapLockedException::JavaMessage);
}

namespace {
CSpyMemRef validRefOf(JNIEnv* env, jobject self)
{
    const CSpyMemRef ref = CJavaSpyMemory::refOf(env, self);
    ref.isValid();
    return ref;
}

/// An empty block would end the process: native callers never ask for one, a Java caller may.
bool allocate(CJavaSpyMemory& memory, const CJString& name, jint size, jint transactionId)
{
    if (size < 1)
        return false;
    memory.memRef(memory->allocate(name, static_cast<unsigned>(size), static_cast<UNIQUEID>(transactionId)));
    return !memory->isNull();
}

/// Copies between a Java array and the block where it lies; the caller holds the heap mutex.
void write(JNIEnv* env, const CSpyMemRef& ref, jbyteArray data, jint offset, jint length)
{
    const jint available = data ? env->GetArrayLength(data) : 0;
    const auto size = static_cast<int64_t>(ref.size());
    if (offset < 0 || offset > size || length < 0 || length > available || int64_t{length} - offset > size) {
        CJavaSpyMemory::throwOutOfMemory(env, WriteBeyondEnd);
        return;
    }
    const auto count = static_cast<jint>(std::min(int64_t{length}, size - offset));
    if (count > 0)
        env->GetByteArrayRegion(data, 0, count, static_cast<jbyte*>(ref.address()) + offset);
}

jbyteArray read(JNIEnv* env, const CSpyMemRef& ref)
{
    const auto size = static_cast<jsize>(ref.size());
    auto bytes = localRef(env, env->NewByteArray(size));
    if (bytes)
        env->SetByteArrayRegion(bytes.get(), 0, size, static_cast<const jbyte*>(ref.address()));
    return bytes.release();
}
} // namespace

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyMemory_allocate, jobject self, jstring name, jint size,
       jint transactionId)
{
    return onSpyObject<jboolean, CJavaSpyMemory>(env, __func__, self, [&](CJavaSpyMemory& memory) {
        return allocate(memory, CJString(env, name), size, transactionId);
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMemory_free__, jobject self)
{
    freeSpyObject<CJavaSpyMemory>(env, __func__, self);
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMemory_free__I, jobject, jint transactionId)
{
    spyEntry<void>(env, __func__, [&] { CSpyMemory::free(static_cast<UNIQUEID>(transactionId)); });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyMemory_locate, jobject, jstring name)
{
    return spyEntry<jobject>(env, __func__,
                             [&] { return newObject(env, CSpyMemory::locate(CJString(env, name))); });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyMemory_delete, jobject, jstring name)
{
    return spyEntry<jobject>(env, __func__,
                             [&] { return handOver(env, CSpyMemory::remove(CJString(env, name))); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMemory_dumpHeap, jobject, jstring file)
{
    spyEntry<void, CNoSpyHeapLock>(env, __func__, [&] { CSpyMemory::dump(CJString(env, file)); });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyMemory_getStats, jobject)
{
    return spyEntry<jobject, CNoSpyHeapLock>(
        env, __func__, [&] { return static_cast<jobject>(CJavaSpyMemory::getStats(env)); });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_SpyMemory_transactionId, jobject self)
{
    return spyEntry<jint>(
        env, __func__, [&] { return CSpyHeap::getTransactionId(CJavaSpyMemory::refOf(env, self).heapId()); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMemory_lock, jobject)
{
    spyEntry<void, CNoSpyHeapLock>(env, __func__, [] { CSpyMemory::lockHeap(0); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMemory_unlock, jobject)
{
    spyEntry<void, CNoSpyHeapLock>(env, __func__, [] { CSpyMemory::unlockHeap(); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyMemory_isLocked, jobject)
{
    return spyEntry<jboolean, CNoSpyHeapLock>(env, __func__, [] { return CSpyMemory::isHeapLocked(); });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyMemory_lockHolder, jclass)
{
    return spyEntry<jobject, CNoSpyHeapLock>(env, __func__,
                                             [&] { return newLockHolder(env, CSpyMemory::lockHolder()); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMemory_heaptest, jobject, jstring file)
{
    spyEntry<void, CNoSpyHeapLock>(env, __func__,
                                   [&] { CSpyHeap::heaptest(CJString(env, file).ansiString()); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMemory_write, jobject self, jbyteArray data, jint offset,
       jint length)
{
    spyEntry<void>(env, __func__, [&] { write(env, validRefOf(env, self), data, offset, length); });
}

GX_JNI(jbyteArray, Java_com_talvern_test_gx_sys_SpyMemory_read, jobject self)
{
    return spyEntry<jbyteArray>(env, __func__, [&] { return read(env, validRefOf(env, self)); });
}
