/// The agent's own thread: makes the JVM, and lets the Java side come to rest when the program ends.
///
/// It is not the GUI thread that does so: a program shall not stand still for its JVM. And it is not the
/// thread that exits: that may hold any lock, or have been interrupted anywhere.
///
/// Libraries are taken down while a program exits, and Java threads that still work in them would crash it.
/// So when `exit` begins, this thread calls ApplicationAgent.stop(); the exit waits for that 300 ms at most,
/// and for a JVM that is being made 10 seconds at most.
#pragma once

#include <jni.h>

class CJavaThread {
public:
    /// Starts the thread. Once per process.
    /// @return a descriptor that becomes readable, and stays so, when it has got a JVM or failed; -1: no
    /// thread
    static int start();
    /// @return the JVM's class ApplicationAgent; null when there is none, which has been said then. Only once
    /// the descriptor is readable
    static jclass agent();
    /// Has the Java side stopped before what the library and the services have registered for the end until
    /// now: what is registered last runs first, and they stop at once only while the library still works.
    static void endBeforeLibrary();
    /// Whether the JVM was made here, so that its standard output is nobody's.
    static bool ownsJvm();
    /// The JVM's environment on the calling thread, which must be attached.
    static JNIEnv* env();
};
