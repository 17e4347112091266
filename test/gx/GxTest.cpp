// gx as its users have it: whole processes, on a private display, with a Motif and a GTK program.
#include "Command.h"
#include "include/Within.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace std::chrono_literals;
using testing::ContainsRegex;

namespace {
struct CRow {
    const char* command;
    int status;
    const char* says; ///< a regular expression
};

void expect(const CRow& row)
{
    SCOPED_TRACE(row.command);
    const CCommand ran(row.command);
    EXPECT_EQ(row.status, ran.status) << ran.output;
    EXPECT_THAT(ran.output, ContainsRegex(row.says));
}

/// Two programs that can be asked, one that cannot, and a window with odd texts, under a window manager.
class GxTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_manager = std::make_unique<CManager>();
        for (const char* const program : {"nedit", "galculator"})
            GX_SANITIZED ? start({program}) : start({GX_COMMAND, "run", program});
        start({"xterm", "-T", "Grüße \"a\\b\" \t<>", "-e", "cat > typed"});
        start({GX_APPS_DIR "/windowscene"});
        for (const char* const caption : {"Untitled", "galculator", "Grüße"})
            ASSERT_EQ(0, CCommand(std::string("gx wait --limit 30 --window '") + caption +
                                  (*caption == 'G' ? " \"a\\b\" \t<>'" : "'"))
                             .status)
                << CCommand("gx windows").output;
    }
    static void TearDownTestSuite()
    {
        s_programs.clear();
        s_manager.reset();
    }
    static void start(const std::vector<std::string>& command)
    {
        s_programs.push_back(std::make_unique<CProgram>(command));
    }

    static std::unique_ptr<CManager> s_manager;
    static std::vector<std::unique_ptr<CProgram>> s_programs;
};
std::unique_ptr<CManager> GxTest::s_manager;
std::vector<std::unique_ptr<CProgram>> GxTest::s_programs;

