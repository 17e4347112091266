/// A spy port: the thread of the application under test that Java code is run on, with the JVM it is attached
/// to and the test domain it has loaded.
#pragma once

#include "include/GxGlobals.h"

#include <jni.h>

#include <atomic>

class CHtmlDomainImplementation;

/// Made on the thread that it serves and never destroyed; a process has one at most (see CInfestor).
/// Everything but `isAlive` and `send` belongs to that thread.
class CSpyPort {
public:
    /// Attaches the thread to the JVM of the process, or makes one, and loads the test domain. Reads the
    /// install option of the acceleration first. What fails is traced; a Java exception of the domain's own
    /// code is pending then.
    /// @param threadId  of the calling thread
    /// @param domain    borrowed for the life of the process; null or empty for none
    CSpyPort(unsigned long threadId, const char* domain);
    CSpyPort(const CSpyPort&) = delete;
    CSpyPort& operator=(const CSpyPort&) = delete;

    bool isAlive(unsigned long threadId) const { return m_threadId == threadId; } ///< any thread
    unsigned long threadId() const { return m_threadId; }
    bool attachJVM() { return attachToJVM(); }
    bool hasDomain() const { return m_htmlDomain != nullptr; }
    JNIEnv* env() const { return m_env; } ///< of the port's thread; null while there is no JVM
    void setEnv(JNIEnv* env) { m_env = env; }

    /// Asks that `callback` be run on the port's thread with `param`, and returns without waiting for that.
    /// Any thread. On the accelerated path a request that has not run yet gives way to this one.
    /// @return 1; 0 when there is no X server, on the plain path: the callback never runs then
    int send(GxCallback callback, long param);

    /// The thread is about to end: the port serves nobody from now on, as another thread may get the same id.
    void endThread();

    /// The port that the calling thread is just making; null outside of the constructor. Java code of a
    /// domain may ask for its port while it is being loaded.
    static CSpyPort* beingMade();

private:
    bool attachToJVM();
    void* findJVM() const;
    bool attachToFirst(JavaVM* vm);
    bool createJVM();
    void* loadJVM(const char* jreDirectory) const;
    bool loadDomain();
    bool keepDomain();
    void reportDomainFailure();
    int sendAccelerated(GxCallback callback, long param);
    int sendPlain(GxCallback callback, long param);

    std::atomic<unsigned long> m_threadId;
    void* m_libjvm = nullptr; ///< of dlopen; stays open, as the JVM cannot be unloaded
    JavaVM* m_vm = nullptr;
    JNIEnv* m_env = nullptr;
    CHtmlDomainImplementation* m_htmlDomain = nullptr;
    const char* m_domain;
};

/// Runs a callback for the spy port of the calling thread. @return 1; 0 when the thread has none
int run_callback(GxCallback callback, long param);

/// Has Xlib read what the application's X server sent, so that its event hook gets to see it. A timeout
/// function of GTK. @return 1: the timeout stays
int call_xpending(void* unused);
