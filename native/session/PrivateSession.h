/// A world of its own for a test: X server, window manager, System V IPC, home directory.
#pragma once

#include <string>
#include <vector>

class CPrivateSession {
public:
    struct COptions {
        std::string screen = "1280x1024x24"; ///< as Xvfb takes it
        std::string windowManager;           ///< its program; empty for none
        bool mayLeave = false;               ///< System V objects that are left behind are no failure
        bool takesTurns = true; ///< waits for other sessions where there is no IPC namespace of its own
    };
    /// One of the window managers that are installed, if there is any.
    static constexpr const char* AnyWindowManager = "any";
    static constexpr int NoSession = 125; ///< status when there is no display, window manager or home for it
    static constexpr int Skipped = 77;    ///< status of a session that cannot be had here; CTest knows it

    /// Makes sure that this process runs in a private session. Outside of one it makes an empty home
    /// directory, enters a new IPC namespace, starts an Xvfb, which only who can read the cookie in that home
    /// can use, and runs this program anew inside, with the same arguments; it then ends with that run's
    /// status and never returns. So the static initialisers of the library, too, see the private display and
    /// home. Fails with a message when a System V object is left behind at the end.
    ///
    /// Where no IPC namespace can be had, sessions take turns in the common one, remove what they left there,
    /// and are skipped, with the reason on standard error, while somebody else's process uses the store.
    ///
    /// All that runs in the session ends with it: see SessionKeeper.
    static void ensure(int argc, char** argv, bool mayLeave = false);

    /// As `ensure` for another program.
    /// @return the status to exit with: the command's, 128 + signal when it was killed, 126 or 127 when it could
    /// not be started, 1 when anything was left behind, `NoSession`, `Skipped`
    static int run(const std::vector<std::string>& command, const COptions& options);

    /// Inside of a session: null when it has an IPC namespace of its own, else why a test that needs one is
    /// skipped.
    static const char* whyNoPrivateIpc();
    /// Null when this process can make processes and files of another user, else why a test that needs them is
    /// skipped.
    static const char* whyNoOtherUser();
    /// What this process finds for its sessions, in one sentence.
    static std::string environment();
};
