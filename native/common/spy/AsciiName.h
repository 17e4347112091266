/// Names that native code gives to objects in spy memory.
#pragma once

#include "include/ITalString.h"

#include <algorithm>
#include <cstring>
#include <vector>

/// ASCII text as a name. Borrows the text.
class CAsciiName final : public ITalString {
public:
    explicit CAsciiName(const char* text) : m_text(text), m_units(text, text + std::strlen(text)) {}

    operator const unsigned short*() const override { return m_units.data(); }
    operator const char*() const override { return m_text; }
    bool equals(const ITalString& other) const override
    {
        return length() == other.length() &&
               std::equal(m_units.begin(), m_units.end(), static_cast<const unsigned short*>(other));
    }
    unsigned int length() const override { return static_cast<unsigned int>(m_units.size()); }

private:
    const char* m_text;
    std::vector<unsigned short> m_units;
};
