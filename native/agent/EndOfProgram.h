/// Lets the Java side come to rest when the program ends.
#pragma once

#include <jni.h>

/// Libraries are taken down while a program exits, and Java threads that still work in them would crash it.
/// So when `exit` begins, a thread of the agent's own, not the one that exits and may hold any lock or have
/// been interrupted anywhere, calls ApplicationAgent.stop(); the exit waits for that 300 ms at most.
class CEndOfProgram {
public:
    /// @param agent  the class ApplicationAgent
    static void watch(JNIEnv* env, jclass agent);
};
