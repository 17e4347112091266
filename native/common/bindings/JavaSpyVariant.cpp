#include "common/bindings/JavaSpyVariant.h"

#include "common/bindings/JavaMailslot.h"
#include "common/bindings/JavaSpyMap.h"
#include "common/bindings/JavaSpyMappedPair.h"
#include "common/bindings/JavaSpyMemory.h"
#include "common/bindings/JavaSpyVector.h"
#include "common/jni/JavaNetTypes.h"
#include "common/jni/KnownClass.h"
#include "common/jni/LocalRef.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"

#include <algorithm>
#include <array>
#include <string>

namespace {
bool namesABlock(const CSpyMemRef& ref)
try {
    return !!ref && ref.isValid();
} catch (const CInvalidSpyMemRef&) {
    return false;
}

/// What Java has for a kind of values.
struct CJavaKind {
    CSpyVariant::EType m_type;
    const char* m_className; ///< null: native code alone stores it, and m_toVariant is null, too
    CSpyVariant (*m_toVariant)(const CJavaKind&, const CJniJObject&, HEAPID);
    CJniJObject (*m_toObject)(const CJavaKind&, JNIEnv*, const CSpyVariant&);
    CKnownClass m_javaClass{m_className};

    bool hasInstance(const CJniJObject& object)
    {
        return m_toVariant && m_javaClass.hasInstance(object.env(), object);
    }
};

CSpyVariant referenceOf(const CJavaKind& kind, const CJniJObject& object, HEAPID)
{
    const CSpyMemRef ref = CJavaSpyMemory::refOf(object.env(), object);
    return namesABlock(ref) ? CSpyVariant(kind.m_type, ref) : CSpyVariant();
}

CJniJObject newReference(const CJavaKind& kind, JNIEnv* env, const CSpyVariant& variant)
{
    return CJavaSpyMemory(env, variant.ref(), kind.m_className);
}

CJniJObject newMailslot(const CJavaKind&, JNIEnv* env, const CSpyVariant& variant)
{
    return CMailslotFactory::createObject(env, variant.ref());
}

CSpyVariant stringOf(const CJavaKind&, const CJniJObject& object, HEAPID heapId)
{
    return CSpyVariant(CJString(object), heapId);
}

/// The units are copied, since blocks may lie at odd addresses.
CJniJObject newString(const CJavaKind&, JNIEnv* env, const CSpyVariant& variant)
{
    std::u16string units(variant.getStringLen() / sizeof(char16_t), u'\0');
    if (!units.empty())
        std::memcpy(units.data(), variant.getString(), units.size() * sizeof(char16_t));
    return CJString(env, reinterpret_cast<const unsigned short*>(units.data()),
                    static_cast<unsigned>(units.size()));
}

template <class Box> CSpyVariant numberOf(const CJavaKind&, const CJniJObject& object, HEAPID)
{
    const typename Box::Native value = Box(object);
    return CSpyVariant(value);
}

template <class Box, class Value = typename Box::Native>
CJniJObject newNumber(const CJavaKind&, JNIEnv* env, const CSpyVariant& variant)
{
    return Box(env, variant.as<Value>());
}

CSpyVariant booleanOf(const CJavaKind&, const CJniJObject& object, HEAPID)
{
    const unsigned char value = CJBoolean(object);
    return CSpyVariant(value != 0);
}

CJniJObject newBoolean(const CJavaKind&, JNIEnv* env, const CSpyVariant& variant)
{
    return CJBoolean(env, variant.as<unsigned char>() != 0 ? JNI_TRUE : JNI_FALSE);
}

CSpyVariant characterOf(const CJavaKind&, const CJniJObject& object, HEAPID)
{
    return {CJChar(object), true};
}

/// A decimal's block holds a tagDEC.
CJniJObject newDecimal(const CJavaKind&, JNIEnv* env, const CSpyVariant& variant)
{
    tagDEC value{};
    variant.ref().read(&value, sizeof value);
    return CJDecimal(env, value);
}

CJniJObject nothing(JNIEnv* env)
{
    return {env, static_cast<jobject>(nullptr), nullptr};
}

CJniJObject newNothing(const CJavaKind&, JNIEnv* env, const CSpyVariant&)
{
    return nothing(env);
}

/// No process stores one: Java has no class for it.
CJniJObject newUnsignedShort(const CJavaKind&, JNIEnv* env, [[maybe_unused]] const CSpyVariant& variant)
{
    GX_ASSERT(!variant.isa(CSpyVariant::SpyUShort), "m_type != SpyUShort");
    return nothing(env);
}

/// The first class that fits an object decides: those derived from SpyMemory come before it.
constexpr std::array<CJavaKind, spyKinds> javaKinds()
{
    return {{
        {CSpyVariant::SpyMappedTestObject, "com/talvern/test/gx/object/map/SpyMappedTestObject", referenceOf,
         newReference},
        {CSpyVariant::SpyMappedDescribedObjectReference,
         "com/talvern/test/gx/object/map/SpyMappedDescribedObjectReference", referenceOf, newReference},
        {CSpyVariant::SpyValueClass, "com/talvern/test/gx/sys/SpyValueClass", referenceOf, newReference},
        {CSpyVariant::SpyVector, CJavaSpyVector::getClassName(), referenceOf, newReference},
        {CSpyVariant::SpyMap, CJavaSpyMap::getClassName(), referenceOf, newReference},
        {CSpyVariant::SpyMappedPair, CJavaSpyMappedPair::getClassName(), referenceOf, newReference},
        {CSpyVariant::SpyString, "java/lang/String", stringOf, newString},
        {CSpyVariant::SpyInt, "java/lang/Integer", numberOf<CJInteger>, newNumber<CJInteger>},
        {CSpyVariant::SpyLong, "java/lang/Long", numberOf<CJLong>, newNumber<CJLong>},
        {CSpyVariant::SpyBool, "java/lang/Boolean", booleanOf, newBoolean},
        {CSpyVariant::SpyFloat, "java/lang/Float", numberOf<CJFloat>, newNumber<CJFloat>},
        {CSpyVariant::SpyDouble, "java/lang/Double", numberOf<CJDouble>, newNumber<CJDouble>},
        {CSpyVariant::SpyShort, "java/lang/Short", numberOf<CJShort>, newNumber<CJShort>},
        {CSpyVariant::SpyByte, "java/lang/Byte", numberOf<CJByte>, newNumber<CJByte>},
        {CSpyVariant::SpyChar, "java/lang/Character", characterOf, newNumber<CJChar>},
        {CSpyVariant::SpyMailslot, CJavaMailslot::getClassName(), referenceOf, newMailslot},
        {CSpyVariant::SpyMem, CJavaSpyMemory::getClassName(), referenceOf, newReference},
        {CSpyVariant::SpyEmpty, nullptr, nullptr, newNothing},
        {CSpyVariant::SpyUByte, nullptr, nullptr, newNumber<CJUByte, unsigned char>},
        {CSpyVariant::SpyUShort, nullptr, nullptr, newUnsignedShort},
        {CSpyVariant::SpyUInt, nullptr, nullptr, newNumber<CJUInt, unsigned int>},
        {CSpyVariant::SpyULong, nullptr, nullptr, newNumber<CJULong, unsigned long>},
        {CSpyVariant::SpyDecimal, nullptr, nullptr, newDecimal},
    }};
}
constinit auto s_javaKinds = javaKinds();

constexpr bool eachKindHasOneRow()
{
    const auto rows = javaKinds();
    for (uint32_t kind = 0; kind < spyKinds; ++kind)
        if (std::count_if(rows.begin(), rows.end(),
                          [=](const CJavaKind& row) { return row.m_type == kind; }) != 1)
            return false;
    return true;
}
static_assert(eachKindHasOneRow());

/// Null for null, and for a class that the store has no kind for.
CJavaKind* kindOf(const CJniJObject& object)
{
    if (!object.isValid())
        return nullptr;
    const auto found = std::find_if(s_javaKinds.begin(), s_javaKinds.end(),
                                    [&](CJavaKind& kind) { return kind.hasInstance(object); });
    return found == s_javaKinds.end() ? nullptr : found;
}

CSpyVariant variantOfObject(const CJniJObject& object, HEAPID heapId)
{
    CJavaKind* const kind = kindOf(object);
    return kind ? kind->m_toVariant(*kind, object, heapId) : CSpyVariant();
}

class CNoSuchKind : public CNativeFailure {
public:
    /// @param className  with slashes
    explicit CNoSuchKind(const std::string& className)
        : m_message("The store takes no values of class " + className)
    {
        std::replace(m_message.begin(), m_message.end(), '/', '.');
    }
    const char* message() const override { return m_message.c_str(); }
    const char* javaExceptionClass() const override { return "java/lang/IllegalArgumentException"; }

private:
    std::string m_message;
};
} // namespace

