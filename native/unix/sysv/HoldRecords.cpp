#include "unix/sysv/HoldRecords.h"

#include "unix/process/ProcessStat.h"
#include "unix/sysv/NoticePage.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <pthread.h>
#include <sys/sem.h>
#include <unistd.h>

namespace {
using CName = std::array<uint64_t, CHoldRecord::NameWords>;

std::atomic<int> s_heapSet = -1, s_namedSet = -1;

/// What every record of this process says. A child made by fork finds out anew.
class CSelf {
public:
    CSelf()
    {
        const std::optional<CProcessStat> stat = CProcessStat::of(m_process);
        m_start = stat ? stat->m_start : 0;
        const std::string name = stat ? stat->m_name : "";
        std::memcpy(m_name.data(), name.data(), std::min(name.size(), sizeof m_name - 1));
    }
    static const CSelf& get();

    /// Whoever reads any of it sees what was written before it, too.
    void writeTo(CHoldRecord& record) const
    {
        record.m_start.store(m_start, std::memory_order_release);
        record.m_process.store(m_process, std::memory_order_release);
        for (size_t index = 0; index < m_name.size(); ++index)
            record.m_name[index].store(m_name[index], std::memory_order_release);
    }

private:
    pid_t m_process = getpid();
    uint64_t m_start = 0;
    CName m_name{};
};

std::atomic<const CSelf*> s_self = nullptr; ///< made by the first use, and by that of each child
thread_local pid_t t_thread = 0;

void forgetSelf()
{
    s_self.store(nullptr, std::memory_order_relaxed);
    t_thread = 0;
}

/// Of two threads that make one, one keeps its own for nothing: once in a process.
const CSelf& CSelf::get()
{
    if (const CSelf* self = s_self.load(std::memory_order_acquire)) [[likely]]
        return *self;
    [[maybe_unused]] static const int isWatching = pthread_atfork(nullptr, nullptr, forgetSelf);
    const CSelf* none = nullptr;
    const auto* made = new CSelf;
    if (s_self.compare_exchange_strong(none, made))
        return *made;
    delete made;
    return *none;
}

pid_t thisThread()
{
    if (t_thread == 0)
        t_thread = gettid();
    return t_thread;
}

/// Coarse: a few milliseconds do not matter here, and it costs a third.
int64_t now()
{
    timespec time;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

CHoldRecord* recordOf(CSemaphoreHandle handle)
{
    CNoticePage* const page = CNoticePage::get();
    if (!page)
        return nullptr;
    if (handle.m_index == 0 && handle.m_set == s_heapSet.load(std::memory_order_relaxed))
        return page->m_records;
    const bool isNamed = handle.m_index > 0 && handle.m_index < CSemaphoreStatus::ListSize &&
                         handle.m_set == s_namedSet.load(std::memory_order_relaxed);
    return isNamed ? page->m_records + handle.m_index : nullptr;
}

struct CHold { ///< copy of a record
    int64_t m_since;
    uint64_t m_start;
    pid_t m_process, m_thread;
    std::string m_name;
};

/// @return none when there is nothing, or it was just changing
std::optional<CHold> readRecord(const CHoldRecord& record)
{
    CHold hold{record.m_since.load(std::memory_order_acquire), record.m_start.load(), record.m_process.load(),
               record.m_thread.load(), ""};
    CName name;
    std::transform(std::begin(record.m_name), std::end(record.m_name), name.begin(),
                   [](const auto& word) { return word.load(); });
    const auto* const text = reinterpret_cast<const char*>(name.data());
    hold.m_name.assign(text, strnlen(text, sizeof name));
    if (hold.m_since == 0 || record.m_since.load() != hold.m_since)
        return std::nullopt;
    return hold;
}

void describeFrom(CLockHolder& holder, const CHold& hold)
{
    holder.m_processName = hold.m_name;
    holder.m_thread = hold.m_thread;
    holder.m_forMs = std::max<int64_t>(0, (now() - hold.m_since) / 1'000'000);
    if (const auto thread = CProcessStat::ofThread(holder.m_process, holder.m_thread))
        holder.m_threadName = thread->m_name;
}

/// @param process  0: one that cannot be seen from here
CLockHolder described(pid_t process, const std::optional<CHold>& hold)
{
    CLockHolder holder;
    holder.m_process = process;
    const auto stat = process > 0 ? CProcessStat::of(process) : std::nullopt;
    const bool isThere = process == 0 || kill(process, 0) == 0 || errno != ESRCH;
    // A record of the process that has this number, or of the one that had it: then this one is a stranger.
    const bool isOfStranger =
        stat && hold && hold->m_start != 0 && hold->m_start != stat->m_start && hold->m_process == process;
    holder.m_isAlive = isThere && !isOfStranger && !(stat && stat->isZombie());
    if (hold && (process == 0 || (stat ? hold->m_start == stat->m_start : hold->m_process == process)))
        describeFrom(holder, *hold);
    if (isOfStranger)
        holder.m_processName = hold->m_name;
    else if (stat)
        holder.m_processName = stat->m_name;
    return holder;
}
} // namespace

void CHoldRecords::setHeapSet(int set)
{
    s_heapSet.store(set, std::memory_order_relaxed);
}

void CHoldRecords::setNamedSet(int set)
{
    s_namedSet.store(set, std::memory_order_relaxed);
}

void CHoldRecords::taken(CSemaphoreHandle handle)
{
    CHoldRecord* const record = recordOf(handle);
    if (!record)
        return;
    // The last holder may have died with it: what is written now is nobody's until it says since when.
    record->m_since.store(0, std::memory_order_relaxed);
    CSelf::get().writeTo(*record);
    record->m_thread.store(thisThread(), std::memory_order_release);
    record->m_since.store(now(), std::memory_order_release);
}

void CHoldRecords::givenBack(CSemaphoreHandle handle)
{
    if (CHoldRecord* const record = recordOf(handle))
        record->m_since.store(0, std::memory_order_relaxed);
}

std::optional<CLockHolder> CHoldRecords::holderOf(CSemaphoreHandle handle)
{
    if (semctl(handle.m_set, handle.m_index, GETVAL) <= 0)
        return std::nullopt;
    const pid_t process = semctl(handle.m_set, handle.m_index, GETPID);
    const CHoldRecord* const record = recordOf(handle);
    const std::optional<CHold> hold = record ? readRecord(*record) : std::nullopt;
    // Given back meanwhile, and perhaps taken by another one.
    if (process == -1 || semctl(handle.m_set, handle.m_index, GETVAL) <= 0)
        return std::nullopt;
    return described(process, hold);
}
