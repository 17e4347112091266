#include "common/bindings/JavaSpyMap.h"

#include "com_talvern_test_gx_sys_SpyMap.h"

#include "common/bindings/JavaSpyVariant.h"
#include "common/bindings/SpyEntry.h"
#include "common/spy/IVariantIterator.h"

bool CJavaSpyMap::create(const CJString& name, int transactionId, int buckets)
{
    return m_container.create(name, transactionId, buckets) && attach(m_container.ref());
}

namespace {
/// More entries than this no heap can hold: the count went below 0 when keys were removed that a chain
/// lacked.
constexpr unsigned int MostEntries = 0x1000000 / sizeof(CSpyVariant);

/// One for each entry that is there, be they fewer than a process that has died has counted; not by the
/// iterator, which ends the process at a key in a chain that is no string.
std::vector<CSpyVariant> keysOf(const CSpyMap& map)
{
    std::vector<CSpyVariant> keys(map.size() <= MostEntries ? map.size() : 0);
    map.getKeys(keys.data(), static_cast<unsigned>(keys.size()));
    while (!keys.empty() && keys.back().isa(CSpyVariant::SpyEmpty))
        keys.pop_back();
    return keys;
}
} // namespace

jobjectArray CJavaSpyMap::keys()
{
    const std::vector<CSpyVariant> keys = keysOf(m_container);
    return areKeys(keys) ? newObjectArray(env(), keys, "java/lang/String") : nullptr;
}

jobjectArray CJavaSpyMap::elements()
{
    std::vector<CSpyVariant> values = keysOf(m_container);
    if (!areKeys(values))
        return nullptr;
    const auto iterator = m_container.elements();
    for (CSpyVariant& value : values)
        value = iterator->nextElement();
    return newObjectArray(env(), values, "java/lang/Object");
}

namespace {
template <class Value> jboolean put(JNIEnv* env, const char* function, jobject self, jstring key, Value value)
{
    return onSpyEntry<jboolean, CJavaSpyMap>(
        env, function, self, key, [&](CJavaSpyMap& map, const CJString& name) {
            return map->put(name, variantOf(env, value, map->ref().heapId()));
        });
}
} // namespace

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyMap_create, jobject self, jstring name, jint transactionId,
       jint buckets)
{
    return spyEntry<jboolean>(env, __func__, [&] {
        // A map without room would end the process: native callers never make one.
        return buckets > 0 &&
               CJavaSpyMap(env, self, CSpyMemRef()).create(CJString(env, name), transactionId, buckets);
    });
}

#define EXPORT_PUT(Suffix, Value)                                                                            \
    GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyMap_put__Ljava_lang_String_2##Suffix, jobject self,     \
           jstring key, Value value)                                                                         \
    {                                                                                                        \
        return put(env, __func__, self, key, value);                                                         \
    }
SPY_VALUE_OVERLOADS(EXPORT_PUT)

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyMap_get, jobject self, jstring key)
{
    return onSpyEntry<jobject, CJavaSpyMap>(
        env, __func__, self, key,
        [&](CJavaSpyMap& map, const CJString& name) { return newObject(env, map->get(name)); });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_SpyMap_remove, jobject self, jstring key)
{
    return onSpyEntry<jobject, CJavaSpyMap>(
        env, __func__, self, key,
        [&](CJavaSpyMap& map, const CJString& name) { return handOver(env, map->remove(name)); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMap_removeAll, jobject self)
{
    onSpyObject<void, CJavaSpyMap>(env, __func__, self, [](CJavaSpyMap& map) { map->removeAll(); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_SpyMap_containsKey, jobject self, jstring key)
{
    return onSpyEntry<jboolean, CJavaSpyMap>(
        env, __func__, self, key,
        [](CJavaSpyMap& map, const CJString& name) { return map->containsKey(name); });
}

GX_JNI(jobjectArray, Java_com_talvern_test_gx_sys_SpyMap_keys, jobject self)
{
    return onSpyObject<jobjectArray, CJavaSpyMap>(env, __func__, self,
                                                  [](CJavaSpyMap& map) { return map.keys(); });
}

GX_JNI(jobjectArray, Java_com_talvern_test_gx_sys_SpyMap_elements, jobject self)
{
    return onSpyObject<jobjectArray, CJavaSpyMap>(env, __func__, self,
                                                  [](CJavaSpyMap& map) { return map.elements(); });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_SpyMap_size, jobject self)
{
    return onSpyObject<jint, CJavaSpyMap>(env, __func__, self, [](CJavaSpyMap& map) { return map->size(); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_SpyMap_free, jobject self)
{
    freeSpyObject<CJavaSpyMap>(env, __func__, self);
}
