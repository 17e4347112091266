/// The trace and log facility.
#pragma once

class GxDebug {
public:
    /// Whether entry and exit of exported functions are traced. Any thread; costs one load.
    static bool IsJNITrace() noexcept { return jni_trace_enabled; }
    /// Trace "START - name" and "END - name" as component "JNI"; a null name writes nothing.
    static void JNI_Start(const char* name) noexcept;
    static void JNI_End(const char* name) noexcept;

private:
    static bool jni_trace_enabled;
};
