/// A world of its own for a test process: X server, System V IPC namespace, home directory.
#pragma once

#include <string>
#include <vector>

class CPrivateSession {
public:
    /// Makes sure that this process runs in a private session. Outside of one it starts an Xvfb, enters a new IPC
    /// namespace, makes an empty home directory and runs this program anew inside, with the same arguments; it then
    /// ends with that run's status and never returns. So the static initialisers of the library, too, see the private
    /// display and home. Fails with a message when a System V object is left in the namespace at the end.
    static void ensure(int argc, char** argv);

    /// As `ensure` for another program.
    /// @return the status to exit with: the command's, 128 + signal when it was killed, 1 when anything was left behind
    static int run(const std::vector<std::string>& command);
};
