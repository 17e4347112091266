#include "common/trace/GxDebug.h"

#include "TraceHome.h"
#include "common/trace/CTracer.h"
#include "common/trace/DebugClass.h"
#include "common/trace/GxInstallOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;

namespace {
const std::string tracing = "enableTrace=true\r\n";

void traceAtEveryLevel(GxDebug& component)
{
    component.config("0");
    component.detail("1");
    component.info("2");
    component.audit("3");
    component.warning("4");
    component.error("5");
    component.severe("6");
    component.fatal("7");
}

/// Runs before every other initialiser, and its destructor after the others: this library's own included.
class CEarlyAndLate {
public:
    CEarlyAndLate() { trace("early"); }
    ~CEarlyAndLate()
    {
        trace("late");
        if (const char* option = isAsked() ? GxInstallOptions::GetOption("late") : nullptr)
            std::printf("option after exit: %s\n", option);
    }

private:
    static bool isAsked() { return std::getenv("GX_EARLY_AND_LATE") != nullptr; }
    static void trace(const char* when)
    {
        if (isAsked())
            GenericNative.Error("%s: %s", when, GxInstallOptions::GetOption("late") ? "set" : "unset");
    }
};
[[gnu::init_priority(101)]] const CEarlyAndLate s_earlyAndLate;
} // namespace

SCRIPT(traceWithEveryOperation)
{
    traceAtEveryLevel(GenericNative);
    GenericNative.Error("a %s", "b");
    GenericNative.Warning("c");
    GenericNative.Debug("d");
    GenericNative.Trace("e");
    GenericNative.Verbose("f");
    GenericNative.debug("g");
    GenericNative.exception("h");
    CTracer::debugTrace("i %d", 1);
    GxDebug::JNI_Start("j");
    GxDebug::JNI_End("k");
    GxDebug::JNI_End(nullptr);
}

TEST(GxDebugTest, EachOperationWritesItsLevelAndComponent)
{
    CTraceHome home;
    home.preferences(tracing + "traceComponentLevelFilter=native,0\r\n");
    ASSERT_EQ(0, home.run("traceWithEveryOperation"));
    std::vector<std::string> told;
    for (const std::string& line : home.lines("vtx_trace.txt")) {
        EXPECT_THAT(line, MatchesRegex("[0-9]{4}-(0[0-9]|1[01])-[0-9]{2}/[0-9]{2}:[0-9]{2}:[0-9]{2}\\.000,\t"
                                       " *[0-9]+:\\[pthread=-?[0-9]+\\],\t[A-Z]+,\t[A-Za-z]+,\t.*"));
        EXPECT_EQ(7u, fieldOf(line, 1).find(':')) << "the process id takes seven places";
        told.push_back(fieldOf(line, 2) + " " + fieldOf(line, 3) + " " + fieldOf(line, 4));
    }
    EXPECT_THAT(told, ElementsAre("CONFIGURATION Native 0", "DETAIL Native 1", "INFORMATION Native 2",
                                  "AUDIT Native 3", "WARNING Native 4", "ERROR Native 5", "SEVERE Native 6",
                                  "FATAL Native 7", "ERROR Native a b", "WARNING Native c",
                                  "INFORMATION Native d", "INFORMATION Native e", "DETAIL Native f",
                                  "INFORMATION Native g", "ERROR Native h", "INFORMATION Native i 1",
                                  "DETAIL JNI START - j", "DETAIL JNI END - k"));
}

SCRIPT(traceAtEveryLevelAsComponent)
{
    GxDebug component(std::getenv("GX_COMPONENT"));
    traceAtEveryLevel(component);
    std::printf("JNI traced: %d\n", GxDebug::IsJNITrace());
}

