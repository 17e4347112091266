#include "JavaSpyVariant.h"

#include "CTracer.h"
#include "GxAssert.h"
#include "JavaMailslot.h"
#include "JavaNetTypes.h"
#include "JavaSpyMappedPair.h"
#include "JavaSpyMap.h"
#include "JavaSpyMemory.h"
#include "JavaSpyVector.h"
#include "LocalRef.h"

#include <algorithm>
#include <atomic>
#include <string>

namespace {
constexpr char MappedTestObject[] = "com/talvern/test/gx/object/map/SpyMappedTestObject";
constexpr char MappedDescribedObjectReference[] =
    "com/talvern/test/gx/object/map/SpyMappedDescribedObjectReference";
constexpr char ValueClass[] = "com/talvern/test/gx/sys/SpyValueClass";

/// A Java class that is looked up once per process. One that is missing is looked for again each time.
class CKnownClass {
public:
    constexpr explicit CKnownClass(const char* name) : m_name(name) {}

    bool hasInstance(JNIEnv* env, jobject object)
    {
        const jclass known = m_class.load(std::memory_order_acquire);
        const jclass javaClass = known ? known : lookUp(env);
        return javaClass && env->IsInstanceOf(object, javaClass) == JNI_TRUE;
    }

private:
    jclass lookUp(JNIEnv* env)
    {
        const auto found = localRef(env, static_cast<jclass>(CJniClass(env, m_name)));
        const auto made = static_cast<jclass>(found ? env->NewGlobalRef(found.get()) : nullptr);
        jclass kept = nullptr;
        if (!made || m_class.compare_exchange_strong(kept, made, std::memory_order_acq_rel))
            return made;
        env->DeleteGlobalRef(made);
        return kept;
    }

