// Programs started for real: what they find open, in their environment, in their signal mask.
#include "ProcessStart.h"

#include "Environment.h"
#include "Within.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
using testing::HasSubstr;
using testing::Not;

std::string contentOf(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

class ProcessStartTest : public testing::Test {
protected:
    ProcessStartTest() { unlink(m_output.c_str()); }

    /// Runs a command to its end. @return what it wrote to standard output
    std::string outputOf(const std::string& command, bool keepFds = false, const char* directory = nullptr)
    {
        const std::string whole = command + "; echo end >&2";
        const std::string done = m_home + "/done";
        unlink(done.c_str());
        run({.command = ("sh -c '" + whole + "'").c_str(),
             .workingDir = directory,
             .stdoutPath = m_output.c_str(),
             .stderrPath = done.c_str(),
             .keepFds = keepFds});
        EXPECT_TRUE(within(std::chrono::seconds(10), [&] { return contentOf(done).ends_with("end\n"); }))
            << command;
        return contentOf(m_output);
    }

    void run(const CProcessStart& start)
    {
        std::string error;
        EXPECT_LT(0, start.start(error)) << start.command;
        EXPECT_EQ("", error);
    }

    const std::string m_home = std::getenv("HOME");
    const std::string m_output = m_home + "/output";
};

TEST_F(ProcessStartTest, LeavesOnlyTheStandardDescriptorsOpen)
{
    const int inherited = open("/dev/zero", O_RDONLY);
    EXPECT_EQ("0\n1\n2\n", outputOf("ls /proc/$$/fd"));
    unlink(m_output.c_str());
    EXPECT_THAT(outputOf("ls -l /proc/$$/fd", true), HasSubstr("/dev/zero"));
    close(inherited);
}
} // namespace
