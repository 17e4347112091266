#include "common/jni/JavaNetTypes.h"

#include "common/trace/GxAssert.h"

namespace {
jint signumOf(const tagDEC& value)
{
    if ((value.low | value.mid | value.high) == 0)
        return 0;
    return value.sign == 0 ? 1 : -1;
}

jlong bitsOf(uint64_t word)
{
    return static_cast<jlong>(word);
}
} // namespace

void CJValueObject::assertClass() const
{
    GX_ASSERT(getClass() && getClass()->getclass(), "getClass() != 0");
}
void CJValueObject::assertObject() const
{
    GX_ASSERT(isValid(), "m_pjObj != 0");
}

CJUByte::CJUByte(JNIEnv* env, uint8_t value)
    : CJValueObject(env, "com/talvern/test/value/UByte", "(S)V", jint{value})
{
}

CJUInt::CJUInt(JNIEnv* env, uint32_t value)
    : CJValueObject(env, "com/talvern/test/value/UInt32", "(J)V", jlong{value})
{
}

CJULong::CJULong(JNIEnv* env, uint64_t value)
    : CJValueObject(env, "com/talvern/test/value/UInt64", "(J)V", bitsOf(value))
{
}

CJDecimal::CJDecimal(JNIEnv* env, const tagDEC& value)
    : CJValueObject(env, "com/talvern/test/value/Decimal", "(BJJJB)V", signumOf(value), bitsOf(value.high),
                    bitsOf(value.mid), bitsOf(value.low), jint{value.scale})
{
}
