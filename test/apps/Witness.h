/// What a program under test says of itself, to be compared with what it says when nobody is inside.
#pragma once

#include <clocale>
#include <csetjmp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <X11/Xlib.h>

/// Prints "ready"; on SIGUSR1 the descriptor of `begin` becomes readable, and the toolkit's loop calls
/// `report`, which prints and exits with 7. Lines that start with "agent: " are for programs with an agent.
namespace Witness {
inline int s_pipe[2];
inline int s_errors = 0;
inline sigjmp_buf s_afterFault;

inline void onUsr1(int)
{
    [[maybe_unused]] const auto told = write(s_pipe[1], "", 1);
}
inline void onFault(int signal, siginfo_t* info, void*)
{
    siglongjmp(s_afterFault, signal * 10 + (info->si_code > 0));
}
inline int onXError(Display*, XErrorEvent*)
{
    return ++s_errors;
}

inline void handle(int signal, void (*handler)(int, siginfo_t*, void*))
{
    struct sigaction action {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO;
    sigaction(signal, &action, nullptr);
}

/// Call when the toolkit is up. @return the descriptor to watch
inline int begin()
{
    if (pipe(s_pipe) != 0)
        std::exit(1);
    std::signal(SIGUSR1, onUsr1);
    std::signal(SIGPIPE, SIG_IGN);
    handle(SIGBUS, onFault);
    std::puts("ready");
    std::fflush(stdout);
    return s_pipe[0];
}

/// All but the real-time signals, of which a JVM takes two.
inline void printSignals()
{
    for (int signal = 1; signal < SIGSYS; ++signal) {
        struct sigaction action {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_DFL)
            std::printf("signal %d: %s, flags %x\n", signal,
                        action.sa_handler == SIG_IGN ? "ignored" : "handled",
                        static_cast<unsigned>(action.sa_flags) & ~0x04000000u);
    }
    sigset_t mask;
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    for (int signal = 1; signal < NSIG; ++signal)
        if (sigismember(&mask, signal) == 1)
            std::printf("signal %d: blocked\n", signal);
}

/// Has the program's handler called. @return 10 times what it got, plus 1 for a fault, which nobody sent
[[gnu::noinline, gnu::no_sanitize("address", "undefined")]] inline int caught(int signal, bool isFault)
{
    const int got = sigsetjmp(s_afterFault, 1);
    if (got == 0 && isFault)
        *static_cast<volatile int*>(nullptr) = 1; // NOLINT: the fault is what it is for
    if (got == 0)
        raise(signal);
    return got;
}

/// Handlers of faults get what is theirs, those set before and those set after a JVM has come.
inline void printFaults()
{
    handle(SIGSEGV, onFault);
    std::printf("caught %d %d %d\n", caught(SIGBUS, false), caught(SIGSEGV, false), caught(SIGSEGV, true));
    std::signal(SIGSEGV, SIG_DFL);
}

inline void printProcess()
{
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    const mode_t mask = umask(0);
    umask(mask);
    char directory[4096];
    std::string name;
    std::getline(std::ifstream("/proc/self/comm"), name);
    std::printf("%s in %s, umask %o, %lu files, locale %s, 1.5 is %s\n", name.c_str(),
                getcwd(directory, sizeof directory), mask, static_cast<unsigned long>(files.rlim_cur),
                std::setlocale(LC_ALL, nullptr), std::to_string(1.5).c_str());
    std::fflush(stdout);
    const int status = std::system("env | sort");
    std::printf("child ended with %d\n", status);
}

inline void printErrors(Display* display)
{
    const bool wasOurs = XSetErrorHandler(onXError) == onXError;
    XDestroyWindow(display, 1);
    XSync(display, False);
    std::printf("X error handler %s, called %d times\n", wasOurs ? "still there" : "is another", s_errors);
}

/// Whether the library sees the display as the application's.
inline void printAgent(Display* display)
{
    void* const library = dlopen("libgxsys.so", RTLD_LAZY | RTLD_NOLOAD);
    auto** const known = library ? static_cast<Display**>(dlsym(library, "gx_app_display")) : nullptr;
    if (known)
        std::printf("agent: application display %s\n", *known == display ? "known"
                                                       : *known          ? "is another"
                                                                         : "unknown");
}

/// @param display  the toolkit's
inline void report(Display* display)
{
    printSignals();
    printFaults();
    printProcess();
    printErrors(display);
    printAgent(display);
    std::atexit([] { std::puts("at exit"); });
    std::exit(7);
}
} // namespace Witness
