/// UTF-16 names for tests.
#pragma once

#include "common/jni/JniDataTypes.h"

#include <string>

/// A name that owns its text; plain ASCII.
class CName {
public:
    CName(const std::string& text) : m_units(text.begin(), text.end()) {}
    CName(const char* text) : CName(std::string(text)) {}
    CName(const CName&) = delete;
    operator const ITalString&() const { return m_text; }

private:
    std::u16string m_units;
    CTalString m_text{reinterpret_cast<const unsigned short*>(m_units.data()),
                      static_cast<unsigned short>(m_units.size())};
};
