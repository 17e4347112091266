// Mutexes by name: a map in spy memory from names to semaphores. Stored form: doc/mutexes.md.
#include "unix/ipc/Mutex.h"

#include "common/jni/JniDataTypes.h"
#include "common/spy/AsciiName.h"
#include "common/spy/SpyMap.h"
#include "common/text/Ascii.h"
#include "common/trace/CTracer.h"
#include "unix/ipc/SemaphoreList.h"
#include "unix/sysv/HoldRecords.h"

#include <memory>
#include <span>
#include <string>

namespace {
/// The name for traces: what is not ASCII shows as a question mark.
std::string shown(const ITalString& name)
{
    const unsigned short* const units = name;
    return asciiOf(std::span(units, units ? name.length() : 0));
}
} // namespace

CSpyMutex* CUnixMutex::named(const char* name)
{
    auto mutex = std::make_unique<CUnixMutex>();
    return mutex->create(name) ? mutex.release() : nullptr;
}

/// The reference of the map, which is made when there is none.
CSpyMemRef CUnixMutex::getMutexMap(JNIEnv*)
{
    const CAsciiName name(Registry);
    const CSpyUnit unit;
    CSpyMemory known(name);
    if (!known.isNull())
        return known.ref();
    CSpyMap map;
    map.registerName(name);
    return map.ref();
}

CSemaphoreHandle CUnixMutex::find(const ITalString& name)
{
    const CSpyUnit unit;
    const CSpyMemRef mutexes = getMutexMap(env());
    if (!mutexes) {
        CTracer::debugTrace("Couldn't find  Mutex map\r\n");
        return {};
    }
    const CSpyVariant found = CSpyMap(mutexes).get(name);
    const auto handle =
        found.isa(CSpyVariant::SpyLong) ? CSemaphoreHandle(found.as<int64_t>()) : CSemaphoreHandle();
    return CSemaphoreList::has(handle) ? handle : CSemaphoreHandle();
}

CSemaphoreHandle CUnixMutex::find(const char* name)
{
    const CSemaphoreHandle found = find(CAsciiName(name));
    if (!found.isNull())
        CTracer::debugTrace("CUnixMutex::find(%s) : Got the handle\r\n", name);
    return found;
}

bool CUnixMutex::put(const ITalString& name, const CSemaphoreHandle& handle)
{
    const CSpyUnit unit;
    const CSpyMemRef mutexes = getMutexMap(env());
    return !!mutexes && CSpyMap(mutexes).put(name, CSpyVariant(static_cast<long>(handle.number())));
}

bool CUnixMutex::put(const char* name, const CSemaphoreHandle& handle)
{
    const bool stored = put(CAsciiName(name), handle);
    if (stored)
        CTracer::debugTrace("CUnixMutex::put(%s) : mapMutexes.put was succesful\r\n", name);
    return stored;
}

bool CUnixMutex::create(const CJString& name)
{
    return static_cast<jobject>(name) && createNamed(name, shown(name).c_str());
}

bool CUnixMutex::create(const char* name)
{
    return createNamed(name, name);
}

/// @param name  a CJString, or ASCII text, whose look-ups are traced
template <class Name> bool CUnixMutex::createNamed(const Name& name, const char* shownName)
{
    CTracer::debugTrace("create(%s) ...\r\n", shownName);
    // Two processes that ask for one name must not make two mutexes.
    const CSpyUnit unit;
    CSemaphoreHandle handle = find(name);
    if (handle.isNull()) {
        handle = CSemaphoreList().allocSemaphore(1);
        if (handle.isNull() || !put(name, handle)) {
            CTracer::debugTrace("No mutexes available\r\n");
            return !this->handle().isNull();
        }
    }
    giveBack();
    CHoldRecords::setNamedSet(handle.m_set);
    setHandle(handle);
    return true;
}
