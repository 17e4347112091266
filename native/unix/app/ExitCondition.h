/// What an application under test does at its exit when its JVM could not be loaded.
#pragma once

#include <atomic>

class CExitCondition {
public:
    /// Has `handleExitCondition` called at exit; once a process.
    static void watch();
    /// Set once a JVM was looked up with success.
    static std::atomic<bool> isJVMok;
};

/// Starts the application anew, once, when its JVM was not fine: a library path that only a new process sees
/// is the usual cause. The environment variable SPYPORT_EXIT_CONDITION, inherited by the new process, keeps
/// it from doing so again.
void handleExitCondition();
