/// What the exported functions of both window classes share: Java windows made from native ones, geometry
/// read and made. A Java class or constructor that is missing gives null and a note in the trace, never an
/// exception.
#pragma once

#include "JniEntry.h"
#include "LocalRef.h"
#include "WindowManager.h"

#include <jni.h>

#include <atomic>
#include <optional>
#include <span>
#include <string>

/// A Java class and the constructor that the library calls, looked up once per process. At namespace scope;
/// any thread.
class CJavaConstructor {
public:
    /// @param missingNote  for the trace when there is no such class
    constexpr CJavaConstructor(const char* className, const char* signature, const char* missingNote)
        : m_className(className), m_signature(signature), m_missingNote(missingNote)
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
    jclass lookUp(JNIEnv* env, CJniTrace& trace);

    const char* m_className;
    const char* m_signature;
    const char* m_missingNote;
    std::atomic<jclass> m_class = nullptr;
    std::atomic<jmethodID> m_method = nullptr;
};

/// An array of window objects; the reference of each is dropped once it is stored.
/// @return null when Java has no room (its exception is pending) or an object cannot be made
template <class Window>
jobjectArray newWindowArray(JNIEnv* env, jclass type, jmethodID constructor,
                            const std::vector<Window>& windows)
{
    auto array = localRef(env, env->NewObjectArray(static_cast<jsize>(windows.size()), type, nullptr));
    for (size_t i = 0; array && i < windows.size(); ++i) {
        const auto window =
            localRef(env, env->NewObject(type, constructor, static_cast<jlong>(windows[i].getHandle())));
        if (!window)
            return nullptr;
        env->SetObjectArrayElement(array.get(), static_cast<jsize>(i), window.get());
    }
    return array.release();
}

/// As above, with a class that the library knows.
template <class Window>
jobjectArray newWindowArray(JNIEnv* env, CJniTrace& trace, CJavaConstructor& constructor,
                            const std::vector<Window>& windows)
{
    const jclass type = constructor.find(env, trace);
    return type ? newWindowArray(env, type, constructor.method(), windows) : nullptr;
}

/// java.awt.Point and java.awt.Rectangle; nothing for null.
std::optional<Point> pointOf(JNIEnv* env, jobject point);
std::optional<Rect> rectOf(JNIEnv* env, jobject rectangle);
jobject newRectangle(JNIEnv* env, CJniTrace& trace, const Rect& rect);

/// A Java string of text in the locale's code set that may have been cut inside a character: the converter
/// refuses a whole text for the sake of one incomplete character, so that is dropped first. Text that is
/// none of that code set is taken for Latin-1.
/// @param room  longest text in bytes: a shorter one was not cut, and must end with a whole character
jstring newCutText(JNIEnv* env, std::string text, size_t room);