TEST_F(GxTest, AnswersAndFailsAsTheTableSays)
{
    constexpr CRow rows[] = {
        {"gx", 2, "usage: gx COMMAND"},
        {"gx nonsense", 2, "no command \"nonsense\""},
        {"gx windows --nonsense", 2, "no option --nonsense\nusage: gx windows"},
        {"gx at 1", 2, "too few arguments"},
        {"gx at 1 x", 2, "argument 2 is \"x\" and not a whole number"},
        {"gx wait --gone", 2, "--gone wants --window"},
        {"gx wait --idle --limit soon", 2, "not a number of seconds"},
        {"gx click 1", 2, "either X and Y or --text"},
        {"gx keys 'a{ENTR}'", 2, "613.*nothing was typed"},
        {"gx windows '('", 2, "no regular expression: "},
        {"gx windows galculator", 0,
         "0x[0-9a-f]+ +[0-9]+ [0-9]+x[0-9]+[+][0-9]+[+][0-9]+.*Galculator galculator +\"galculator\""},
        {"gx windows nosuch", 1, "no window matches \"nosuch\": there are: .*\"galculator\".*; the pattern"},
        {"gx windows --json nosuch", 1, "^\\[\\]\n$"},
        {"gx at 99999 1", 1, "at 99999,1: .*outside of the screen, which is 1280 by 1024"},
        {"gx click 99999 1", 1, "no click at 99999,1: the point lies outside of the screen"},
        {"gx keys '{F1}{vk123456789}'", 1,
         "nothing was typed: no key of this keyboard has the keysym 123456789; setxkbmap"},
        {"gx keys '{vk233}'", 1, "nothing was typed: no key of this keyboard has the keysym 233; setxkbmap"},
        {"gx wait --window nosuch --limit 0.1", 1,
         "\"nosuch\" has not come within 0.1 s: there are: .*; --limit"},
        {"gx wait --window galculator --gone --limit 0.1", 1,
         "\"galculator\" is still there after 0.1 s: there are"},
        {"gx shot /nosuch/file.png", 1, "/nosuch/file.png cannot be made: No such file or directory; name"},
        {"gx shot x.png --window nosuch", 1, "no window of this display is called \"nosuch\""},
        {"gx frame 10 10 0 10", 2, "above 0"},
        {"gx frame 5000 10 9 9", 1, "9x9.5000.10: nothing of it is on the screen"},
        {"gx frame 10 10 20 10 --for 0.05", 0, "^$"},
        {"DISPLAY= gx windows", 1, "DISPLAY is not set; gx session -- COMMAND"},
        {"DISPLAY=:4711 gx windows", 1, "DISPLAY=:4711 does not run here \\(No such file or directory\\)"},
        {"XAUTHORITY=/nosuch gx click 1 1", 1, "^gx click: .*refuses this user.*XAUTHORITY=/nosuch"},
        {"gx run nosuch", 127, "nosuch: not found"},
        {"gx run /etc/passwd", 126, "Permission denied"},
        {"gx run sh -c 'exit 7'", 7, "^$"},
        {"gx run", 125, "no program is named\nusage: gxrun"},
        {"gx session --wm none -- sh -c 'exit 5'", 5, ""},
        {"gx session -- nosuch", 127, "nosuch cannot be started: No such file or directory"},
        {"touch plain; PATH=$PATH:$PWD gx session --wm none -- plain", 126,
         "plain cannot be started: Permission denied"},
        {"mkdir shut; chmod 0 shut; [ $(id -u) != 0 ] || as='setpriv --bounding-set=-dac_override,-dac_read_search'; "
         "PATH=$PATH:$PWD/shut/in:/root/in; $as gx session --wm none -- nosuch",
         127, "nosuch cannot be started: No such file or directory"},
        {"gx session --screen 0x0x0 -- true", 125, "Xvfb .* did not start: "},
        {"gx windows > /dev/full", 1, "could not be written: No space left on device"},
        {"mkdir -p Quessa/ZEMO; printf 'enableTrace=true\\n' > Quessa/ZEMO/vtx_log_trace.properties; gx at 9999 9; "
         "mv Quessa traced; cat traced/ZEMO/vtx_trace.txt",
         0, "ERROR,\tgx,\tgx at: no window at 9999,9: .*1280 by 1024"},
    };
    for (const CRow& row : rows)
        expect(row);
}

constexpr const char* noEngine = "a JVM does not load a library with a sanitizer in it";

TEST_F(GxTest, AsksProgramsForTheirWidgets)
{
    if (GX_SANITIZED)
        GTEST_SKIP() << noEngine;
    constexpr CRow rows[] = {
        {"gx tree 999999999", 1, "process 999999999: there is no such process; gx windows"},
        {"gx tree 1", 1,
         "no agent in .*process 1: it (runs without an agent; start it with: gx run|is another user's)"},
        {"gx inspect 999999999", 1, "gx inspect: no agent in process 999999999: there is no such process"},
        {"gx inspect --port 99999 xterm", 2, "gx inspect: --port is \"99999\".*\nusage: gx inspect"},
        {"gx tree 'Gr\xc3\xbc\xc3\x9f"
         "e \"a\\b\" \t<>'",
         1, "runs without an agent.*start it with: gx run .*xterm"},
        {"PATH=$(dirname $(command -v gx)) JAVA_HOME=/nosuch gx tree galculator", 0, "toggle \"7\""},
        {"gx menu Untitled --look Edit Undo", 1, "disabled"},
        {"gx menu Untitled Search Nosuch --limit 5", 1,
         "no item \"Nosuch\" in a menu of .*nedit, process [0-9]+: it has "},
        {"gx click --text Nosuch --in galculator --limit 0.2", 1,
         "of .*galculator, process [0-9]+: not found within 200 ms; .*there is:\n"},
    };
    for (const CRow& row : rows)
        expect(row);
    for (const char* const program : {"Untitled", "galculator"})
        EXPECT_EQ(0, CCommand(std::string("gx tree --json ") + program +
                              " > tree; /usr/bin/python3 -m json.tool tree")
                         .status);
}

