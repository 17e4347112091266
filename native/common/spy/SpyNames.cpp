#include "common/spy/SpyNames.h"

#include "common/spy/SpyMap.h"
#include "common/spy/SpyMemory.h"
#include "common/spy/SpyVariant.h"
#include "common/trace/CTracer.h"
#include "common/trace/FilePlace.h"
#include "common/trace/GxAssert.h"
#include "include/ITalString.h"

#include <cstdio>
#include <fcntl.h>
#include <string>

CSpyNames::CSpyNames() : m_pHeap(CSpyHeap::getHeap(0))
{
    // Two processes that start at once would otherwise make a registry each.
    const CSpyUnit unit;
    m_refNames = m_pHeap->global(GlobalSlot);
    if (!m_refNames) {
        CSpyMap names;
        m_refNames = names.ref();
        m_pHeap->registerGlobal(GlobalSlot, m_refNames);
    }
}

bool CSpyNames::isCurrent() const
{
    const CSpyHeap* base = CSpyHeap::getHeap(0);
    return base == m_pHeap && !!m_refNames && m_refNames == base->global(GlobalSlot);
}

bool CSpyNames::registerName(CSpyVariant& key, const CSpyVariant& value)
{
    GX_ASSERT(!(!m_refNames), "!(!m_refNames)");
    const CSpyUnit unit;
    return CSpyMap(m_refNames).put(key, value);
}

CSpyVariant CSpyNames::get(const ITalString& name)
{
    GX_ASSERT(!(!m_refNames), "!(!m_refNames)");
    if (name.length() == 0)
        return {};
    const CSpyUnit unit;
    return CSpyMap(m_refNames).get(name);
}

CSpyVariant CSpyNames::remove(const ITalString& name)
{
    GX_ASSERT(!!m_refNames, "!!m_refNames");
    const CSpyUnit unit;
    return CSpyMap(m_refNames).remove(name);
}

std::atomic<CSpyNames*> CSpyMemory::m_pNames = nullptr;

/// Made anew when the base heap was: the old registry went with the old heap.
CSpyNames* CSpyMemory::names()
{
    CSpyNames* known = m_pNames.load(std::memory_order_acquire);
    if (known && known->isCurrent())
        return known;
    const CSpyUnit unit;
    known = m_pNames.load(std::memory_order_acquire);
    if (!known || !known->isCurrent())
        delete m_pNames.exchange(known = new CSpyNames, std::memory_order_acq_rel);
    return known;
}

CSpyMemory::CSpyMemory(const ITalString& name) : CSpyMemory()
{
    const CSpyVariant found = locate(name);
    if (!found.isa(CSpyVariant::SpyEmpty))
        m_ref = found.ref();
}

CSpyVariant CSpyMemory::locate(const ITalString& name)
{
    const CSpyUnit unit;
    CSpyNames* known = names();
    return known ? known->get(name) : CSpyVariant();
}

CSpyVariant CSpyMemory::remove(const ITalString& name)
{
    const CSpyUnit unit;
    CSpyNames* known = names();
    GX_ASSERT(known, "m_pNames != 0");
    return known->remove(name);
}

bool CSpyMemory::registerName(const ITalString& name)
{
    const CSpyUnit unit;
    CSpyNames* known = names();
    GX_ASSERT(known, "m_pNames != 0");
    CSpyVariant key(name, 0);
    return known->registerName(key, CSpyVariant(*this));
}

CSpyMemRef CSpyMemory::allocate(const ITalString& name, unsigned int size, UNIQUEID transactionId)
{
    allocate(size, transactionId);
    if (!!m_ref && name.length() > 0)
        registerName(name);
    return m_ref;
}

void CSpyMemory::dump(const ITalString& file)
{
    const char* path = file;
    ScopedFile out(path ? openStream(path, O_APPEND) : nullptr);
    if (!out) {
        CTracer::debugTrace("Tried to dump heap but could not open file %s", path ? path : "(null)");
        return;
    }
    std::fputs("****** Heap Dump ******\n", out.get());
    out.reset();
    const CSpyHeap::CReading reading;
    for (HEAPID id = 0; id <= MaxHeap; ++id)
        if (const CSpyHeap* heap = CSpyHeap::getHeap(id))
            heap->dump(path, true);
}
