// Typing into real programs: what arrives is what was typed, on every layout.
#include "TextProgram.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {
/// Characters that no keyboard layout has, none of them twice in a row.
std::u16string chinese(int count)
{
    std::u16string text;
    for (int i = 0; i < count; ++i)
        text += static_cast<char16_t>(0x4E00 + i * 7 % 5000);
    return text;
}

class BusyMachine {
public:
    explicit BusyMachine(int loops)
    {
        for (int i = 0; i < loops; ++i)
            m_loops.push_back(
                std::make_unique<CProgram>(std::vector<std::string>{"sh", "-c", "while :; do :; done"}));
    }

private:
    std::vector<std::unique_ptr<CProgram>> m_loops;
};

class TypingTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override { useLayout("us"); }
    void TearDown() override { useLayout("us"); }
};

/// GX_TYPING_CHARACTERS=1000 asks for as many as it takes to be sure.
int characters()
{
    const char* wanted = getenv("GX_TYPING_CHARACTERS");
    return wanted ? atoi(wanted) : 100;
}

TEST_P(TypingTest, CharactersThatNoKeyHasAllArriveWithAnyDelaysOnAnIdleAndOnABusyMachine)
{
    constexpr struct {
        int down, up, busy;
    } rows[] = {{0, 0, 0}, {1, 10, 0}, {0, 0, 2}, {1, 10, 2}};
    const auto program = textProgram(GetParam());
    for (const auto& row : rows) {
        const BusyMachine busy(row.busy);
        const CKeyDelays delays(row.down, row.up);
        const std::u16string text = chinese(characters());
        const auto start = std::chrono::steady_clock::now();
        program->type(text);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        ASSERT_EQ(PlaybackDone, Event::s_playbackStatus);
        const size_t wrong = differences(utf8(text), program->text(utf8(text).size()));
        std::printf("%s, delays %d and %d ms, %d busy loops: %zu of %zu wrong, %.0f characters/s\n",
                    GetParam(), row.down, row.up, row.busy, wrong, text.size(),
                    static_cast<double>(text.size()) / time.count());
        EXPECT_EQ(0U, wrong);
    }
}

INSTANTIATE_TEST_SUITE_P(Programs, TypingTest, testing::Values("gtk3-text", "motif-text", "xterm"),
                         [](const auto& program) {
                             const std::string name = program.param;
                             return name.substr(0, name.find('-'));
                         });
} // namespace
