#include "agent/MainLoop.h"

#include "agent/Agent.h"
#include "agent/RealFunction.h"

#include <atomic>

namespace {
constexpr const char* glib = "libglib-2.0.so.0";
constexpr int readable = 1; // G_IO_IN

using Idle = int (*)(void*);
using OnDescriptor = int (*)(int, int, void*);
constinit CRealFunction<unsigned(Idle, void*)> s_addIdle{"g_idle_add", glib};
constinit CRealFunction<unsigned(int, int, OnDescriptor, void*)> s_addDescriptor{"g_unix_fd_add", glib};
// Older programs call GDK from several threads under its lock; their main loop has let go of it when it calls
// us.
constinit CRealFunction<void()> s_enterGdk{"gdk_threads_enter", "libgdk-3.so.0", "libgdk-x11-2.0.so.0"};
constinit CRealFunction<void()> s_leaveGdk{"gdk_threads_leave", "libgdk-3.so.0", "libgdk-x11-2.0.so.0"};

int onRequest(int, int, void*)
{
    s_enterGdk();
    CAgent::deliver();
    s_leaveGdk();
    return 1; // goes on watching
}

int onReady(int, int, void*)
{
    s_enterGdk();
    const bool started = CAgent::start();
    s_leaveGdk();
    int descriptors[2];
    const int count = started ? CAgent::descriptors(descriptors) : 0;
    for (int index = 0; index < count; ++index)
        s_addDescriptor(descriptors[index], readable, onRequest, nullptr);
    return 0; // once
}

/// Of lower priority than drawing: the first window is up by then.
int onIdle(void*)
{
    if (const int ready = CAgent::begin(); ready >= 0)
        s_addDescriptor(ready, readable, onReady, nullptr);
    return 0; // once
}
} // namespace

void GlibLoop::onDisplayOpened()
{
    static std::atomic_flag s_waits;
    if (s_addIdle && s_addDescriptor && s_enterGdk && s_leaveGdk && !s_waits.test_and_set())
        s_addIdle(onIdle, nullptr);
}
