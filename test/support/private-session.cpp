// private-session -- command ...: runs a command on a display, in an IPC namespace and with a home
// directory of its own.
#include "PrivateSession.h"

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    int first = 1;
    if (first < argc && std::strcmp(argv[first], "--") == 0)
        ++first;
    if (first >= argc) {
        std::fprintf(stderr, "usage: private-session -- command ...\n");
        return 2;
    }
    return CPrivateSession::run({ argv + first, argv + argc });
}
