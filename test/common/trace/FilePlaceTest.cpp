// What the library writes to, and what it leaves alone: beside users who put something into the place of its
// files, under sudo, on full disks.
#include "common/trace/FilePlace.h"

#include "TraceHome.h"
#include "common/trace/GxDebug.h"
#include "session/PrivateIpc.h"
#include "session/PrivateSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {
namespace fs = std::filesystem;

SCRIPT(writeBoth)
{
    GxDebug::TraceSetEnabled(true);
    for (int i = 0; i < 3; ++i)
        GenericNative.log(7, "secret %d", i);
}

mode_t modeOf(const fs::path& path)
{
    struct stat status = {};
    lstat(path.c_str(), &status);
    return status.st_mode & 07777;
}

std::string ownerOf(const fs::path& path)
{
    struct stat status = {};
    const bool exists = lstat(path.c_str(), &status) == 0;
    const passwd* const user = exists ? getpwuid(status.st_uid) : nullptr;
    return user ? user->pw_name : "";
}

size_t countOf(const std::string& piece, const std::string& text)
{
    size_t count = 0;
    for (size_t at = 0; (at = text.find(piece, at)) != std::string::npos; ++at)
        ++count;
    return count;
}

TEST(FilePlaceTest, FilesAreMadeForTheUserAloneAndNothingElseIsWrittenTo)
{
    const struct {
        const char* why;
        const char* preparation; ///< in the user's directory; "victim" is another file there
        bool isUsed;
    } rows[] = {
        {"nothing there", "true", true},
        {"a file of the user's", "touch vtx_trace.txt", true},
        {"a link to a file", "ln -s victim vtx_trace.txt", false},
        {"a link to nothing", "ln -s missing vtx_trace.txt", false},
        {"a second name of a file", "ln victim vtx_trace.txt", false},
        {"a pipe that nobody reads", "mkfifo vtx_trace.txt", false},
        {"a pipe with a reader", "mkfifo vtx_trace.txt && { sleep 60 <>vtx_trace.txt & }", false},
        {"a device", "ln -s /dev/null vtx_trace.txt", false},
        {"the directory is a link",
         "mkdir moved && ln -s moved logs && cd .. && mv ZEMO there && ln -s there ZEMO", true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CTraceHome home;
        home.beforehand(
            "umask 0 && mkdir -p $HOME/Quessa/ZEMO && cd $HOME/Quessa/ZEMO && echo untouched >victim && " +
            std::string(row.preparation) + " && ");
        ASSERT_EQ(0, home.run("writeBoth"));
        EXPECT_EQ("untouched\n", readFile(home.directory() / "victim"));
        EXPECT_FALSE(fs::exists(home.directory() / "missing"));
        EXPECT_EQ(0600u, modeOf(home.preferenceFile()));
        EXPECT_EQ(0600u, modeOf(home.directory() / "vtx_log.txt"));
        EXPECT_EQ(row.isUsed ? 0u : 1u, countOf("vtx_trace.txt is not used: ", home.standardError()));
        EXPECT_EQ(row.isUsed ? 0u : 3u, countOf("Error writing to the file (2).\n", home.standardError()));
        EXPECT_EQ(row.isUsed ? 0u : 3u, countOf("secret", home.standardOutput()));
    }
}

TEST(FilePlaceTest, UnderSudoTheUserGetsWhatWasMadeForHimAndNothingElse)
{
    if (const char* const why = CPrivateSession::whyNoOtherUser())
        GTEST_SKIP() << why;
    const struct {
        const char* why;
        const char* preparation; ///< by root, in the user's home directory, beside root's directory "system"
        const char* place;
        const char* owner; ///< of that place afterwards; "" when it is not there
    } rows[] = {
        {"the directory", "true", "Quessa", "nobody"},
        {"the one below", "true", "Quessa/ZEMO", "nobody"},
        {"the preferences", "true", "Quessa/ZEMO/vtx_log_trace.properties", "nobody"},
        {"the log stays root's", "true", "Quessa/ZEMO/vtx_log.txt", "root"},
        {"in a home directory of root's", "chown root .", "Quessa/ZEMO/vtx_log_trace.properties", "nobody"},
        {"a directory for logs", "prefer logFilePath=$HOME/logs/deep", "logs/deep", "nobody"},
        {"a directory of the system", "prefer logFilePath=$HOME/system/ssh.service.d", "system/ssh.service.d",
         "root"},
        {"a link to one", "ln -s system/x Quessa", "system/x", ""},
        {"a link to one that is there", "ln -s system Quessa", "system/ZEMO", ""},
        {"a directory with something in it", "mkdir -p Quessa/ZEMO/kept && chown nobody Quessa",
         "Quessa/ZEMO", "root"},
        {"preferences behind a link",
         "mkdir -p Quessa/ZEMO && ln -s $HOME/system/p Quessa/ZEMO/vtx_log_trace.properties", "system/p", ""},
        {"a log behind a link", "mkdir -p Quessa/ZEMO && ln -s $HOME/system/l Quessa/ZEMO/vtx_log.txt",
         "system/l", ""},
        {"a log in a linked directory", "ln -s system logs; prefer logFilePath=$HOME/logs",
         "system/vtx_log.txt", ""},
        {"a log in a linked one below", "ln -s system logs; prefer logFilePath=$HOME/logs/new", "system/new",
         ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        CTraceHome home;
        home.environment("SUDO_USER=nobody");
        home.beforehand(
            "umask 022 && cd $HOME && chown nobody . && mkdir system && "
            "prefer() { mkdir -p Quessa/ZEMO && echo $1 >Quessa/ZEMO/vtx_log_trace.properties; } && " +
            std::string(row.preparation) + " && ");
        ASSERT_EQ(0, home.run("writeBoth"));
        EXPECT_EQ(row.owner, ownerOf(home.path() / row.place));
        EXPECT_EQ("root", ownerOf(home.path() / "system"));
    }
}

TEST(FilePlaceTest, UnderSudoPreferencesAndLogsOfStrangersAreRefused)
{
    if (const char* const why = CPrivateSession::whyNoOtherUser())
        GTEST_SKIP() << why;
    const struct {
        const char* file;
        const char* owner;
        bool isUsed;
    } rows[] = {
        {"vtx_log_trace.properties", "nobody", true},
        {"vtx_log_trace.properties", "root", true},
        {"vtx_log_trace.properties", "daemon", false},
        {"vtx_trace.txt", "nobody", true},
        {"vtx_trace.txt", "root", true},
        {"vtx_trace.txt", "daemon", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.file) + " of " + row.owner);
        CTraceHome home;
        home.environment("SUDO_USER=nobody");
        home.beforehand("mkdir -p $HOME/Quessa/ZEMO && cd $HOME/Quessa/ZEMO && touch " +
                        std::string(row.file) + " && chown " + row.owner + " " + row.file + " && ");
        ASSERT_EQ(0, home.run("writeBoth"));
        EXPECT_EQ(row.isUsed ? 0u : 1u,
                  countOf(std::string(row.file) + " is not used: ", home.standardError()));
        EXPECT_EQ(row.isUsed ? 3u : 0u, countOf("secret", readFile(home.directory() / "vtx_trace.txt")));
    }
}

TEST(FilePlaceTest, AnOverLongHomeDirectoryMeansNoFiles)
{
    CTraceHome home;
    home.beforehand("HOME=/" + std::string(1015, 'h') + " && export HOME && ");
    ASSERT_EQ(0, home.run("writeBoth"));
    EXPECT_FALSE(fs::exists("/vtx_log_trace.properties"));
    EXPECT_THAT(home.standardError(), Not(HasSubstr("preference file\n")));
    EXPECT_THAT(home.standardOutput(), Not(HasSubstr("secret"))) << "without preferences nothing is logged";
}

constexpr int noMount = 77;

void mountSmallDisk(const std::string& path)
{
    // Who may not have a file system of its own may have one in a user namespace.
    if (unshare(CLONE_NEWNS) != 0 && (enterPrivateIpc() == PrivateIpc::None || unshare(CLONE_NEWNS) != 0))
        std::exit(noMount);
    mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    fs::create_directory(path);
    if (mount("none", path.c_str(), "tmpfs", 0, "size=64k,mode=0777") != 0)
        std::exit(noMount);
}

/// Fills a disk with lines, makes room, goes on; tells what the file's last line is then.
SCRIPT(fillDisk)
{
    const std::string disk = std::string(getenv("HOME")) + "/disk", file = disk + "/trace.txt";
    mountSmallDisk(disk);
    writeFile(disk + "/ballast", std::string(16384, 'b'));
    GxDebug::TraceSetEnabled(true);
    GxDebug::TraceSetFileName(file.c_str());
    for (int i = 0; i < 1000; ++i)
        GenericNative.fatal("line %d%s", i, std::string(static_cast<size_t>(i % 50), 'x').c_str());
    fs::remove(disk + "/ballast");
    GenericNative.fatal("room again");
    const std::string text = readFile(file);
    std::fprintf(stderr, "%zu bytes, last: %s", text.size(),
                 text.substr(text.rfind('\n', text.size() - 2) + 1).c_str());
}

TEST(FilePlaceTest, AFullDiskLeavesNoHalfLine)
{
    CTraceHome home;
    const int status = home.run("fillDisk");
    if (status == noMount)
        GTEST_SKIP() << "neither a file system nor a user namespace can be had for a full disk";
    ASSERT_EQ(0, status);
    EXPECT_THAT(home.standardError(),
                AllOf(HasSubstr("Error writing to the file (1).\n"),
                      ContainsRegex("4[0-9]{4} bytes, last: 20[0-9/:.-]+,\t[^\n]*room again\r\n")));
    EXPECT_THAT(home.standardOutput(), HasSubstr("line 999")) << "what the disk does not take is printed";
}
} // namespace
