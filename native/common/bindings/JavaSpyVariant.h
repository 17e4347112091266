/// Java values as spy variants and back.
#pragma once

#include "common/jni/JniDataTypes.h"
#include "common/spy/SpyVariant.h"

#include <jni.h>

#include <type_traits>
#include <vector>

/// A value whose type is none of the kinds that spy variants have.
class CInvalidSpyVariant {
public:
    explicit CInvalidSpyVariant(unsigned int type) : m_type(type) {}
    unsigned int type() const { return m_type; }

private:
    unsigned int m_type;
};

/// A variant that knows the Java class of its kind. Nothing is owned: see CSpyVariant. Strings are read where
/// they lie: hold the heap mutex.
class CJavaSpyVariant : public CSpyVariant {
public:
    CJavaSpyVariant() = default;
    CJavaSpyVariant(const CSpyVariant& variant) : CSpyVariant(variant) {}
    /// The value of a Java object: one of spy memory's classes, a string or a box. A string becomes a new
    /// block of heap `heapId`. Empty for null, any other class, and an object that names no block.
    /// Characters come out as 0: see CJCharKind.
    explicit CJavaSpyVariant(const CJniJObject& object, HEAPID heapId = 0);

    using CSpyVariant::setString;
    /// As the base's, but a null string makes the variant empty.
    void setString(const CJString& text, unsigned int heapId);

    using CSpyVariant::operator==;
    bool operator==(const CJString& text) const
    {
        return CSpyVariant::operator==(static_cast<const ITalString&>(text));
    }

    /// A new Java object, a local reference. Invalid for an empty variant, one that names a block that was
    /// freed (traced), and when Java throws (pending then).
    /// @throws CInvalidSpyVariant  the type is unknown (traced)
    CJniJObject createObject(JNIEnv* env) const;

private:
    CJniJObject createChecked(JNIEnv* env) const;
};

/// The value that Java code hands to a container, as CJavaSpyVariant has it, and with characters.
/// @throws CNativeFailure  IllegalArgumentException, for a class that the store has no kind for
CJavaSpyVariant storedForm(JNIEnv* env, jobject value, HEAPID heapId);

/// A value of a Java method as a variant; strings become a new block of heap `heapId`.
template <class Value> CJavaSpyVariant variantOf(JNIEnv* env, Value value, HEAPID heapId)
{
    if constexpr (std::is_same_v<Value, jstring>) {
        CJavaSpyVariant variant;
        variant.setString(CJString(env, value), heapId);
        return variant;
    } else if constexpr (std::is_same_v<Value, jobject>) {
        return storedForm(env, value, heapId);
    } else if constexpr (std::is_same_v<Value, jchar>) {
        return CSpyVariant(value, true);
    } else if constexpr (std::is_same_v<Value, jboolean>) {
        return CSpyVariant(value != JNI_FALSE);
    } else {
        return CSpyVariant(value);
    }
}

/// The variant as an object for Java; null where createObject answers none.
jobject newObject(JNIEnv* env, const CSpyVariant& variant);
/// The same for a variant that was taken out of its container: its string or decimal is freed.
jobject handOver(JNIEnv* env, CSpyVariant variant);

/// Whether Java gave a name for an entry; null is traced, for containers find their entries by strings.
bool isKey(const CJString& name);
/// Whether all of these are strings; a container may have got others from native code. Traced when not.
bool areKeys(const std::vector<CSpyVariant>& keys);

/// A new array of the class `elementClass` (with slashes) with an object for each variant.
/// @return null when there are no variants, and when Java throws (pending then)
jobjectArray newObjectArray(JNIEnv* env, const std::vector<CSpyVariant>& variants, const char* elementClass);
