#include "common/trace/CTracer.h"
#include "include/SpyHeap.h"

COutOfSpyMemory::COutOfSpyMemory(const char* text, CSpyHeap* heap) : COutOfSpyMemory(text)
{
    if (heap)
        heap->dump(nullptr, false);
}

CHeapCorrupted::CHeapCorrupted(const char* text, CSpyHeap* heap)
    : CSpyHeapException(text ? text : "!!Spy Heap corrupted!!\r\n")
{
    if (heap)
        heap->dump(nullptr, false);
    CTracer::debugTrace("%s", message());
}

const char CSpyHeapLockedException::JavaMessage[] =
    "Application under test (AUT) is not responding. It is recommended to retry after restarting the application. If the problem persists, avoid recording/playing back on the specific control";

CSpyHeapLockedException::CSpyHeapLockedException()
    : CSpyHeapException("Can't access Spy Heap, mutex is busy.")
{
    CTracer::debugTrace("%s", message());
}

CInvalidGlobal::CInvalidGlobal(unsigned int id) : CSpyHeapException("Invalid SpyHeap Global id"), m_id(id)
{
    CTracer::debugTrace("%s id = %d", message(), static_cast<int>(id));
}
