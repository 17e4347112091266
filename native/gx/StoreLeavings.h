/// What processes that have died have left of the stores of all displays: segments and semaphore sets. Only
/// looked at by their status and read-only, so that looking changes nothing.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

struct CLeaving {
    enum Kind { Directory, Heap, Journal, Semaphores } kind;
    key_t key;
    int id;
    size_t size;          ///< bytes, or semaphores
    std::string display;  ///< whose store it belongs to; empty when that is not known
    uid_t owner;          ///< who has made it
    pid_t process;        ///< that has made it, or was the last to use it; 0: cannot be seen from here
    std::string whyStays; ///< why it is not this user's to remove; empty when it is

    const char* what() const;
};

namespace StoreLeavings {
/// In the order in which they can be removed.
std::vector<CLeaving> find();
/// Removes those that are this user's, each after another look. @return those that it has removed
std::vector<CLeaving> sweep();
/// Whether the store of a display is in use: its first heap is attached. Hold CSharedMemoryGuard to rely on
/// it.
bool isInUse(const char* display);
/// Who has made the first heap of a display; -1 when there is none.
int makerOf(const char* display);
std::string nameOfUser(uid_t user);
} // namespace StoreLeavings
