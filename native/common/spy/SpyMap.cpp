#include "common/spy/SpyMap.h"

#include "common/spy/OwnedVariants.h"
#include "common/spy/SpyMapIterator.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "include/ITalString.h"

#include <cstring>
#include <utility>

namespace {
constexpr unsigned int DefaultBuckets = 100;
constexpr unsigned int DataIncrement = 20;
constexpr unsigned int ChainStart = 10;
constexpr unsigned int ChainIncrement = 5;
constexpr double CrowdedAbove = 0.3;
constexpr double GrowthFactor = 1.5;

std::unique_ptr<CSpyVector> newTable(UNIQUEID transactionId, unsigned int buckets)
{
    auto table = std::make_unique<CSpyVector>();
    table->create(transactionId, 2 * buckets, DataIncrement);
    return table;
}

/// The key's index in a chain; NotFound also when the first element that equals it is a value.
template <class Key> unsigned int indexInChain(const CSpyVector& chain, const Key& key)
{
    const unsigned int index = chain.indexOf(key, 0);
    return index % 2 == 0 ? index : CSpyVector::NotFound;
}
} // namespace

bool CSpyMap::growing = false;

// Life

CSpyMap::CSpyMap()
{
    create(0U);
}

CSpyMap::CSpyMap(CSpyMap&) : CSpyMemory() {} // NOLINT(bugprone-copy-constructor-init): a copy names no map

CSpyMap::CSpyMap(const CSpyMemRef& ref) : CSpyMemory(ref)
{
    refresh();
}

CSpyMap::~CSpyMap()
{
    try {
        if (!isNull() && m_part.isTaken())
            update();
    } catch (...) {
        CTracer::debugTrace("A spy map could not be written back");
    }
}

bool CSpyMap::create(unsigned int transactionId)
{
    return create(transactionId, DefaultBuckets);
}

bool CSpyMap::create(const ITalString& name, int transactionId, int buckets)
{
    const CSpyUnit unit;
    create(static_cast<UNIQUEID>(transactionId), static_cast<unsigned>(buckets));
    if (name.length() != 0)
        registerName(name);
    return !isNull();
}

bool CSpyMap::create(UNIQUEID transactionId, unsigned int buckets)
{
    const CSpyUnit unit;
    auto data = newTable(transactionId, buckets);
    try {
        allocate(sizeof m_header, transactionId);
    } catch (...) {
        data->free();
        throw;
    }
    m_data = std::move(data);
    GX_ASSERT(m_data, "m_data != 0");
    m_header = {m_data->ref(), 0, 0};
    update();
    return !isNull();
}

void CSpyMap::refresh()
{
    const CSpyUnit unit;
    CSpyMapHdr stored;
    read(&stored, sizeof stored);
    m_data = std::make_unique<CSpyVector>(stored.m_data);
    m_header = stored;
    m_part.leave();
}

void CSpyMap::update()
{
    write(&m_header, sizeof m_header);
    m_part.leave();
}

void CSpyMap::removeAll()
{
    if (!m_data)
        return;
    const CSpyUnit unit;
    m_data->removeAllElements();
    m_data->update();
    m_header.m_count = 0;
    m_part.take();
}

void CSpyMap::free()
{
    const CSpyUnit unit;
    removeAll();
    if (m_data)
        m_data->free();
    m_data.reset();
    CSpyMemory::free();
    m_part.leave();
}

// Buckets

unsigned int CSpyMap::hash(const unsigned short* text, int length)
{
    unsigned int sum = 0;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text);
    for (int index = 0; index < length; ++index, bytes += sizeof(uint16_t)) {
        uint16_t unit;
        std::memcpy(&unit, bytes, sizeof unit);
        sum += unit % 31U;
    }
    return sum;
}

unsigned int CSpyMap::slotOf(const CSpyVariant& key) const
{
    return 2 * (hash(key.getString(), static_cast<int>(key.getStringLen() >> 1)) % buckets());
}

unsigned int CSpyMap::slotOf(const ITalString& key) const
{
    const unsigned short* text = key;
    return 2 * (hash(text, text ? static_cast<int>(key.length()) : 0) % buckets());
}

/// Single precision against a double limit, as in every process: 30 of 100 is above it, 29 is not.
bool CSpyMap::isCrowded() const
{
    const float load = static_cast<float>(m_header.m_collisions) / static_cast<float>(buckets());
    return m_header.m_collisions != 0 && static_cast<double>(load) > CrowdedAbove;
}

