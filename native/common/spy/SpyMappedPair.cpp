#include "common/spy/SpyMappedPair.h"

#include "common/spy/OwnedVariants.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "include/ITalString.h"

#include <utility>

namespace {
constexpr unsigned int StartSize = 50;
constexpr unsigned int Increment = 20;
constexpr unsigned int Fields = 3; ///< elements an entry takes: key, value, number

} // namespace

CSpyMappedPair::CSpyMappedPair(const CSpyMemRef& ref) : CSpyMemory(ref)
{
    if (!isNull())
        refresh();
}

CSpyMappedPair::~CSpyMappedPair()
{
    try {
        if (!isNull())
            update(false);
    } catch (...) {
        CTracer::debugTrace("Caught exception in SpyMappedPair");
    }
}

bool CSpyMappedPair::create(const ITalString& name, int transactionId)
{
    const CSpyUnit unit;
    create(static_cast<unsigned>(transactionId));
    if (name.length() != 0)
        registerName(name);
    return !isNull();
}

bool CSpyMappedPair::create(unsigned int transactionId)
{
    const CSpyUnit unit;
    auto data = std::make_unique<CSpyVector>();
    data->create(transactionId, StartSize, Increment);
    try {
        allocate(sizeof m_header, transactionId);
    } catch (...) {
        data->free();
        throw;
    }
    m_data = std::move(data);
    GX_ASSERT(m_data, "m_data != 0");
    m_header = {m_data->ref(), StartSize};
    update(true);
    return !isNull();
}

void CSpyMappedPair::refresh()
{
    const CSpyUnit unit;
    CSpyMappedPairHdr stored;
    read(&stored, sizeof stored);
    m_header = stored;
    m_part.leave();
    m_data.reset();
    if (!!stored.m_data)
        m_data = std::make_unique<CSpyVector>(stored.m_data);
}

void CSpyMappedPair::update(bool force)
{
    if ((force || m_part.isTaken()) && write(&m_header, sizeof m_header))
        m_part.leave();
}

void CSpyMappedPair::removeAll()
{
    if (!m_data)
        return;
    const CSpyUnit unit;
    // Stored before the data vector goes: to every process a null reference means that there is none.
    m_header.m_data = CSpyMemRef();
    update(true);
    m_data->free();
    m_data.reset();
}

void CSpyMappedPair::free()
{
    const CSpyUnit unit;
    removeAll();
    CSpyMemory::free();
    m_part.leave();
}

template <class Key> unsigned int CSpyMappedPair::findKey(const Key& key) const
{
    if (!m_data)
        return NotFound;
    const CSpyUnit unit;
    for (unsigned int index = 0; index < m_data->size(); index += Fields)
        if (m_data->get(index) == key)
            return index;
    return NotFound;
}

unsigned int CSpyMappedPair::find(const CSpyVariant& key) const
{
    return findKey(key);
}

bool CSpyMappedPair::containsKey(const ITalString& key) const
{
    return findKey(key) != NotFound;
}

void CSpyMappedPair::get(const ITalString& key, CSpyVariant& value, int& number) const
{
    if (!m_data)
        return;
    const CSpyUnit unit;
    number = 0;
    const unsigned int index = findKey(key);
    if (index == NotFound)
        return;
    value = m_data->get(index + 1);
    number = m_data->get(index + 2).as<int32_t>();
}

bool CSpyMappedPair::put(CSpyVariant& key, const CSpyVariant& value, int number)
{
    const CSpyUnit unit;
    COwnedVariants taken(key, value);
    if (!m_data || key.isEmpty())
        return false;
    const unsigned int index = find(key);
    if (index == NotFound) {
        const CSpyVariant entry[Fields] = {key, value, CSpyVariant(number)};
        m_data->addElements(entry, Fields);
        taken.keep();
    } else {
        taken.keep();
        replace(index, key, value, number);
    }
    m_data->update();
    m_part.take();
    return true;
}

void CSpyMappedPair::replace(unsigned int index, CSpyVariant& key, const CSpyVariant& value, int number)
{
    CSpyVariant replaced = m_data->set(index + 1, value);
    m_data->set(index + 2, CSpyVariant(number));
    freeReplaced(replaced, value);
    freeReplaced(key, m_data->get(index));
}

bool CSpyMappedPair::put(const ITalString& key, const CSpyVariant& value, int number)
{
    const CSpyUnit unit;
    CSpyVariant name;
    COwnedVariants taken(name, value);
    if (!m_data)
        return false;
    name.setString(key, ref().heapId());
    taken.keep();
    return put(name, value, number);
}

bool CSpyMappedPair::put(const ITalString& key, const ITalString& value, int number)
{
    const CSpyUnit unit;
    return m_data && put(key, CSpyVariant(value, ref().heapId()), number);
}

CSpyVariant CSpyMappedPair::remove(const ITalString& key)
{
    const CSpyUnit unit;
    const unsigned int index = findKey(key);
    if (index == NotFound)
        return {};
    CSpyVariant itsKey = m_data->get(index);
    const CSpyVariant value = m_data->get(index + 1);
    m_data->removeElements(index, Fields);
    m_data->update(); // before its key becomes stale, should this process die
    freeQuietly(itsKey);
    m_part.take();
    return value;
}
