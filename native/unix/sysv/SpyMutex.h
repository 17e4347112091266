/// The recursive lock that processes share by name.
#pragma once

#include "common/jni/jniobject.h"
#include "include/NativeFailure.h"
#include "unix/sysv/LockHolder.h"

/// A failure of a named mutex. It knows the Java class it becomes.
class CSpyMutexException : public CNativeFailure {
public:
    /// @param message  kept up to 1024 characters
    explicit CSpyMutexException(const char* message);

    const char* message() const override { return m_message; }
    const char* javaExceptionClass() const override = 0;

private:
    char m_message[1024 + 1];
};

/// The mutex was held by another process or thread until the time-out passed.
class CMutexTimeoutException : public CSpyMutexException {
public:
    using CSpyMutexException::CSpyMutexException;
    const char* javaExceptionClass() const override;
};

/// The handle names no mutex.
class CInvalidMutexException : public CSpyMutexException {
public:
    using CSpyMutexException::CSpyMutexException;
    const char* javaExceptionClass() const override;
};

class CJString;

/// A recursive mutex between processes. The thread that holds it may take it again, which costs no call of
/// the system, and has to release it as often. The system releases the mutex of a process that dies, in the
/// middle of a change if need be. A child made by fork holds nothing.
///
/// Without a Java object all threads of a process may share one mutex object. With one, the state lives in
/// the Java object's fields and the wrapper on the stack of one call.
class CSpyMutex : public CJniJObject {
public:
    /// The lock around the spy heaps of the X display in DISPLAY, made or found. The caller frees and deletes
    /// it.
    /// @param name  of the lock; there is one lock a display, whatever the name
    static CSpyMutex* create(const char* name);
    /// Makes the exception's Java class pending, with its message.
    static void throwException(JNIEnv* env, const CSpyMutexException& exception);

    ~CSpyMutex() override = default;

    /// Finds the mutex of that name or makes it; a null name finds nothing. What this object holds of another
    /// one it gives back first. Raises what spy memory raises.
    /// @return whether it has a semaphore now
    virtual bool create(const CJString& name) = 0;
    /// Takes the mutex.
    /// @param timeoutMs  longest wait in milliseconds, of which only whole seconds count: below 1000 it is
    ///                   tried once; below 0 waits without limit
    /// @return true
    /// @throws CMutexTimeoutException  it stayed taken all that time, or its semaphore is gone
    virtual bool acquire(int timeoutMs) = 0;
    /// Gives the mutex back once. A caller that does not hold it changes nothing.
    /// @return whether nobody of this object holds it any more
    virtual bool release() = 0;
    /// Gives back what a thread of this process holds through this object, and forgets the semaphore, which
    /// stays in the system for the other processes.
    virtual void free() = 0;
    /// Whether the calling thread holds it.
    virtual bool isAcquired() = 0;
    /// Who holds it, in whatever process. Any thread; waits for nobody, and one that waits for the mutex may
    /// be told as well.
    /// @return none when it is free or gone, or there is none
    virtual std::optional<CLockHolder> holder() = 0;
    /// Whether its semaphore was removed from the system, or never made.
    virtual bool isGone() = 0;

protected:
    CSpyMutex() : CJniJObject(nullptr, static_cast<jobject>(nullptr), nullptr) {}
    CSpyMutex(JNIEnv* env, jobject mutex) : CJniJObject(env, mutex, nullptr) {}
    CSpyMutex(const CSpyMutex&) = default;
};
