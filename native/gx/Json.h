/// Writes one JSON text, in UTF-8.
#pragma once

#include <concepts>
#include <string>
#include <string_view>

/// Values in the order of the calls; commas are put where they belong.
class CJson {
public:
    CJson& object() { return open('{'); }
    CJson& endObject() { return close('}'); }
    CJson& array() { return open('['); }
    CJson& endArray() { return close(']'); }
    CJson& key(std::string_view name);
    CJson& value(std::string_view text); ///< UTF-8; what is not UTF-8 is taken for Latin-1
    CJson& value(const char* text) { return value(std::string_view(text)); }
    CJson& value(bool truth) { return raw(truth ? "true" : "false"); }
    CJson& value(std::integral auto number) { return raw(std::to_string(number)); }
    CJson& null() { return raw("null"); }
    template <class Value> CJson& member(std::string_view name, const Value& of)
    {
        return key(name).value(of);
    }
    /// null for 0: what is not known.
    CJson& memberIfKnown(std::string_view name, long number)
    {
        return number != 0 ? member(name, number) : key(name).null();
    }

    const std::string& text() const { return m_text; }
    void print() const; ///< to standard output, with a line end

private:
    CJson& open(char bracket);
    CJson& close(char bracket);
    CJson& raw(std::string_view text);
    void separate();

    std::string m_text;
    bool m_first = true;
};
