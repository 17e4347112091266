// Option and preference files: whatever is in one, loading it ends, and a table that was saved is read back
// as it was.
#include "common/trace/GxInstallOptions.h"
#include "include/ScopedFile.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {
using Properties = GxInstallOptions::Properties;

void load(Properties& table, const std::string& content)
{
    std::string copy = content.empty() ? std::string("\n") : content; // fmemopen refuses an empty buffer
    if (const ScopedFile file{fmemopen(copy.data(), copy.size(), "r")})
        table.Load(file.get());
}

std::string textOf(const Properties& table)
{
    std::string text;
    for (int i = 0; i < table.Count(); ++i)
        if (*table.KeyAt(i) != '#') // there after white space, it would begin a comment in a saved file
            text += std::string(table.KeyAt(i)) + "=" + table.ValueAt(i) + "\r\n";
    return text;
}

void demand(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

void checkEntries(const Properties& table)
{
    for (int i = 0; i < table.Count(); ++i) {
        const char* const key = table.KeyAt(i);
        demand(*key && *table.ValueAt(i), "an empty key or value");
        demand(i == 0 || std::strcmp(table.KeyAt(i - 1), key) < 0, "keys are not in order");
        demand(table.GetProperty(key, nullptr) == table.ValueAt(i), "a key is not found");
        demand(table.GetProperty(key, nullptr, true) != nullptr, "a key is not found without case");
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Properties table;
    load(table, std::string(reinterpret_cast<const char*>(data), size));
    checkEntries(table);
    Properties again;
    const std::string text = textOf(table);
    load(again, text);
    // A first key of a byte-order mark is read once, then taken for the mark.
    if (!text.empty() && !std::strchr("\xEF\xFF", text[0]))
        demand(textOf(again) == text, "not read back as it was");
    return 0;
}
