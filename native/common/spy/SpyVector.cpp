#include "common/spy/SpyVector.h"

#include "common/spy/SpyText.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "include/ITalString.h"

#include <algorithm>
#include <optional>

namespace {
constexpr uint64_t SlotSize = sizeof(CSpyVariant);
constexpr uint64_t LargestHeap = 0x1000000; ///< what references can reach; no block is larger

/// Bytes of that many slots.
uint32_t bytesFor(uint64_t slots)
{
    if (slots > LargestHeap / SlotSize)
        throw COutOfSpyMemory();
    return static_cast<uint32_t>(slots * SlotSize);
}

/// A string that many are compared with: its own text is looked up once.
class CSoughtString {
public:
    explicit CSoughtString(const CSpyVariant& value) : m_ref(value.ref()) {}

    bool equals(const CSpyVariant& slot) const
    {
        if (!slot.isa(CSpyVariant::SpyString))
            return false;
        if (slot.ref() == m_ref)
            return true;
        if (!m_text)
            m_text = textIn(m_ref);
        return textIn(slot.ref()) == *m_text;
    }

private:
    CSpyMemRef m_ref;
    mutable std::optional<CSpyText> m_text;
};

bool operator==(const CSpyVariant& slot, const CSoughtString& sought)
{
    return sought.equals(slot);
}
} // namespace

void CSpyVectorHdr::create(CSpyMemory& vector, UNIQUEID transactionId, unsigned int startSize,
                           unsigned int increment)
{
    GX_ASSERT(startSize > 0, "startSize > 0");
    const CSpyVariant empty;
    m_elements = vector.rawAlloc(bytesFor(startSize), transactionId);
    m_elements.write(0, &empty, SlotSize, startSize);
    m_size = 0;
    m_capacity = startSize;
    m_increment = increment;
}

CSpyVariant* CSpyVectorHdr::slots() const
{
    auto* first = static_cast<CSpyVariant*>(m_elements.address());
    if (m_size > m_capacity || m_capacity > m_elements.size() / SlotSize)
        throw CHeapCorrupted("!!Spy Heap corrupted!! A vector is larger than its block");
    return first;
}

CSpyVariant& CSpyVectorHdr::operator[](unsigned int index) const
{
    if (index >= m_capacity)
        throw COutOfSpyMemory();
    return slots()[index];
}

CSpyVector::CSpyVector(const CSpyMemRef& ref) : CSpyMemory(ref)
{
    refresh();
}

CSpyVector::CSpyVector(const CSpyMemRef& ref, int transactionId, int startSize, int increment)
    : CSpyMemory(ref)
{
    create(static_cast<unsigned>(transactionId), static_cast<unsigned>(startSize),
           static_cast<unsigned>(increment));
}

CSpyVector::~CSpyVector()
{
    try {
        if (!isNull())
            update();
    } catch (...) {
        CTracer::debugTrace("A spy vector could not be written back");
    }
}

bool CSpyVector::create(const ITalString& name, int transactionId, int startSize, int increment)
{
    const CSpyUnit unit;
    create(static_cast<unsigned>(transactionId), static_cast<unsigned>(startSize),
           static_cast<unsigned>(increment));
    if (name.length() != 0)
        registerName(name);
    return !isNull();
}

int CSpyVector::create(unsigned int transactionId, unsigned int startSize, unsigned int increment)
{
    const CSpyUnit unit;
    allocate(sizeof m_header, transactionId);
    try {
        m_header.create(*this, transactionId, startSize, increment);
    } catch (...) {
        CSpyMemory::free();
        throw;
    }
    if (write(&m_header, sizeof m_header))
        m_part.leave();
    return 0;
}

void CSpyVector::refresh()
{
    CSpyVectorHdr stored;
    read(&stored, sizeof stored);
    if (stored.m_size > stored.m_capacity || stored.m_capacity > LargestHeap / SlotSize)
        throw CHeapCorrupted("!!Spy Heap corrupted!! A vector has more elements than room");
    m_header = stored;
    m_part.leave();
}

void CSpyVector::update()
{
    if (m_part.isTaken() && write(&m_header, sizeof m_header))
        m_part.leave();
}

void CSpyVector::free()
{
    const CSpyUnit unit;
    removeAllElements();
    m_header.m_elements.free();
    m_header.m_capacity = 0;
    CSpyMemory::free();
    m_part.leave();
}

CSpyVariant CSpyVector::get(unsigned int index) const
{
    const CSpyHeap::CReading reading;
    return index < m_header.m_size ? readOnce(m_header[index]) : CSpyVariant();
}

template <class Value> unsigned int CSpyVector::find(const Value& value, int start) const
{
    const auto first = static_cast<unsigned>(start);
    if (first >= m_header.m_size)
        return NotFound;
    const CSpyUnit unit;
    const CSpyVariant* const slots = m_header.slots();
    const CSpyVariant* const end = slots + m_header.m_size;
    const CSpyVariant* const found =
        std::find_if(slots + first, end, [&](const CSpyVariant& slot) { return readOnce(slot) == value; });
    return found == end ? NotFound : static_cast<unsigned>(found - slots);
}

unsigned int CSpyVector::indexOf(const CSpyVariant& value, int start) const
{
    return value.isa(CSpyVariant::SpyString) ? find(CSoughtString(value), start) : find(value, start);
}

