// Before anything else of the program is set up: what is linked into it complains of a preference file that
// it makes for a user who has none, and of each connection that an X server refuses. That is no answer of a
// command, which says itself what it lacks, so nobody hears it.
#include "gx/QuietStart.h"

#include <fcntl.h>
#include <unistd.h>

namespace {
int s_errors = -1; ///< standard error, as long as nobody hears it

[[gnu::constructor(101)]] void beQuiet()
{
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
