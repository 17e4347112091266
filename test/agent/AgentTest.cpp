// Programs under gxrun: what happens inside of them, and that they do not notice.
#include "include/Within.h"
#include "session/PrivateSession.h"
#include "session/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;

namespace {
const std::string gxrun = GX_GXRUN;
const std::string apps = GX_APPS_DIR "/";

// The programs of test/apps are sanitized, too; the agent comes before the sanitizer, and faults are what
// they test.
[[maybe_unused]] const bool s_hasOptions =
    GX_SANITIZED &&
    setenv("ASAN_OPTIONS",
           "verify_asan_link_order=0:handle_segv=0:handle_sigbus=0:handle_sigfpe=0:handle_sigill=0:"
           "detect_leaks=0:quarantine_size_mb=1",
           1) == 0;

std::string contentOf(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

struct COutcome {
    std::string output; ///< standard output and error
    std::string agent;  ///< the lines of it that start with "agent: "
    int status = -1;
};

void takeRest(CProgram& program, COutcome& outcome)
{
    while (const auto line = program.line(20s))
        (line->rfind("agent: ", 0) == 0 ? outcome.agent : outcome.output) += *line + '\n';
    outcome.status = program.wait().value_or(-1);
}

/// A shell that becomes the command, with standard error in its output.
COutcome run(const std::string& command)
{
    CProgram program({"sh", "-c", "exec 2>&1; " + command});
    COutcome outcome;
    takeRest(program, outcome);
    return outcome;
}

/// A program that is asked, by SIGUSR1, to report and to exit once the agent's probes are done.
class AgentTest : public testing::Test {
protected:
    AgentTest()
    {
        setenv("CLASSPATH", GX_PROBE_JAR, 1);
        setenv("GX_PROBE_REPORT", m_report.c_str(), 1);
        setenv("TALVERN_GX_INSTALL_DIRECTORY", m_directory.c_str(), 1);
        setenv("JAVA_TOOL_OPTIONS", "-Dnot.for=programs.under.test", 1);
        setenv("LC_ALL", "C.UTF-8", 1); // the Motif programs do not ask for it, a JVM does
    }
    ~AgentTest() override
    {
        fs::current_path("/");
        for (const char* const name :
             {"CLASSPATH", "GX_PROBE", "GX_PROBE_REPORT", "TALVERN_GX_INSTALL_DIRECTORY", "JAVA_TOOL_OPTIONS",
              "LC_ALL", "TALVERN_GX_JRE"})
            unsetenv(name);
        fs::remove_all(m_directory);
    }

    /// @param probes  of ProbeService; @param last  the line of its report to wait for; empty for a bare
    /// program
    COutcome report(const std::string& launcher, const std::string& app, const char* probes,
                    const std::string& last, int signal = SIGUSR1)
    {
        fs::remove(m_report);
        setenv("GX_PROBE", probes, 1);
        CProgram program({"sh", "-c", "exec 2>&1; exec " + launcher + " " + apps + app});
        COutcome outcome;
        outcome.output = program.waitForLine("ready", 30s) + '\n';
        if (last.rfind("gxagent: ", 0) == 0)
            outcome.agent = last + program.waitForLine(last, 30s);
        else
            EXPECT_TRUE(within(60s, [&] { return contentOf(m_report).find(last) != std::string::npos; }))
                << contentOf(m_report);
        program.kill(signal);
        takeRest(program, outcome);
        return outcome;
    }

    const std::string m_directory =
        (fs::temp_directory_path() / ("gx-agent-" + std::to_string(getpid()))).string();
    const bool m_isMade = fs::create_directory(m_directory);
    const std::string m_report = m_directory + "/report";
};

constexpr const char* programs[] = {"motif-witness XtInitialize",
                                    "motif-witness XtAppInitialize",
                                    "motif-witness XtVaAppInitialize",
                                    "motif-witness XtOpenApplication",
                                    "motif-witness XtVaOpenApplication",
                                    "motif-witness XtOpenDisplay",
                                    "motif-witness XtDisplayInitialize",
                                    "motif-witness dlsym",
                                    "motif-witness 'second display'",
                                    "gtk2-witness",
                                    "gtk2-witness modal",
                                    "gtk3-witness",
                                    "gtk3-witness modal"};
} // namespace

TEST_F(AgentTest, ProgramsOfEveryToolkitBehaveAsTheyDoWithoutIt)
{
    for (const std::string program : programs) {
        SCOPED_TRACE(program);
        const COutcome bare = report("", program, "failures print", "");
        const COutcome inside = report(gxrun, program, "failures print", "done");
        EXPECT_EQ(7, inside.status);
        EXPECT_EQ(bare.output, inside.output);
        EXPECT_EQ(program[0] == 'm' ? "agent: application display known\n"
                                    : "agent: application display unknown\n",
                  inside.agent);
        EXPECT_THAT(contentOf(m_report), HasSubstr("nested 42\nthrown ArrayIndexOutOfBoundsException\n"));
        EXPECT_THAT(contentOf(m_report), HasSubstr("stopped"));
    }
}

TEST_F(AgentTest, CallsComeThroughOnBothPathsFromAnyThread)
{
    const struct {
        std::string program, accelerate;
    } rows[] = {{"motif-witness", "true"},
                {"gtk2-witness", "true"},
                {"gtk3-witness", "true"},
                {"motif-witness", "false"},
                {"gtk3-witness", "false"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.program + ", accelerated: " + row.accelerate);
        std::ofstream(m_directory + "/marlo.properties")
            << "talvern.test.gx.accelerate_on_linux=" << row.accelerate << "\r\n";
        report(gxrun, row.program, "threads busy memory", "done");
        const std::string found = contentOf(m_report);
        EXPECT_THAT(found, HasSubstr("counted 2000\ntimed out\nthen answered\ngrew "));
        EXPECT_LT(std::atol(found.c_str() + found.find("grew ") + 5), GX_SANITIZED ? 32000 : 2000)
            << "KiB in 10 000 calls";
    }
}

TEST_F(AgentTest, AProgramEndsAsEverInTheMiddleOfACall)
{
    for (const char* const program : {"motif-witness", "gtk3-witness"})
        for (const int signal : {SIGTERM, SIGSEGV, SIGHUP, SIGUSR1, SIGUSR1, SIGUSR1, SIGUSR1, SIGUSR1}) {
            SCOPED_TRACE(program + (" ended by signal " + std::to_string(signal)));
            const COutcome bare = report("", program, "forever", "", signal);
            const COutcome inside = report(gxrun, program, "forever", "calling", signal);
            ASSERT_EQ(bare.status, inside.status);
            ASSERT_EQ(bare.output, inside.output);
        }
}

TEST_F(AgentTest, WhatIsMissingCostsOneLine)
{
    fs::create_directories(m_directory + "/broken/lib/server");
    std::ofstream(m_directory + "/broken/lib/server/libjvm.so") << "not a library";
    const struct {
        const char* jre;
        std::string options, line;
    } rows[] = {{"/nowhere", "", "gxagent: no Java virtual machine in TALVERN_GX_JRE (/nowhere)"},
                {"/nowhere:broken", "",
                 "gxagent: the Java virtual machine of broken/lib/server/libjvm.so does not start"},
                {nullptr, " --jar /nowhere/gxsys.jar", "gxagent: there is no /nowhere/gxsys.jar"},
                {nullptr, " --jar " GX_PROBE_JAR,
                 "gxagent: the Java agent does not start: java.lang.NoClassDefFoundError"},
                {nullptr, " --domain xyznothing", "gxagent: there is no test domain xyznothing"},
                {nullptr, " --library " GX_APPS_DIR "/domains/libgxsys.so --domain xyzrefusing",
                 "gxagent: the test domain xyzrefusing does not start: java.lang.IllegalStateException"},
                {nullptr, " --library /nowhere/libgxsys.so", "gxagent: there is no /nowhere/libgxsys.so"},
                {nullptr, " sh -c 'ulimit -s 100; exec $0'", "gxagent: the GUI thread has a stack of"}};
    fs::current_path(m_directory);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        row.jre ? setenv("TALVERN_GX_JRE", row.jre, 1) : unsetenv("TALVERN_GX_JRE");
        for (const char* const program : {"motif-witness", "gtk3-witness"}) {
            const COutcome bare = report("", program, "", "");
            const COutcome inside = report(gxrun + row.options, program, "", row.line);
            EXPECT_EQ(bare.output, inside.output);
            EXPECT_EQ(7, inside.status);
        }
    }
}

