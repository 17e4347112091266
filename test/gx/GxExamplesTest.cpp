// The examples of doc/command-line.md, run as they stand there.
#include "Command.h"

#include <gmock/gmock.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace {
struct CExample {
    std::string command;
    std::string prints; ///< what stands behind "  # "; empty for nothing said
};

/// The lines that are indented, each a command.
std::vector<CExample> examples()
{
    std::ifstream page(GX_SOURCE_DIR "/doc/command-line.md");
    std::vector<CExample> found;
    for (std::string line; std::getline(page, line);)
        if (line.starts_with("    ") && line.size() > 4) {
            const size_t comment = line.find("  # ");
            found.push_back({line.substr(4, comment == std::string::npos ? comment : comment - 4),
                             comment == std::string::npos ? "" : line.substr(comment + 4)});
        }
    return found;
}

TEST(GxExamplesTest, DoAndPrintWhatThePageSays)
{
    if (GX_SANITIZED)
        GTEST_SKIP() << "a JVM does not load a library with a sanitizer in it";
    const CManager manager;
    std::vector<std::unique_ptr<CProgram>> background;
    ASSERT_GT(examples().size(), 20U);
    for (const CExample& example : examples()) {
        SCOPED_TRACE(example.command);
        if (example.command.ends_with(" &")) {
            const std::string program = example.command.substr(0, example.command.size() - 2);
            background.push_back(std::make_unique<CProgram>(std::vector<std::string>{
                "sh", "-c",
                "exec " + std::filesystem::path(GX_COMMAND).parent_path().string() + "/" + program}));
            continue;
        }
        const CCommand ran(example.command);
        EXPECT_EQ(0, ran.status) << ran.output;
        EXPECT_THAT(ran.output, testing::HasSubstr(example.prints));
    }
}
} // namespace
