#include "TraceHome.h"

#include "session/Program.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
std::map<std::string, void (*)()>& scripts()
{
    static std::map<std::string, void (*)()> all;
    return all;
}

/// The process that a test starts: this program again, with a script.
TEST(TraceChild, DISABLED_FollowsItsScript)
{
    alarm(60);
    scripts().at(std::getenv("GX_SCRIPT"))();
}
} // namespace

CScript::CScript(const char* name, void (*run)())
{
    scripts()[name] = run;
}

CTraceHome::CTraceHome()
{
    std::string name = std::string(std::getenv("HOME")) + "/trace-XXXXXX";
    if (!mkdtemp(name.data()))
        throw std::runtime_error("no home directory");
    m_path = name;
    m_environment = {"HOME=" + name, "QUESSA_TALVERN_VTX_INSTALL_DIR=" + name + "/install", "LC_ALL=C.UTF-8"};
}

CTraceHome::~CTraceHome()
{
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void CTraceHome::preferences(const std::string& text) const
{
    writeFile(preferenceFile(), text);
}
void CTraceHome::options(const std::string& text) const
{
    writeFile(m_path / "install" / "marlo.properties", text);
}

pid_t CTraceHome::start(const std::string& script) const
{
    std::vector<std::string> command = {"env", "GX_SCRIPT=" + script};
    command.insert(command.end(), m_environment.begin(), m_environment.end());
    const std::string outputs = ">>'" + m_path.string() + "/out' 2>>'" + m_path.string() + "/err'";
    command.insert(command.end(), {"sh", "-c", m_beforehand + "exec \"$0\" \"$@\" " + outputs,
                                   fs::read_symlink("/proc/self/exe").string(),
                                   "--gtest_also_run_disabled_tests", "--gtest_filter=TraceChild.*"});
    return spawn(command, -1);
}

int CTraceHome::run(const std::string& script) const
{
    return statusOf(start(script));
}

std::string CTraceHome::content(const std::string& file) const
{
    return readFile(m_path / file);
}

std::vector<std::string> CTraceHome::lines(const std::string& file) const
{
    const std::string text = readFile(directory() / file);
    std::vector<std::string> found;
    size_t start = 0;
    for (size_t end; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2)
        found.push_back(text.substr(start, end - start));
    EXPECT_EQ(text.size(), start) << file << " ends in half a line";
    return found;
}

std::vector<std::string> CTraceHome::filesLike(const std::string& pattern) const
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory()))
        if (std::regex_match(entry.path().filename().string(), std::regex(pattern)))
            names.push_back(entry.path().filename());
    return names;
}

int statusOf(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string fieldOf(const std::string& line, size_t index)
{
    const std::regex separator(",\t");
    std::vector<std::string> fields(std::sregex_token_iterator(line.begin(), line.end(), separator, -1), {});
    return index < fields.size() ? fields[index] : "(no such field)";
}

std::string readFile(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

void writeFile(const fs::path& file, const std::string& text)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}
