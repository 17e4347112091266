/// Owners of JNI local references. The JVM frees local references when the exported function returns, but its
/// table grows until then, and `-Xcheck:jni` complains beyond 32: what a loop makes, the loop must drop.
///
///     const LocalRef<jclass> type = localRef(env, env->GetObjectClass(object));   // one reference
///     for (...) { const CLocalFrame frame(env); ... }                             // all that a round makes
///
/// References and owners belong to the thread of their JNIEnv.
#pragma once

#include <jni.h>

#include <memory>
#include <type_traits>

struct CLocalRefDrop {
    JNIEnv* env;
    void operator()(jobject reference) const noexcept { env->DeleteLocalRef(reference); }
};

/// A local reference that is dropped when its owner goes out of scope; empty when the JVM answered null.
template <class T> using LocalRef = std::unique_ptr<std::remove_pointer_t<T>, CLocalRefDrop>;

/// Takes ownership of a local reference, such as the result of a JNI call.
template <class T> LocalRef<T> localRef(JNIEnv* env, T reference)
{
    return LocalRef<T>(reference, CLocalRefDrop{env});
}

/// Drops every local reference made during its life, whoever made it. The wrapper classes keep the reference
/// of the class that they looked up; use this in loops that make wrappers. May be used with a Java exception
/// pending.
class CLocalFrame {
public:
    /// @param capacity  references that the JVM must have room for at once; more are possible
    explicit CLocalFrame(JNIEnv* env, int capacity = 16)
        : m_env(env), m_pushed(env->PushLocalFrame(capacity) == 0)
    {
    }
    ~CLocalFrame()
    {
        if (m_pushed)
            m_env->PopLocalFrame(nullptr);
    }
    CLocalFrame(const CLocalFrame&) = delete;
    CLocalFrame& operator=(const CLocalFrame&) = delete;

    /// Ends the frame early; `result` survives it as a reference of the frame around.
    template <class T> T leaveWith(T result)
    {
        if (!m_pushed)
            return result;
        m_pushed = false;
        return static_cast<T>(m_env->PopLocalFrame(result));
    }

private:
    JNIEnv* m_env;
    bool m_pushed;
};

/// Sets a pending Java exception aside while it lives, so that JNI calls are allowed again, and raises it
/// anew at its end. An exception that became pending meanwhile gives way to it: the first failure wins.
class CPendingAside {
public:
    explicit CPendingAside(JNIEnv* env) : m_env(env), m_throwable(localRef(env, env->ExceptionOccurred()))
    {
        if (m_throwable)
            env->ExceptionClear();
    }
    ~CPendingAside()
    {
        if (!m_throwable)
            return;
        m_env->ExceptionClear();
        m_env->Throw(m_throwable.get());
    }
    CPendingAside(const CPendingAside&) = delete;
    CPendingAside& operator=(const CPendingAside&) = delete;

private:
    JNIEnv* m_env;
    LocalRef<jthrowable> m_throwable;
};
