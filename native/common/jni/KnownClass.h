/// Java classes and constructors that the library keeps once it has found them. At namespace scope; any thread.
/// Fields: see CJavaField.
#pragma once

#include "common/jni/JniEntry.h"

#include <jni.h>

#include <atomic>

/// A Java class. One that is missing is looked for again each time.
class CKnownClass {
public:
    constexpr explicit CKnownClass(const char* name) : m_name(name) {}

    /// The class, by a global reference that is never dropped; null (traced) when there is none.
    jclass find(JNIEnv* env)
    {
        const jclass known = m_class.load(std::memory_order_acquire);
        return known ? known : lookUp(env);
    }
    bool hasInstance(JNIEnv* env, jobject object)
    {
        const jclass found = find(env);
        return found && env->IsInstanceOf(object, found) == JNI_TRUE;
    }

private:
    jclass lookUp(JNIEnv* env);

    const char* m_name;
    std::atomic<jclass> m_class = nullptr;
};

/// A Java class and the constructor that the library calls. What is missing gives null and a note in the
/// trace, never an exception.
class CJavaConstructor {
public:
    /// @param missingNote  for the trace when there is no such class
    constexpr CJavaConstructor(const char* className, const char* signature, const char* missingNote)
        : m_class(className), m_signature(signature), m_missingNote(missingNote)
    {
    }
    CJavaConstructor(const CJavaConstructor&) = delete;

    /// The class; null when it or the constructor is missing.
    jclass find(JNIEnv* env, CJniTrace& trace);
    /// Valid after find().
    jmethodID method() const { return m_method.load(std::memory_order_relaxed); }
    /// A new object, a local reference; null when something is missing or Java throws.
    template <class... Arguments> jobject make(JNIEnv* env, CJniTrace& trace, Arguments... arguments)
    {
        const jclass found = find(env, trace);
        return found ? env->NewObject(found, method(), arguments...) : nullptr;
    }

private:
    CKnownClass m_class;
    const char* m_signature;
    const char* m_missingNote;
    std::atomic<jmethodID> m_method = nullptr;
};
