#include "CTracer.h"

#include "GxDebug.h"

bool CTracer::isOn() noexcept
{
    return GenericNative.isTraced(2);
}

void CTracer::debugTrace(const char* format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    GenericNative.vDebug(format, arguments);
    va_end(arguments);
}
