#include "unix/input/Recorder.h"

#include "unix/input/InputStatus.h"

constinit std::atomic<Recorder*> Recorder::s_recorder = nullptr;
constinit thread_local int g_recorder_status = InputSupported;

Recorder& Recorder::create()
{
    static Recorder s_only;
    s_recorder = &s_only;
    return s_only;
}

void Recorder::start()
{
    g_recorder_status = InputNotSupported;
}

void Recorder::stop()
{
    g_recorder_status = InputNotSupported;
}

std::unique_ptr<Event> Recorder::getNextEvent()
{
    g_recorder_status = InputNotSupported;
    return nullptr;
}

void Recorder::releaseEvent()
{
    g_recorder_status = InputNotSupported;
}
