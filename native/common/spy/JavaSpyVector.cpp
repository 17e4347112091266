#include "JavaSpyVector.h"

#include "com_talvern_test_gx_sys_SpyVector.h"

#include "JavaSpyVariant.h"
#include "SpyEntry.h"

bool CJavaSpyVector::create(const CJString& name, int transactionId, int startSize, int increment)
{
    return m_vector.create(name, transactionId, startSize, increment) && attach(m_vector.ref());
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

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_SpyVector_create(JNIEnv* env, jobject self,
                                                                         jstring name, jint transactionId,
                                                                         jint startSize, jint increment)
{
    return spyEntry<jboolean>(env, __func__, [&] {
        // A vector without room would end the process: native callers never make one.
        return startSize > 0 && CJavaSpyVector(env, self, CSpyMemRef())
                                    .create(CJString(env, name), transactionId, startSize, increment);
    });
}

#define EXPORT_OVERLOADS(Suffix, Value)                                                                      \
    JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_SpyVector_addElement__##Suffix(                      \
        JNIEnv* env, jobject self, Value value)                                                              \
    {                                                                                                        \
        addElement(env, __func__, self, value);                                                              \
    }                                                                                                        \
    JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_SpyVector_insertElementAt__##Suffix##I(              \
        JNIEnv* env, jobject self, Value value, jint index)                                                  \
    {                                                                                                        \
        insertElementAt(env, __func__, self, value, index);                                                  \
    }                                                                                                        \
    JNIEXPORT jobject JNICALL Java_com_talvern_test_gx_sys_SpyVector_setElementAt__##Suffix##I(              \
        JNIEnv* env, jobject self, Value value, jint index)                                                  \
    {                                                                                                        \
        return setElementAt(env, __func__, self, value, index);                                              \
    }
SPY_VALUE_OVERLOADS(EXPORT_OVERLOADS)

JNIEXPORT jobject JNICALL Java_com_talvern_test_gx_sys_SpyVector_get(JNIEnv* env, jobject self, jint index)
{
    return onSpyObject<jobject, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return newObject(env, vector->get(index)); });
}

JNIEXPORT jobject JNICALL Java_com_talvern_test_gx_sys_SpyVector_firstElement(JNIEnv* env, jobject self)
{
    return onSpyObject<jobject, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return newObject(env, vector->firstElement()); });
}

JNIEXPORT jobject JNICALL Java_com_talvern_test_gx_sys_SpyVector_lastElement(JNIEnv* env, jobject self)
{
    return onSpyObject<jobject, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return newObject(env, vector->lastElement()); });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_SpyVector_indexOf(JNIEnv* env, jobject self,
                                                                      jobject value, jint start)
{
    return onSpyObject<jint, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return indexOf(env, vector, value, start); });
}

JNIEXPORT jobject JNICALL Java_com_talvern_test_gx_sys_SpyVector_remove(JNIEnv* env, jobject self, jint index)
{
    return onSpyObject<jobject, CJavaSpyVector>(
        env, __func__, self, [&](CJavaSpyVector& vector) { return handOver(env, vector->remove(index)); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_SpyVector_removeAllElements(JNIEnv* env, jobject self)
{
    onSpyObject<void, CJavaSpyVector>(env, __func__, self,
                                      [](CJavaSpyVector& vector) { vector->removeAllElements(); });
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_SpyVector_isEmpty(JNIEnv* env, jobject self)
{
    return onSpyObject<jboolean, CJavaSpyVector>(env, __func__, self,
                                                 [](CJavaSpyVector& vector) { return vector->isEmpty(); });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_SpyVector_size(JNIEnv* env, jobject self)
{
    return onSpyObject<jint, CJavaSpyVector>(env, __func__, self,
                                             [](CJavaSpyVector& vector) { return vector->size(); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_SpyVector_free(JNIEnv* env, jobject self)
{
    freeSpyObject<CJavaSpyVector>(env, __func__, self);
}
