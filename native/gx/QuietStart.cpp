// Before anything else of the program is set up: what is linked into it complains of a preference file that
// it makes for a user who has none. That is no answer of a command, so nobody hears it.
#include "QuietStart.h"

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {
int s_errors = -1; ///< standard error, as long as nobody hears it

[[gnu::constructor(101)]] void beQuiet()
{
    const char* const home = std::getenv("HOME");
    if (!home || access((std::string(home) + "/Quessa/ZEMO/vtx_log_trace.properties").c_str(), F_OK) == 0)
        return;
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    s_errors = nowhere < 0 ? -1 : fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    if (s_errors >= 0)
        dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}
} // namespace

void endQuietStart()
{
    if (s_errors < 0)
        return;
    dup2(s_errors, STDERR_FILENO);
    close(s_errors);
}
