/// Ratios of two measured operations in one run.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

/// Seconds that one call of `operation` takes.
template <class Operation> double secondsOf(Operation&& operation)
{
    const auto start = std::chrono::steady_clock::now();
    operation();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double medianOf(std::vector<double> values)
{
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Runs `ours` and `peer` in turn, so that a busy machine slows both, and reports the counters "ratio" (median
/// of ours over median of the peer's), "ours_us" and "peer_us" (medians, microseconds a call).
/// @param batch  how often each is called between two readings of the clock; raise it for operations that are
///               shorter than a microsecond
template <class Ours, class Peer>
void compare(benchmark::State& state, Ours&& ours, Peer&& peer, int batch = 1)
{
    std::vector<double> oursSeconds;
    std::vector<double> peerSeconds;
    for (auto _ : state) {
        oursSeconds.push_back(secondsOf([&] {
                                  for (int i = 0; i < batch; ++i)
                                      ours();
                              }) /
                              batch);
        peerSeconds.push_back(secondsOf([&] {
                                  for (int i = 0; i < batch; ++i)
                                      peer();
                              }) /
                              batch);
        state.SetIterationTime((oursSeconds.back() + peerSeconds.back()) * batch);
    }
    const double oursMedian = medianOf(oursSeconds);
    const double peerMedian = medianOf(peerSeconds);
    state.counters["ours_us"] = oursMedian * 1e6;
    state.counters["peer_us"] = peerMedian * 1e6;
    state.counters["ratio"] = peerMedian > 0 ? oursMedian / peerMedian : 0;
}
