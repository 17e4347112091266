// private-session [--screen WIDTHxHEIGHTxDEPTH] [--may-leave] -- command ...: runs a command on a display, in
// an IPC namespace and with a home directory of its own; --may-leave when the command may leave System V
// objects behind. private-session --environment: says what it finds for that on this machine.
#include "PrivateSession.h"

#include <cstdio>
#include <cstring>

namespace {
int usage()
{
    std::fprintf(stderr, "usage: private-session [--screen WIDTHxHEIGHTxDEPTH] [--may-leave] -- command ...\n"
                         "       private-session --environment\n");
    return 2;
}
} // namespace

int main(int argc, char** argv)
{
    CPrivateSession::COptions options;
    int at = 1;
    for (; at < argc && std::strncmp(argv[at], "--", 2) == 0 && argv[at][2]; ++at) {
        const std::string option = argv[at];
        if (option == "--environment")
            return std::printf("%s\n", CPrivateSession::environment().c_str()) < 0;
        if (option == "--may-leave")
            options.mayLeave = true;
        else if (option == "--screen" && at + 1 < argc)
            options.screen = argv[++at];
        else
            return usage();
    }
    if (at < argc && std::strcmp(argv[at], "--") == 0)
        ++at;
    return at < argc ? CPrivateSession::run({argv + at, argv + argc}, options) : usage();
}