CJavaSpyVariant storedForm(JNIEnv* env, jobject value, HEAPID heapId)
{
    const CJniJObject object(env, value, nullptr);
    if (!object.isValid())
        return {};
    CJavaKind* const kind = kindOf(object);
    if (!kind)
        throw CNoSuchKind(object.className());
    // As the method for a primitive char stores it: CJChar, by which objects are looked for, reads 0.
    return kind->m_type == CSpyVariant::SpyChar ? CSpyVariant(CJReadableChar(object), true)
                                                : kind->m_toVariant(*kind, object, heapId);
}

CJavaSpyVariant::CJavaSpyVariant(const CJniJObject& object, HEAPID heapId)
    : CSpyVariant(variantOfObject(object, heapId))
{
}

void CJavaSpyVariant::setString(const CJString& text, unsigned int heapId)
{
    if (text.isValid())
        CSpyVariant::setString(text, heapId);
    else
        *this = CJavaSpyVariant();
}

CJniJObject CJavaSpyVariant::createChecked(JNIEnv* env) const
{
    const auto found = std::find_if(s_javaKinds.begin(), s_javaKinds.end(),
                                    [&](const CJavaKind& kind) { return isa(kind.m_type); });
    if (found != s_javaKinds.end())
        return found->m_toObject(*found, env, *this);
    CTracer::debugTrace("Invalid SpyVariant type! ->%d\n", static_cast<int>(type()));
    throw CInvalidSpyVariant(type());
}

