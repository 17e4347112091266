#include "GxDebug.h"

#include "CTracer.h"

constinit bool GxDebug::jni_trace_enabled = false;

void GxDebug::JNI_Start(const char*) noexcept { }
void GxDebug::JNI_End(const char*) noexcept { }
void CTracer::debugTrace(const char*, ...) noexcept { }
