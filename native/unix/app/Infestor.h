/// Who has the spy port of the process.
#pragma once

#include "unix/app/SpyPort.h"

#include <atomic>

/// Any thread.
class CInfestor {
public:
    /// Makes the spy port of the process for the calling thread.
    /// @param domain  as CSpyPort takes it
    /// @return false when the process has one already or another thread is making it
    static bool createSpyPort(const char* domain);
    /// The spy port if it serves that thread, also while it is being made; else null.
    static CSpyPort* getSpyPort(unsigned long threadId);
    /// The spy port, whatever thread it serves; null while there is none.
    static CSpyPort* getDefaultSpyPort() { return s_spyPort; }

private:
    static std::atomic<CSpyPort*> s_spyPort;
};
