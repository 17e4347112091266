/// Waiting until something changes on the screen.
#pragma once

#include "unix/screen/ScreenConnection.h"

#include <mutex>
#include <vector>

/// Told by the server of windows that come, go, move or change their order, and of drawing (XDamage, where
/// the server has it), on a connection of its own. Any thread; one at a time waits.
class CScreenWatch {
public:
    /// @param processes  only drawing in windows of these processes counts, as they are now; none: all that
    /// changes on the screen
    explicit CScreenWatch(const std::vector<int>& processes);

    enum class Seen { Nothing, Change, NoServer };
    /// Waits for a change since the last call, or since this object was made.
    /// @param milliseconds  the longest wait; more than 100 count as 100
    Seen await(int milliseconds);

private:
    std::mutex m_mutex;
    CScreenConnection m_connection;
};
