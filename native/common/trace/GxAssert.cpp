#include "common/trace/GxAssert.h"

#include <cstdio>
#include <cstdlib>

void gxAssertFailed(const char* text, const char* file, int line) noexcept
{
    std::fprintf(stderr, "%s:%d: Assertion failed: %s\n", file, line, text);
    std::abort();
}
