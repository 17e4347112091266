#include "common/trace/DebugTrace.h"

#include "TraceHome.h"
#include "common/trace/GxDebug.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <sstream>

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {
std::vector<std::string> linesOf(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// The part of standard error that the console echo wrote.
std::vector<std::string> echoesOf(const CTraceHome& home)
{
    std::vector<std::string> echoes;
    for (const std::string& line : linesOf(home.standardError()))
        if (line.rfind("DEBUG: ", 0) == 0)
            echoes.push_back(line.substr(7));
    return echoes;
}
} // namespace

SCRIPT(messagesOfThreeLevels)
{
    GenericNative.Error("an error");
    JniNative.Warning("a warning");
    GenericNative.Debug("a detail");
    GenericNative.Verbose("chatter");
}

TEST(DebugTraceTest, OptionsDecideWhatGoesWhereInWhichFormat)
{
    using Lines = std::vector<std::string>;
    const std::string on = "talvern.test.gx.debug.back2mldebug=True\ntalvern.test.gx.debug.enabled=TRUE\n";
    const std::string file = "talvern.test.gx.debug.filename=legacy.txt\n";
    const std::string toFile = "talvern.test.gx.debug.native_to_file=true\n";
    const std::string toConsole = "talvern.test.gx.debug.native_to_console=true\n";
    const auto format = [](const std::string& tokens) {
        return "talvern.test.gx.debug.format=" + tokens + "\n";
    };
    const auto filter = [](const std::string& pairs) {
        return "talvern.test.gx.debug.filter=" + pairs + "\n";
    };
    const std::string brief = format("Severity;MSG;facility");
    const Lines all = {"Err  an error  Native  ", "Wrn  a warning  JNI  ", "Dbg  a detail  Native  ",
                       "     chatter  Native  "};
    const struct {
        const char* why;
        std::string options;
        Lines inFile;
        Lines onConsole;
    } rows[] = {
        {"without a filter up to level 1", on + file + toFile + brief, {all[0], all[1]}, {}},
        {"by facility",
         on + file + toFile + brief + filter("NATIVE,3;jni,0"),
         {all[0], all[1], all[2], all[3]},
         {}},
        {"by the default facility",
         on + file + toFile + brief + filter("other,9;Default,2"),
         {all[0], all[1], all[2]},
         {}},
        {"the console shows everything", on + file + toFile + toConsole + brief, {all[0], all[1]}, all},
        {"not enabled: console only",
         "talvern.test.gx.debug.back2mldebug=true\n" + file + toFile + toConsole + brief,
         {},
         all},
        {"without back2mldebug nothing",
         "talvern.test.gx.debug.enabled=true\n" + file + toFile + toConsole + brief,
         {},
         {}},
        {"to no file", on + file + brief, {}, {}},
        {"an unknown token keeps its place and costs the last",
         on + file + toFile + format("msg;what;facility"),
         {"an error  TIME  ", "a warning  TIME  "},
         {}},
        {"at most seven tokens",
         on + file + toFile + format("msg;msg;msg;msg;msg;msg;msg;facility"),
         {"an error  an error  an error  an error  an error  an error  an error  ",
          "a warning  a warning  a warning  a warning  a warning  a warning  a warning  "},
         {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CTraceHome home;
        home.preferences("enableTrace=false\n");
        home.options(row.options);
        home.beforehand("cd $HOME && ");
        ASSERT_EQ(0, home.run("messagesOfThreeLevels"));
        Lines inFile = linesOf(readFile(home.path() / "legacy.txt"));
        for (std::string& line : inFile)
            if (const auto time = line.find(" AM") + 1 ? line.find(" AM") : line.find(" PM");
                time != std::string::npos)
                line.replace(time - 12, 15, "TIME");
        EXPECT_THAT(inFile, ElementsAreArray(row.inFile));
        EXPECT_THAT(echoesOf(home), ElementsAreArray(row.onConsole));
    }
}

TEST(DebugTraceTest, TheDefaultFormatStartsWithDateAndTimeAndClearingEmptiesTheFile)
{
    CTraceHome home;
    home.preferences("enableTrace=false\n");
    home.options("talvern.test.gx.debug.back2mldebug=true\ntalvern.test.gx.debug.enabled=true\n"
                 "talvern.test.gx.debug.native_to_file=true\ntalvern.test.gx.debug.filename=" +
                 (home.path() / "legacy.txt").string() + "\ntalvern.test.gx.debug.clear_on_init=true\n");
    writeFile(home.path() / "legacy.txt", "of yesterday\n");
    ASSERT_EQ(0, home.run("messagesOfThreeLevels"));
    const auto lines = linesOf(readFile(home.path() / "legacy.txt"));
    ASSERT_EQ(2u, lines.size());
    const time_t now = time(nullptr);
    const struct tm today = *localtime(&now);
    const std::string date = std::to_string(today.tm_mon + 1) + "/" + std::to_string(today.tm_mday) + "/" +
                             std::to_string(today.tm_year % 100);
    EXPECT_THAT(lines[0],
                MatchesRegex(date +
                             "  (0[0-9]|1[0-2]):[0-9]{2}:[0-9]{2}\\.[0-9]{3} [AP]M   *[0-9]+  Err  Native  "
                             "\\[pthread=-?[0-9]+\\]  an error  "));
}
