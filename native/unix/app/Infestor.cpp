#include "unix/app/Infestor.h"

#include "common/trace/CTracer.h"
#include "include/InApplication.h"

#include <pthread.h>

constinit std::atomic<CSpyPort*> CInfestor::s_spyPort = nullptr;

bool CInfestor::createSpyPort(const char* domain)
{
    static constinit std::atomic<bool> s_claimed = false;
    if (s_claimed.exchange(true))
        return false;
    s_spyPort = new CSpyPort(pthread_self(), domain);
    return true;
}

CSpyPort* CInfestor::getSpyPort(unsigned long threadId)
{
    for (CSpyPort* const port : {CSpyPort::beingMade(), s_spyPort.load()})
        if (port && port->isAlive(threadId))
            return port;
    return nullptr;
}

extern "C" void* infestCurrentThread(const char* domain)
try {
    if (!CInfestor::getSpyPort(pthread_self()))
        CInfestor::createSpyPort(domain);
    return CInfestor::getSpyPort(pthread_self());
} catch (...) {
    CTracer::debugTrace("The thread got no spy port");
    return nullptr;
}
