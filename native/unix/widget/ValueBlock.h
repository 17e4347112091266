/// Values on their way to Java, in the form of com.talvern.test.gx.protocol.Values: a byte for the kind, then
/// the value, the highest byte first.
#pragma once

#include "unix/window/WindowManager.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

class CValueBlock {
public:
    /// @param longest  texts have no more units of UTF-16 than that
    /// @param all      nor have all of them together
    CValueBlock(size_t longest, size_t all) : m_longest(longest), m_left(all) {}

    void add(int64_t value);
    void add(bool value);
    void add(const std::optional<bool>& value); ///< Java's null when there is none, as for the next
    void add(const std::optional<double>& value);
    void add(const Rect& box);
    /// UTF-8; what is none ends the text. An empty one is Java's null.
    /// @return whether the whole text is in
    bool add(std::string_view text);

    const std::vector<uint8_t>& bytes() const { return m_bytes; }

private:
    void number(uint64_t value, int bytes);
    void units(std::string_view text, size_t room, bool& whole);

    std::vector<uint8_t> m_bytes;
    size_t m_longest;
    size_t m_left;
};
