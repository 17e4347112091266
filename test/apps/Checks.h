/// For programs that check the library from inside: what fails is written to standard output, and the exit
/// status says whether anything did.
#pragma once

#include <cstdio>

inline int g_failures = 0;

/// @param what  the statement that must hold
inline void check(bool holds, const char* what, int line)
{
    if (holds)
        return;
    ++g_failures;
    std::printf("line %d: not true: %s\n", line, what);
}
#define CHECK(condition) check((condition), #condition, __LINE__)

/// For the leak checker: fontconfig, which GTK uses, keeps its configuration to the end of the process.
extern "C" [[gnu::used, gnu::visibility("default")]] const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig";
}
