/// Text for those who read no more than ASCII.
#pragma once

#include <string>
#include <type_traits>

/// A text of bytes or of 16-bit units, with a question mark for each that is not ASCII.
template <class Text> std::string asciiOf(const Text& text)
{
    std::string ascii;
    for (const auto each : text) {
        using Unsigned = std::make_unsigned_t<std::remove_const_t<decltype(each)>>;
        ascii += static_cast<Unsigned>(each) < 0x80 ? static_cast<char>(each) : '?';
    }
    return ascii;
}
