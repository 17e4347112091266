#include "agent/GuestHooks.h"
#include "agent/RealFunction.h"

#include <cstdio>
#include <cstring>

namespace {
constinit CRealFunction<char*(const char*)> s_getenv{"getenv"};

char* spareSignalText()
{
    static char s_text[8];
    std::snprintf(s_text, sizeof s_text, "%d", CGuest::spareSignal());
    return s_text;
}
} // namespace

extern "C" GX_HOOK char* getenv(const char* name) noexcept
{
    if (!CGuest::isHere())
        return s_getenv(name);
    for (const char* const hidden : {"JAVA_TOOL_OPTIONS", "_JAVA_OPTIONS", "JDK_JAVA_OPTIONS"})
        if (std::strcmp(name, hidden) == 0)
            return nullptr;
    return std::strcmp(name, "_JAVA_SR_SIGNUM") == 0 ? spareSignalText() : s_getenv(name);
}
