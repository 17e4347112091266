#include "unix/app/CallbackGlobals.h"

#include "unix/app/SpyPort.h"

#include <mutex>

namespace {
constinit std::mutex s_lock;

std::optional<CCallbackRequest> stored()
{
    if (!GlobalMessageCallback)
        return std::nullopt;
    return CCallbackRequest{GlobalMessageCallback, GlobalParam};
}
} // namespace

std::optional<CCallbackRequest> CCallbackGlobals::put(const CCallbackRequest& request, unsigned long threadId)
{
    const std::lock_guard guard(s_lock);
    const std::optional<CCallbackRequest> overwritten = stored();
    GlobalMessageCallback = request.callback;
    GlobalParam = request.param;
    GlobalThreadId = threadId;
    GlobalRunCallback = reinterpret_cast<void*>(&run_callback);
    return overwritten;
}

std::optional<CCallbackRequest> CCallbackGlobals::take(unsigned long threadId)
{
    const std::lock_guard guard(s_lock);
    if (GlobalThreadId != threadId)
        return std::nullopt;
    const std::optional<CCallbackRequest> taken = stored();
    GlobalMessageCallback = nullptr;
    GlobalParam = 0;
    return taken;
}
