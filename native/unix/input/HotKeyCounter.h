/// How often this library itself has pressed a hot key, counted for all processes of the display: a player
/// that sees the key pressed takes one count for it, and only a press that nobody counted is the user's.
#pragma once

#include "common/spy/SpyMemory.h"

/// A signed 32-bit number in spy memory, found by its name. Any thread; raises what spy memory raises.
class HotKeyCounter : public CSpyMemory {
public:
    void increment() { add(1); }
    void decrement() { add(-1); }
    /// Without the heap mutex: the number may have changed since.
    int getValue();

protected:
    /// Opens the counter of that name, or makes it with value 0.
    explicit HotKeyCounter(const ITalString& name);

private:
    void add(int change);
};

/// Presses of the hot key that stops playback.
class StopHotKeyCounter : public HotKeyCounter {
public:
    StopHotKeyCounter();
};

/// Presses of the hot key that pauses playback.
class PauseHotKeyCounter : public HotKeyCounter {
public:
    PauseHotKeyCounter();
};
