/// The walks over the entries of a spy map.
#pragma once

#include "common/spy/IVariantIterator.h"
#include "common/spy/SpyVector.h"

#include <memory>

/// Walks over the keys, bucket after bucket and through their chains. Takes the heap mutex once a step; hold
/// it, and keep the map, over the whole walk.
class CSpyMapKeyIterator : public IVariantIterator {
public:
    /// @param data   the map's data vector, which lives longer; null: there is nothing to walk over
    /// @param count  entries of the map
    CSpyMapKeyIterator(CSpyVector* data, unsigned int count) : m_remaining(count), m_data(data) {}

    CSpyVariant& nextElement() override;
    bool hasMoreElements() override;
    CSpyVariant& element() override { return m_key; }

protected:
    CSpyVariant& value() { return m_value; }

private:
    bool stepInChain();
    void take(const CSpyVector& from, unsigned int& position);

    unsigned int m_bucket = 0;        ///< index of the next bucket's key in the data vector
    unsigned int m_chainPosition = 0; ///< index of the next key in the chain
    unsigned int m_remaining;         ///< entries not yet answered
    CSpyVector* m_data;
    std::unique_ptr<CSpyVector> m_chain; ///< of the current bucket; null outside of chains
    unsigned int m_chains = 0;           ///< chains entered
    CSpyVariant m_key;
    CSpyVariant m_value;
};

/// Walks over the values.
class CSpyMapElementIterator : public CSpyMapKeyIterator {
public:
    using CSpyMapKeyIterator::CSpyMapKeyIterator;
    CSpyVariant& element() override { return value(); }
};
