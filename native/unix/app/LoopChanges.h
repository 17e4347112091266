/// What the toolkit's main loop does while it is not asked: who waits for something to change in the
/// application need not ask until then.
#pragma once

#include <cstdint>

/// Counts the turns of the main loop in which it did anything but run requests, from `watch` on. A turn in
/// which it did both counts when the program has sent its X server something, as all do that shows.
class CLoopChanges {
public:
    /// Has the loop tell of its turns, for good: it costs a few instructions a turn. GUI thread only.
    static void watch();
    /// Waits until the number is another than a known one, and answers it. Any thread but the GUI thread.
    /// @param milliseconds  the longest wait; more than 1000 count as that
    static int64_t await(int64_t known, int milliseconds);

    /// Something of this library's own that runs on the GUI thread, while it lives.
    class COwn {
    public:
        enum Cause { timer, descriptor };
        explicit COwn(Cause cause);
        ~COwn();
        COwn(const COwn&) = delete;
        COwn& operator=(const COwn&) = delete;

    private:
        int m_turns;
    };
};
