#include "session/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

namespace {
const fs::path Domains = fs::path(GX_APPS_DIR) / "domains";
const std::string Program = GX_APPS_DIR "/infested";
using Settings = std::vector<std::pair<std::string, std::string>>;

/// The program in an environment of its own, with a trace of its own.
class CInfested {
public:
    explicit CInfested(const Settings& settings, const std::vector<std::string>& command = {Program})
    {
        fs::create_directories(m_traces);
        fs::remove(m_traces / "vtx_trace.txt");
        std::ofstream(m_traces / "vtx_log_trace.properties")
            << "enableTrace=true\ntraceComponentLevelFilter=Native,0\n";
        std::vector<std::string> all{"env",
                                     "-u",
                                     "TALVERN_GX_JRE",
                                     "-u",
                                     "CLASSPATH",
                                     "INFESTED_LIBRARY=" + (Domains / "libgxsys.so").string(),
                                     "CLASSPATH=" GX_JAR ":" +
                                         fs::path(GX_JAR).replace_filename("gx-java-suites.jar").string()};
        if (GX_SANITIZED)
            all.emplace_back("ASAN_OPTIONS=handle_segv=0:detect_leaks=0");
        for (const auto& [name, value] : settings)
            all.push_back(name + "=" + value);
        all.insert(all.end(), command.begin(), command.end());
        m_program.emplace(all);
    }

    /// All that it, and what it starts, writes until everybody has ended.
    std::string output()
    {
        std::string all;
        while (const auto line = m_program->line(std::chrono::seconds(60)))
            all += *line + "\n";
        EXPECT_EQ(0, m_program->wait());
        EXPECT_THAT(all, Not(HasSubstr("WARNING")));
        return all;
    }
    std::string trace() const
    {
        std::ostringstream all;
        all << std::ifstream(m_traces / "vtx_trace.txt").rdbuf();
        return all.str();
    }

private:
    fs::path m_traces = fs::path(std::getenv("HOME")) / "Quessa" / "ZEMO";
    std::optional<CProgram> m_program;
};

/// A JRE whose JVM library, where it is looked for last but one, is the file given.
std::string jreWith(const fs::path& libjvm)
{
    const fs::path jre = fs::path(std::getenv("HOME")) / "jre";
    fs::remove_all(jre);
    fs::create_directories(jre / "lib" / "i386");
    fs::create_symlink(libjvm, jre / "lib" / "i386" / "libjvm.so");
    return "/nowhere:" + jre.string();
}
} // namespace