TEST_F(GxTest, JsonIsWhatAnyParserReads)
{
    for (const char* const command : {"windows", "at 450 400", "wait --window galculator", "doctor", "store"})
        EXPECT_EQ(0, CCommand(std::string("gx ") + command +
                              " --json > answer; /usr/bin/python3 -m json.tool answer")
                         .status)
            << command;
    const std::string all =
        CCommand(
            "LC_ALL=C gx windows --json | /usr/bin/python3 -c 'import json, sys\nfor w in json.load(sys.stdin): "
            "print(ascii(w[\"caption\"]), w[\"pid\"], w[\"x\"])'")
            .output;
    EXPECT_THAT(all, testing::HasSubstr("'Gr\\xfc\\xdfe \"a\\\\b\" \\t<>' ")) << all;
}

TEST_F(GxTest, TypesIntoAnyProgram)
{
    const CCommand at(
        "set -- $(gx windows XTerm | sed 's/.* \\([0-9]*\\)x\\([0-9]*\\)+\\([0-9]*\\)+\\([0-9]*\\)\\t.*/\\3 \\4/'); "
        "gx click $(($1 + 20)) $(($2 + 20)) && gx at $(($1 + 20)) $(($2 + 20))");
    EXPECT_THAT(at.output, ContainsRegex("innermost 0x.*\n.*XTerm xterm"));
    EXPECT_EQ(0, CCommand("gx type 'Grüße {a}' && gx keys '~^d'").status);
    EXPECT_TRUE(within(10s, [] { return CCommand("cat typed").output == "Grüße {a}\n"; }))
        << CCommand("cat typed").output;
}

TEST_F(GxTest, TakesPicturesOfTheSizeOfWhatTheyShow)
{
    const CCommand sizes(
        "gx shot all.png && gx shot - --window galculator > one.png && /usr/bin/python3 -c 'import struct\n"
        "for name in (\"all.png\", \"one.png\"): print(*struct.unpack(\">II\", open(name, \"rb\").read()[16:24]))'");
    const CCommand window(
        "gx windows --json galculator | /usr/bin/python3 -c 'import json, sys\nw = json.load(sys.stdin)[0]\n"
        "print(w[\"width\"], w[\"height\"])'");
    EXPECT_EQ("1280 1024\n" + window.output, sizes.output);
}

TEST_F(GxTest, TheManualHasEveryCommandAndIsRoff)
{
    const CCommand page(
        "gx help --manual > gx.1; for c in $(gx help | sed -n 's/^  \\([a-z]*\\) .*/\\1/p'); do "
        "grep -q \"^.SS gx $c\" gx.1 || echo \"no $c\"; done; grep -c '^.SS' gx.1");
    EXPECT_EQ("16\n", page.output);
    if (CCommand("command -v groff").status == 0) {
        EXPECT_EQ("", CCommand("groff -man -ww -z gx.1").output);
    }
}

TEST_F(GxTest, BashCompletesWhatTheTableHas)
{
    constexpr struct {
        const char* words; ///< behind gx; the last is being typed
        const char* completed;
    } rows[] = {{"wi", "windows"},        {"wait --", "--window --gone --idle --limit --json --help"},
                {"store --s", "--sweep"}, {"run xpro", "xprop"},
                {"shot typ", "typed"},    {"wait --window ty", ""}};
    std::ofstream("typed", std::ios::app).flush();
    for (const auto& row : rows)
        EXPECT_EQ(
            std::string(row.completed) + "\n",
            CCommand("gx help --completion > gx.bash; bash -c 'set -u; source ./gx.bash; COMP_WORDS=(gx " +
                     std::string(row.words) +
                     "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _gx; echo \"${COMPREPLY[*]-}\"'")
                .output)
            << row.words;
}
} // namespace