unsigned int CSpyVector::indexOf(const ITalString& text, int start) const
{
    return find(text, start);
}

void CSpyVector::addElements(const CSpyVariant* values, unsigned int count)
{
    const CSpyUnit unit;
    makeRoomFor(count);
    // The last slot first, which says whether there is room for all.
    CSpyVariant* const last = &m_header[m_header.m_size + count - 1];
    CSpyJournal::keep(last - (count - 1), count * SlotSize);
    std::copy_n(values, count, last - (count - 1));
    resize(m_header.m_size + count);
}

CSpyVariant CSpyVector::set(unsigned int index, const CSpyVariant& value)
{
    const CSpyUnit unit;
    const CSpyVariant stored = value; // it may lie in the block that moves
    if (index >= m_header.m_capacity)
        grow(uint64_t{index} + m_header.m_increment);
    CSpyVariant& place = m_header[index];
    CSpyVariant previous;
    if (index < m_header.m_size)
        previous = readOnce(place);
    else
        fill(m_header.m_size, index);
    CSpyJournal::keep(place);
    place = stored;
    resize(std::max(m_header.m_size, index + 1));
    return previous;
}

/// Makes the slots from `first` up to `last` empty, without the latter.
void CSpyVector::fill(unsigned int first, unsigned int last)
{
    CSpyVariant* const slots = m_header.slots();
    CSpyJournal::keep(slots + first, (last - first) * SlotSize);
    std::fill(slots + first, slots + last, CSpyVariant());
}

void CSpyVector::insertElement(CSpyVariant& value, int index)
{
    const CSpyUnit unit;
    const auto slot = static_cast<unsigned>(index);
    const CSpyVariant stored = value;
    makeRoomFor(1);
    if (slot > m_header.m_size) {
        value.free();
        return;
    }
    CSpyVariant* const end = &m_header[m_header.m_size];
    CSpyVariant* const place = end - (m_header.m_size - slot);
    CSpyJournal::keep(place, (m_header.m_size - slot + 1) * SlotSize);
    std::copy_backward(place, end, end + 1);
    *place = stored;
    resize(m_header.m_size + 1);
}

CSpyVariant CSpyVector::remove(int index)
{
    // A size that is negative as a signed number can only come from damage.
    if (static_cast<int>(m_header.m_size) < 1)
        return {};
    const CSpyUnit unit;
    const auto slot = static_cast<unsigned>(index);
    const CSpyVariant removed = get(index);
    if (slot < m_header.m_size)
        removeElements(slot, 1);
    else
        resize(m_header.m_size - 1);
    return removed;
}

void CSpyVector::removeElements(unsigned int first, unsigned int count)
{
    const CSpyUnit unit;
    count = std::min(count, m_header.m_size - first);
    CSpyVariant* const place = &m_header[first];
    CSpyJournal::keep(place, (m_header.m_size - first - count) * SlotSize);
    std::copy(place + count, place + (m_header.m_size - first), place);
    resize(m_header.m_size - count);
}

void CSpyVector::removeAllElements()
{
    const CSpyUnit unit;
    for (unsigned int index = 0; index < m_header.m_size; ++index) {
        try {
            get(static_cast<int>(index)).free();
        } catch (const CInvalidSpyMemRef& stale) {
            CTracer::debugTrace("Invalid Element in vector during free -- ignored. (%s)\r\n",
                                stale.message());
        }
    }
    resize(0);
}

void CSpyVector::forgetElements()
{
    const CSpyUnit unit;
    resize(0);
}

void CSpyVector::resize(uint32_t size)
{
    m_header.m_size = size;
    m_part.take();
}

void CSpyVector::makeRoomFor(unsigned int more)
{
    if (uint64_t{m_header.m_size} + more > m_header.m_capacity)
        grow(0);
}

/// @param newCapacity  0 stands for the capacity and the increment
void CSpyVector::grow(uint64_t newCapacity)
{
    if (newCapacity == 0)
        newCapacity = uint64_t{m_header.m_capacity} + m_header.m_increment;
    if (isNull())
        throw CInvalidSpyMemRef(ref());
    m_header.m_elements.isValid(); // what another process damaged is refused, not asserted
    GX_ASSERT(newCapacity != 0, "newCapacity != 0");
    const uint32_t bytes = bytesFor(newCapacity);
    CSpyMemRef outgrown;
    if (!m_header.m_elements.growInPlace(bytes))
        outgrown = move(bytes);
    const auto capacity = static_cast<uint32_t>(newCapacity);
    const CSpyVariant empty;
    m_header.m_elements.write(m_header.m_size * static_cast<uint32_t>(SlotSize), &empty, SlotSize,
                              capacity - m_header.m_size);
    m_header.m_capacity = capacity;
    m_part.take();
    if (!outgrown)
        return;
    // Stored before the old block goes: a process that dies must not leave a header with a dead reference.
    update();
    outgrown.free();
}

/// Copies the elements to a new block of the same transaction. @return the old block
CSpyMemRef CSpyVector::move(uint32_t bytes)
{
    const CSpyMemRef outgrown = m_header.m_elements;
    CSpyMemRef block = rawAlloc(bytes, CSpyHeap::getTransactionId(outgrown.heapId()));
    block.write(0, m_header.slots(), m_header.m_size * static_cast<uint32_t>(SlotSize));
    m_header.m_elements = block;
    return outgrown;
}
