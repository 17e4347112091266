/// The one frame of every exported function: entry and exit trace, native exceptions mapped to Java ones.
///
///     GX_JNI(jint, Java_com_talvern_..._getItemAtPoint, jobject self, jobject point)
///     {
///         return jniEntry(env, __func__, [&] { ... });
///     }
///     GX_JNI_ANSWER(jint, Java_com_talvern_..._nativeGetCtrlId, windowOf(env, self).getCtrlId(), jobject self)
///
/// Each stands under its whole symbol, so that a search for that finds it.
#pragma once

#include "common/trace/GxDebug.h"

#include <jni.h>

#include <type_traits>
#include <utility>

/// Writes the start line of an exported function and, when it goes out of scope, the end line. Costs a load
/// and a branch while JNI tracing is off.
class CJniTrace {
public:
    /// @param function  the exported symbol (`__func__`); the trace shows it without "Java_". Null is not
    /// traced.
    explicit CJniTrace(const char* function) noexcept
        : m_name(function && GxDebug::IsJNITrace() ? function + sizeof("Java_") - 1 : nullptr)
    {
        if (m_name) [[unlikely]]
            GxDebug::JNI_Start(m_name);
    }
    ~CJniTrace()
    {
        if (m_name) [[unlikely]]
            end();
    }
    CJniTrace(const CJniTrace&) = delete;
    CJniTrace& operator=(const CJniTrace&) = delete;

    /// Text that follows the name in the end line, such as " returning NULL"; borrowed, must outlive this
    /// object.
    void note(const char* text) noexcept { m_note = text; }

private:
    void end() noexcept;

    const char* m_name;
    const char* m_note = "";
};

/// Turns the exception being handled into a pending Java exception, of the class that a CNativeFailure names;
/// the first pending one wins. Call it inside a catch block only.
void raiseInJava(JNIEnv* env) noexcept;
/// The same for families that answer neutrally to the kinds that no room declares a Java class for: nothing
/// is pending for those. @return whether the exception has a Java class
bool raiseDeclaredInJava(JNIEnv* env) noexcept;

/// Runs `body` as the exported function `function`. When anything is thrown, a Java exception is pending
/// afterwards and the answer is neutral: 0, false, null.
/// @param function  pass `__func__`; null for a family that is not traced
/// @param body      takes nothing, or the `CJniTrace&` to add a note to the end line
template <class Body> auto jniEntry(JNIEnv* env, const char* function, Body&& body) noexcept
{
    CJniTrace trace(function);
    const auto run = [&] {
        if constexpr (std::is_invocable_v<Body&, CJniTrace&>)
            return body(trace);
        else
            return body();
    };
    using Answer = decltype(run());
    try {
        return run();
    } catch (...) {
        raiseInJava(env);
        return Answer();
    }
}

/// The head of an exported function, which may use `env`; its body follows.
/// @param ...  the arguments after the environment: the object or class first
#define GX_JNI(Result, symbol, ...) extern "C" JNIEXPORT Result JNICALL symbol(JNIEnv* env, __VA_ARGS__)

/// An exported function that is one expression, which may use `env`, `trace` and the arguments.
#define GX_JNI_ANSWER(Result, symbol, expression, ...)                                                       \
    GX_JNI(Result, symbol, __VA_ARGS__)                                                                      \
    {                                                                                                        \
        return jniEntry(env, __func__,                                                                       \
                        [&]([[maybe_unused]] CJniTrace& trace) { return static_cast<Result>(expression); }); \
    }
