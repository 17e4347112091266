/// Java's view of maps in spy memory.
#pragma once

#include "common/bindings/JavaSpyMemory.h"
#include "common/spy/SpyMap.h"

/// A com.talvern.test.gx.sys.SpyMap.
class CJavaSpyMap : public CJavaSpyContainer<CSpyMap> {
public:
    using CJavaSpyContainer::CJavaSpyContainer;

    static constexpr const char* getClassName() { return "com/talvern/test/gx/sys/SpyMap"; }

    /// See CSpyMap; on success the new map is the one of the Java object.
    bool create(const CJString& name, int transactionId, int buckets);
    void update() { m_container.update(); }

    /// A new array of strings, bucket after bucket. Null for an empty map, and for one with a key that is no
    /// string (traced).
    jobjectArray keys();
    /// A new array of objects, in the order of the keys. Null where keys() answers null.
    jobjectArray elements();
};
