#include "SpyVariant.h"

#include "ITalString.h"
#include "SpyMemory.h"

namespace {
constexpr unsigned short szNullStr[] = {0};
constexpr uint32_t CountSize = sizeof(uint32_t); ///< a string's block starts with its length in bytes

struct CText {
    const unsigned char* bytes;
    uint32_t length;

    bool operator==(const CText& other) const
    {
        return length == other.length && (length == 0 || std::memcmp(bytes, other.bytes, length) == 0);
    }
};

/// The string in `block`, where it lies.
CText textIn(const CSpyMemRef& block)
{
    if (!block)
        return {nullptr, 0};
    const auto* payload = static_cast<const unsigned char*>(block.address());
    const uint32_t room = block.size();
    const uint32_t length =
        room < CountSize ? room : reinterpret_cast<const CShared<uint32_t>*>(payload)->load();
    if (uint64_t{length} + CountSize > room)
        throw CHeapCorrupted("!!Spy Heap corrupted!! A string is longer than its block");
    return {payload + CountSize, length};
}

CText textOf(const ITalString& text)
{
    const unsigned short* units = text;
    const uint32_t length = units ? 2 * text.length() : 0;
    return {reinterpret_cast<const unsigned char*>(units), length};
}
} // namespace

CSpyVariant::CSpyVariant(const CSpyMemory& object)
    : CSpyVariant(static_cast<EType>(object.type()), bytesOf(object.ref()))
{
}

void CSpyVariant::setString(const ITalString& text, unsigned int heapId)
{
    const CText source = textOf(text);
    CSpyMemRef block;
    if (source.length != 0) {
        const CSpyUnit unit;
        block = CSpyMemRef(source.length + CountSize, heapId);
        block.write(0, &source.length, CountSize);
        block.write(CountSize, source.bytes, source.length);
    }
    *this = CSpyVariant(SpyString, block);
}

unsigned int CSpyVariant::getStringLen(const CSpyMemRef& block) const
{
    if (!block)
        return 0;
    block.isValid(); // a stale reference is refused without waiting for the mutex
    const CSpyUnit unit;
    return textIn(block).length;
}

const unsigned short* CSpyVariant::getString(const CSpyMemRef& block) const
{
    return !block ? szNullStr : reinterpret_cast<const unsigned short*>(textIn(block).bytes);
}

bool CSpyVariant::operator==(const CSpyVariant& other) const
{
    if (m_type != other.m_type)
        return false;
    switch (m_type) {
    case SpyByte:
    case SpyBool:
    case SpyUByte:
        return as<uint8_t>() == other.as<uint8_t>();
    case SpyShort:
    case SpyInt:
    case SpyUInt:
        return as<uint32_t>() == other.as<uint32_t>();
    case SpyLong:
    case SpyULong:
    case SpyMem:
    case SpyVector:
    case SpyMap:
    case SpyMappedTestObject:
    case SpyMailslot:
    case SpyMappedDescribedObjectReference:
        return m_value == other.m_value;
    case SpyFloat:
        return as<float>() == other.as<float>();
    case SpyDouble:
        return as<double>() == other.as<double>();
    case SpyString:
        return m_value == other.m_value || textIn(ref()) == textIn(other.ref());
    default:
        return false;
    }
}

bool CSpyVariant::operator==(const ITalString& text) const
{
    return isa(SpyString) && textIn(ref()) == textOf(text);
}

void CSpyVariant::free()
{
    if (!isa(SpyString) && !isa(SpyDecimal))
        return;
    CSpyMemRef block = ref();
    if (!!block)
        block.free();
    *this = CSpyVariant();
}