TEST(GxrunTest, OtherProgramsRunUntouched)
{
    const std::string script = (fs::temp_directory_path() / "gx-script").string();
    std::ofstream(script) << "#!/bin/sh\necho $LD_PRELOAD $1; exec env\n";
    fs::permissions(script, fs::perms::owner_all);
    const std::string commands[] = {"env",
                                    "/usr/bin/env A=b env",
                                    "sh -c 'env; exit 3'",
                                    "sh -c 'exec env'",
                                    script + " 'a  b'",
                                    "sh -c 'kill -SEGV $$'",
                                    "sh -c 'kill -TERM $$'",
                                    "sh -c 'ulimit -a; umask; trap; pwd'",
                                    "bash -c '(env); env'",
                                    "perl -e 'exec {\"env\"} \"env\"'",
                                    "sh -c 'cat /proc/self/maps | grep gxagent'",
                                    "su --version",
                                    "true",
                                    "false",
                                    "xterm -version"};
    for (const char* const preload : {"", "LD_PRELOAD=libm.so.6 "})
        for (const auto& command : commands) {
            const COutcome bare = run(preload + ("exec " + command));
            const COutcome inside = run(preload + ("exec " + gxrun + " " + command));
            EXPECT_EQ(bare.output, inside.output) << preload << command;
            EXPECT_EQ(bare.status, inside.status) << preload << command;
        }
    fs::remove(script);
    EXPECT_EQ(127, run(gxrun + " /nowhere/program").status);
    EXPECT_EQ(127, run(gxrun + " no-such-program").status);
    EXPECT_EQ(126, run(gxrun + " /etc/passwd").status);
}

