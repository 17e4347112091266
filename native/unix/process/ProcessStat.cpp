#include "unix/process/ProcessStat.h"

#include <fstream>
#include <sstream>

namespace {
/// The name stands in parentheses and may hold blanks and parentheses of its own.
std::optional<CProcessStat> parsed(const std::string& line)
{
    const size_t start = line.find('('), end = line.rfind(')');
    if (start == std::string::npos || end == std::string::npos)
        return std::nullopt;
    CProcessStat stat;
    stat.m_name = line.substr(start + 1, end - start - 1);
    std::istringstream rest(line.substr(end + 1));
    rest >> stat.m_state;
    std::string skipped;
    for (int field = 4; field < 20; ++field)
        rest >> skipped;
    rest >> stat.m_threads >> skipped >> stat.m_start;
    return rest ? std::optional(stat) : std::nullopt;
}

/// Iterators of the file would throw when the process goes in the midst: what is inserted reads until then.
std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}
} // namespace

std::string CProcessStat::file(pid_t process, const char* name)
{
    return contentOf("/proc/" + std::to_string(process) + "/" + name);
}

std::optional<CProcessStat> CProcessStat::of(pid_t process)
{
    return parsed(file(process, "stat"));
}

std::optional<CProcessStat> CProcessStat::ofThread(pid_t process, pid_t thread)
{
    return parsed(file(process, ("task/" + std::to_string(thread) + "/stat").c_str()));
}
