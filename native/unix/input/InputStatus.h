/// How an operation on live input reports that this platform does not have it, and the Java exception for
/// that.
///
/// An exported function clears the status word of its family, runs the operation and reads the word. Each
/// thread has its own words: one may wait for an event while another asks where the pointer is.
#pragma once

#include "common/jni/jniobject.h"

#include <utility>

/// Values of a status word.
enum InputStatus : int {
    InputSupported = 0,
    InputNotSupported = 1,
    RecordingEnded = 2, ///< of the recorder only
};

extern constinit thread_local int g_recorder_status;
extern constinit thread_local int g_mouse_status;
extern constinit thread_local int g_keyboard_status;

/// @param method  what Java sees as the message; null for none
inline void raiseNotSupported(JNIEnv* env, const char* method)
{
    CJniJObject::throwException(env, "com/talvern/test/gx/NotSupportedOnUnixException", method);
}

/// Runs `operation`; when it is not supported, the exception is pending afterwards.
/// @param status  the family's status word
/// @return what the operation answers
template <class Operation>
auto withStatus(JNIEnv* env, int& status, const char* method, Operation&& operation)
{
    struct CRaise {
        ~CRaise()
        {
            if (m_status == InputNotSupported)
                raiseNotSupported(m_env, m_method);
        }
        JNIEnv* m_env;
        const int& m_status;
        const char* m_method;
    };
    status = InputSupported;
    const CRaise raise{env, status, method};
    return std::forward<Operation>(operation)();
}
