/// The engine's value classes for numbers that Java has no primitive for: unsigned integers and decimals.
/// Each constructor makes a new Java object; the class and its constructor must exist (live assertion).
#pragma once

#include "common/jni/jniobject.h"

#include <cstddef>
#include <cstdint>

/// A decimal number as spy variants hold it: magnitude (192 bits) divided by ten to the power of `scale`.
struct tagDEC {
    uint16_t reserved;
    int8_t scale;
    uint8_t sign; ///< 0: positive, anything else: negative
    uint64_t low;
    uint64_t mid;
    uint64_t high;
};
static_assert(sizeof(tagDEC) == 32 && offsetof(tagDEC, sign) == 3 && offsetof(tagDEC, low) == 8);

/// A new object of one of the value classes.
class CJValueObject : public CJniJObject {
protected:
    template <class... Values>
    CJValueObject(JNIEnv* env, const char* className, const char* signature, Values... values)
        : CJniJObject(env, className, false)
    {
        assertClass();
        construct(signature, values...);
        assertObject();
    }

private:
    void assertClass() const;
    void assertObject() const;
};

class CJUByte : public CJValueObject {
public:
    CJUByte(JNIEnv* env, uint8_t value);
};

class CJUInt : public CJValueObject {
public:
    CJUInt(JNIEnv* env, uint32_t value);
};

class CJULong : public CJValueObject {
public:
    CJULong(JNIEnv* env, uint64_t value); ///< Java gets the same bits as a long
};

class CJDecimal : public CJValueObject {
public:
    CJDecimal(JNIEnv* env, const tagDEC& value);
};
