#include "common/spy/SpyVariant.h"

#include "common/spy/SpyMemory.h"
#include "common/spy/SpyText.h"
#include "include/ITalString.h"

#include <iterator>

namespace {
constexpr unsigned short szNullStr[] = {0};
constexpr uint32_t CountSize = sizeof(uint32_t); ///< a string's block starts with its length in bytes

CSpyText textOf(const ITalString& text)
{
    const unsigned short* units = text;
    const uint32_t length = units ? 2 * text.length() : 0;
    return {reinterpret_cast<const unsigned char*>(units), length};
}
} // namespace

CSpyText textIn(const CSpyMemRef& block)
{
    if (!block)
        return {nullptr, 0};
    const CSpyHeap::CReading reading;
    CSpyHeap* const heap = CSpyHeap::getHeap(block.heapId());
    if (!heap || !heap->verifyBlock(block.blockId(), block.uid()))
        throw CInvalidSpyMemRef(block, heap);
    const auto* payload = heap->blockAt(block.blockId())->payload();
    const uint32_t room = heap->sizeAt(block.blockId());
    const uint32_t length =
        room < CountSize ? room : reinterpret_cast<const CShared<uint32_t>*>(payload)->load();
    if (uint64_t{length} + CountSize > room)
        throw CHeapCorrupted("!!Spy Heap corrupted!! A string is longer than its block");
    return {payload + CountSize, length};
}

CSpyVariant::CSpyVariant(const CSpyMemory& object)
    : CSpyVariant(static_cast<EType>(object.type()), bytesOf(object.ref()))
{
}

void CSpyVariant::setString(const ITalString& text, unsigned int heapId)
{
    const CSpyText source = textOf(text);
    CSpyMemRef block;
    if (source.m_length != 0) {
        const CSpyUnit unit;
        block = CSpyMemRef(source.m_length + CountSize, heapId);
        block.write(0, &source.m_length, CountSize);
        block.write(CountSize, source.m_bytes, source.m_length);
    }
    *this = CSpyVariant(SpyString, block);
}

unsigned int CSpyVariant::getStringLen(const CSpyMemRef& block) const
{
    if (!block)
        return 0;
    block.isValid(); // a stale reference is refused without waiting for the mutex
    const CSpyUnit unit;
    return textIn(block).m_length;
}

const unsigned short* CSpyVariant::getString(const CSpyMemRef& block) const
{
    return !block ? szNullStr : reinterpret_cast<const unsigned short*>(textIn(block).m_bytes);
}

namespace {
bool neverEqual(const CSpyVariant&, const CSpyVariant&)
{
    return false;
}

template <class Value> bool equalAs(const CSpyVariant& one, const CSpyVariant& other)
{
    return one.as<Value>() == other.as<Value>();
}

bool equalTexts(const CSpyVariant& one, const CSpyVariant& other)
{
    return equalAs<uint64_t>(one, other) || textIn(one.ref()) == textIn(other.ref());
}

struct CStoredKind {
    uint32_t m_number;
    const char* m_name;
    bool (*m_areEqual)(const CSpyVariant&, const CSpyVariant&);
    bool m_ownsBlock;
};
#define SPY_KIND_ROW(name, ...) {__VA_ARGS__},
constexpr CStoredKind s_storedKinds[] = {SPY_KINDS(SPY_KIND_ROW)};
#undef SPY_KIND_ROW

constexpr bool areNumberedInOrder()
{
    uint32_t next = 0;
    for (const CStoredKind& kind : s_storedKinds)
        if (kind.m_number != next++)
            return false;
    return true;
}
static_assert(areNumberedInOrder());
} // namespace

const char* CSpyVariant::nameOf(EType type)
{
    return type < std::size(s_storedKinds) ? s_storedKinds[type].m_name : nullptr;
}

bool CSpyVariant::operator==(const CSpyVariant& other) const
{
    return m_type == other.m_type && m_type < std::size(s_storedKinds) &&
           s_storedKinds[m_type].m_areEqual(*this, other);
}

bool CSpyVariant::operator==(const ITalString& text) const
{
    return isa(SpyString) && textIn(ref()) == textOf(text);
}

void CSpyVariant::free()
{
    if (m_type >= std::size(s_storedKinds) || !s_storedKinds[m_type].m_ownsBlock)
        return;
    CSpyMemRef block = ref();
    if (!!block)
        block.free();
    *this = CSpyVariant();
}
