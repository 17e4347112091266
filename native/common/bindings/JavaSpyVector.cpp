#include "common/bindings/JavaSpyVector.h"

#include "com_talvern_test_gx_sys_SpyVector.h"

#include "common/bindings/JavaSpyVariant.h"
#include "common/bindings/SpyEntry.h"

bool CJavaSpyVector::create(const CJString& name, int transactionId, int startSize, int increment)
{
    return m_container.create(name, transactionId, startSize, increment) && attach(m_container.ref());
}

namespace {
/// Hands a value to the vector; when that throws, nobody else frees the value's string.
template <class Value, class Store> auto give(JNIEnv* env, CJavaSpyVector& vector, Value value, Store store)
{
    CJavaSpyVariant variant = variantOf(env, value, vector->ref().heapId());
    try {
        return store(variant);
    } catch (...) {
        variant.free();
        throw;
    }
}

template <class Value> void addElement(JNIEnv* env, const char* function, jobject self, Value value)
{
    onSpyObject<void, CJavaSpyVector>(env, function, self, [&](CJavaSpyVector& vector) {
        give(env, vector, value, [&](CSpyVariant& variant) { vector->addElement(variant); });
    });
}

template <class Value>
void insertElementAt(JNIEnv* env, const char* function, jobject self, Value value, jint index)
{
    onSpyObject<void, CJavaSpyVector>(env, function, self, [&](CJavaSpyVector& vector) {
        give(env, vector, value, [&](CSpyVariant& variant) { vector->insertElement(variant, index); });
    });
}

template <class Value>
jobject setElementAt(JNIEnv* env, const char* function, jobject self, Value value, jint index)
{
    return onSpyObject<jobject, CJavaSpyVector>(env, function, self, [&](CJavaSpyVector& vector) {
        return handOver(env, give(env, vector, value,
                                  [&](const CSpyVariant& variant) { return vector->set(index, variant); }));
    });
}

/// Strings are compared with Java's text where it is, without a block of spy memory for it.
unsigned int indexOf(JNIEnv* env, CJavaSpyVector& vector, jobject value, jint start)
{
    const CJniJObject object(env, value, nullptr);
    if (object.instanceOf("java/lang/String"))
        return vector->indexOf(CJString(object), start);
    return vector->indexOf(CJavaSpyVariant(object), start);
}
} // namespace

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyVector_create, jobject self, jstring name,
       jint transactionId, jint startSize, jint increment)
{
    return spyEntry<jboolean>(env, __func__, [&] {
        // A vector without room would end the process: native callers never make one.
        return startSize > 0 && CJavaSpyVector(env, self, CSpyMemRef())
                                    .create(CJString(env, name), transactionId, startSize, increment);
    });
}

#define EXPORT_OVERLOADS(Suffix, Value)                                                                      \
    GX_JNI(void, Java_com_talvern_test_gx_sys_SpyVector_addElement__##Suffix, jobject self, Value value)     \
    {                                                                                                        \
        addElement(env, __func__, self, value);                                                              \
    }                                                                                                        \
    GX_JNI(void, Java_com_talvern_test_gx_sys_SpyVector_insertElementAt__##Suffix##I, jobject self,          \
           Value value, jint index)                                                                          \
    {                                                                                                        \
        insertElementAt(env, __func__, self, value, index);                                                  \
    }                                                                                                        \
    GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyVector_setElementAt__##Suffix##I, jobject self,          \
           Value value, jint index)                                                                          \
    {                                                                                                        \
        return setElementAt(env, __func__, self, value, index);                                              \
    }
SPY_VALUE_OVERLOADS(EXPORT_OVERLOADS)

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyVector_get, jobject self, jint index)
{
    return onSpyObject<jobject, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return newObject(env, vector->get(index)); });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyVector_firstElement, jobject self)
{
    return onSpyObject<jobject, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return newObject(env, vector->firstElement()); });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyVector_lastElement, jobject self)
{
    return onSpyObject<jobject, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return newObject(env, vector->lastElement()); });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_SpyVector_indexOf, jobject self, jobject value, jint start)
{
    return onSpyObject<jint, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return indexOf(env, vector, value, start); });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyVector_remove, jobject self, jint index)
{
    return onSpyObject<jobject, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return handOver(env, vector->remove(index)); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyVector_removeAllElements, jobject self)
{
    onSpyObject<void, CJavaSpyVector>(env, __func__, self,
                                      [](CJavaSpyVector& vector) { vector->removeAllElements(); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyVector_isEmpty, jobject self)
{
    return onSpyObject<jboolean, CJavaSpyVector>(env, __func__, self,
                                                 [](CJavaSpyVector& vector) { return vector->isEmpty(); });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_SpyVector_size, jobject self)
{
    return onSpyObject<jint, CJavaSpyVector>(env, __func__, self,
                                             [](CJavaSpyVector& vector) { return vector->size(); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyVector_free, jobject self)
{
    freeSpyObject<CJavaSpyVector>(env, __func__, self);
}
