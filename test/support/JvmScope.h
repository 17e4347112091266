/// What surrounds a test that works in the JVM of its process.
#pragma once

#include "Jvm.h"

#include <gtest/gtest.h>

/// A frame of local references on the calling thread; at its end it expects that no Java exception is pending
/// and that -Xcheck:jni did not complain. Usable wherever a JNIEnv* is.
class CJvmScope {
public:
    CJvmScope() : m_env(CJvm::env()) { m_env->PushLocalFrame(32); }
    ~CJvmScope()
    {
        EXPECT_EQ("", takePendingException(m_env));
        m_env->PopLocalFrame(nullptr);
        EXPECT_EQ("", CJvm::takeComplaints());
    }
    CJvmScope(const CJvmScope&) = delete;

    operator JNIEnv*() const { return m_env; }
    JNIEnv* operator->() const { return m_env; }

private:
    JNIEnv* m_env;
};
