#include "unix/process/ProcessStart.h"

#include "common/trace/CRegistryInformation.h"
#include "common/trace/CTracer.h"
#include "common/trace/Environment.h"
#include "common/trace/ErrorString.h"
#include "include/ScopedFile.h"
#include "unix/process/ChildWait.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/close_range.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr int firstOwnDescriptor = 3;
constexpr int cannotExecute = 127;

bool given(const char* path)
{
    return path && *path;
}

/// What the child needs, laid out before it exists: between its birth and the shell it may call nothing but
/// the system.
struct CPlan {
    char shellText[sizeof "exec " + 1023];
    std::string libraryPath;
    std::vector<char*> environment;
    CDescriptor output;
    CDescriptor errorOutput;
    CDescriptor directory;
    bool keepFds;
    sigset_t mask;
};

struct CStartError {
    std::string text;
};

[[noreturn]] void fail(const std::string& what, int error)
{
    throw CStartError{what + ": " + CErrorString(error).text()};
}

/// Opens a file under a number that no standard descriptor has: this process may have closed some of those.
CDescriptor openForChild(const char* path, int flags)
{
    CDescriptor file(open(path, flags | O_CLOEXEC, 0666));
    if (file && file.get() < firstOwnDescriptor)
        file = CDescriptor(fcntl(file.get(), F_DUPFD_CLOEXEC, firstOwnDescriptor));
    if (!file)
        fail(std::string("cannot open ") + path, errno);
    return file;
}

/// One that this process may also enter.
CDescriptor openDirectory(const char* path)
{
    CDescriptor directory = openForChild(path, O_PATH | O_DIRECTORY);
    if (faccessat(directory.get(), ".", X_OK, 0) != 0)
        fail(std::string("cannot enter ") + path, errno);
    return directory;
}

/// A pipe that nobody reads is an error, rather than a wait without end.
CDescriptor openOutput(const char* path, bool keep)
{
    if (!given(path))
        return keep ? CDescriptor() : openForChild("/dev/null", O_WRONLY);
    CDescriptor file = openForChild(path, O_WRONLY | O_CREAT | O_APPEND | O_NOCTTY | O_NONBLOCK);
    fcntl(file.get(), F_SETFL, O_APPEND);
    return file;
}

/// The entry for the environment. Without a former value it ends with a colon, as start scripts of the
/// product expect.
std::string libraryPath(const std::string& java)
{
    std::string entry = "LD_LIBRARY_PATH=";
    for (const char* part :
         {"/bin:", "/bin/classic:", "/lib/i386:", "/lib/i386/client:", "/lib/i386/native_threads:"})
        entry += java + part;
    return entry + CEnvironment::get("LD_LIBRARY_PATH").value_or("");
}

bool isEntryOf(const char* entry, std::string_view name)
{
    return std::string_view(entry).substr(0, name.size()) == name && entry[name.size()] == '=';
}

void planEnvironment(CPlan& plan)
{
    plan.environment = CEnvironment::entries();
    std::erase_if(plan.environment, [](const char* entry) { return isEntryOf(entry, "JAVA_MAIN_VM"); });
    const std::string java =
        CRegistryInformation::firstExistingPath(CEnvironment::get("TALVERN_GX_JRE").value_or(""));
    if (!java.empty()) {
        plan.libraryPath = libraryPath(java);
        std::erase_if(plan.environment,
                      [](const char* entry) { return isEntryOf(entry, "LD_LIBRARY_PATH"); });
        plan.environment.push_back(plan.libraryPath.data());
    }
    plan.environment.push_back(nullptr);
}

void layOut(CPlan& plan, const CProcessStart& start)
{
    std::snprintf(plan.shellText, sizeof plan.shellText, "exec %.1023s", start.command);
    plan.keepFds = start.keepFds;
    plan.output = openOutput(start.stdoutPath, start.keepFds);
    plan.errorOutput = openOutput(start.stderrPath, start.keepFds);
    if (given(start.workingDir))
        plan.directory = openDirectory(start.workingDir);
    planEnvironment(plan);
}

