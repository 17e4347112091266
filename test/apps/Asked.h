/// What the applications have in common that an engine asks: it sees on their output what was chosen, and can
/// tell them on their input to be bad.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <csignal>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

inline void say(const char* what, const char* text)
{
    std::printf("%s %s\n", what, text);
    std::fflush(stdout);
}

/// Takes one line, and leaves what follows for the next time that there is something to read.
inline std::string nextOrder()
{
    std::string order;
    for (char letter = 0; read(STDIN_FILENO, &letter, 1) == 1 && letter != '\n';)
        order += letter;
    return order;
}

/// Follows an order on the standard input: "hang <ms>" keeps the GUI thread busy, "exit <status>", "crash",
/// "fork" starts a child that cannot become another program, "again" starts anew in the same process.
/// @param further  what to do with other orders
inline void obey(void (*further)(const std::string& order) = nullptr)
{
    const std::string line = nextOrder();
    const char* const order = line.c_str();
    if (line.empty())
        std::exit(0);
    int number = 0;
    if (std::sscanf(order, "hang %d", &number) == 1) {
        say("hangs", "");
        usleep(static_cast<useconds_t>(number) * 1000);
    } else if (std::sscanf(order, "exit %d", &number) == 1) {
        std::exit(number);
    } else if (std::strncmp(order, "crash", 5) == 0) {
        raise(SIGKILL);
    } else if (std::strncmp(order, "fork", 4) == 0) {
        const pid_t child = fork();
        if (child == 0) {
            execl("/nowhere/program", "program", nullptr);
            std::exit(1);
        }
        waitpid(child, nullptr, 0);
        say("forked", "");
    } else if (std::strncmp(order, "again", 5) == 0) {
        execl("/proc/self/exe", "asked", nullptr);
    } else if (further) {
        further(line);
    }
}
