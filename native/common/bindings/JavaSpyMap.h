/// Java's view of maps in spy memory.
#pragma once

#include "common/bindings/JavaSpyMemory.h"
#include "common/spy/SpyMap.h"

/// A com.talvern.test.gx.sys.SpyMap with the native map that its "handle" names. The native map works on a
/// copy of the stored header, and always writes it back: construct this and let it go under the heap mutex
/// (see spyEntry).
class CJavaSpyMap : public CJavaSpyMemory {
public:
    CJavaSpyMap(JNIEnv* env, jobject object) : CJavaSpyMap(env, object, refOf(env, object)) {}
    explicit CJavaSpyMap(const CJniJObject& object)
        : CJavaSpyMemory(object, &m_map), m_map(refOf(object.env(), object))
    {
    }
    /// Wraps an object as the one of `ref`, whatever its "handle" says; null: for `create`.
    CJavaSpyMap(JNIEnv* env, jobject object, const CSpyMemRef& ref)
        : CJavaSpyMemory(env, object, &m_map), m_map(ref)
    {
    }

    static constexpr const char* getClassName() { return "com/talvern/test/gx/sys/SpyMap"; }

    /// See CSpyMap; on success the new map is the one of the Java object.
    bool create(const CJString& name, int transactionId, int buckets);
    void refresh() { m_map.refresh(); }
    void update() { m_map.update(); }
    CSpyMap* operator->() { return &m_map; }

    /// A new array of strings, bucket after bucket. Null for an empty map, and for one with a key that is no
    /// string (traced).
    jobjectArray keys();
    /// A new array of objects, in the order of the keys. Null where keys() answers null.
    jobjectArray elements();

private:
    CSpyMap m_map;
};
