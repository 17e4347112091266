// Starting a program beside posix_spawn.
#include "Compare.h"
#include "unix/process/OperatingSystem.h"
#include "unix/process/ProcessStart.h"

#include <csignal>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
void spawnTrue()
{
    char sh[] = "/bin/sh", option[] = "-c", text[] = "exec /bin/true";
    char* const arguments[] = {sh, option, text, nullptr};
    pid_t pid = -1;
    posix_spawn(&pid, sh, nullptr, nullptr, arguments, environ);
    waitpid(pid, nullptr, 0);
}

void startTrue()
{
    std::string error;
    COperatingSystem::wait(CProcessStart{"/bin/true"}.start(error));
}

/// @param state  the argument is the memory in use, in MiB: what fork would have to copy the tables of
void execAndWait(benchmark::State& state)
{
    const size_t size = static_cast<size_t>(state.range(0)) << 20;
    void* memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    compare(state, startTrue, [] {
        signal(SIGCHLD, SIG_DFL);
        spawnTrue();
    });
    munmap(memory, size);
}
BENCHMARK(execAndWait)->ArgName("MiB")->Arg(1)->Arg(256)->Iterations(300)->UseManualTime();
} // namespace