bool CSpyMap::grow()
{
    if (growing)
        return true;
    const auto larger = static_cast<unsigned>(buckets() * GrowthFactor);
    // A table that no block can hold stays as it is, and so does one that would not grow: keys that the hash
    // cannot tell apart end up here.
    if (larger == buckets() || uint64_t{2} * larger * sizeof(CSpyVariant) >= CSpyHeap::LargestPossibleBlock)
        return false;
    const CSpyMapHdr header = m_header;
    auto old = std::exchange(m_data, newTable(CSpyHeap::getTransactionId(m_data->ref().heapId()), larger));
    m_header = {m_data->ref(), 0, 0};
    growing = true;
    try {
        rebuild(*old);
    } catch (...) {
        growing = false;
        std::swap(m_data, old);
        m_header = header;
        old->forgetElements();
        old->free();
        throw;
    }
    growing = false;
    // Stored before the old table goes: whoever attaches after our death finds the map whole.
    m_data->update();
    update();
    old->forgetElements();
    old->free();
    return true;
}

/// Puts every entry of the old table into the new one. The old table stays as it is, so that a failure, or
/// the death of this process, loses nothing.
void CSpyMap::rebuild(const CSpyVector& old)
{
    const auto move = [this](const CSpyVector& from, unsigned int index) {
        CSpyVariant key = from.get(index);
        place(key, from.get(index + 1));
    };
    for (unsigned int slot = 0; slot < old.size(); slot += 2) {
        const CSpyVariant key = old.get(slot);
        if (key.isa(CSpyVariant::SpyString))
            move(old, slot);
        if (!key.isa(CSpyVariant::SpyVector))
            continue;
        const CSpyVector chain(key.ref());
        for (unsigned int index = 0; index < chain.size(); index += 2)
            if (chain.get(index).isa(CSpyVariant::SpyString))
                move(chain, index);
    }
}

// Entries

bool CSpyMap::put(CSpyVariant& key, const CSpyVariant& value)
{
    GX_ASSERT(m_data, "m_data != 0");
    const CSpyUnit unit;
    COwnedVariants taken(key, value);
    ref().isValid();
    if (!key.isEmpty() && buckets() != 0) {
        if (isCrowded())
            grow(); // which writes the header back
        m_part.take();
        if (place(key, value)) {
            taken.keep();
            m_data->update();
            return true;
        }
    }
    CTracer::debugTrace("SpyMap put failed, expected SpyVariant type for key");
    return false;
}

bool CSpyMap::put(const ITalString& key, const CSpyVariant& value)
{
    const CSpyUnit unit;
    CSpyVariant nothing;
    COwnedVariants taken(nothing, value);
    ref().isValid();
    CSpyVariant name(key, ref().heapId());
    taken.keep();
    return put(name, value);
}

bool CSpyMap::put(const ITalString& key, const ITalString& value)
{
    const CSpyUnit unit;
    ref().isValid();
    return put(key, CSpyVariant(value, ref().heapId()));
}

bool CSpyMap::place(CSpyVariant& key, const CSpyVariant& value)
{
    const unsigned int slot = slotOf(key);
    const CSpyVariant found = m_data->get(slot);
    switch (found.type()) {
    case CSpyVariant::SpyEmpty:
        placeInBucket(slot, key, value);
        return true;
    case CSpyVariant::SpyString:
        if (found == key)
            replaceInBucket(slot, key, value);
        else
            placeInNewChain(slot, key, value);
        return true;
    case CSpyVariant::SpyVector:
        placeInChain(found.ref(), key, value);
        return true;
    default:
        return false;
    }
}

/// The key comes last: a process that dies in between leaves a free bucket.
void CSpyMap::placeInBucket(unsigned int slot, const CSpyVariant& key, const CSpyVariant& value)
{
    m_data->set(slot + 1, value);
    m_data->set(slot, key);
    ++m_header.m_count;
}

void CSpyMap::replaceInBucket(unsigned int slot, CSpyVariant& key, const CSpyVariant& value)
{
    CSpyVariant replaced = m_data->set(slot + 1, value);
    freeReplaced(replaced, value);
    freeReplaced(key, m_data->get(slot));
}

void CSpyMap::placeInNewChain(unsigned int slot, const CSpyVariant& key, const CSpyVariant& value)
{
    CSpyVector chain;
    chain.create(CSpyHeap::getTransactionId(ref().heapId()), ChainStart, ChainIncrement);
    append(chain, m_data->get(slot), m_data->get(slot + 1));
    append(chain, key, value);
    chain.update();
    m_data->set(slot, CSpyVariant(chain));
    m_data->set(slot + 1, CSpyVariant());
    ++m_header.m_collisions;
    ++m_header.m_count;
}

