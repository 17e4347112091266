/// The user who runs this process by sudo.
#pragma once

#include <sys/types.h>

struct CSudoUser {
    uid_t user = 0;
    gid_t group = 0;
};

/// The user whom SUDO_USER names; zeros for one that nobody knows. Looked up once, when it is first asked
/// for.
const CSudoUser& sudoUser() noexcept;
