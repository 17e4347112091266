/// The one request for the GUI thread that the exported callback globals hold.
///
/// The globals are plain words that anybody may look at without a lock, and whoever sends stores into them
/// whatever they hold: a request that has not run yet is overwritten. Only the library's own senders and the
/// hook that takes a request from them keep each other out, by a lock of their own: a callback with the
/// parameter of another one would work on memory that has been freed.
#pragma once

#include "include/GxGlobals.h"

#include <optional>

struct CCallbackRequest {
    GxCallback callback;
    long param;
};

class CCallbackGlobals {
public:
    /// Stores a request for a thread. Any thread.
    /// @return what it overwrote and will never run: the caller frees what that one's parameter owns
    static std::optional<CCallbackRequest> put(const CCallbackRequest& request, unsigned long threadId);
    /// Takes the request out of the globals, so that it runs once.
    /// @return nothing when there is none for that thread
    static std::optional<CCallbackRequest> take(unsigned long threadId);
};
