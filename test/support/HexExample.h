/// The worked examples of doc/, compared with real memory.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

/// The bytes of one example, by offset: the lines of a block that starts with "```hex <name>".
inline std::map<uint32_t, std::string> hexExample(const std::string& page, const std::string& name)
{
    std::ifstream file(std::string(GX_SOURCE_DIR) + "/doc/" + page);
    std::map<uint32_t, std::string> rows;
    std::string line;
    while (std::getline(file, line) && line != "```hex " + name) {
    }
    while (std::getline(file, line) && line != "```")
        rows[static_cast<uint32_t>(std::stoul(line, nullptr, 16))] = line.substr(line.find(": ") + 2);
    EXPECT_FALSE(rows.empty()) << page << " has no example " << name;
    return rows;
}

/// Expects that memory holds what the example shows at each of its offsets.
inline void expectExample(const std::string& page, const std::string& name, const void* memory)
{
    for (const auto& [offset, shown] : hexExample(page, name)) {
        std::string found;
        for (size_t index = 0; index < (shown.size() + 1) / 3; ++index) {
            char byte[4];
            std::snprintf(byte, sizeof byte, "%02x ",
                          static_cast<const unsigned char*>(memory)[offset + index]);
            found += byte;
        }
        found.pop_back();
        EXPECT_EQ(shown, found) << page << ", example " << name << ", offset 0x" << std::hex << offset;
    }
}
