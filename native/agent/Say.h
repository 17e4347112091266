/// The one line that a failure of the agent may cost the program.
#pragma once

#include <cstdarg>
#include <cstdio>

[[gnu::format(printf, 1, 2)]] inline void say(const char* format, ...)
{
    char text[1024];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    dprintf(2, "gxagent: %s: the program runs on without an agent\n", text);
}
