#include "ChildProcess.h"
#include "session/PrivateSession.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <grp.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <X11/Xlib.h>

namespace {
/// Whether a process gets to the X server of the session, with the cookie where it may read that.
bool connects()
{
    Display* const display = XOpenDisplay(nullptr);
    if (display)
        XCloseDisplay(display);
    return display;
}

TEST(PrivateSessionTest, KeepsTheCookieOfItsXServerToItsUser)
{
    const std::string cookie = getenv("XAUTHORITY");
    struct stat status {};
    ASSERT_EQ(0, stat(cookie.c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777);
    EXPECT_EQ(geteuid(), status.st_uid);
    EXPECT_TRUE(connects());
    setenv("XAUTHORITY", "/dev/null", 1);
    EXPECT_FALSE(connects()) << "not even its user without the cookie";
    setenv("XAUTHORITY", cookie.c_str(), 1);
}

TEST(PrivateSessionTest, LetsNoOtherUserConnect)
{
    if (const char* const why = CPrivateSession::whyNoOtherUser())
        GTEST_SKIP() << why;
    CChildProcess other([](CChildProcess&) {
        constexpr uid_t Nobody = 65534;
        EXPECT_TRUE(setgroups(0, nullptr) == 0 && setgid(Nobody) == 0 && setuid(Nobody) == 0);
        EXPECT_FALSE(connects());
        unsetenv("XAUTHORITY");
        EXPECT_FALSE(connects());
    });
    EXPECT_EQ(0, other.join());
}
} // namespace
