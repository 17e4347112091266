// Each finding of gx doctor, by what really brings it about.
#include "ChildProcess.h"
#include "Command.h"
#include "include/SpyHeap.h"
#include "session/PrivateSession.h"

#include <gmock/gmock.h>

#include <fstream>
#include <optional>

#include <X11/Xlib.h>
#include <X11/keysym.h>

using testing::ContainsRegex;

namespace {
struct CCause {
    const char* name;    ///< of the finding
    const char* state;   ///< that it comes to
    const char* says;    ///< a regular expression
    const char* command; ///< that runs gx doctor where the cause is
    const char* probe;   ///< fails where that cannot be set up; null for what always can
};

/// Displays that lack something, beside the session's own.
class GxDoctorTest : public testing::TestWithParam<CCause> {
protected:
    static void SetUpTestSuite()
    {
        s_manager.emplace();
        s_bare.emplace(std::vector<std::string>{"-extension", "XTEST", "-extension", "X-Resource"});
        s_other.emplace();
        setenv("BARE", s_bare->name().c_str(), 1);
        setenv("OTHER", s_other->name().c_str(), 1);
        s_display = XOpenDisplay(s_other->name().c_str());
        XGrabKey(s_display, XKeysymToKeycode(s_display, XK_F7), 0, DefaultRootWindow(s_display), True,
                 GrabModeAsync, GrabModeAsync);
        XSync(s_display, False);
        const std::string home = getenv("HOME");
        std::ofstream(home + "/nofonts.conf") << "<?xml version=\"1.0\"?><fontconfig/>";
        CCommand(
            "mkdir -p jdk/bin; printf '#!/bin/sh\\n' > jdk/bin/java; chmod +x jdk/bin/java; echo 'JAVA_VERSION=\"11.0.2\"' > jdk/release");
    }
    static void TearDownTestSuite()
    {
        XCloseDisplay(s_display);
        s_manager.reset();
        s_bare.reset();
        s_other.reset();
    }
    static std::string lineOf(const std::string& output, const std::string& name)
    {
        const size_t at = output.find(" " + name + " ");
        const size_t start = at == std::string::npos ? at : output.rfind('\n', at) + 1;
        return start == std::string::npos ? output : output.substr(start, output.find('\n', at) - start);
    }

