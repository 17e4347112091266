// Files copied and moved on real file systems, and browsers found in a real tree.
#include "unix/process/FileTransfer.h"

#include "session/PrivateSession.h"
#include "unix/process/Browsers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <sys/time.h>
#include <tuple>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

std::string contentOf(const fs::path& path)
{
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

void write(const fs::path& path, const std::string& content)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path) << content;
}

/// Files of every kind in the home directory, made anew, and an empty directory on another file system.
class CTree {
public:
    CTree()
    {
        fs::remove_all(m_here);
        write(m_here / "file", content());
        chmod((m_here / "file").c_str(), 0640);
        const timeval times[] = {{1000, 5}, {2000, 7}};
        utimes((m_here / "file").c_str(), times);
        fs::create_hard_link(m_here / "file", m_here / "hard");
        write(m_here / "old", "old");
        fs::create_directory(m_here / "directory");
        fs::create_symlink("old", m_here / "link");
        fs::create_symlink("missing", m_here / "dangling");
        mkfifo((m_here / "pipe").c_str(), 0600);
        char name[] = "/dev/shm/gx-XXXXXX";
        m_there = mkdtemp(name);
    }
    ~CTree() { fs::remove_all(m_there); }
    CTree(const CTree&) = delete;

    static std::string content() { return std::string(300'000, 'x') + '\0' + "end"; }
    /// @param name  with "@" in front: in the other file system
    fs::path at(const std::string& name) const
    {
        return name.starts_with("@") ? m_there / name.substr(1) : m_here / name;
    }
    auto entries() const
    {
        return std::distance(fs::directory_iterator(m_here), {}) +
               std::distance(fs::directory_iterator(m_there), {});
    }

private:
    const fs::path m_here = fs::path(std::getenv("HOME")) / "files";
    fs::path m_there;
};

void expectWhole(const fs::path& path)
{
    struct stat status = {};
    ASSERT_EQ(0, stat(path.c_str(), &status));
    EXPECT_EQ(CTree::content(), contentOf(path));
    EXPECT_EQ(0640u, status.st_mode & 07777);
    EXPECT_EQ(2000, status.st_mtim.tv_sec);
    EXPECT_EQ(7000, status.st_mtim.tv_nsec);
}

TEST(FileTransferTest, TheTargetIsTheOldFileOrTheWholeNewOne)
{
    constexpr int none = -100; // refused
    const struct {
        const char* why;
        std::string from, to;
        int copied, moved; ///< change of the number of entries
    } rows[] = {
        {"a new name", "file", "new", 1, 0},
        {"another file system", "file", "@new", 1, 0},
        {"over a file", "file", "old", 0, -1},
        {"to itself", "file", "directory/../file", 0, 0},
        {"over another name of it", "file", "hard", 0, -1},
        {"over a link", "file", "link", 0, -1},
        {"over a dangling link", "file", "dangling", none, -1},
        {"a link elsewhere", "link", "@new", 1, none},
        {"a directory", "directory", "new", none, none},
        {"over a directory", "file", "directory", none, none},
        {"over a pipe", "file", "pipe", none, none},
        {"from a pipe", "pipe", "new", none, none},
        {"nothing", "missing", "new", none, none},
        {"into nothing", "file", "missing/new", none, none},
        {"into nothing elsewhere", "file", "@missing/new", none, none},
    };
    for (const auto& row : rows)
        for (const bool move : {false, true}) {
            SCOPED_TRACE(std::string(row.why) + (move ? ", moved" : ", copied"));
            const CTree tree;
            const auto before = tree.entries();
            const int change = move ? row.moved : row.copied;
            const auto transfer = move ? moveFile : copyFile;
            EXPECT_EQ(change != none, transfer(tree.at(row.from).c_str(), tree.at(row.to).c_str()));
            EXPECT_EQ(before + (change == none ? 0 : change), tree.entries());
            if (change != none && row.from == "file")
                expectWhole(tree.at(row.to));
            EXPECT_EQ(!(move && row.to == "link"), fs::is_symlink(tree.at("link")));
            const bool throughLink = row.to == "link" && !move;
            EXPECT_EQ(throughLink || row.to == "old" ? CTree::content() : "old", contentOf(tree.at("old")));
        }
    const CTree tree;
    chmod(tree.at("file").c_str(), 06640);
    EXPECT_TRUE(copyFile(tree.at("file").c_str(), tree.at("new").c_str()));
    expectWhole(tree.at("new")); // without the bits "set user id" and "set group id"
    EXPECT_TRUE(copyFile("/proc/self/status", tree.at("new").c_str())) << "a file whose size reads as 0";
    EXPECT_NE("", contentOf(tree.at("new")));
    for (const char* path : {"", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(copyFile(path, path) || moveFile(tree.at("file").c_str(), path));
}

TEST(FileTransferTest, AStrangersLinkInASharedDirectoryIsNotFollowed)
{
    if (const char* const why = CPrivateSession::whyNoOtherUser())
        GTEST_SKIP() << why;
    const CTree tree;
    const fs::path link = tree.at("directory") / "link";
    fs::create_symlink("../old", link);
    for (const auto& [mode, owner, followed] :
         {std::tuple{01777, 65534, false}, {01777, 0, true}, {0777, 65534, true}}) {
        SCOPED_TRACE(std::to_string(mode) + " " + std::to_string(owner));
        write(tree.at("old"), "old");
        chmod(tree.at("directory").c_str(), static_cast<mode_t>(mode));
        ASSERT_EQ(0, lchown(link.c_str(), static_cast<uid_t>(owner), 0));
        EXPECT_EQ(followed, copyFile(tree.at("file").c_str(), link.c_str()));
        EXPECT_EQ(followed ? CTree::content() : "old", contentOf(tree.at("old")));
    }
}

TEST(BrowsersTest, AreFoundOncePreparedAndLeftAsTheyWere)
{
    const fs::path root = fs::path(std::getenv("HOME")) / "browsers";
    write(root / "b" / "firefox-bin", "");
    write(root / "a" / "deep" / "mozilla-bin", "");
    for (const char* installation : {"b", "a/deep"})
        fs::create_symlink("/bin/sh", root / installation / "regxpcom");
    write(root / "plain" / "netscape-bin", "");
    write(root / "plain" / "regxpcom", "");
    write(root / "broken" / "netscape-bin", "");
    fs::create_symlink("missing", root / "broken" / "regxpcom");
    write(root / "none" / "firefox", "");
    fs::create_directory_symlink("..", root / "a" / "cycle");
    EXPECT_EQ(root.native() + "/a/deep/mozilla-bin\n" + root.native() + "/b/firefox-bin",
              getAllBrowsers(root.c_str()));
    EXPECT_EQ("", getAllBrowsers((root / "none").c_str()));
    EXPECT_EQ("", getAllBrowsers(nullptr));

    const fs::path browser = root / "b";
    const fs::path preferences = browser / "defaults" / "pref";
    EXPECT_FALSE(MozillaEnable(browser.c_str())) << "no directory for preferences";
    write(preferences / "own.js", "pref(\"a\", 1);\n");
    for (int round = 0; round < 2; ++round)
        EXPECT_TRUE(MozillaEnable(browser.c_str()));
    EXPECT_EQ(2, std::distance(fs::directory_iterator(preferences), {}));
    for (int round = 0; round < 2; ++round)
        EXPECT_TRUE(MozillaDisable(browser.c_str()));
    EXPECT_EQ(1, std::distance(fs::directory_iterator(preferences), {}));
    EXPECT_EQ("pref(\"a\", 1);\n", contentOf(preferences / "own.js"));
    for (const char* nothing : {"/nowhere", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(MozillaEnable(nothing) || MozillaDisable(nothing));
}
} // namespace
