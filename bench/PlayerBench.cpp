// Processor time of a player that waits for the hot keys, against a bare loop over a connection of its own
// that looks for events every millisecond, each for as long as the other.
#include "Compare.h"
#include "unix/input/Player.h"

#include <ctime>
#include <thread>

#include <X11/Xlib.h>

namespace {
using namespace std::chrono_literals;
constexpr auto wait = 500ms;

/// Seconds of processor time that the calling thread spends on `operation`.
template <class Operation> double processorSecondsOf(Operation&& operation)
{
    const auto now = [] {
        timespec time;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    };
    const double start = now();
    operation();
    return now() - start;
}

double idlePlayer()
{
    Player::get().start();
    std::thread end([] {
        std::this_thread::sleep_for(wait);
        Player::get().end();
    });
    const double seconds = processorSecondsOf([] { Player::get().getNextEvent(); });
    end.join();
    return seconds;
}

double bareLoop(Display* display)
{
    const auto end = std::chrono::steady_clock::now() + wait;
    return processorSecondsOf([&] {
        while (std::chrono::steady_clock::now() < end) {
            timespec pause{0, 1000000};
            if (XPending(display) == 0)
                nanosleep(&pause, nullptr);
        }
    });
}

void idle(benchmark::State& state)
{
    Display* const display = XOpenDisplay(nullptr);
    std::vector<double> ours;
    std::vector<double> peer;
    for (auto _ : state) {
        ours.push_back(idlePlayer());
        peer.push_back(bareLoop(display));
        state.SetIterationTime(ours.back() + peer.back());
    }
    XCloseDisplay(display);
    constexpr double perSecond = 1e3 / std::chrono::duration<double>(wait).count();
    state.counters["ours_ms_a_second"] = medianOf(ours) * perSecond;
    state.counters["peer_ms_a_second"] = medianOf(peer) * perSecond;
    state.counters["ratio"] = medianOf(ours) / medianOf(peer);
}
BENCHMARK(idle)->UseManualTime()->Iterations(15);
} // namespace
