/// A Java virtual machine inside a test process, for testing what calls into Java.
#pragma once

#include <jni.h>

#include <string>

/// The only JVM of this process (HotSpot cannot make a second one, nor may a process with one fork). Started
/// by the first call that needs it, under -Xcheck:jni, with gxsys.jar as its class path, and never ended. The
/// native methods of gxsys.jar are bound to the library when a test calls NativeLibrary.load() in it, as an
/// engine would; code of the library that the test program itself is linked with is another copy.
class CJvm {
public:
    /// Starts the JVM without -Xcheck:jni, for benchmarks; call it before env().
    /// @param jar  of further classes
    static void startUnchecked(const std::string& jar);
    /// The environment of the calling thread, which is attached when it is not yet and then stays so until it
    /// ends. Throws std::runtime_error when there is no JVM.
    static JNIEnv* env();
    /// What -Xcheck:jni complained of since the last call. Empty in every right program.
    static std::string takeComplaints();
};

/// The pending exception as "java.lang.Error: message", cleared; empty when none is pending.
std::string takePendingException(JNIEnv* env);

/// A Java string of UTF-16 text.
jstring javaString(JNIEnv* env, const std::u16string& text);
