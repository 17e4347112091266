/// The one line on standard error that a failure of the agent may cost the program.
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
    dprintf(2, "gxagent: %s\n", text);
}
