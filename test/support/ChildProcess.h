/// A forked process that takes part in a test.
#pragma once

#include <chrono>
#include <functional>
#include <sys/types.h>

/// Runs a function in a child process, with a baton to fix the order of what the two do. The child leaves
/// through `_exit`, so that nothing of the test program ends with it; it dies with its parent. Not for
/// processes that have a JVM or further threads.
///
///     CChildProcess holder([&](CChildProcess& parent) { mutex.acquire(0); parent.pass(); parent.wait(); });
///     holder.wait();   // the mutex is held now
///     holder.die();
///
/// The destructor lets a child that waits go on, reaps it and reports it as a failure of the test when it did
/// not end by itself with the verdict that all is well.
class CChildProcess {
public:
    /// @param body  runs in the child; a failed expectation of GoogleTest, or an exception, is the child's
    /// verdict
    explicit CChildProcess(const std::function<void(CChildProcess&)>& body);
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    pid_t pid() const { return m_pid; } ///< of the child
    /// Hands the baton to the other process.
    void pass();
    /// Waits for the baton. @return false when the other process is gone or keeps it longer than `limit`
    bool wait(std::chrono::milliseconds limit = std::chrono::seconds(20));
    /// Kills the child with SIGKILL and reaps it.
    void die();
    /// Reaps the child. @return its exit status, 128 + signal when it was killed
    int join();

private:
    [[noreturn]] void beChild(const std::function<void(CChildProcess&)>& body, pid_t parent);

    pid_t m_pid = -1;
    int m_read = -1;
    int m_write = -1;
    bool m_reaped = false;
};
