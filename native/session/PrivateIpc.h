/// System V IPC of a session: a namespace of its own, or its turn in the common one.
#pragma once

#include "include/ScopedFile.h"

#include <string>
#include <sys/types.h>
#include <vector>

enum class PrivateIpc { None, Plain, InUserNamespace };

/// Takes the calling process, which must have a single thread, into a new IPC namespace. Where that needs a
/// privilege it lacks, a user namespace comes along, in which it is the same user, or root when `asRoot` says
/// so.
/// @return None where kernel or container forbid both; nothing has changed then
PrivateIpc enterPrivateIpc(bool asRoot = false);

/// A segment, semaphore set or message queue.
struct CSystemVObject {
    enum Kind { Segment, Set, Queue } kind;
    int key;
    int id;
    uid_t maker;
    int attached = 0;       ///< processes that have a segment attached
    pid_t makerProcess = 0; ///< of a segment
};
/// All objects of this IPC namespace.
std::vector<CSystemVObject> systemVObjects();

/// The IPC namespace of a session while it lives. In the common namespace sessions take turns on a lock file.
class CSessionIpc {
public:
    /// Enters a private namespace, or else waits for the turn, without a limit.
    /// @param takesTurns  false: stays in the common namespace beside others then, and removes nothing there
    explicit CSessionIpc(bool takesTurns);

    bool isPrivate() const { return m_private; }
    /// Why no session can run here, such as somebody else's process at the store; empty when one can.
    std::string obstacle() const;
    /// Reports on standard error what the session has left behind, and removes it from the common namespace.
    /// Of that, only what this user has made since the start, under a key such as the store hands out, and
    /// what no process uses any more, is the session's.
    /// @return how many objects were left
    int removeLeft();

private:
    bool isLeft(const CSystemVObject& object) const;

    bool m_private;
    CDescriptor m_turn; ///< descriptor of the lock file
    std::vector<CSystemVObject> m_before;
};
