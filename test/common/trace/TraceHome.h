/// Processes that read their configuration in a home directory made for them: it is read once, so each case
/// is a process of its own.
#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

/// Defines what such a process does, beside the test that starts it: SCRIPT(name) { ... }
#define SCRIPT(name)                                                                                         \
    static void name();                                                                                      \
    static const CScript s_##name(#name, name);                                                              \
    static void name()

class CScript {
public:
    CScript(const char* name, void (*run)());
};

class CTraceHome {
public:
    CTraceHome();
    ~CTraceHome();
    CTraceHome(const CTraceHome&) = delete;

    const std::filesystem::path& path() const { return m_path; }
    std::filesystem::path directory() const { return m_path / "Quessa" / "ZEMO"; }
    std::filesystem::path preferenceFile() const { return directory() / "vtx_log_trace.properties"; }
    void preferences(const std::string& text) const; ///< writes the preference file
    void options(const std::string& text) const;     ///< writes the options file of an install directory
    void environment(const std::string& assignment) { m_environment.push_back(assignment); }

    void beforehand(const std::string& commands)
    {
        m_beforehand = commands;
    } ///< for the shell, ending in "&& "

    pid_t start(const std::string& script) const; ///< the caller waits for it
    /// Runs a script in a new process, of which the options above are the installation.
    /// @return its exit status, 128 + signal when it was killed (SIGALRM after 60 s)
    int run(const std::string& script) const;
    std::string standardOutput() const { return content("out"); }
    std::string standardError() const { return content("err"); }

    /// The lines of a file of the user directory without their line ends; one without a line end counts as a
    /// fault.
    std::vector<std::string> lines(const std::string& file) const;
    /// Names in the user directory, by regex.
    std::vector<std::string> filesLike(const std::string& pattern) const;

private:
    std::string content(const std::string& file) const;

    std::filesystem::path m_path;
    std::vector<std::string> m_environment;
    std::string m_beforehand;
};

int statusOf(pid_t process); ///< waits for its end; as CTraceHome::run
/// A field of a line "stamp, process:thread, level, component, message".
std::string fieldOf(const std::string& line, size_t index);
std::string readFile(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, const std::string& text);
