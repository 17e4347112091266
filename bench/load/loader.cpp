// loader [--connect ...] library...: loads the libraries in turn, in a process that has nothing of them yet,
// and prints the nanoseconds that took. For each --connect it then opens a connection to the X server, of
// which libgxsys.so has three.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>

int main(int argc, char** argv)
{
    int connections = 0;
    while (connections + 1 < argc && std::strcmp(argv[connections + 1], "--connect") == 0)
        ++connections;
    const auto start = std::chrono::steady_clock::now();
    for (int i = connections + 1; i < argc; ++i)
        if (!dlopen(argv[i], RTLD_LAZY | RTLD_GLOBAL)) {
            std::fprintf(stderr, "%s\n", dlerror());
            return 1;
        }
    for (; connections > 0; --connections) {
        const auto open = reinterpret_cast<void* (*)(const char*)>(dlsym(RTLD_DEFAULT, "XOpenDisplay"));
        if (!open || !open(nullptr))
            return 1;
    }
    const std::chrono::nanoseconds took = std::chrono::steady_clock::now() - start;
    std::printf("%lld\n", static_cast<long long>(took.count()));
    return 0;
}
