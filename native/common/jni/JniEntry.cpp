#include "JniEntry.h"

#include "CTracer.h"

#include <string>

void CJniTrace::end() noexcept
{
    try {
        GxDebug::JNI_End((std::string(m_name) + m_note).c_str());
    } catch (...) {
        GxDebug::JNI_End(m_name);
    }
}

void raiseInJava(JNIEnv*) noexcept
{
    try {
        throw;
    } catch (...) {
        CTracer::debugTrace("An unknown native exception ended an exported function");
    }
}
