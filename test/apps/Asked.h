/// What the applications have in common that an engine asks: it sees on their output what was chosen, and can
/// tell them on their input to be bad.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <csignal>
#include <cstring>
#include <unistd.h>

inline void say(const char* what, const char* text)
{
    std::printf("%s %s\n", what, text);
    std::fflush(stdout);
}

/// Follows an order on the standard input: "hang <ms>" keeps the GUI thread busy, "exit <status>", "crash".
inline void obey()
{
    char order[64] = "";
    if (read(STDIN_FILENO, order, sizeof order - 1) <= 0)
        std::exit(0);
    int number = 0;
    if (std::sscanf(order, "hang %d", &number) == 1) {
        say("hangs", "");
        usleep(static_cast<useconds_t>(number) * 1000);
    } else if (std::sscanf(order, "exit %d", &number) == 1) {
        std::exit(number);
    } else if (std::strncmp(order, "crash", 5) == 0) {
        raise(SIGKILL);
    }
}
