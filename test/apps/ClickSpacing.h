/// Clicks of a program at itself that toolkits must not take for one double click.
#pragma once

#include <chrono>
#include <thread>

/// A click is a click to a toolkit when press and release are close to each other in time, so its limit has
/// to stay; two of them are two clicks when there is more time than that between them. Motif's limit is 200
/// ms, GTK's 400 ms.
class CClickSpacing {
public:
    /// Returns when enough time has passed since the last click.
    /// @param iterate  lets the toolkit handle its events meanwhile
    template <class Iterate> void await(Iterate&& iterate) const
    {
        while (std::chrono::steady_clock::now() < m_last + std::chrono::milliseconds(450)) {
            iterate();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    /// The server has had the last click.
    void clicked() { m_last = std::chrono::steady_clock::now(); }

private:
    std::chrono::steady_clock::time_point m_last{};
};
