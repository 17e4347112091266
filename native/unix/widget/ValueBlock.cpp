#include "unix/widget/ValueBlock.h"

#include "common/text/CodeSet.h"

#include <algorithm>
#include <bit>
#include <string>

namespace {
enum EKind : uint8_t { null = 0, longNumber = 1, truth = 2, text = 3, rectangle = 4, real = 5 };

bool isAscii(std::string_view text)
{
    return std::none_of(text.begin(), text.end(),
                        [](char each) { return static_cast<signed char>(each) <= 0; });
}

bool isHighSurrogate(uint8_t highByte)
{
    return (highByte & 0xFC) == 0xD8;
}
} // namespace

void CValueBlock::number(uint64_t value, int bytes)
{
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        m_bytes.push_back(static_cast<uint8_t>(value >> shift));
}

void CValueBlock::add(int64_t value)
{
    m_bytes.push_back(longNumber);
    number(static_cast<uint64_t>(value), 8);
}

void CValueBlock::add(bool value)
{
    m_bytes.push_back(truth);
    m_bytes.push_back(value ? 1 : 0);
}

void CValueBlock::add(const std::optional<bool>& value)
{
    if (value)
        add(*value);
    else
        m_bytes.push_back(null);
}

void CValueBlock::add(const std::optional<double>& value)
{
    m_bytes.push_back(value ? real : null);
    if (value)
        number(std::bit_cast<uint64_t>(*value), 8);
}

void CValueBlock::add(const Rect& box)
{
    m_bytes.push_back(rectangle);
    for (const int each : {box.getLeft(), box.getTop(), box.getWidth(), box.getHeight()})
        number(static_cast<uint32_t>(each), 4);
}

/// Most texts are ASCII, and a converter takes longer to open than they take to convert.
void CValueBlock::units(std::string_view text, size_t room, bool& whole)
{
    std::string wide;
    if (isAscii(text)) {
        for (const char each : text.substr(0, room))
            wide.append({'\0', each});
        whole = text.size() <= room;
    } else {
        // a unit comes from three bytes at most
        const std::string_view part = text.substr(0, 3 * room + 3);
        convertText("UTF-16BE", "UTF-8", part, wide);
        whole = part.size() == text.size() && wide.size() <= 2 * room;
        wide.resize(std::min(wide.size(), 2 * room));
        if (wide.size() >= 2 && isHighSurrogate(static_cast<uint8_t>(wide[wide.size() - 2])))
            wide.resize(wide.size() - 2);
    }
    number(wide.size() / 2, 4);
    m_bytes.insert(m_bytes.end(), wide.begin(), wide.end());
    m_left -= wide.size() / 2;
}

bool CValueBlock::add(std::string_view value)
{
    m_bytes.push_back(value.empty() ? null : text);
    bool whole = true;
    if (!value.empty())
        units(value, std::min(m_longest, m_left), whole);
    return whole;
}
