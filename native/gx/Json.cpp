#include "gx/Json.h"

#include "common/text/CodeSet.h"

#include <cstdio>

namespace {
std::string inUtf8(std::string_view text)
{
    std::string converted;
    if (convertText("UTF-8", "UTF-8", text, converted) == Conversion::complete)
        return converted;
    converted.clear();
    convertText("UTF-8", "ISO-8859-1", text, converted);
    return converted;
}

void appendEscaped(std::string& out, char each)
{
    if (each == '"' || each == '\\')
        (out += '\\') += each;
    else if (each == '\n')
        out += "\\n";
    else if (static_cast<unsigned char>(each) < ' ' || each == '\x7F') {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x",
                      static_cast<unsigned>(static_cast<unsigned char>(each)));
        out += escape;
    } else
        out += each;
}
} // namespace

void CJson::separate()
{
    if (!m_first)
        m_text += ',';
    m_first = false;
}

CJson& CJson::open(char bracket)
{
    separate();
    m_text += bracket;
    m_first = true;
    return *this;
}

CJson& CJson::close(char bracket)
{
    m_text += bracket;
    m_first = false;
    return *this;
}

CJson& CJson::raw(std::string_view text)
{
    separate();
    m_text += text;
    return *this;
}

CJson& CJson::key(std::string_view name)
{
    value(name);
    m_text += ':';
    m_first = true;
    return *this;
}

CJson& CJson::value(std::string_view text)
{
    separate();
    m_text += '"';
    for (const char each : inUtf8(text))
        appendEscaped(m_text, each);
    m_text += '"';
    return *this;
}

void CJson::print() const
{
    std::fputs((m_text + '\n').c_str(), stdout);
}
