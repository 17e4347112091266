/// How a sender learns that its request was answered.
#pragma once

#include "common/spy/SpyMemRef.h"

#include <atomic>
#include <cstdint>

/// Tells senders that their requests were answered, of which any number wait at the same time. Some share a
/// bell, and look in vain now and then. Any thread. Without a journal a wait is a pause.
class CAnswerBell {
public:
    /// @param request  the request's block
    explicit CAnswerBell(const CSpyMemRef& request);

    /// How often it was rung. Ask before looking for the answer.
    uint32_t rings() const;
    /// Blocks until it was rung since then, for a millisecond at most.
    void await(uint32_t rings) const;
    void ring() const;

private:
    std::atomic<uint32_t>* m_bell = nullptr;
};
