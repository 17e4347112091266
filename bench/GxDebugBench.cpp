// Log lines against what any writer of whole lines has to do: open for appending, lock, write, close.
#include "Compare.h"
#include "common/trace/GxDebug.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr int lines = 1000;
const std::string home = std::getenv("HOME");

void appendLine(const std::string& path)
{
    FILE* const file = std::fopen(path.c_str(), "a");
    flockfile(file);
    std::fputs("2026-10-24/21:47:19.000,\t  24920:[pthread=-299190464],\tERROR,\tNative,\tline 123 of the "
               "benchmark\r\n",
               file);
    std::fflush(file);
    funlockfile(file);
    std::fclose(file);
}

void logLine()
{
    GenericNative.log(5, "line %d of the benchmark", 123);
}

/// A log line goes to two files.
void appendTwice()
{
    appendLine(home + "/peer.txt");
    appendLine(home + "/peer2.txt");
}

void logLines(benchmark::State& state)
{
    compare(state, logLine, appendTwice, lines);
}
BENCHMARK(logLines)->UseManualTime()->Unit(benchmark::kMillisecond);

/// Processes that write to the same files at once, each so many lines.
void writeAtOnce(long writers, void (*write)())
{
    for (long writer = 0; writer < writers; ++writer)
        if (fork() == 0) {
            for (int line = 0; line < lines; ++line)
                write();
            _exit(0);
        }
    while (wait(nullptr) > 0) {
    }
}

void logLinesOfManyWriters(benchmark::State& state)
{
    const auto writers = state.range(0);
    compare(
        state, [=] { writeAtOnce(writers, logLine); }, [=] { writeAtOnce(writers, appendTwice); });
}
BENCHMARK(logLinesOfManyWriters)
    ->ArgName("writers")
    ->Arg(1)
    ->Arg(4)
    ->Arg(16)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void traceLines(benchmark::State& state)
{
    GxDebug::TraceSetEnabled(true);
    compare(
        state, [] { GenericNative.Error("line %d of the benchmark", 123); },
        [] { appendLine(home + "/peer.txt"); }, lines);
    GxDebug::TraceSetEnabled(false);
}
BENCHMARK(traceLines)->UseManualTime()->Unit(benchmark::kMillisecond);

/// A message that its component's filter drops, against formatting it.
void filteredMessages(benchmark::State& state)
{
    GxDebug::TraceSetEnabled(true);
    compare(
        state, [] { GenericNative.Verbose("line %d of the benchmark", 123); },
        [] {
            char text[512];
            std::snprintf(text, sizeof text, "line %d of the benchmark", 123);
            benchmark::DoNotOptimize(text);
        },
        lines);
    GxDebug::TraceSetEnabled(false);
}
BENCHMARK(filteredMessages)->UseManualTime();
} // namespace
