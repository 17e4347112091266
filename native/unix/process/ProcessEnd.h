/// What is to be done when the process ends.
#pragma once

#include <cstdlib>
#include <unistd.h>

/// Has `handler` called when the process exits, and when the library is unloaded. Not when a forked child
/// exits, as one does whose exec has failed: connections to servers are the parent's, who goes on using them,
/// and no thread that a handler could wait for lives in the child.
/// @return whether there was room for it
template <void (*handler)()> bool atProcessEnd()
{
    static pid_t s_process;
    s_process = getpid();
    return std::atexit([] {
               if (getpid() == s_process)
                   handler();
           }) == 0;
}
