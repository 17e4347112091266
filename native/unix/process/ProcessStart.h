/// Starting programs.
#pragma once

#include <string>
#include <sys/types.h>

/// What a program is started with. Texts are in the code set of the locale; null (and, for the paths, an
/// empty text) stands for "not given".
struct CProcessStart {
    const char* command = nullptr;    ///< for the shell; only its first 1023 bytes count
    const char* workingDir = nullptr; ///< not given: that of this process
    /// Appended to, created when missing; relative to this process's directory.
    const char* stdoutPath = nullptr;
    const char* stderrPath = nullptr; ///< the same for standard error
    bool keepFds = false; ///< false: the program has standard input, the two outputs, and no other
                          ///< descriptor; outputs without a path go to /dev/null

    /// Starts /bin/sh -c "exec COMMAND" and does not wait for its end. Any thread; blocks until the shell has
    /// taken over, well below a millisecond on an idle machine.
    ///
    /// The program inherits the environment without JAVA_MAIN_VM, and, when the list in TALVERN_GX_JRE names
    /// an existing path, with that JRE's directories before LD_LIBRARY_PATH. It has SIGTERM blocked, and so
    /// has all that it starts in turn: COperatingSystem::kill does not end it unless it unblocks the signal.
    ///
    /// From now on SIGCHLD belongs to this library (sig_chld in ChildWait.h): the handler that the host had is
    /// replaced, system calls of the host may fail with EINTR when a child ends, and children are reaped
    /// whoever made them.
    ///
    /// @param error  receives why nothing was started; untouched otherwise
    /// @return the process id; -1 when nothing was started: no command, no process to be had, a directory
    ///         that cannot be entered, an output that cannot be opened, no shell, an environment that is too
    ///         large. A command that the shell cannot run is started all the same and ends with status 127
    ///         or 126.
    pid_t start(std::string& error) const;
};
