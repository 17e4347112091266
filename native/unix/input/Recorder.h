/// The recorder of what a user does. X11 offers nothing to build it on: every operation answers that it is
/// not supported, by g_recorder_status, or does nothing.
#pragma once

#include "unix/input/EventManager.h"

#include <atomic>
#include <memory>

class Recorder {
public:
    /// Makes the recorder of this process, once.
    static Recorder& create();
    /// Null until it has been made.
    static Recorder* get() { return s_recorder; }

    void init() {}
    void cleanup() {}
    void start();
    void stop();
    /// The next action of the user; null: none.
    std::unique_ptr<Event> getNextEvent();
    /// Lets the last event go.
    void releaseEvent();
    void flushKeys() {}
    void setRecorderToIgnoreTimeout(bool) {}

private:
    static std::atomic<Recorder*> s_recorder;
};
