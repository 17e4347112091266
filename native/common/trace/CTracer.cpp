#include "CTracer.h"

#include "GxDebug.h"

void CTracer::debugTrace(const char* format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    GenericNative.vDebug(format, arguments);
    va_end(arguments);
}
