#include "unix/process/Browsers.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {
constexpr std::string_view programs[] = {"mozilla-bin", "netscape-bin", "firefox-bin"};
constexpr std::string_view systemDirectories[] = {"/proc", "/sys", "/dev"};
constexpr int maxDirectories = 500'000;
constexpr const char* preferences = R"(// Written for GUI tests; removed when they end.
pref("accessibility.force_disabled", -1);
pref("browser.shell.checkDefaultBrowser", false);
pref("browser.sessionstore.resume_from_crash", false);
pref("browser.startup.homepage_override.mstone", "ignore");
)";

template <class Range> bool contains(const Range& names, const std::string& name)
{
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool isBrowser(const fs::path& program)
{
    std::error_code error;
    const fs::path installer = program.parent_path() / "regxpcom";
    return fs::is_symlink(installer, error) && fs::exists(installer, error);
}

class CSearch {
public:
    explicit CSearch(fs::path start) : m_pending{std::move(start)} {}

    std::vector<std::string> run()
    {
        for (int visited = 0; !m_pending.empty() && visited < maxDirectories; ++visited) {
            const fs::path directory = std::move(m_pending.back());
            m_pending.pop_back();
            visit(directory);
        }
        std::sort(m_found.begin(), m_found.end());
        return std::move(m_found);
    }

private:
    void visit(const fs::path& directory)
    {
        std::error_code error;
        for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
             entry.increment(error))
            look(*entry);
    }

    void look(const fs::directory_entry& entry)
    {
        std::error_code error;
        const fs::file_type type = entry.symlink_status(error).type();
        if (type == fs::file_type::directory) {
            if (!contains(systemDirectories, entry.path().native()))
                m_pending.push_back(entry.path());
        } else if (type != fs::file_type::not_found && contains(programs, entry.path().filename().native()) &&
                   isBrowser(entry.path()))
            m_found.push_back(entry.path().native());
    }

    std::vector<fs::path> m_pending;
    std::vector<std::string> m_found;
};

/// The file of preferences in a browser's directory; empty when that is none.
fs::path preferenceFile(const char* directory)
{
    if (!directory || !*directory)
        return {};
    std::error_code error;
    const fs::path home(directory);
    const bool isInstalled =
        std::any_of(std::begin(programs), std::end(programs),
                    [&](std::string_view program) { return fs::is_regular_file(home / program, error); });
    return isInstalled ? home / "defaults" / "pref" / "gx-testing.js" : fs::path();
}

bool writePreferences(const fs::path& file)
{
    std::ofstream out(file, std::ios::trunc);
    out << preferences;
    out.close();
    return out.good();
}
} // namespace

std::string getAllBrowsers(const char* directory)
{
    if (!directory)
        return {};
    std::string lines;
    for (const std::string& path : CSearch(*directory ? directory : "/").run())
        lines.append(lines.empty() ? "" : "\n").append(path);
    return lines;
}

bool MozillaEnable(const char* directory)
{
    const fs::path file = preferenceFile(directory);
    if (file.empty())
        return false;
    const fs::path draft = file.native() + ".new";
    std::error_code error;
    if (writePreferences(draft))
        fs::rename(draft, file, error);
    else
        error = std::make_error_code(std::errc::io_error);
    if (error)
        unlink(draft.c_str());
    return !error;
}

bool MozillaDisable(const char* directory)
{
    const fs::path file = preferenceFile(directory);
    std::error_code error;
    fs::remove(file, error);
    return !file.empty() && !error;
}
