/// Texts that end in the middle of a character.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

/// The bytes of a cut text in UTF-8 without the character that the cut went through. Allocates nothing; of
/// bytes that are no UTF-8 it is about as many.
size_t wholeInUtf8(std::string_view text) noexcept;

/// The same for a text of this process's locale (CodeSet.h); nothing when it is none of its code set.
std::optional<size_t> wholeInLocale(std::string_view text);
