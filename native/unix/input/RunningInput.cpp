#include "unix/input/RunningInput.h"

#include "include/NeverDestroyed.h"
#include "unix/process/ProcessEnd.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace {
constexpr std::chrono::seconds patience(2);

struct CPlayback {
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_ends = false;
    int m_running = 0;
    std::vector<void (*)()> m_atEnd;
};

constinit thread_local int s_ownRunning = 0; ///< a thread does not wait for itself

/// Never deleted: threads may play while the process ends.
CPlayback& playback()
{
    static CNeverDestroyed<CPlayback> s_only;
    return *s_only;
}

void awaitRest(std::unique_lock<std::mutex>& guard)
{
    CPlayback& all = playback();
    all.m_changed.wait_for(guard, patience, [&] { return all.m_running <= s_ownRunning; });
}

void leave()
{
    CPlayback& all = playback();
    const std::lock_guard guard(all.m_mutex);
    --all.m_running;
    all.m_changed.notify_all();
}

/// On a thread of its own, since a server that has stopped answers none of them.
void startActions(CPlayback& all)
try {
    std::thread([actions = all.m_atEnd] {
        for (const auto action : actions)
            action();
        leave();
    }).detach();
    ++all.m_running;
} catch (const std::system_error&) {
    // there is no thread to be had any more
}

void endPlayback()
{
    CPlayback& all = playback();
    std::unique_lock guard(all.m_mutex);
    all.m_ends = true;
    all.m_changed.notify_all();
    awaitRest(guard);
    if (!all.m_atEnd.empty())
        startActions(all);
    awaitRest(guard);
}

/// @return whether it may begin
bool enter()
{
    // Later than the connections have registered theirs: what was registered last runs first.
    [[maybe_unused]] static const bool s_registered = atProcessEnd<endPlayback>();
    CPlayback& all = playback();
    const std::lock_guard guard(all.m_mutex);
    ++all.m_running;
    ++s_ownRunning;
    return !all.m_ends;
}
} // namespace

CRunningInput::CRunningInput() : m_mayBegin(enter()) {}

CRunningInput::~CRunningInput()
{
    --s_ownRunning;
    leave();
}

bool CRunningInput::mustStop()
{
    CPlayback& all = playback();
    const std::lock_guard guard(all.m_mutex);
    return all.m_ends;
}

void CRunningInput::pause(int milliseconds)
{
    CPlayback& all = playback();
    std::unique_lock guard(all.m_mutex);
    all.m_changed.wait_for(guard, std::chrono::milliseconds(std::max(milliseconds, 0)),
                           [&] { return all.m_ends; });
}

void CRunningInput::atEnd(void (*action)())
{
    CPlayback& all = playback();
    const std::lock_guard guard(all.m_mutex);
    all.m_atEnd.push_back(action);
}
