/// What the library says in its trace.
#pragma once

#include "common/trace/GxDebug.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// Catches what the library traces while it lives.
class CTraceCapture {
public:
    CTraceCapture() : m_before(GxDebug::TraceGetFileName())
    {
        GxDebug::TraceSetFileName(m_path.c_str());
        GxDebug::TraceSetEnabled(true);
        GxDebug::TraceSetLevel(0);
    }
    ~CTraceCapture()
    {
        GxDebug::TraceSetEnabled(false);
        GxDebug::TraceSetFileName(m_before.c_str());
        std::filesystem::remove(m_path);
    }
    CTraceCapture(const CTraceCapture&) = delete;

    /// All of it so far.
    std::string text() const
    {
        std::ostringstream all;
        all << std::ifstream(m_path).rdbuf();
        return all.str();
    }
    bool has(const std::string& part) const { return text().find(part) != std::string::npos; }
    /// "code text/request code" of each X error, in order.
    std::vector<std::string> errors() const
    {
        std::vector<std::string> found;
        std::istringstream lines(text());
        std::string line, name;
        while (std::getline(lines, line)) {
            if (line.rfind("\tBad", 0) == 0)
                name = line.substr(1);
            if (const auto at = line.find("Request Code: "); at != std::string::npos)
                found.push_back(name + "/" + line.substr(at + 14));
        }
        return found;
    }

private:
    const std::string m_before;
    const std::string m_path = std::string(std::getenv("HOME")) + "/capture.txt";
};
