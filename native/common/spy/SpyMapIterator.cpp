#include "common/spy/SpyMapIterator.h"

#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"

bool CSpyMapKeyIterator::hasMoreElements()
{
    return m_data && m_remaining != 0 && m_bucket < m_data->capacity();
}

CSpyVariant& CSpyMapKeyIterator::nextElement()
{
    const CSpyUnit unit;
    if (!m_data || stepInChain())
        return element();
    while (m_bucket < m_data->capacity()) {
        const CSpyVariant key = m_data->get(static_cast<int>(m_bucket));
        switch (key.type()) {
        case CSpyVariant::SpyEmpty:
            m_bucket += 2;
            continue;
        case CSpyVariant::SpyString:
            take(*m_data, m_bucket);
            return element();
        case CSpyVariant::SpyVector:
            m_chain = std::make_unique<CSpyVector>(key.ref());
            m_chainPosition = 0;
            ++m_chains;
            if (stepInChain())
                return element();
            continue;
        default:
            break;
        }
        break;
    }
    CTracer::debugTrace("Invalid key type !!");
    return element();
}

/// @return false outside of chains and at the end of one, which is left then
bool CSpyMapKeyIterator::stepInChain()
{
    if (!m_chain)
        return false;
    if (m_chainPosition < m_chain->size()) {
        take(*m_chain, m_chainPosition);
        GX_ASSERT(m_key.isa(CSpyVariant::SpyString), "key.isa(CSpyVariant::SpyString)");
        return true;
    }
    m_chain.reset();
    m_bucket += 2;
    return false;
}

void CSpyMapKeyIterator::take(const CSpyVector& from, unsigned int& position)
{
    m_key = from.get(static_cast<int>(position));
    m_value = from.get(static_cast<int>(position + 1));
    position += 2;
    --m_remaining;
}
