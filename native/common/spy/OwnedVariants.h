/// Values that a container has been handed and not stored yet, or has replaced.
#pragma once

#include "common/spy/SpyVariant.h"

/// Frees the block of a value; nothing happens to one that is stale already.
inline void freeQuietly(CSpyVariant& value) noexcept
{
    try {
        value.free();
    } catch (...) {
        // What is no memory of ours was traced where that was found.
    }
}

/// Frees key and value unless they were kept, also when something is thrown.
class COwnedVariants {
public:
    COwnedVariants(CSpyVariant& key, const CSpyVariant& value) : m_key(key), m_value(value) {}
    ~COwnedVariants()
    {
        if (!m_owned)
            return;
        freeQuietly(m_key);
        freeQuietly(m_value);
    }
    COwnedVariants(const COwnedVariants&) = delete;
    COwnedVariants& operator=(const COwnedVariants&) = delete;

    void keep() { m_owned = false; }

private:
    CSpyVariant& m_key;
    CSpyVariant m_value;
    bool m_owned = true;
};

/// Frees what a slot held before it got `stored`, unless a caller has put back what was there.
inline void freeReplaced(CSpyVariant& previous, const CSpyVariant& stored) noexcept
{
    if (!(previous.ref() == stored.ref()))
        freeQuietly(previous);
}