/// For kernels that do not know close_range. Reads the directory by the bare system call: opendir allocates.
bool markListedDescriptors()
{
    const int list = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (list < 0)
        return false;
    alignas(dirent64) std::array<char, 4096> entries;
    ssize_t size;
    while ((size = getdents64(list, entries.data(), entries.size())) > 0)
        for (ssize_t at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(entries.data() + at);
            int descriptor = -1;
            std::from_chars(entry->d_name, entry->d_name + std::strlen(entry->d_name), descriptor);
            if (descriptor >= firstOwnDescriptor)
                fcntl(descriptor, F_SETFD, FD_CLOEXEC);
            at += entry->d_reclen;
        }
    return size == 0;
}

bool markCloseOnExec()
{
    return close_range(firstOwnDescriptor, ~0U, CLOSE_RANGE_CLOEXEC) == 0 || markListedDescriptors();
}

/// Handlers of this process must not run in the child, which works in this process's memory.
void dropSignalHandlers()
{
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action;
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN ||
            action.sa_handler == SIG_DFL)
            continue;
        action = {};
        action.sa_handler = SIG_DFL;
        sigaction(signal, &action, nullptr);
    }
}

bool redirect(const CDescriptor& from, int to)
{
    return !from || dup2(from.get(), to) >= 0;
}

/// The child, from its birth to the shell. Leaves its errno in `error` when it does not come that far.
[[noreturn]] void becomeShell(const CPlan& plan, volatile int& error)
{
    dropSignalHandlers();
    if ((plan.keepFds || markCloseOnExec()) && redirect(plan.output, STDOUT_FILENO) &&
        redirect(plan.errorOutput, STDERR_FILENO) && (!plan.directory || fchdir(plan.directory.get()) == 0) &&
        sigprocmask(SIG_SETMASK, &plan.mask, nullptr) == 0) {
        const char* const arguments[] = {"/bin/sh", "-c", plan.shellText, nullptr};
        execve(arguments[0], const_cast<char* const*>(arguments), plan.environment.data());
    }
    error = errno;
    _exit(cannotExecute);
}

/// Nothing that this function keeps in its frame changes after the child is born: the child works on the same
/// stack. That spares the copy of a large process, such as a JVM.
[[gnu::noinline]] pid_t bear(const CPlan& plan, volatile int& error)
{
    const pid_t pid = vfork();
    if (pid == 0)
        becomeShell(plan, error);
    return pid;
}

/// No signal is handled by this thread while the child uses its stack.
pid_t bearWithoutSignals(CPlan& plan, volatile int& error)
{
    sigset_t all, before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    plan.mask = before;
    sigaddset(&plan.mask, SIGTERM);
    const pid_t pid = bear(plan, error);
    const int cause = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = cause;
    return pid;
}

pid_t run(CPlan& plan)
{
    volatile int error = 0;
    const pid_t pid = bearWithoutSignals(plan, error);
    if (pid < 0) {
        const int cause = errno;
        CTracer::debugTrace("exec: fork failed with errno %d, %s", cause, CErrorString(cause).text());
        fail("cannot make a process", cause);
    }
    if (error != 0) {
        waitpid(pid, nullptr, 0); // unless sig_chld was first; nobody waits for it
        CTracer::debugTrace("Error: shouldn't get here! (after execvp())");
        fail("cannot start /bin/sh", error);
    }
    return pid;
}
} // namespace

pid_t CProcessStart::start(std::string& error) const
{
    traceReapFailures();
    try {
        if (!command)
            throw CStartError{"no command"};
        CPlan plan;
        layOut(plan, *this);
        CChildSignals::ofLibrary().takeOver();
        return run(plan);
    } catch (const CStartError& failure) {
        error = failure.text;
        return -1;
    }
}
