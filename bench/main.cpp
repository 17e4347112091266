#include "session/PrivateSession.h"

#include <benchmark/benchmark.h>

// Every benchmark runs in a private session, like the tests: nothing of the user's desktop takes part. Segments are
// left behind where two copies of the library in one process take each other for a process that still needs them, and
// where a JVM is killed.
int main(int argc, char** argv)
{
    CPrivateSession::ensure(argc, argv, true);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
