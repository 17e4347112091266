/// Java's view of mapped pairs in spy memory.
#pragma once

#include "common/bindings/JavaSpyMemory.h"
#include "common/spy/SpyMappedPair.h"

#include <vector>

/// A com.talvern.test.gx.sys.SpyMappedPair.MappedPair: value and number of an entry.
class CJMappedPair : public CJniJObject {
public:
    /// A new one; invalid when Java cannot make it.
    explicit CJMappedPair(JNIEnv* env);
    CJMappedPair(JNIEnv* env, jobject pair) : CJniJObject(env, pair, nullptr) {}

    /// Sets "value1" to the value as a Java object and "value2" to the number. Nothing for a null object.
    void set(const CSpyVariant& value, int number);
};

/// A com.talvern.test.gx.sys.SpyMappedPair.
class CJavaSpyMappedPair : public CJavaSpyContainer<CSpyMappedPair> {
public:
    using CJavaSpyContainer::CJavaSpyContainer;

    static constexpr const char* getClassName() { return "com/talvern/test/gx/sys/SpyMappedPair"; }

    /// See CSpyMappedPair; on success the new mapped pair is the one of the Java object.
    bool create(const CJString& name, int transactionId);
    void update() { m_container.update(false); }

    /// A new Java object with value and number of a key; null and 0 when there is no such key.
    CJMappedPair getPair(const ITalString& key);
    /// The same into an object that there is.
    void get(const ITalString& key, CJMappedPair& pair);

    /// A new array of strings, in the order in which the keys came. Null for an empty mapped pair, and for
    /// one with a key that is no string (traced).
    jobjectArray keys();
    /// A new array of the values, in the order of the keys. Null for an empty mapped pair.
    jobjectArray elements();

private:
    std::vector<CSpyVariant> column(unsigned int first) const;
};
