/// Calls of the system that signals interrupt.
#pragma once

#include <cerrno>
#include <type_traits>

/// Calls until no signal interrupts it.
/// @param call  answers false or less than 0 where it fails, and sets errno
/// @return what it answered in the end
template <class Call> auto retried(Call call)
{
    const auto hasFailed = [](auto answer) {
        if constexpr (std::is_same_v<decltype(answer), bool>)
            return !answer;
        else
            return answer < 0;
    };
    auto answer = call();
    while (hasFailed(answer) && errno == EINTR)
        answer = call();
    return answer;
}