TEST_F(AgentTest, TheAgentFollowsIntoTheSameProcessAndIntoChildrenWhenAsked)
{
    const struct {
        std::string launcher;
        bool isServed;
    } rows[] = {{gxrun + " sh -c 'echo pid $$; exec \"$@\"' - ", true},
                {gxrun + " sh -c '\"$@\" & echo pid $!; wait' - ", false},
                {gxrun + " --follow sh -c '\"$@\" & echo pid $!; wait' - ", true}};
    for (const auto& row : rows) {
        fs::remove(m_report);
        CProgram program({"sh", "-c", "exec " + row.launcher + apps + "gtk2-witness"});
        const pid_t witness = std::stoi(program.waitForLine("pid ", 30s));
        program.waitForLine("ready", 30s);
        EXPECT_EQ(row.isServed, within(row.isServed ? 30s : 2s, [&] { return fs::exists(m_report); }))
            << row.launcher;
        kill(witness, SIGUSR1);
        EXPECT_TRUE(program.wait());
    }
}

TEST_F(AgentTest, ProgramsWithOtherRightsGetNoneOfItsVariables)
{
    const fs::path program = m_directory + "/gx-printenv";
    fs::copy_file("/usr/bin/printenv", program);
    // Root's own rights are no others to root.
    if (geteuid() == 0) {
        if (const char* const why = CPrivateSession::whyNoOtherUser())
            GTEST_SKIP() << why;
        ASSERT_EQ(0, chown(program.c_str(), 65534, 65534));
    }
    const std::string make = "make -s -f " + m_directory + "/makefile"; // starts programs by posix_spawn
    std::ofstream(m_directory + "/makefile") << "all:\n\t@" << program.string() << "\n";
    const struct {
        std::string command;
        bool follows; ///< a program that runs with its caller's rights has them then
    } rows[] = {
        {"sh -c 'exec " + program.string() + "'", false},
        {"sh -c 'PATH=$PATH:" + m_directory + " exec env gx-printenv'", false},
        {"sh -c '" + program.string() + "; true'", true},
        {make, true},
        {make, false},
    };
    for (const bool hasOtherRights : {false, true}) {
        fs::permissions(program, fs::perms(hasOtherRights ? 04755 : 0755));
        for (const auto& row : rows) {
            if (row.command == make && !fs::exists("/usr/bin/make"))
                continue; // building and testing does without it
            SCOPED_TRACE(row.command + (hasOtherRights ? ", other rights" : ""));
            const std::string output = run(gxrun + (row.follows ? " --follow " : " ") + row.command).output;
            EXPECT_THAT(output, HasSubstr("GX_PROBE_REPORT=")) << "its environment";
            EXPECT_EQ(row.follows && !hasOtherRights, output.find("GX_AGENT_") != std::string::npos)
                << output;
        }
    }
}
