// Programs started for real: what they find open, in their environment and in their signal mask.
#include "unix/process/ProcessStart.h"

#include "ChildProcess.h"
#include "common/trace/Environment.h"
#include "include/ScopedFile.h"
#include "unix/process/OperatingSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

std::string contentOf(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

const std::string s_home = std::getenv("HOME");
const std::string s_output = s_home + "/output";

/// Runs a command to its end. @return what it wrote
std::string outputOf(const std::string& command, bool keepFds = false, const char* directory = nullptr)
{
    unlink(s_output.c_str());
    std::string error;
    const CProcessStart start{command.c_str(), directory, s_output.c_str(), s_output.c_str(), keepFds};
    COperatingSystem::wait(start.start(error));
    EXPECT_EQ("", error);
    return contentOf(s_output);
}

/// From now on the system calls of this process do as if the kernel did not know close_range.
void forgetCloseRange()
{
    sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_close_range, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(code), code};
    ASSERT_EQ(0, prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0));
    ASSERT_EQ(0, prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program));
}

TEST(ProcessStartTest, OnlyTheStandardDescriptorsAreOpenUnlessAllAreKept)
{
    const CDescriptor inherited(open("/dev/zero", O_RDONLY));
    const CDescriptor high(fcntl(inherited.get(), F_DUPFD, 500));
    EXPECT_EQ("0\n1\n2\n", outputOf("sh -c 'ls /proc/$$/fd'"));
    EXPECT_THAT(outputOf("sh -c 'ls /proc/$$/fd'", true), HasSubstr("\n500\n"));
    signal(SIGCHLD, SIG_DFL); // the verdict of the next child is for the test
    CChildProcess oldKernel([](CChildProcess&) {
        forgetCloseRange();
        EXPECT_EQ("0\n1\n2\n", outputOf("sh -c 'ls /proc/$$/fd'"));
    });
}

TEST(ProcessStartTest, WhatTheProgramFinds)
{
    CEnvironment::set("JAVA_MAIN_VM", "client");
    CEnvironment::set("TALVERN_GX_JRE", "/nowhere:/usr:/tmp");
    CEnvironment::set("LD_LIBRARY_PATH", "/old");
    const std::string echo = "echo ";
    const struct {
        const char* why;
        std::string command;
        testing::Matcher<std::string> written;
    } rows[] = {
        {"quotes are the shell's", R"(printf '%s|' "a b" 'c "d"' e\ f $((1+1)))", "a b|c \"d\"|e f|2|"},
        {"the command replaces the shell", "sh -c 'cat /proc/$$/cmdline'", StartsWith("sh")},
        {"cut after 1023 bytes", echo + std::string(1018, 'x') + "y", std::string(1018, 'x') + "\n"},
        {"SIGTERM is blocked, and nothing else", "grep SigBlk /proc/self/status",
         "SigBlk:\t0000000000004000\n"},
        {"the environment", "env -u TALVERN_GX_JRE sh -c 'echo ${JAVA_MAIN_VM-none} $LD_LIBRARY_PATH'",
         "none "
         "/usr/bin:/usr/bin/classic:/usr/lib/i386:/usr/lib/i386/client:/usr/lib/i386/native_threads:/old\n"},
        {"an unknown command is the shell's to report", "./no-such-command", HasSubstr("not found")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_THAT(outputOf(row.command), row.written);
    }
    for (const char* name : {"JAVA_MAIN_VM", "TALVERN_GX_JRE", "LD_LIBRARY_PATH"})
        CEnvironment::unset(name);
    EXPECT_EQ("/usr\n", outputOf("pwd", false, "/usr"));
    std::string error;
    COperatingSystem::wait(CProcessStart{"echo more", "", s_output.c_str()}.start(error));
    EXPECT_EQ("/usr\nmore\n", contentOf(s_output)) << "appended";
}

TEST(ProcessStartTest, NothingRunsInTheWrongPlace)
{
    const std::string pipe = s_home + "/pipe";
    mkfifo(pipe.c_str(), 0600);
    const std::string huge(1 << 18, 'x');
    const struct {
        const char* why;
        CProcessStart start;
        const char* error;
        const char* value = nullptr;
    } rows[] = {
        {"no command", {}, "no command"},
        {"no directory", {"true", "/nowhere"}, "cannot open /nowhere: No such file or directory"},
        {"a file as directory", {"true", "/etc/passwd"}, "cannot open /etc/passwd: Not a directory"},
        {"no output", {"true", nullptr, "/nowhere/a"}, "cannot open /nowhere/a: No such file or directory"},
        {"no error output", {"true", nullptr, nullptr, "/"}, "cannot open /: Is a directory"},
        {"nobody reads", {"true", nullptr, pipe.c_str()}, "No such device or address"},
#ifndef __SANITIZE_THREAD__ // its vfork makes a copy, which cannot tell what went wrong
        {"too large an environment", {"true"}, "cannot start /bin/sh: Argument list too long", huge.c_str()},
#endif
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CEnvironment::set("GX_TEST_VALUE", row.value);
        std::string error;
        EXPECT_EQ(-1, row.start.start(error));
        EXPECT_THAT(error, EndsWith(row.error));
        CEnvironment::unset("GX_TEST_VALUE");
    }
}
} // namespace
