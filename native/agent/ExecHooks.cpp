// The ways to replace a process by another program; see CAgentVariables::exec. What the C library starts
// children with is another matter: a child has nothing to inherit but the environment that the program sees.
// See SpawnHooks.cpp for programs with other rights; the shell of system and popen has those of its caller.
#include "agent/AgentVariables.h"
#include "agent/OtherRights.h"
#include "agent/RealFunction.h"

#include <cstdarg>
#include <unistd.h>

namespace {
using Strings = char* const*;
constinit CRealFunction<int(const char*, Strings, Strings)> s_execve{"execve"};
constinit CRealFunction<int(const char*, Strings, Strings)> s_execvpe{"execvpe"};
constinit CRealFunction<int(int, Strings, Strings)> s_fexecve{"fexecve"};

/// Before main: between fork and exec nothing may be looked up.
[[gnu::constructor]] void lookUpReal()
{
    s_execve.find();
    s_execvpe.find();
    s_fexecve.find();
}

int execute(const char* path, Strings arguments, Strings environment)
{
    return CAgentVariables::exec(environment, OtherRights::ofFile(path),
                                 [&](Strings whole) { return s_execve(path, arguments, whole); });
}

int executeInPath(const char* file, Strings arguments, Strings environment)
{
    return CAgentVariables::exec(environment, OtherRights::inPath(file),
                                 [&](Strings whole) { return s_execvpe(file, arguments, whole); });
}

/// Calls `exec(arguments, environment)` with what an argument list of the form "arg, ..., NULL[,
/// environment]" holds.
template <class Exec> int withList(const char* first, va_list list, bool hasEnvironment, Exec&& exec)
{
    va_list counted;
    va_copy(counted, list);
    size_t count = 1;
    while (va_arg(counted, char*))
        ++count;
    va_end(counted);
    char** const arguments = static_cast<char**>(__builtin_alloca((count + 1) * sizeof(char*)));
    arguments[0] = const_cast<char*>(first);
    for (size_t index = 1; index <= count; ++index)
        arguments[index] = va_arg(list, char*);
    return exec(arguments, hasEnvironment ? va_arg(list, Strings) : environ);
}
} // namespace

extern "C" {
GX_HOOK int execve(const char* path, Strings arguments, Strings environment) noexcept
{
    return execute(path, arguments, environment);
}

GX_HOOK int execv(const char* path, Strings arguments) noexcept
{
    return execute(path, arguments, environ);
}

GX_HOOK int execvp(const char* file, Strings arguments) noexcept
{
    return executeInPath(file, arguments, environ);
}

GX_HOOK int execvpe(const char* file, Strings arguments, Strings environment) noexcept
{
    return executeInPath(file, arguments, environment);
}

GX_HOOK int fexecve(int descriptor, Strings arguments, Strings environment) noexcept
{
    return CAgentVariables::exec(environment, OtherRights::ofDescriptor(descriptor),
                                 [&](Strings whole) { return s_fexecve(descriptor, arguments, whole); });
}

GX_HOOK int execl(const char* path, const char* first, ...) noexcept
{
    va_list list;
    va_start(list, first);
    const int answer = withList(first, list, false, [&](Strings arguments, Strings environment) {
        return execute(path, arguments, environment);
    });
    va_end(list);
    return answer;
}

GX_HOOK int execle(const char* path, const char* first, ...) noexcept
{
    va_list list;
    va_start(list, first);
    const int answer = withList(first, list, true, [&](Strings arguments, Strings environment) {
        return execute(path, arguments, environment);
    });
    va_end(list);
    return answer;
}

GX_HOOK int execlp(const char* file, const char* first, ...) noexcept
{
    va_list list;
    va_start(list, first);
    const int answer = withList(first, list, false, [&](Strings arguments, Strings environment) {
        return executeInPath(file, arguments, environment);
    });
    va_end(list);
    return answer;
}
}
