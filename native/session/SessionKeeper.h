/// Sees to it that nothing outlives a session.
#pragma once

#include <functional>
#include <sys/types.h>
#include <vector>

namespace SessionKeeper {
/// Runs `session` in a child process, the keeper, which takes in whatever the session's programs leave
/// behind, daemons included. When `session` returns, when the keeper is killed and when the calling process
/// is, all that it has started is asked to end by SIGTERM, and after two seconds by SIGKILL. Programs of
/// another user, such as those of sudo, are out of reach. SIGHUP, SIGINT and SIGTERM that somebody sends the
/// calling process reach the process of passSignalsTo; those of the terminal reach it by themselves.
/// @param clearUp  called when all of that has ended, by the keeper, by the calling process, or by both
/// @return what `session` answers, 128 + signal when the keeper was killed
int run(const std::function<int()>& session, const std::function<void()>& clearUp);

/// In the keeper: ends what the session's command has left behind, but for the processes named.
void endLeftovers(const std::vector<pid_t>& spared);
/// In the keeper: has signals passed on to a process from now on; 0 ends that.
void passSignalsTo(pid_t process);
} // namespace SessionKeeper
