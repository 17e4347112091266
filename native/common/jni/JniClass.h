/// A Java class as native code sees it: looked up by name or from an object, asked for methods, constructed.
#pragma once

#include <jni.h>

#include <atomic>
#include <cstdarg>

/// Used by the thread of its JNIEnv. Class objects that are shared between threads (see CJDataTypeClass) are
/// rebound to the caller's environment at every use; what is shared is read and written atomically, and
/// everything that calls into the JVM takes the environment of the object it works for.
///
/// Lookups report failure by null: the Java error that belongs to the failure (NoClassDefFoundError,
/// NoSuchMethodError) is cleared, anything else stays pending.
///
/// The class is held by a local reference, which lives until the exported function returns, or by a global
/// one between lock() and unlock(). The destructor drops neither: copies share the reference. Loops use
/// CLocalFrame.
class CJniClass {
public:
    CJniClass() = default;
    /// @param name  with slashes, such as "java/lang/String"; traced when there is no such class. Null leaves
    /// it empty.
    CJniClass(JNIEnv* env, const char* name);
    CJniClass(JNIEnv* env, jclass javaClass);
    /// The class of `object`, resolved on first use; the reference is borrowed until then.
    CJniClass(JNIEnv* env, jobject object);
    CJniClass(const CJniClass& other);
    /// As the copy constructor, but a class that the other has not resolved yet stays unresolved here too.
    CJniClass& operator=(const CJniClass& other);
    ~CJniClass();

    /// The class; null when there is none.
    jclass getclass() const;
    operator jclass() const { return getclass(); }
    /// The name with slashes, kept by this object; null when Java does not answer. Needs an environment and a
    /// class.
    operator char*();

    JNIEnv* env() const { return m_env.load(std::memory_order_relaxed); }
    void rebind(JNIEnv* env) { m_env.store(env, std::memory_order_relaxed); }

    /// Null when there is no such method; its NoSuchMethodError is cleared. Needs a class.
    jmethodID methodId(const char* name, const char* signature) const;
    /// Null when there is no such method; its NoSuchMethodError stays pending, which callers look at. Needs a
    /// class.
    jmethodID staticMethodId(const char* name, const char* signature) const;
    /// A new object, owned by the caller as a local reference. Null without a class, without such a
    /// constructor, or when the constructor throws (pending then).
    /// @param signature  of the constructor, such as "(J)V"; the values follow, floats and small integers
    /// promoted as in C
    jobject construct(const char* signature, ...);
    jobject constructWith(JNIEnv* env, const char* signature, va_list values);

    /// Clears the pending exception if it is of the class `className`; any other is raised again.
    void resetException(const char* className) const;
    static void resetException(JNIEnv* env, const char* className);

    /// Keeps the class by a global reference, so that it may outlive the exported function and be used by any
    /// thread.
    /// @return whether there is a class and the JVM had room
    bool lock();
    /// Gives the global reference back; nothing happens to a local one.
    void unlock();

private:
    jmethodID lookUp(JNIEnv* env, jclass javaClass, const char* name, const char* signature) const;
    void releaseName() noexcept;

    std::atomic<JNIEnv*> m_env = nullptr;
    const char* m_name = nullptr; ///< the UTF characters of m_nameString, with slashes
    mutable std::atomic<jclass> m_jclass = nullptr;
    jstring m_nameString = nullptr;
    std::atomic<jmethodID> m_constructor = nullptr; ///< of the last construct()
    jobject m_object = nullptr;                     ///< whose class is wanted, while m_jclass is null
    bool m_locked = false;                          ///< m_jclass is this object's global reference
};
