/// What the exported functions of both window classes share: Java windows made from native ones, and texts.
/// A Java class or constructor that is missing gives null and a note in the trace, never an exception.
#pragma once

#include "common/jni/JniEntry.h"
#include "common/jni/KnownClass.h"
#include "common/jni/LocalRef.h"
#include "unix/window/JavaGeometry.h"

#include <jni.h>

#include <string>
#include <vector>

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

/// A Java string of text in the locale's code set that may have been cut inside a character: the converter
/// refuses a whole text for the sake of one incomplete character, so that is dropped first. Text that is
/// none of that code set is taken for Latin-1.
/// @param room  longest text in bytes: a shorter one was not cut, and must end with a whole character
jstring newCutText(JNIEnv* env, std::string text, size_t room);
