// Starting programs under gxrun, against their bare starts: a program without windows until it has ended, the
// others until their first window is up. The JVM comes after that, when the main loop has nothing better to
// do.
#include "Compare.h"
#include "session/Program.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <X11/Xlib.h>

namespace {
/// Sees the windows that come up on the display.
class CWindowWatch {
public:
    CWindowWatch() : m_display(XOpenDisplay(nullptr))
    {
        if (!m_display)
            throw std::runtime_error("no display");
        XSelectInput(m_display, DefaultRootWindow(m_display), SubstructureNotifyMask);
        XSync(m_display, True);
    }
    ~CWindowWatch() { XCloseDisplay(m_display); }
    CWindowWatch(const CWindowWatch&) = delete;

    void waitForWindow()
    {
        XEvent event;
        do
            XNextEvent(m_display, &event);
        while (event.type != MapNotify || event.xmap.override_redirect);
    }

private:
    Display* m_display;
};

void runToItsEnd(const std::vector<std::string>& command)
{
    if (CProgram(command).wait() != 0)
        throw std::runtime_error(command.back() + " failed");
}

void runToItsWindow(const std::vector<std::string>& command)
{
    CWindowWatch watch;
    const CProgram program(command); // that it is killed at the end counts on both sides
    watch.waitForWindow();
}

void startAndEnd(benchmark::State& state)
{
    compare(
        state,
        [] {
            runToItsEnd({GX_GXRUN, "true"});
        },
        [] { runToItsEnd({"true"}); });
}

void untilTheFirstWindow(benchmark::State& state, const char* program)
{
    compare(
        state,
        [=] {
            runToItsWindow({GX_GXRUN, program});
        },
        [=] { runToItsWindow({program}); });
}
BENCHMARK(startAndEnd)->UseManualTime()->Iterations(200);
BENCHMARK_CAPTURE(untilTheFirstWindow, motif, "nedit")->UseManualTime()->Iterations(30);
BENCHMARK_CAPTURE(untilTheFirstWindow, gtk2, "gtk-demo")->UseManualTime()->Iterations(30);
BENCHMARK_CAPTURE(untilTheFirstWindow, gtk3, "gtk3-demo")->UseManualTime()->Iterations(30);
} // namespace
