#include "common/text/CutText.h"

#include "common/text/CodeSet.h"

#include <algorithm>
#include <cwchar>

namespace {
size_t sizeOfCharacter(unsigned char first) noexcept
{
    return first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
}
} // namespace

size_t wholeInUtf8(std::string_view text) noexcept
{
    const size_t length = text.size();
    for (size_t start = length; start > 0 && length - start < 4;) {
        const auto byte = static_cast<unsigned char>(text[--start]);
        if ((byte & 0xC0) != 0x80)
            return start + sizeOfCharacter(byte) > length ? start : length;
    }
    return length;
}

std::optional<size_t> wholeInLocale(std::string_view text)
{
    const CEnvironmentLocale locale;
    std::mbstate_t state{};
    for (size_t at = 0; at < text.size();) {
        const size_t length = std::mbrlen(text.data() + at, text.size() - at, &state);
        if (length == static_cast<size_t>(-2))
            return at;
        if (length == static_cast<size_t>(-1))
            return std::nullopt;
        at += std::max<size_t>(length, 1);
    }
    return text.size();
}
