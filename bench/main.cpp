#include "PrivateSession.h"

#include <benchmark/benchmark.h>

// Every benchmark runs in a private session, like the tests: nothing of the user's desktop takes part.
int main(int argc, char** argv)
{
    CPrivateSession::ensure(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