TEST(GxDebugTest, AComponentHasItsOwnThresholdThenThatOfNativeThenTheGlobalOne)
{
    const struct {
        const char* why;
        const char* component;
        std::string preferences;
        const char* levels;
        int jniTraced;
    } rows[] = {
        {"the defaults written on first use", "Native", tracing, "4567", 0},
        {"trace is off", "Native", "traceLevel=0", "", 0},
        {"global threshold", "Any", tracing + "traceLevel=6", "67", 0},
        {"own threshold", "Native", tracing + "traceComponentLevelFilter=Native,6", "67", 0},
        {"own threshold in another case", "NATIVE", tracing + "traceComponentLevelFilter=nAtIvE,3", "34567",
         0},
        {"of several cases the last in key order", "x", tracing + "traceComponentLevelFilter=X,1;x,5", "567",
         0},
        {"an absent component falls back to native", "Any", tracing + "traceComponentLevelFilter=native,5",
         "567", 0},
        {"own before native", "Any", tracing + "traceComponentLevelFilter=native,7;Any,2", "234567", 0},
        {"default is no component", "default", tracing + "traceComponentLevelFilter=default,1", "4567", 0},
        {"8 silences", "Any", tracing + "traceComponentLevelFilter=Any,8", "", 0},
        {"a global 8 silences", "Any", tracing + "traceLevel=8", "", 0},
        {"pieces without a level are skipped", "b", tracing + "traceComponentLevelFilter=a;;,;b,6;c", "67",
         0},
        {"blanks around names and levels", "b", tracing + "traceComponentLevelFilter=a, 7; b , 6", "67", 0},
        {"JNI below everything", "JNI", tracing + "traceComponentLevelFilter=jni,0", "01234567", 1},
        {"JNI at 1", "JNI", tracing + "traceComponentLevelFilter=JNI,1", "1234567", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CTraceHome home;
        home.preferences(row.preferences + "\r\n");
        home.environment(std::string("GX_COMPONENT=") + row.component);
        ASSERT_EQ(0, home.run("traceAtEveryLevelAsComponent"));
        std::string levels;
        for (const std::string& line : home.lines("vtx_trace.txt"))
            levels += fieldOf(line, 4);
        EXPECT_EQ(row.levels, levels);
        EXPECT_THAT(home.standardOutput(), HasSubstr("JNI traced: " + std::to_string(row.jniTraced)));
    }
}

TEST(GxDebugTest, FirstUseWritesTheDefaultsAndLeavesTraceOff)
{
    CTraceHome home;
    home.environment("GX_COMPONENT=Native");
    ASSERT_EQ(0, home.run("traceAtEveryLevelAsComponent"));
    EXPECT_EQ("DEBUG: Error removing preference file\n", home.standardError());
    EXPECT_THAT(home.filesLike("vtx_trace.*"), IsEmpty());
    const std::string user = home.directory();
    const std::string filter = "talvern_gx,2;qrn.vtxuiplugin,4;native,2;ObjectManagerAgent,1;"
                               "TestObjectMethodInvoker,1;IEEnabler,1;NSEnabler,1";
    EXPECT_THAT(home.lines("vtx_log_trace.properties"),
                ElementsAre("enableInterProcessMemoryTrace=false", "enableMemoryTrace=false",
                            "enableTrace=false", "generatedBy=native", "logBackupFilesCountLimit=50",
                            "logComponentLevelFilter=" + filter, "logFilePath=" + user, "logFileSize=2048",
                            "logLevel=4", "memoryTraceInterval=5", "memoryTraceRunGC=true",
                            "traceBackupFilesCountLimit=50", "traceComponentLevelFilter=" + filter,
                            "traceFilePath=" + user, "traceFileSize=2048", "traceLevel=4"));
}

SCRIPT(logAndTrace)
{
    GenericNative.log(5, "logged %d", 1);
    GenericNative.log(1, "below the threshold");
    GenericNative.log(99, "beyond the levels");
    GxDebug::LogSetComponentLevel("Native", 6);
    GenericNative.log(5, "silenced");
    GenericNative.info("traced");
}

TEST(GxDebugTest, EveryLogLineReachesTheTraceFileToo)
{
    CTraceHome home;
    home.preferences("traceFilePath=" + (home.directory() / "a" / "b").string() + "\r\n");
    ASSERT_EQ(0, home.run("logAndTrace"));
    std::vector<std::string> told;
    for (const char* file : {"vtx_log.txt", "a/b/vtx_trace.txt"})
        for (const std::string& line : home.lines(file))
            told.push_back(fieldOf(line, 2) + " " + fieldOf(line, 4));
    EXPECT_THAT(told, ElementsAre("ERROR : logged 1", "FATAL : beyond the levels", "ERROR logged 1",
                                  "FATAL beyond the levels"));
}

TEST(GxDebugTest, EventRecordsCarryTheSeverityOfTheirLevel)
{
    CTraceHome home;
    home.preferences(tracing + "enableEclipseLogFormat=TRUE\r\ntraceComponentLevelFilter=C,0\r\n");
    home.environment("GX_COMPONENT=C");
    ASSERT_EQ(0, home.run("traceAtEveryLevelAsComponent"));
    const auto lines = home.lines("vtx_trace.log");
    ASSERT_THAT(lines, SizeIs(16));
    const std::string severities = "00112444";
    for (size_t level = 0; level < 8; ++level) {
        EXPECT_THAT(lines[2 * level],
                    MatchesRegex(std::string("!ENTRY C ") + severities[level] + " 0 [-0-9/:.]+"));
        EXPECT_THAT(lines[2 * level + 1],
                    MatchesRegex("!MESSAGE \\[ *[0-9]+:\\[pthread=-?[0-9]+\\]:C:" + std::to_string(level) +
                                 "\\] " + std::to_string(level)));
    }
}

SCRIPT(traceOnce)
{
    GxDebug::TraceSetEnabled(true);
    GenericNative.fatal("once");
    GenericNative.log(7, "logged");
    std::printf("level %u limit %u\n", GxDebug::TraceGetLevel(), GxDebug::LogGetFileSizeLimit());
}

TEST(GxDebugTest, OddPreferenceFilesNeitherBlockNorBreakAnything)
{
    const auto write = [](const std::string& text) {
        return [text](const CTraceHome& home) { home.preferences(text); };
    };
    const struct {
        const char* why;
        std::function<void(const CTraceHome&)> prepare;
        const char* told;
        bool rewritten;
    } rows[] = {
        {"UTF-8 mark", write("\xEF\xBB\xBFtraceLevel=6\r\n"), "level 6 limit 5", false},
        {"UTF-16 mark: ignored", write("\xFF\xFEtraceLevel=6\r\n"), "level 4 limit 5", false},
        {"size limit raised, then replaced by the interval", write("logFileSize=100\nmemoryTraceInterval=77"),
         "level 4 limit 77", false},
        {"a value ends at its first =", write("traceLevel=6=5\nlogLevel==3\n"), "level 6 limit 5", false},
        {"white space, comments, doubles",
         write("#traceLevel=1\n \t traceLevel \t=\v 3 \f\r\ntraceLevel=2\n"), "level 2 limit 5", false},
        {"no numbers", write("traceLevel=many\nmemoryTraceInterval=99999999999999999999\n"),
         "level 0 limit 4294967295", false},
        {"over-long lines",
         write(std::string(300000, 'k') + "=v\ntraceLevel=" + std::string(300000, ' ') + "6\n"),
         "level 6 limit 5", false},
        {"binary rubbish",
         [](const CTraceHome& home) {
             std::string rubbish;
             for (unsigned i = 0, x = 1; i < 100000; ++i, x = x * 1103515245 + 12345)
                 rubbish += static_cast<char>(x >> 16);
             home.preferences(rubbish + "\ntraceLevel=6\n");
         },
         "level 6 limit 5", false},
        {"1 GiB: read in part",
         [](const CTraceHome& home) {
             home.preferences("traceLevel=6\n");
             std::filesystem::resize_file(home.preferenceFile(), 1 << 30);
         },
         "level 6 limit 5", false},
        {"a pipe that nobody writes to: replaced",
         [](const CTraceHome& home) {
             std::filesystem::create_directories(home.directory());
             ASSERT_EQ(0, mkfifo(home.preferenceFile().c_str(), 0666));
         },
         "level 4 limit 5", true},
        {"an empty directory: replaced",
         [](const CTraceHome& home) { std::filesystem::create_directories(home.preferenceFile()); },
         "level 4 limit 5", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CTraceHome home;
        row.prepare(home);
        ASSERT_EQ(0, home.run("traceOnce"));
        EXPECT_THAT(home.standardOutput(), HasSubstr(std::string(row.told) + "\n"));
        EXPECT_THAT(home.lines("vtx_log.txt"), SizeIs(1));
        const bool isDefault =
            std::filesystem::file_size(home.preferenceFile()) < 2000 &&
            readFile(home.preferenceFile()).find("generatedBy=native") != std::string::npos;
        EXPECT_EQ(row.rewritten, isDefault);
    }
}

SCRIPT(traceToNowhere)
{
    traceOnce();
}

TEST(GxDebugTest, WhatCannotBeWrittenIsPrinted)
{
    CTraceHome home;
    writeFile(home.path() / "Quessa", "in the way");
    ASSERT_EQ(0, home.run("traceToNowhere"));
    EXPECT_THAT(home.standardOutput(), AllOf(HasSubstr(",\tonce\r\n"), Not(HasSubstr("logged"))));
    EXPECT_THAT(
        home.standardError(),
        AllOf(HasSubstr("Exception creating preference file directory: " + home.directory().string() + "\n"),
              HasSubstr("DEBUG: Error writing preference file\n"),
              HasSubstr("Error writing to the file (2).\n")));
}

SCRIPT(traceWithoutHome)
{
    traceOnce();
    std::printf("file %s\n", GxDebug::TraceGetFileName());
}

TEST(GxDebugTest, AMissingHomeIsTheTextOfANullString)
{
    CTraceHome home;
    home.beforehand("cd $HOME && unset HOME && ");
    ASSERT_EQ(0, home.run("traceWithoutHome"));
    EXPECT_THAT(home.standardOutput(), HasSubstr("file (null)/Quessa/ZEMO/vtx_trace.txt\n"));
    EXPECT_TRUE(std::filesystem::exists(home.path() / "(null)/Quessa/ZEMO/vtx_trace.txt"));
}

SCRIPT(traceLongTexts)
{
    std::string text(510, 'a');
    GenericNative.fatal("%s\xC3\xA9", text.c_str());          // the character lies across the end
    GenericNative.fatal("%s\xE2\x82\xACz", text.c_str() + 2); // it just fits
    GenericNative.fatal("%s\xF0\x9F\x98\x80", text.c_str() + 1);
    GenericNative.fatal("%s", std::string(100000, 'b').c_str());
    GxDebug(std::string(5000, 'c').c_str()).fatal("of a component with a long name");
}

TEST(GxDebugTest, LongMessagesAreCutBetweenCharacters)
{
    CTraceHome home;
    home.preferences(tracing);
    ASSERT_EQ(0, home.run("traceLongTexts"));
    auto lines = home.lines("vtx_trace.txt");
    ASSERT_THAT(lines, SizeIs(5));
    EXPECT_THAT(lines.back(), HasSubstr(",\tccc"));
    lines.pop_back();
    std::vector<std::string> ends;
    for (const std::string& line : lines)
        ends.push_back(std::to_string(fieldOf(line, 4).size()) + fieldOf(line, 4).substr(507));
    EXPECT_THAT(ends, ElementsAre("510aaa", "511a\xE2\x82\xAC", "509aa", "511bbbb"));
}

SCRIPT(rollOver)
{
    for (int i = 0; i < 40; ++i)
        GenericNative.log(7, "line %d", i);
}

/// In place of the C library's: some network file systems have no locks.
extern "C" int flock(int file, int operation) noexcept
{
    if (!std::getenv("GX_NO_LOCKS"))
        return static_cast<int>(syscall(SYS_flock, file, operation));
    errno = ENOLCK;
    return -1;
}

class GxDebugRollover : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(, GxDebugRollover, testing::Values("GX_LOCKS=1", "GX_NO_LOCKS=1"));

TEST_P(GxDebugRollover, ALogAboveItsLimitIsRenamedAndKept)
{
    CTraceHome home;
    home.environment(GetParam());
    home.preferences("memoryTraceInterval=1\n");
    ASSERT_EQ(0, home.run("rollOver"));
    ASSERT_THAT(home.filesLike("vtx_log.*txt"), SizeIs(2));
    const auto old =
        home.filesLike("vtx_log_c_[0-9]{4}\\.(0[0-9]|1[01])\\.[0-9]{2}_[0-9]{2}\\.[0-9]{2}\\.[0-9]{2}\\.txt");
    ASSERT_THAT(old, SizeIs(1));
    EXPECT_GE(std::filesystem::file_size(home.directory() / old[0]), 2048u); // whole KiB above 1
    EXPECT_LT(std::filesystem::file_size(home.directory() / old[0]), 2048u + 120);
    EXPECT_EQ(40u, home.lines(old[0]).size() + home.lines("vtx_log.txt").size());
}

SCRIPT(writeALot)
{
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([thread] {
            for (int i = 0; i < 2000; ++i) {
                GenericNative.log(7, "%d %d %d", static_cast<int>(getpid()), thread, i);
                if (i % 200 == 0)
                    GxDebug::LogSetComponentLevel(("component " + std::to_string(i)).c_str(), 3);
            }
        });
    for (auto& thread : threads)
        thread.join();
}

TEST(GxDebugTest, NoLineOfSeveralThreadsAndProcessesIsLostDoubledOrMixed)
{
    CTraceHome home;
    home.preferences("memoryTraceInterval=1\n");
    std::vector<pid_t> writers;
    for (int i = 0; i < 4; ++i)
        writers.push_back(home.start("writeALot"));
    for (const pid_t writer : writers)
        EXPECT_EQ(0, statusOf(writer));
    EXPECT_THAT(home.filesLike("vtx_log_c_.*"), Not(IsEmpty()));
    for (const char* kind : {"log", "trace"}) {
        std::multiset<std::string> messages;
        for (const std::string& file : home.filesLike("vtx_" + std::string(kind) + "[^a-z].*txt"))
            if (file != "vtx_log_trace.properties")
                for (const std::string& line : home.lines(file)) {
                    EXPECT_EQ("FATAL", fieldOf(line, 2)) << line;
                    messages.insert(fieldOf(line, 4));
                }
        const std::set<std::string> distinct(messages.begin(), messages.end());
        EXPECT_EQ(4u * 4 * 2000, messages.size()) << kind;
        EXPECT_EQ(messages.size(), distinct.size()) << kind;
    }
}

TEST(GxDebugTest, AnyInitialiserAndDestructorMayTrace)
{
    CTraceHome home;
    home.preferences(tracing);
    home.options("late=x\n");
    home.environment("GX_EARLY_AND_LATE=1");
    home.environment("GX_COMPONENT=Native");
    ASSERT_EQ(0, home.run("traceAtEveryLevelAsComponent"));
    const auto lines = home.lines("vtx_trace.txt");
    ASSERT_THAT(lines, Not(IsEmpty()));
    EXPECT_EQ("early: set", fieldOf(lines.front(), 4));
    EXPECT_EQ("late: unset", fieldOf(lines.back(), 4));
    EXPECT_THAT(home.standardOutput(), Not(HasSubstr("option after exit")));
}

SCRIPT(forkWhileTracing)
{
    std::atomic<bool> stop = false;
    std::thread other([&] {
        while (!stop)
            GenericNative.fatal("other");
    });
    int failures = 0;
    for (int i = 0; i < 100; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            GenericNative.fatal("child");
            _exit(0);
        }
        failures += statusOf(child) != 0;
    }
    stop = true;
    other.join();
    std::printf("%d failures\n", failures);
}

TEST(GxDebugTest, AForkedChildOfAThreadedProcessCanTrace)
{
    CTraceHome home;
    home.preferences(tracing);
    ASSERT_EQ(0, home.run("forkWhileTracing"));
    EXPECT_THAT(home.standardOutput(), HasSubstr("\n0 failures\n"));
}

SCRIPT(crash)
{
    const DebugClass handler;
    sigaction(SIGSEGV, &handler.action(), nullptr);
    raise(SIGSEGV);
}

TEST(GxDebugTest, TheCrashHandlerTracesAndLetsTheProcessDie)
{
    CTraceHome home;
    home.preferences(tracing + "traceComponentLevelFilter=native,2\n");
    EXPECT_EQ(128 + SIGSEGV, home.run("crash"));
    const auto lines = home.lines("vtx_trace.txt");
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_EQ("A 11 violation has occurred", fieldOf(lines[0], 4));
}