void CSpyMap::placeInChain(const CSpyMemRef& chainRef, CSpyVariant& key, const CSpyVariant& value)
{
    CSpyVector chain(chainRef);
    const unsigned int index = indexInChain(chain, key);
    if (index != CSpyVector::NotFound) {
        chain.set(index + 1, value);
        freeReplaced(key, chain.get(index));
        return;
    }
    append(chain, key, value);
    ++m_header.m_collisions;
    ++m_header.m_count;
}

/// Both or, when there is no room, none: a key without a value would shift all that follow.
void CSpyMap::append(CSpyVector& chain, const CSpyVariant& key, const CSpyVariant& value)
{
    const CSpyVariant entry[] = {key, value};
    chain.addElements(entry, 2);
}

std::optional<CSpyVariant> CSpyMap::lookUp(const ITalString& key) const
{
    GX_ASSERT(m_data, "m_data != 0");
    ref().isValid();
    m_data->ref().isValid();
    if (buckets() == 0)
        return std::nullopt;
    const CSpyUnit unit;
    try {
        const unsigned int slot = slotOf(key);
        const CSpyVariant found = m_data->get(slot);
        if (found == key)
            return m_data->get(slot + 1);
        if (!found.isa(CSpyVariant::SpyVector))
            return std::nullopt;
        const CSpyVector chain(found.ref());
        const unsigned int index = indexInChain(chain, key);
        return index == CSpyVector::NotFound ? std::nullopt : std::optional(chain.get(index + 1));
    } catch (const CInvalidSpyMemRef&) {
        return std::nullopt;
    }
}

CSpyVariant CSpyMap::get(const ITalString& key) const
{
    return lookUp(key).value_or(CSpyVariant());
}

bool CSpyMap::containsKey(const ITalString& key) const
{
    return lookUp(key).has_value();
}

CSpyVariant CSpyMap::remove(const ITalString& key)
{
    if (!m_data || buckets() == 0)
        return {};
    const CSpyUnit unit;
    m_part.take();
    const unsigned int slot = slotOf(key);
    const CSpyVariant found = m_data->get(slot);
    CSpyVariant value;
    if (found.isa(CSpyVariant::SpyVector))
        value = removeFromChain(slot, found.ref(), key);
    else if (found == key)
        value = removeFromBucket(slot);
    m_data->update();
    return value;
}

CSpyVariant CSpyMap::removeFromBucket(unsigned int slot)
{
    CSpyVariant key = m_data->set(slot, CSpyVariant());
    freeQuietly(key);
    --m_header.m_count;
    return m_data->set(slot + 1, CSpyVariant());
}

CSpyVariant CSpyMap::removeFromChain(unsigned int slot, const CSpyMemRef& chainRef, const ITalString& key)
{
    CSpyVector chain(chainRef);
    --m_header.m_count;
    const unsigned int index = indexInChain(chain, key);
    if (index == CSpyVector::NotFound)
        return {};
    CSpyVariant itsKey = chain.get(index);
    const CSpyVariant value = chain.get(index + 1);
    chain.removeElements(index, 2);
    chain.update(); // before its key becomes stale, should this process die
    freeQuietly(itsKey);
    if (chain.isEmpty()) {
        m_data->set(slot, CSpyVariant());
        chain.free();
    }
    return value;
}

// All entries

std::unique_ptr<IVariantIterator> CSpyMap::keys() const
{
    return m_data ? std::make_unique<CSpyMapKeyIterator>(m_data.get(), size()) : nullptr;
}

std::unique_ptr<IVariantIterator> CSpyMap::elements() const
{
    return std::make_unique<CSpyMapElementIterator>(m_data.get(), size());
}

bool CSpyMap::getKeys(CSpyVariant* out, unsigned int max) const
{
    if (size() < 1 || !m_data)
        return false;
    const CSpyUnit unit;
    unsigned int copied = 0;
    const auto copy = [&](const CSpyVariant& key) {
        if (copied < max)
            out[copied] = key;
        ++copied;
    };
    for (unsigned int slot = 0; slot < m_data->size() && copied < size() && copied < max; slot += 2) {
        const CSpyVariant key = m_data->get(slot);
        if (key.isa(CSpyVariant::SpyString))
            copy(key);
        if (!key.isa(CSpyVariant::SpyVector))
            continue;
        const CSpyVector chain(key.ref());
        for (unsigned int index = 0; index < chain.size(); index += 2)
            copy(chain.get(index));
    }
    return copied > 0 && copied == size();
}
