// `gx windows` against `xwininfo -root -tree`, which lists a display, too: whole processes, in turn, output
// thrown away. Loading what gx is linked with, and opening its connections, is told apart: that is all that
// `gx --version` takes.
#include "Compare.h"
#include "session/Program.h"

#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {
/// Windows of programs, each with four windows in it.
class CDesktop {
public:
    explicit CDesktop(int count) : m_display(XOpenDisplay(nullptr))
    {
        for (int i = 0; i < count; ++i) {
            const Window window = add(DefaultRootWindow(m_display), i);
            XClassHint hint{const_cast<char*>("bench"), const_cast<char*>("Bench")};
            XSetClassHint(m_display, window, &hint);
            XStoreName(m_display, window, ("window " + std::to_string(i)).c_str());
            for (int child = 0; child < 4; ++child)
                add(window, child);
            XMapSubwindows(m_display, window);
            XMapWindow(m_display, window);
        }
        XSync(m_display, False);
    }
    ~CDesktop() { XCloseDisplay(m_display); }
    CDesktop(const CDesktop&) = delete;

private:
    Window add(Window parent, int at)
    {
        return XCreateSimpleWindow(m_display, parent, at % 25 * 40, at / 25 * 40, 40, 40, 0, 0, 0);
    }
    Display* m_display;
};

void runToNowhere(const std::vector<std::string>& command)
{
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const pid_t process = spawn(command, nowhere);
    close(nowhere);
    int status = 0;
    waitpid(process, &status, 0);
    if (status != 0)
        throw std::runtime_error(command[0] + " failed");
}

void listOfWindows(benchmark::State& state)
{
    const CDesktop desktop(static_cast<int>(state.range(0)));
    runToNowhere({GX_COMMAND, "windows"}); // its first run in a home writes preferences
    std::vector<double> ours, load, peer;
    for (auto _ : state) {
        ours.push_back(secondsOf([] { runToNowhere({GX_COMMAND, "windows"}); }));
        peer.push_back(secondsOf([] { runToNowhere({"xwininfo", "-root", "-tree"}); }));
        load.push_back(secondsOf([] { runToNowhere({GX_COMMAND, "--version"}); }));
        state.SetIterationTime(ours.back() + peer.back() + load.back());
    }
    state.counters["ours_us"] = medianOf(ours) * 1e6;
    state.counters["load_us"] = medianOf(load) * 1e6;
    state.counters["peer_us"] = medianOf(peer) * 1e6;
    state.counters["ratio"] = (medianOf(ours) - medianOf(load)) / medianOf(peer);
    state.counters["whole_ratio"] = medianOf(ours) / medianOf(peer);
}
BENCHMARK(listOfWindows)->ArgName("windows")->Arg(5)->Arg(500)->UseManualTime()->Iterations(60);
} // namespace
