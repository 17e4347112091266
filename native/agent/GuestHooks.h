/// Keeps a JVM that is made inside a program from changing what belongs to the whole process. It asks for
/// such changes through functions of the C library, and the agent stands in front of these:
///
/// - `sigaction`: of its handlers only those of SIGSEGV, SIGBUS, SIGFPE and SIGILL are installed, for its own
///   code is built on them. The agent's handler asks the JVM first whether a fault is one of its code; all
///   others get what the program has set for them, or would have got by default. From then on the program sets
///   and reads its own actions for these signals as ever, without taking the JVM's away. SIGPIPE and all the
///   others stay the program's. libgxsys.so is refused all handlers: those that it has for SIGTERM and SIGCHLD
///   are for an engine.
/// - `setlocale`: the JVM wants to know the locale of the environment; it is told, and the locale of the
///   process stays.
#pragma once

#include <clocale>
#include <csignal>

/// Marks the calling thread as the one that makes the JVM, while it lives. Puts the thread's locale back.
class CGuest {
public:
    CGuest();
    ~CGuest();
    CGuest(const CGuest&) = delete;

    /// Whether the calling thread makes the JVM right now.
    static bool isHere();
    /// Refuses the library that holds an address the handlers of signals from now on.
    static void refuseSignalsTo(const void* address);
    /// A real-time signal that the program does not use, for the JVM's own purposes.
    static int spareSignal();

private:
    locale_t m_locale;
};

/// Holds the program's signals off the calling thread while it lives, and for good off the threads that are
/// started from it meanwhile, the JVM's. Puts the mask back, except that the four signals above stay
/// unblocked: the JVM's code is built on them.
class CSignalsHeldOff {
public:
    CSignalsHeldOff();
    ~CSignalsHeldOff();
    CSignalsHeldOff(const CSignalsHeldOff&) = delete;

private:
    sigset_t m_mask;
};
