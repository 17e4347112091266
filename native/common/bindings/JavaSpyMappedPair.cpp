#include "common/bindings/JavaSpyMappedPair.h"

#include "com_talvern_test_gx_sys_SpyMappedPair.h"

#include "common/bindings/JavaSpyVariant.h"
#include "common/bindings/SpyEntry.h"

CJMappedPair::CJMappedPair(JNIEnv* env)
    : CJniJObject(env, "com/talvern/test/gx/sys/SpyMappedPair$MappedPair", true)
{
}

void CJMappedPair::set(const CSpyVariant& value, int number)
{
    CJniJObject::set("value1", CJavaSpyVariant(value).createObject(env()), "java/lang/Object");
    CJniJObject::set("value2", number);
}

bool CJavaSpyMappedPair::create(const CJString& name, int transactionId)
{
    return m_container.create(name, transactionId) && attach(m_container.ref());
}

void CJavaSpyMappedPair::get(const ITalString& key, CJMappedPair& pair)
{
    CSpyVariant value;
    int number = 0;
    m_container.get(key, value, number);
    pair.set(value, number);
}

CJMappedPair CJavaSpyMappedPair::getPair(const ITalString& key)
{
    CJMappedPair pair(env());
    get(key, pair);
    return pair;
}

/// Every third element from `first` on: 0 the keys, 1 the values. A size that is damaged raises with the
/// first element: nothing is reserved for it.
std::vector<CSpyVariant> CJavaSpyMappedPair::column(unsigned int first) const
{
    std::vector<CSpyVariant> column;
    for (unsigned int entry = 0; entry < m_container.size(); ++entry)
        column.push_back(m_container.get(static_cast<int>(3 * entry + first)));
    return column;
}

jobjectArray CJavaSpyMappedPair::keys()
{
    const std::vector<CSpyVariant> keys = column(0);
    return areKeys(keys) ? newObjectArray(env(), keys, "java/lang/String") : nullptr;
}

jobjectArray CJavaSpyMappedPair::elements()
{
    return newObjectArray(env(), column(1), "java/lang/Object");
}

namespace {
template <class Value>
jboolean put(JNIEnv* env, const char* function, jobject self, jstring key, Value value, jint number)
{
    return onSpyEntry<jboolean, CJavaSpyMappedPair>(
        env, function, self, key, [&](CJavaSpyMappedPair& pair, const CJString& name) {
            return pair->put(name, variantOf(env, value, pair->ref().heapId()), number);
        });
}
} // namespace

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyMappedPair_create, jobject self, jstring name,
       jint transactionId)
{
    return spyEntry<jboolean>(env, __func__, [&] {
        return CJavaSpyMappedPair(env, self, CSpyMemRef()).create(CJString(env, name), transactionId);
    });
}

#define EXPORT_PUT(Suffix, Value)                                                                            \
    GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyMappedPair_put__Ljava_lang_String_2##Suffix##I,         \
           jobject self, jstring key, Value value, jint number)                                              \
    {                                                                                                        \
        return put(env, __func__, self, key, value, number);                                                 \
    }
SPY_VALUE_OVERLOADS(EXPORT_PUT)

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyMappedPair_get__Ljava_lang_String_2, jobject self,
       jstring key)
{
    return onSpyEntry<jobject, CJavaSpyMappedPair>(
        env, __func__, self, key,
        [](CJavaSpyMappedPair& pair, const CJString& name) { return pair.getPair(name); });
}

GX_JNI(
    void,
    Java_com_talvern_test_gx_sys_SpyMappedPair_get__Ljava_lang_String_2Lcom_talvern_test_gx_sys_SpyMappedPair_00024MappedPair_2,
    jobject self, jstring key, jobject filled)
{
    onSpyEntry<void, CJavaSpyMappedPair>(env, __func__, self, key,
                                         [&](CJavaSpyMappedPair& pair, const CJString& name) {
                                             CJMappedPair entry(env, filled);
                                             pair.get(name, entry);
                                         });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyMappedPair_remove, jobject self, jstring key)
{
    return onSpyEntry<jobject, CJavaSpyMappedPair>(
        env, __func__, self, key,
        [&](CJavaSpyMappedPair& pair, const CJString& name) { return handOver(env, pair->remove(name)); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMappedPair_removeAll, jobject self)
{
    onSpyObject<void, CJavaSpyMappedPair>(env, __func__, self,
                                          [](CJavaSpyMappedPair& pair) { pair->removeAll(); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyMappedPair_containsKey, jobject self, jstring key)
{
    return onSpyEntry<jboolean, CJavaSpyMappedPair>(
        env, __func__, self, key,
        [](CJavaSpyMappedPair& pair, const CJString& name) { return pair->containsKey(name); });
}

GX_JNI(jobjectArray, Java_com_talvern_test_gx_sys_SpyMappedPair_keys, jobject self)
{
    return onSpyObject<jobjectArray, CJavaSpyMappedPair>(
        env, __func__, self, [](CJavaSpyMappedPair& pair) { return pair.keys(); });
}

GX_JNI(jobjectArray, Java_com_talvern_test_gx_sys_SpyMappedPair_elements, jobject self)
{
    return onSpyObject<jobjectArray, CJavaSpyMappedPair>(
        env, __func__, self, [](CJavaSpyMappedPair& pair) { return pair.elements(); });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_SpyMappedPair_size, jobject self)
{
    return onSpyObject<jint, CJavaSpyMappedPair>(env, __func__, self,
                                                 [](CJavaSpyMappedPair& pair) { return pair->size(); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMappedPair_free, jobject self)
{
    freeSpyObject<CJavaSpyMappedPair>(env, __func__, self);
}
