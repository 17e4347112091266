/// The frame of the exported functions of the four spy memory classes, and the values they all take.
#pragma once

#include "common/bindings/JavaSpyVariant.h"
#include "common/jni/JniEntry.h"
#include "common/spy/SpyMemory.h"
#include "common/trace/CTracer.h"

#include <jni.h>

#include <type_traits>

/// The Java types that a value may have, by the letters that an exported name carries for each.
#define SPY_VALUE_OVERLOADS(X)                                                                               \
    X(B, jbyte)                                                                                              \
    X(C, jchar)                                                                                              \
    X(S, jshort)                                                                                             \
    X(I, jint)                                                                                               \
    X(J, jlong)                                                                                              \
    X(F, jfloat)                                                                                             \
    X(D, jdouble)                                                                                            \
    X(Z, jboolean)                                                                                           \
    X(Ljava_lang_String_2, jstring)                                                                          \
    X(Lcom_talvern_test_gx_sys_SpyMemory_2, jobject)                                                         \
    X(Ljava_lang_Object_2, jobject)

/// For functions that are about the heap mutex itself, or that a busy heap must not keep from reporting.
struct CNoSpyHeapLock {};

/// What follows the name in the end line of a function that failed: readers of the trace tell failures apart
/// by the kind of answer.
template <class Answer> constexpr const char* spyFailureNote()
{
    if constexpr (std::is_void_v<Answer>)
        return "";
    else if constexpr (std::is_same_v<Answer, jboolean>)
        return " FALSE";
    else if constexpr (std::is_same_v<Answer, jint>)
        return " returning 0";
    else if constexpr (std::is_same_v<Answer, jobject>)
        return " return 0";
    else
        return " returning NULL";
}

/// Runs `body` as the exported function `function`, under the heap mutex: a container that body attaches to
/// is read, changed and written back in one piece, whatever other processes do, for the price of one lock.
/// Failures that have no Java class (a damaged heap, a value of no known kind) are traced and leave no
/// exception.
/// @tparam Answer  what Java gets; 0, false or null after a failure
/// @tparam Guard   CNoSpyHeapLock: without the mutex
template <class Answer, class Guard = CSpyCall, class Body>
Answer spyEntry(JNIEnv* env, const char* function, Body&& body, const char* file = __builtin_FILE(),
                int line = __builtin_LINE()) noexcept
{
    return jniEntry(env, function, [&](CJniTrace& trace) -> Answer {
        try {
            [[maybe_unused]] const Guard guard;
            return static_cast<Answer>(body());
        } catch (...) {
            trace.note(spyFailureNote<Answer>());
            if (!raiseDeclaredInJava(env))
                CTracer::debugTrace("Unknown exception: %s:%d", file, line);
            return Answer();
        }
    });
}

/// The same on the spy object that a Java object names.
/// @tparam Wrapper  CJavaSpyMemory or a class derived from it
/// @param work      takes the wrapper
template <class Answer, class Wrapper, class Work>
Answer onSpyObject(JNIEnv* env, const char* function, jobject self, Work&& work,
                   const char* file = __builtin_FILE(), int line = __builtin_LINE()) noexcept
{
    return spyEntry<Answer>(
        env, function,
        [&] {
            Wrapper wrapper(env, self);
            return work(wrapper);
        },
        file, line);
}

/// The same for the entry of one key; null instead of a key gets the neutral answer (traced).
/// @param work  takes wrapper and key
template <class Answer, class Wrapper, class Work>
Answer onSpyEntry(JNIEnv* env, const char* function, jobject self, jstring key, Work&& work,
                  const char* file = __builtin_FILE(), int line = __builtin_LINE()) noexcept
{
    return onSpyObject<Answer, Wrapper>(
        env, function, self,
        [&](Wrapper& wrapper) {
            const CJString name(env, key);
            return isKey(name) ? static_cast<Answer>(work(wrapper, name)) : Answer();
        },
        file, line);
}

/// Frees the spy object that a Java object names, which then names none.
template <class Wrapper>
void freeSpyObject(JNIEnv* env, const char* function, jobject self, const char* file = __builtin_FILE(),
                   int line = __builtin_LINE()) noexcept
{
    onSpyObject<void, Wrapper>(
        env, function, self,
        [](Wrapper& wrapper) {
            wrapper->free();
            wrapper.attach(CSpyMemRef());
        },
        file, line);
}
