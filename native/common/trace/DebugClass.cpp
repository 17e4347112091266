#include "common/trace/DebugClass.h"

#include "common/trace/CTracer.h"

#include <sys/prctl.h>
#include <unistd.h>

DebugClass::DebugClass() noexcept
{
    m_action.sa_handler = [](int signal) { signalHandler(signal); };
    sigemptyset(&m_action.sa_mask);
}

void DebugClass::signalHandler(int signal) noexcept
{
    CTracer::debugTrace("A %d violation has occurred", signal);
    prctl(PR_SET_DUMPABLE, 1);
    ::signal(signal, SIG_DFL);
    kill(getpid(), signal);
}