    static std::optional<CManager> s_manager;
    static std::optional<CXvfb> s_bare, s_other;
    static Display* s_display;
};
std::optional<CManager> GxDoctorTest::s_manager;
std::optional<CXvfb> GxDoctorTest::s_bare, GxDoctorTest::s_other;
Display* GxDoctorTest::s_display = nullptr;

TEST_P(GxDoctorTest, TellsWhatIsWrong)
{
    const CCause& cause = GetParam();
    if (cause.probe && CCommand(cause.probe).status != 0)
        GTEST_SKIP() << "cannot be set up here: " << cause.probe;
    const CCommand doctor(cause.command);
    EXPECT_THAT(lineOf(doctor.output, cause.name),
                ContainsRegex("^" + std::string(cause.state) + " +" + cause.name + " .*" + cause.says));
    EXPECT_EQ(std::string(cause.state) == "stops" ? 1 : 0, doctor.status) << doctor.output;
    EXPECT_THAT(lineOf(CCommand("gx doctor").output, cause.name), testing::Not(ContainsRegex(cause.says)))
        << "it is so without the cause";
}

INSTANTIATE_TEST_SUITE_P(
    Findings, GxDoctorTest,
    testing::Values(
        CCause{"display", "stops", "DISPLAY is not set", "env -u DISPLAY gx doctor", nullptr},
        CCause{"server", "stops", "DISPLAY=:4711 does not run here \\(No such file",
               "DISPLAY=:4711 gx doctor", nullptr},
        CCause{"server", "stops", "refuses this user", "XAUTHORITY=/nosuch gx doctor", nullptr},
        CCause{"xtest", "stops", "has no XTEST", "DISPLAY=$BARE gx doctor", nullptr},
        CCause{"process-ids", "disturbs", "does not say whose", "DISPLAY=$BARE gx doctor || [ $? -eq 1 ]",
               nullptr},
        CCause{"wayland", "disturbs", "WAYLAND_DISPLAY=wayland-0", "WAYLAND_DISPLAY=wayland-0 gx doctor",
               nullptr},
        CCause{"wayland", "disturbs", "XDG_SESSION_TYPE=wayland",
               "GX_PRIVATE_SESSION= XDG_SESSION_TYPE=wayland gx doctor", nullptr},
        CCause{"window-manager", "disturbs", "nobody manages", "DISPLAY=$OTHER gx doctor", nullptr},
        CCause{"input-method", "disturbs", "XMODIFIERS=@im=ibus", "XMODIFIERS=@im=ibus gx doctor", nullptr},
        CCause{"input-method", "disturbs", "GTK_IM_MODULE=fcitx", "GTK_IM_MODULE=fcitx gx doctor", nullptr},
        CCause{"key-grabs", "disturbs", "BadAccess to X_GrabKey.*taken F7\\)", "DISPLAY=$OTHER gx doctor",
               nullptr},
        CCause{"keyboards", "disturbs", "different layouts.*Xvfb keyboard",
               "DISPLAY=$OTHER setxkbmap -device 7 de && DISPLAY=$OTHER gx doctor", nullptr},
        CCause{
            "ipc-limits", "stops", "kernel.shmmni is 2",
            "unshare $([ $(id -u) = 0 ] || echo -r) --ipc sh -c 'echo 2 > /proc/sys/kernel/shmmni; gx doctor'",
            "unshare $([ $(id -u) = 0 ] || echo -r) --ipc sh -c 'echo 2 > /proc/sys/kernel/shmmni'"},
        CCause{
            "ipc-limits", "stops", "semaphores of a set\\) is 8",
            "unshare $([ $(id -u) = 0 ] || echo -r) --ipc sh -c 'echo 8 32000 32 128 > /proc/sys/kernel/sem; gx doctor'",
            "unshare $([ $(id -u) = 0 ] || echo -r) --ipc sh -c 'echo 8 32000 32 128 > /proc/sys/kernel/sem'"},
        CCause{
            "java", "stops", "have none",
            "unshare -rm sh -c 'mount -t tmpfs none /usr/lib/jvm; JAVA_HOME= PATH=$(dirname $(command -v gx)) gx doctor'",
            "unshare -rm mount -t tmpfs none /usr/lib/jvm"},
        CCause{"java-in-path", "disturbs", "there is only /usr",
               "JAVA_HOME= PATH=$(dirname $(command -v gx)) gx doctor",
               "test -x /usr/lib/jvm/default-java/bin/java"},
        CCause{"java-version", "stops", "jdk/bin/java is Java 11", "JAVA_HOME=$HOME/jdk gx doctor", nullptr},
        CCause{"namespaces", "disturbs", "neither an IPC namespace",
               "unshare -r sh -c 'echo 0 > /proc/sys/user/max_ipc_namespaces; gx doctor'",
               "unshare -r sh -c 'echo 0 > /proc/sys/user/max_ipc_namespaces'"},
        CCause{"fonts", "stops", "no font", "FONTCONFIG_FILE=$HOME/nofonts.conf gx doctor", nullptr}),
    [](const auto& info) {
        std::string name = info.param.name + std::to_string(info.index);
        std::erase(name, '-');
        return name;
    });

TEST_F(GxDoctorTest, TellsOfAGrabbedKeyboardAndOfLeavings)
{
    ASSERT_EQ(GrabSuccess, XGrabKeyboard(s_display, DefaultRootWindow(s_display), True, GrabModeAsync,
                                         GrabModeAsync, CurrentTime));
    XSync(s_display, False);
    EXPECT_THAT(CCommand("DISPLAY=$OTHER gx doctor").output,
                ContainsRegex("disturbs +key-grabs .*the whole keyboard"));
    XUngrabKeyboard(s_display, CurrentTime);
    XSync(s_display, False);
    if (const char* const why = CPrivateSession::whyNoPrivateIpc())
        GTEST_SKIP() << why;
    CChildProcess killed([](CChildProcess&) {
        CSpyHeap::getHeap(0);
        raise(SIGKILL);
    });
    EXPECT_EQ(128 + SIGKILL, killed.join());
    EXPECT_THAT(CCommand("gx doctor").output,
                ContainsRegex("disturbs +leavings .*[0-9] segments and semaphore sets of "));
    CCommand("gx store --sweep");
    EXPECT_THAT(CCommand("gx doctor").output, ContainsRegex("fine +leavings"));
}
} // namespace
