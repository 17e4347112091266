// The key-string syntax: which strokes a text becomes, and what its errors are.
#include "unix/input/processkey.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <regex>
#include <set>
#include <string>

#include "RecordingSink.h"

namespace {
/// Every text begins with a trial of Num Lock.
const std::string trial = "+Num_Lock -Num_Lock +Num_Lock -Num_Lock";

std::string withoutTrial(const std::string& strokes)
{
    EXPECT_EQ(0U, strokes.find(trial));
    return strokes.size() > trial.size() ? strokes.substr(trial.size() + 1) : "";
}

TEST(KeyStringTest, ItemsBecomeStrokes)
{
    constexpr struct {
        const char16_t* text;
        int result;
        const char* strokes;
    } rows[] = {
        {u"", 1, ""},
        {u"aB", 1, "+a -a +Shift_L +B -B -Shift_L"},
        {u"+a", 1, "+Shift_L +a -a -Shift_L"},
        {u"+(ab)c", 1, "+Shift_L +a -a +b -b -Shift_L +c -c"},
        {u"++a", 1, "+a -a"},
        {u"^%{DEL}", 1, "+Alt_L +Control_L +Delete -Delete -Alt_L -Control_L"},
        {u"%a", 1, "!+Alt_L !+a !-a -Alt_L"},
        {u"+(a(^b)c)", 1, "+Shift_L +a -a +Control_L +b -b -Control_L +c -c -Shift_L"},
        {u"(+)a)", 1, "+Shift_L +parenright -parenright -Shift_L +a -a"},
        {u")", 1, "+Shift_L +parenright -parenright -Shift_L"},
        {u"~", 1, "+Return -Return"},
        {u"{enter 2}", 1, "+Return -Return +Return -Return"},
        {u"{~}", 1, "+Shift_L +asciitilde -asciitilde -Shift_L"},
        {u"{}}", 1, "+Shift_L +braceright -braceright -Shift_L"},
        {u"{} 2}", 613, ""},
        {u"{a 3}", 1, "+a -a +a -a +a -a"},
        {u"{Shift KeyDn}ab{Shift KeyUp}", 1, "+Shift_L +a -a +b -b -Shift_L"},
        {u"{b keydn}a", 1, "+b +a -a -b"},
        {u"{b KeyDn}{b KeyUp}", 1, "+b -b"},
        {u"{F1 KeyDn}{a KeyDn}", 1, "+F1 +a -a -F1"},
        {u"{CAPSLOCK}abc", 1, "+a -a +b -b +c -c +Caps_Lock -Caps_Lock"},
        {u"{CAPSLOCK}a{CAPSLOCK}", 1, "+a -a"},
        {u"{NUMLOCK}", 1, "+Num_Lock -Num_Lock"},
        {u"{Num5}", 1, "+Num_Lock -Num_Lock +KP_5 -KP_5 +Num_Lock -Num_Lock"},
        {u"{RKeys}{Ctrl}{Win}{LKeys}{Ctrl}{Win}", 1,
         "+Control_R -Control_R +Meta_R -Meta_R +Control_L -Control_L +Meta_L -Meta_L"},
        {u"{vk65}{VK97 2}", 1, "+Shift_L +A -A -Shift_L +a -a +a -a"},
        {u"{vk0}", 1, ""},
        {u"€", 1, "U+20AC"},
        {u"😀", 1, "U+1F600"},
        {u"{😀}", 1, "U+1F600"},
        {u"\xDE00\xD83D"
         u"a",
         1, "U+FFFD U+FFFD +a -a"},
        {u"A€{€ 3}", 1, "+Shift_L +A -A U+20AC U+20AC -Shift_L"},
        {u"ab{", 612, "+a -a +b -b"},
        {u"{a", 612, ""},
        {u"{a 3", 612, ""},
        {u"{a 3x}", 612, ""},
        {u"{a KeyDnx}", 612, ""},
        {u"{abc}", 613, ""},
        {u"{}", 613, ""},
        {u"{vk}", 613, ""},
        {u"{vk6x}", 613, ""},
        {u"{abcdefghijklmno}", 613, ""},
        {u"{vk123456789012}", 1, "+none -none"},
        {u"(ab", 614, "+a -a +b -b"},
        {u"+(a(b)", 614, "+Shift_L +a -a +b -b"},
        {u"{a 2147483648}", 615, ""},
        {u"{a 99999999999999999999999}", 615, ""},
        {u"{a 0}", 651, ""},
        {u"{a x}", 651, ""},
        {u"{a -1}", 651, ""},
        {u"{a KeyXx}", 651, ""},
        {u"{ }", 651, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(std::u16string(row.text)));
        CRecordingSink sink;
        EXPECT_EQ(row.result, SendKeys(row.text, true, sink));
        EXPECT_EQ(row.strokes, withoutTrial(sink.strokes()));
    }
}

/// Users know a key by the name that the page of names has, and by no other.
TEST(KeyStringTest, ThePageOfNamesHasEveryNameAndNoOther)
{
    std::ifstream page(GX_SOURCE_DIR "/doc/key-strings.md");
    std::string line;
    while (std::getline(page, line) && line != "## The names") {
    }
    std::set<std::string> told, known;
    const std::regex name("`([^`]+)`");
    while (std::getline(page, line) && line.rfind("`{Win}`", 0) != 0)
        for (std::sregex_iterator found(line.begin(), line.end(), name), end; found != end; ++found)
            told.insert((*found)[1]);
    for (size_t row = 0; row < GetSizeofSpecialKeys(); ++row)
        known.insert(g_SpecialKeys[row].m_name);
    EXPECT_EQ(known, told);
}

TEST(KeyStringTest, PlainTextHasNoSyntax)
{
    CRecordingSink sink;
    EXPECT_EQ(KeysPlayed, SendKeys(u"~{a", false, sink));
    EXPECT_EQ("+Shift_L +asciitilde -asciitilde +braceleft -braceleft -Shift_L +a -a",
              withoutTrial(sink.strokes()));
}

TEST(KeyStringTest, LocksAreOffMeanwhileAndAfterwardsAsTheTextAsks)
{
    for (int state = 0; state < 4; ++state)
        for (const char16_t* text :
             {u"a", u"{CAPSLOCK}a", u"{NUMLOCK}a{NUMLOCK}{NUMLOCK}", u"{CAPSLOCK}{NUMLOCK}"}) {
            const CLockState before{(state & 1) != 0, (state & 2) != 0};
            const std::u16string all = text;
            SCOPED_TRACE(std::to_string(state) + testing::PrintToString(all));
            CRecordingSink sink(before);
            ASSERT_EQ(KeysPlayed, SendKeys(text, true, sink));
            EXPECT_EQ(before.capsLock != (all.find(u"CAPS") != all.npos), sink.locks().capsLock);
            EXPECT_EQ(before.numLock != (all.find(u"NUM") != all.npos), sink.locks().numLock);
        }
}

TEST(KeyStringTest, ANumLockThatCannotBeSwitchedIsPressedOnceAndReleasedAfterTheKeypadKey)
{
    CRecordingSink sink({}, false);
    EXPECT_EQ(KeysPlayed, SendKeys(u"{Num1}", true, sink));
    EXPECT_EQ("+Num_Lock -Num_Lock +Num_Lock +KP_1 -KP_1 -Num_Lock", sink.strokes());
}

TEST(KeyStringTest, AFailureForgetsHeldKeysWithoutReleasingThem)
{
    CRecordingSink failing;
    EXPECT_EQ(KeysUnknownName, SendKeys(u"+a{b KeyDn}{what}", true, failing));
    EXPECT_EQ("+Shift_L +a -a -Shift_L +b", withoutTrial(failing.strokes()));
    CRecordingSink next;
    EXPECT_EQ(KeysPlayed, SendKeys(u"", true, next));
    EXPECT_EQ("", withoutTrial(next.strokes()));
}

/// Begins another text, on another thread, with every stroke of its own.
class CInterruptedSink : public CRecordingSink {
public:
    bool stroke(unsigned action, unsigned long keysym, int delayMs, int flag) override
    {
        std::async(std::launch::async, [] {
            CRecordingSink sink({true, true});
            EXPECT_EQ(KeysPlayed, SendKeys(u"%({x KeyDn}{CAPSLOCK}{NUMLOCK}y)", true, sink));
            EXPECT_EQ(KeysUnknownName, SendKeys(u"^{z KeyDn}{what}", true, sink));
        }).get();
        return CRecordingSink::stroke(action, keysym, delayMs, flag);
    }
};

TEST(KeyStringTest, TextsOfTwoThreadsKnowNothingOfEachOther)
{
    CInterruptedSink sink;
    EXPECT_EQ(KeysPlayed, SendKeys(u"+(a{b KeyDn}{c 2}){Num5}d", true, sink));
    EXPECT_EQ("+Shift_L +a -a +b +c -c +c -c -Shift_L +Num_Lock -Num_Lock +KP_5 -KP_5 +Num_Lock -Num_Lock "
              "+d -d -b",
              withoutTrial(sink.strokes()));
}

TEST(KeyStringTest, AMillionOfTheSameCharacterExhaustsNoStack)
{
    constexpr struct {
        char16_t unit;
        int result;
    } rows[] = {{u'(', 614}, {u'+', 1}, {u'{', 613}, {u'}', 1}, {u'a', 1}};
    for (const auto& row : rows) {
        CRecordingSink sink({}, true, 100);
        EXPECT_EQ(row.result, SendKeys(std::u16string(1 << 20, row.unit).c_str(), true, sink));
    }
}
} // namespace
