/// The text of a string where it lies in spy memory.
#pragma once

#include "common/spy/SpyMemRef.h"

#include <cstdint>
#include <cstring>

struct CSpyText {
    const unsigned char* m_bytes;
    uint32_t m_length; ///< bytes

    bool operator==(const CSpyText& other) const
    {
        return m_length == other.m_length &&
               (m_length == 0 || std::memcmp(m_bytes, other.m_bytes, m_length) == 0);
    }
};

/// The string in `block`, good until that is changed; none for a null reference.
/// @throws CInvalidSpyMemRef, CHeapCorrupted
CSpyText textIn(const CSpyMemRef& block);
