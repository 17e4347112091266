// Loading the library, each time in a new process, against loading its dependencies alone. The library also
// opens its connections to the X server then, of which the second figure allows for one, the third for all.
#include "Compare.h"
#include "session/Program.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {
double secondsToLoad(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), GX_LOADER);
    CProgram loader(arguments);
    const auto nanoseconds = loader.line();
    if (!nanoseconds || loader.wait() != 0)
        throw std::runtime_error("the loader failed");
    return std::stod(*nanoseconds) / 1e9;
}

/// What the library names as needed, in its order.
std::vector<std::string> dependencies()
{
    CProgram objdump({"objdump", "-p", GX_LIBRARY});
    std::vector<std::string> names;
    while (const auto line = objdump.line())
        if (const auto at = line->find("NEEDED"); at != std::string::npos)
            names.push_back(line->substr(line->find_first_not_of(' ', at + 6)));
    return names;
}

void compareLoads(benchmark::State& state, const std::vector<std::string>& peer)
{
    std::vector<double> ours;
    std::vector<double> theirs;
    for (auto _ : state) {
        ours.push_back(secondsToLoad({GX_LIBRARY}));
        theirs.push_back(secondsToLoad(peer));
        state.SetIterationTime(ours.back() + theirs.back());
    }
    state.counters["ours_us"] = medianOf(ours) * 1e6;
    state.counters["peer_us"] = medianOf(theirs) * 1e6;
    state.counters["ratio"] = medianOf(ours) / medianOf(theirs);
}

void libraryAgainstItsDependencies(benchmark::State& state)
{
    compareLoads(state, dependencies());
}

void libraryAgainstItsDependenciesAndConnections(benchmark::State& state)
{
    auto peer = dependencies();
    peer.insert(peer.begin(), static_cast<size_t>(state.range(0)), "--connect");
    compareLoads(state, peer);
}
BENCHMARK(libraryAgainstItsDependencies)->UseManualTime()->Iterations(200);
BENCHMARK(libraryAgainstItsDependenciesAndConnections)->Arg(1)->Arg(3)->UseManualTime()->Iterations(200);
} // namespace