    const char* m_name;
    std::atomic<jclass> m_class = nullptr;
};

bool namesABlock(const CSpyMemRef& ref)
try {
    return !!ref && ref.isValid();
} catch (const CInvalidSpyMemRef&) {
    return false;
}

using Convert = CSpyVariant (*)(const CJniJObject&, HEAPID);

template <CSpyVariant::EType Type> CSpyVariant referenceOf(const CJniJObject& object, HEAPID)
{
    const CSpyMemRef ref = CJavaSpyMemory::refOf(object.env(), object);
    return namesABlock(ref) ? CSpyVariant(Type, ref) : CSpyVariant();
}

CSpyVariant stringOf(const CJniJObject& object, HEAPID heapId)
{
    return CSpyVariant(CJString(object), heapId);
}

template <class Box> CSpyVariant numberOf(const CJniJObject& object, HEAPID)
{
    const typename Box::Native value = Box(object);
    return CSpyVariant(value);
}

CSpyVariant booleanOf(const CJniJObject& object, HEAPID)
{
    const unsigned char value = CJBoolean(object);
    return CSpyVariant(value != 0);
}

CSpyVariant characterOf(const CJniJObject& object, HEAPID)
{
    return CSpyVariant(CJChar(object), true);
}

/// The first class that fits decides: those derived from SpyMemory come before it.
struct CConversion {
    CKnownClass javaClass;
    Convert convert;
};
constinit CConversion s_conversions[] = {
    {CKnownClass(MappedTestObject), referenceOf<CSpyVariant::SpyMappedTestObject>},
    {CKnownClass(MappedDescribedObjectReference),
     referenceOf<CSpyVariant::SpyMappedDescribedObjectReference>},
    {CKnownClass(ValueClass), referenceOf<CSpyVariant::SpyValueClass>},
    {CKnownClass(CJavaSpyVector::getClassName()), referenceOf<CSpyVariant::SpyVector>},
    {CKnownClass(CJavaSpyMap::getClassName()), referenceOf<CSpyVariant::SpyMap>},
    {CKnownClass(CJavaSpyMappedPair::getClassName()), referenceOf<CSpyVariant::SpyMappedPair>},
    {CKnownClass("java/lang/String"), stringOf},
    {CKnownClass("java/lang/Integer"), numberOf<CJInteger>},
    {CKnownClass("java/lang/Long"), numberOf<CJLong>},
    {CKnownClass("java/lang/Boolean"), booleanOf},
    {CKnownClass("java/lang/Float"), numberOf<CJFloat>},
    {CKnownClass("java/lang/Double"), numberOf<CJDouble>},
    {CKnownClass("java/lang/Short"), numberOf<CJShort>},
    {CKnownClass("java/lang/Byte"), numberOf<CJByte>},
    {CKnownClass("java/lang/Character"), characterOf},
    {CKnownClass(CJavaMailslot::getClassName()), referenceOf<CSpyVariant::SpyMailslot>},
    {CKnownClass(CJavaSpyMemory::getClassName()), referenceOf<CSpyVariant::SpyMem>},
};

CSpyVariant variantOfObject(const CJniJObject& object, HEAPID heapId)
{
    if (!object.isValid())
        return {};
    const auto found = std::find_if(std::begin(s_conversions), std::end(s_conversions), [&](auto& each) {
        return each.javaClass.hasInstance(object.env(), object);
    });
    return found == std::end(s_conversions) ? CSpyVariant() : found->convert(object, heapId);
}

CJniJObject nothing(JNIEnv* env)
{
    return {env, static_cast<jobject>(nullptr), nullptr};
}

/// The units are copied, since blocks may lie at odd addresses.
CJniJObject newString(JNIEnv* env, const CSpyVariant& variant)
{
    std::u16string units(variant.getStringLen() / sizeof(char16_t), u'\0');
    if (!units.empty())
        std::memcpy(units.data(), variant.getString(), units.size() * sizeof(char16_t));
    return CJString(env, reinterpret_cast<const unsigned short*>(units.data()),
                    static_cast<unsigned>(units.size()));
}

/// A decimal's block holds a tagDEC.
CJniJObject newDecimal(JNIEnv* env, const CSpyMemRef& block)
{
    tagDEC value{};
    block.read(&value, sizeof value);
    return CJDecimal(env, value);
}
} // namespace

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
    const auto reference = [&](const char* className) -> CJniJObject {
        return CJavaSpyMemory(env, ref(), className);
    };
    switch (type()) {
    case SpyEmpty:
        return nothing(env);
    case SpyByte:
        return CJByte(env, as<signed char>());
    case SpyChar:
        return CJChar(env, as<unsigned short>());
    case SpyShort:
        return CJShort(env, as<short>());
    case SpyInt:
        return CJInteger(env, as<int>());
    case SpyLong:
        return CJLong(env, as<long>());
    case SpyFloat:
        return CJFloat(env, as<float>());
    case SpyDouble:
        return CJDouble(env, as<double>());
    case SpyBool:
        return CJBoolean(env, as<unsigned char>() != 0 ? JNI_TRUE : JNI_FALSE);
    case SpyString:
        return newString(env, *this);
    case SpyMem:
        return reference(CJavaSpyMemory::getClassName());
    case SpyVector:
        return reference(CJavaSpyVector::getClassName());
    case SpyMap:
        return reference(CJavaSpyMap::getClassName());
    case SpyMappedPair:
        return reference(CJavaSpyMappedPair::getClassName());
    case SpyMappedTestObject:
        return reference(MappedTestObject);
    case SpyValueClass:
        return reference(ValueClass);
    case SpyMailslot:
        return CMailslotFactory::createObject(env, ref());
    case SpyUByte:
        return CJUByte(env, as<unsigned char>());
    case SpyUShort:
        break;
    case SpyUInt:
        return CJUInt(env, as<unsigned int>());
    case SpyULong:
        return CJULong(env, as<unsigned long>());
    case SpyDecimal:
        return newDecimal(env, ref());
    case SpyMappedDescribedObjectReference:
        return reference(MappedDescribedObjectReference);
    default:
        CTracer::debugTrace("Invalid SpyVariant type! ->%d\n", static_cast<int>(type()));
        throw CInvalidSpyVariant(type());
    }
    // No process stores one: Java has no class for it.
    GX_ASSERT(!isa(SpyUShort), "m_type != SpyUShort");
    return nothing(env);
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
