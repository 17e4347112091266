/// Ends a program with the one that had it started, whatever way that one ends.
#pragma once

#include <sys/types.h>

namespace Companion {
/// Leaves a process behind that ends the calling process, and what that has started meanwhile, as soon as
/// `master` has ended: by SIGTERM, and after two seconds by SIGKILL. The caller may become another program;
/// it does not see the companion, which is no child of it. A descendant that has become a child of another
/// process is not found.
/// @return false when there is no such process, or the system knows no handles of processes (Linux
/// before 5.3)
bool endWith(pid_t master);
} // namespace Companion
