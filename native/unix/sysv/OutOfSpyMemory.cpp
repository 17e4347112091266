// What the failures of spy memory have in common, and the one that segments raise, too.
#include "include/SpyHeap.h"

#include "common/trace/CTracer.h"

CSpyHeapException::CSpyHeapException(const char* message)
    : m_message(std::make_shared<const std::string>(message))
{
}

COutOfSpyMemory::COutOfSpyMemory(const char* text) : CSpyHeapException(text ? text : "out of Spy Memory")
{
    CTracer::debugTrace("COutofSpyMemory thrown! Heap dumped to file: %s", message());
}
