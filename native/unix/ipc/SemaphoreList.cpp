#include "unix/ipc/SemaphoreList.h"

#include "common/spy/AsciiName.h"
#include "common/spy/SpyVariant.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"
#include "unix/sysv/SegmentSweep.h"
#include "unix/sysv/UnixSharedMemory.h"

#include <algorithm>
#include <iterator>

namespace {
const CUnixSharedMemory& baseHeap()
{
    return static_cast<const CUnixSharedMemory&>(*CSpyHeap::getHeap(0)->sharedMemory());
}

bool isSetOfBaseHeap(int set)
{
    const CSemaphoreStatus status(set);
    return status.key() == baseHeap().attachedKey() && status.isOurs(CSemaphoreStatus::ListSize);
}
} // namespace

bool CSemaphoreList::has(CSemaphoreHandle handle)
{
    return handle.m_index >= 1 && handle.m_index < Indices && isSetOfBaseHeap(handle.m_set);
}

CSemaphoreList::CSemaphoreList()
{
    const CAsciiName name("%SemaphoreList%");
    const CSpyUnit unit;
    const CSpyVariant found = locate(name);
    if (found.isa(CSpyVariant::SpyEmpty)) {
        make(name);
    } else {
        CTracer::debugTrace("Got existing semaphoreList");
        m_ref = found.ref();
    }
    m_pList = &m_list;
}

void CSemaphoreList::make(const ITalString& name)
{
    CTracer::debugTrace("Creating semaphore List");
    const key_t key = baseHeap().key();
    CSemaphoreSet set;
    if (!set.create(key, Semaphores, false)) {
        std::fill_n(m_list.m_used, Indices, 1);
        return;
    }
    CSegmentSweep::rememberSet(set.id());
    m_list = {static_cast<uint32_t>(key), set.id(), {1}};
    allocate(sizeof m_list, 0);
    write(&m_list, sizeof m_list);
    registerName(name);
}

/// A set that was removed from the system takes its semaphores along: what they were given to has none then.
void CSemaphoreList::replaceGone()
{
    const key_t key = baseHeap().key();
    CSemaphoreSet set;
    if (CSemaphoreStatus(m_list.m_set).key() != -1 || key <= 0 || !set.create(key, Semaphores, false))
        return;
    CSegmentSweep::rememberSet(set.id());
    m_list = {static_cast<uint32_t>(key), set.id(), {1}};
    write(&m_list, sizeof m_list);
}

CSemaphoreHandle CSemaphoreList::allocSemaphore(int count)
{
    GX_ASSERT(m_pList, "m_pList != 0");
    const CSpyUnit unit;
    read(&m_list, sizeof m_list);
    if (count < 1)
        return {m_list.m_set, 0};
    replaceGone();
    const auto run = std::search_n(std::begin(m_list.m_used), std::end(m_list.m_used), count, 0);
    if (run == std::end(m_list.m_used))
        return {};
    if (!isSetOfBaseHeap(m_list.m_set)) {
        CTracer::debugTrace("The semaphore list names a set that is not its own: %d", m_list.m_set);
        return {};
    }
    std::fill_n(run, count, uint8_t{1});
    write(&m_list, sizeof m_list);
    return {m_list.m_set, static_cast<int32_t>(run - m_list.m_used)};
}

void CSemaphoreList::freeSemaphore(CSemaphoreHandle handle, int count)
{
    GX_ASSERT(m_pList, "m_pList != 0");
    const CSpyUnit unit;
    read(&m_list, sizeof m_list);
    for (int64_t index = handle.m_index; index < int64_t{handle.m_index} + count; ++index)
        if (handle.m_set != m_list.m_set || index < 0 || index >= Indices || m_list.m_used[index] == 0)
            CTracer::debugTrace("!Error trying to free already free semaphore!");
        else
            m_list.m_used[index] = 0;
    write(&m_list, sizeof m_list);
}
