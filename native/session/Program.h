/// Programs that a session or a test starts: an X server, a window manager, a small application.
#pragma once

#include "include/ScopedFile.h"

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <vector>

/// A program that could not be started: its name, why, and the exit status that shells have for that.
class CNotStarted : public std::runtime_error {
public:
    /// @param cause  as causeOf tells it
    CNotStarted(const std::string& program, int cause);
    /// What keeps it from starting, as shells tell it: execvp says EACCES for a directory of PATH that may not be
    /// searched, too, where there is no such program.
    /// @param error  of execvp
    static int causeOf(const std::string& program, int error);
    int status() const { return m_status; } ///< 127: there is none, 126: there is and it cannot be run

private:
    int m_status;
};

/// Starts a program that is killed when the calling thread's process dies.
/// @param output  descriptor that becomes its standard output; -1 leaves it as it is
/// @param errors  likewise its standard error
/// @return its process id; the caller waits for it. Throws CNotStarted.
pid_t spawn(const std::vector<std::string>& command, int output, int errors = -1);

/// A running program whose standard output is read line by line. Killed and reaped by the destructor.
class CProgram {
public:
    /// @param errors  descriptor that becomes its standard error; -1 leaves that as it is
    explicit CProgram(const std::vector<std::string>& command, int errors = -1);
    ~CProgram();
    CProgram(const CProgram&) = delete;

    pid_t pid() const { return m_pid; }
    /// The next line of its output without the line end; nothing when it ends or `limit` passes first.
    std::optional<std::string> line(std::chrono::milliseconds limit = std::chrono::seconds(10));
    /// Reads lines until one starts with `start` and answers the rest of it; throws std::runtime_error when none comes.
    std::string waitForLine(const std::string& start,
                            std::chrono::milliseconds limit = std::chrono::seconds(10));
    /// Waits for its end. @return exit status, 128 + signal when killed, nothing when `limit` passes first
    std::optional<int> wait(std::chrono::milliseconds limit = std::chrono::seconds(10));
    void kill(int signal);

private:
    pid_t m_pid = -1;
    CDescriptor m_output;
    std::string m_read;
};

/// An X server of its own, found by the display number that it chose itself. It takes who knows the cookie of the
/// private session (XAUTHORITY). A Ctrl-C at the terminal does not reach it.
class CXvfb {
public:
    /// @param options  further arguments, such as "-extension", "XTEST"
    explicit CXvfb(const std::vector<std::string>& options = {});
    ~CXvfb();
    CXvfb(const CXvfb&) = delete;
    const std::string& name() const { return m_name; } ///< such as ":5"
    CProgram& program() { return m_program; }

private:
    /// What it says of displays that others have, and of its keyboard, is no news unless it does not start.
    struct CErrors {
        CErrors();
        std::string text() const;
        CDescriptor file;
    };
    CErrors m_errors;
    CProgram m_program;
    std::string m_name;
};