CJniJObject CJavaSpyVariant::createObject(JNIEnv* env) const
try {
    return createChecked(env);
} catch (const CInvalidSpyMemRef&) {
    CTracer::debugTrace("SpyVariant with Invalid SpyMemory reference type =%d\n", static_cast<int>(type()));
    return nothing(env);
}

jobject newObject(JNIEnv* env, const CSpyVariant& variant)
{
    return CJavaSpyVariant(variant).createObject(env);
}

jobject handOver(JNIEnv* env, CSpyVariant variant)
{
    const jobject object = newObject(env, variant);
    try {
        variant.free();
    } catch (const CInvalidSpyMemRef&) {
        // Somebody else freed the block: Java got null for it.
    }
    return object;
}

namespace {
bool asKey(bool isString)
{
    if (!isString)
        CTracer::debugTrace("Error - keys must be strings!!!\n");
    return isString;
}
} // namespace

bool isKey(const CJString& name)
{
    return asKey(name.isValid());
}

bool areKeys(const std::vector<CSpyVariant>& keys)
{
    return asKey(std::all_of(keys.begin(), keys.end(),
                             [](const CSpyVariant& key) { return key.isa(CSpyVariant::SpyString); }));
}

jobjectArray newObjectArray(JNIEnv* env, const std::vector<CSpyVariant>& variants, const char* elementClass)
{
    if (variants.empty())
        return nullptr;
    CJObjectArray array(env, static_cast<int>(variants.size()), elementClass);
    for (unsigned index = 0; index < variants.size() && !env->ExceptionCheck(); ++index) {
        const CLocalFrame frame(env);
        array.set(index, CJavaSpyVariant(variants[index]).createObject(env));
    }
    const bool made = !env->ExceptionCheck();
    return made ? static_cast<jobjectArray>(static_cast<jobject>(array)) : nullptr;
}