TEST(InfestationTest, AttachesToTheJvmOrMakesOneAndLoadsTheDomain)
{
    const std::string created = "port 1 same 1 elsewhere 0 jvms 1 attached 1 pending nothing";
    const std::string none = "port 1 same 1 elsewhere 0 jvms 0 attached 0 pending nothing";
    const std::string threw = "port 1 same 1 elsewhere 0 jvms 1 attached 1 pending "
                              "java.lang.IllegalStateException: not this application";
    const std::string bad = jreWith("/dev/null"), good = jreWith(GX_LIBJVM);
    const struct {
        const char* why;
        Settings settings;
        std::string output;
        std::vector<std::string> traced;
    } rows[] = {
        {"the JVM that runs, not that of another JRE",
         {{"INFESTED_JVM", "create"}, {"INFESTED_DOMAIN", "xyzhtml"}, {"TALVERN_GX_JRE", good}},
         "created 1\n" + created,
         {"Got handle to libjvm", "Attached to current JVM!", "Got domain interface",
          "Created CBootStrap class object", "bootStrap.loadclass():went fine",
          "Testcontext creation went fine", "HtmlDomain created"}},
        {"a JVM of the library that is loaded",
         {{"INFESTED_JVM", "load"}, {"INFESTED_DOMAIN", "htmhtml"}, {"JAVA_TOOL_OPTIONS", "-Xcheck:jni"}},
         "created 1\n" + created,
         {"JNI_CreateJavaVM called ...", "HtmlDomain created"}},
        {"a JVM of the JRE that is named",
         {{"TALVERN_GX_JRE", good}, {"INFESTED_DOMAIN", "xyzhtml"}},
         "created 1\n" + created,
         {"Did't get handle to libjvm", "/jre/bin/classic/libjvm.so", "/jre/lib/i386/client/libjvm.so",
          "/jre/lib/i386/libjvm.so", "JNI_CreateJavaVM called ..."}},
        {"no JVM to be had", {{"INFESTED_DOMAIN", "xyzhtml"}}, none, {"Could not load libjvm.so"}},
        {"no JRE exists", {{"TALVERN_GX_JRE", "/nowhere:/neither"}}, none, {"Could not load libjvm.so"}},
        {"a stack on which a JVM would end the process",
         {{"INFESTED_JVM", "load"}, {"INFESTED_STACK", "100"}},
         none,
         {"The thread has a stack of 100 KiB, a JVM needs 128"}},
        {"no domain wanted", {{"INFESTED_JVM", "create"}}, created, {"Attached to current JVM!"}},
        {"no library of the domain",
         {{"INFESTED_JVM", "create"}, {"INFESTED_DOMAIN", "ab"}},
         created,
         {"Domain Loading Error: (", "/domains/lib.so", "couldn't create HtmlDomain"}},
        {"no entry point",
         {{"INFESTED_JVM", "create"}, {"INFESTED_DOMAIN", "xyzbare"}},
         created,
         {"GetHtmlDomain() not found in Domain implementation", "couldn't create HtmlDomain"}},
        {"no interface",
         {{"INFESTED_JVM", "create"}, {"INFESTED_DOMAIN", "xyznull"}},
         created,
         {"Did not get IHtmlDomain! Bad native code implementation for xyznull",
          "couldn't create HtmlDomain"}},
        {"the engine's classes are not there",
         {{"INFESTED_JVM", "create"}, {"INFESTED_DOMAIN", "xyzhtml"}, {"CLASSPATH", "/nowhere.jar"}},
         created,
         {"Could not construct the BootstrapClass", "couldn't create HtmlDomain"}},
        {"the domain throws",
         {{"INFESTED_JVM", "create"}, {"INFESTED_DOMAIN", "xyzrefusing"}},
         threw,
         {"Exception in JVM when loading HtmlDomain not this application"}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CInfested program(row.settings);
        EXPECT_EQ("start 0\n" + row.output + "\nend\n", program.output());
        for (const std::string& line : row.traced)
            EXPECT_THAT(program.trace(), HasSubstr(line));
    }
}

TEST(InfestationTest, RunsWhatManyThreadsPostOnTheGuiThreadOnly)
{
    const fs::path home = std::getenv("HOME");
    for (const std::string accelerated : {"TRUE", "false"}) {
        SCOPED_TRACE("accelerated " + accelerated);
        std::ofstream(home / "marlo.properties")
            << "talvern.test.gx.accelerate_on_linux=" << accelerated << '\n';
        CInfested program({{"INFESTED_JVM", "create"},
                           {"INFESTED_POSTER", "ChannelPoster"},
                           {"TALVERN_GX_INSTALL_DIRECTORY", home.string()}});
        EXPECT_THAT(
            program.output(),
            HasSubstr(
                "report run 1600 on 1 thread, thrown 1600; wrong thread false, no port false, null port "
                "false, right true; nested true true 000; kept 0\nend\n"));
        EXPECT_THAT(program.trace(), HasSubstr("java/lang/IllegalStateException of a channel"));
        fs::remove(home / "marlo.properties");
    }
}

TEST(InfestationTest, StartsTheApplicationAnewOnceWhenItsJvmCouldNotBeAsked)
{
    const std::string end = "port 1 same 1 elsewhere 0 jvms 0 attached 0 pending nothing\nend\n";
    const std::string jre = jreWith(Domains / "libbare.so");
    const struct {
        const char* why;
        size_t oddness; ///< of the length of the program's path
        Settings settings;
        std::string output;
    } rows[] = {{"the end of the path falls on a byte that is looked at",
                 0,
                 {},
                 "start 1\n" + end + "start 1\n" + end},
                {"it does not: the command line ends there", 1, {}, "start 1\n" + end + "start 0\n" + end},
                {"already started anew", 0, {{"SPYPORT_EXIT_CONDITION", "yes"}}, "start 1\n" + end}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        std::string path = std::string(std::getenv("HOME")) + "/p";
        path += path.size() % 2 == row.oddness ? "" : "p";
        fs::remove(path);
        fs::create_symlink(Program, path);
        Settings settings = row.settings;
        settings.emplace_back("TALVERN_GX_JRE", jre);
        EXPECT_EQ(row.output, CInfested(settings, {path, "an"}).output());
    }
}
