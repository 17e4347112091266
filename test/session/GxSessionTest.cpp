#include "include/Within.h"
#include "session/Program.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {
/// Whether a process runs: one that has ended may wait for somebody to ask how.
bool runs(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    return std::getline(file, line) && line.compare(line.rfind(')') + 2, 1, "Z") != 0;
}

std::vector<std::string> session(const std::string& script, const std::string& manager = "none")
{
    return {GX_SESSION, "--wm", manager, "--", "sh", "-c", script};
}

TEST(GxSessionTest, EndsAsItsCommandDoes)
{
    constexpr struct {
        const char* script;
        int status;
    } rows[] = {{"exit 0", 0},
                {"exit 7", 7},
                {"kill -s SEGV $$", 128 + SIGSEGV},
                {"test \"$DISPLAY\" = '' && exit 1; exit 3", 3}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.script);
        EXPECT_EQ(row.status, CProgram(session(row.script)).wait(30s));
    }
    EXPECT_EQ(2, CProgram({GX_SESSION, "--nonsense", "--", "true"}).wait(30s));
    EXPECT_EQ(127, CProgram({GX_SESSION, "--", "no-such-command"}).wait(30s));
}

TEST(GxSessionTest, HasAWindowManagerWhenTheCommandStarts)
{
    for (const char* const manager : {"openbox", "twm"})
        EXPECT_EQ(0, CProgram(session("xprop -root | grep -q . && xterm -e true", manager)).wait(30s))
            << manager;
}

/// A command that leaves a daemon behind, one that ignores SIGTERM, and waits until its input ends.
class EndOfSessionTest : public testing::TestWithParam<const char*> {};

TEST_P(EndOfSessionTest, TakesEverythingAlong)
{
    const std::string how = GetParam();
    CProgram program(session("setsid sh -c 'trap \"\" TERM; echo $$; exec sleep 1000' & sleep 0.2; "
                             "echo $PPID; echo $HOME; echo ${DISPLAY#:}; " +
                             std::string(how == "the command" ? "exit 5" : "exec sleep 1000")));
    const pid_t daemon = std::stoi(program.line(30s).value_or("0"));
    const pid_t keeper = std::stoi(program.line(30s).value_or("0"));
    const std::string home = program.line(30s).value_or("");
    const std::string lock = "/tmp/.X" + program.line(30s).value_or("") + "-lock";
    ASSERT_TRUE(daemon > 0 && keeper > 0 && keeper != program.pid() && !home.empty());
    if (how == "SIGKILL of gxsession")
        program.kill(SIGKILL);
    else if (how == "SIGKILL of its keeper")
        kill(keeper, SIGKILL);
    else if (how == "SIGTERM")
        program.kill(SIGTERM);
    EXPECT_TRUE(within(10s, [&] { return !runs(daemon) && !runs(keeper); }));
    EXPECT_TRUE(within(10s, [&] { return !std::filesystem::exists(home); })) << home;
    EXPECT_TRUE(within(10s, [&] { return !std::filesystem::exists(lock) || how == "SIGKILL of its keeper"; }))
        << lock;
    EXPECT_EQ(how == "the command" ? 5 : how == "SIGTERM" ? 128 + SIGTERM : 128 + SIGKILL, program.wait(10s));
}
INSTANTIATE_TEST_SUITE_P(How, EndOfSessionTest,
                         testing::Values("the command", "SIGTERM", "SIGKILL of gxsession",
                                         "SIGKILL of its keeper"));

TEST(GxSessionTest, StandsForTheJvmWhenItIsCalledJava)
{
    const std::filesystem::path home(getenv("HOME"));
    std::filesystem::create_directories(home / "jdk/bin");
    std::ofstream(home / "jdk/bin/java") << "#!/bin/sh\necho \"$DISPLAY $*\"\n";
    std::filesystem::permissions(home / "jdk/bin/java", std::filesystem::perms::owner_all);
    std::filesystem::create_symlink(GX_SESSION, home / "java");
    setenv("JAVA_HOME", (home / "jdk").c_str(), 1);
    CProgram program({home / "java", "-jar", "--wm", "x y.jar"});
    const std::string line = program.line(30s).value_or("");
    EXPECT_TRUE(line.starts_with(":") && line.ends_with(" -jar --wm x y.jar")) << line;
    EXPECT_NE(getenv("DISPLAY"), line.substr(0, line.find(' ')));
    unsetenv("JAVA_HOME");
}
} // namespace
