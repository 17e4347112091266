#include "unix/sysv/UnixSharedMemory.h"

#include "common/trace/CTracer.h"
#include "common/trace/ErrorString.h"
#include "common/trace/GxAssert.h"
#include "include/SpyHeap.h"
#include "unix/sysv/IpcStatus.h"
#include "unix/sysv/SegmentSweep.h"
#include "unix/sysv/SharedMemoryHeader.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>

namespace {
/// Bytes that a signature takes at the start of a segment, so that the area behind it is aligned to 8.
int signatureLength(const char* name)
{
    return static_cast<int>((std::strlen(name) + 1 + 7) & ~size_t{7});
}

CSharedMemoryHeader* directoryOrNull()
{
    try {
        return CSharedMemoryHeader::get();
    } catch (const CNoSegmentHeader&) {
        CTracer::debugTrace("Can't find shared memory segment header block!");
        return nullptr;
    }
}
} // namespace

CSharedMemory* CSharedMemory::create(const char* name, int blockIndex, int size)
{
    return new CUnixSharedMemory(name, blockIndex, size);
}

CUnixSharedMemory::CUnixSharedMemory(const char* name, int blockIndex, int size)
{
    CTracer::debugTrace("Attaching  to shared memory segment %d ...", blockIndex);
    if (blockIndex == 0)
        CSharedMemoryHeader::forgetRemoved();
    CSharedMemoryHeader* directory = directoryOrNull();
    if (!directory)
        return;
    const char* display = CSharedMemoryHeader::display();
    if (!display)
        throw COutOfSpyMemory("could not initialize SpyMemory: DISPLAY not set");
    const key_t key = directory->getKey(display, blockIndex);
    if (CSharedMemoryHeader::attached() != directory)
        return; // the process ends: it may be the key of a copy
    const int length = size + signatureLength(name);
    const bool isAttached =
        attach(key, length) || (CSegmentSweep::removeAbandoned(key, name) && attach(key, length));
    if (!isAttached || !m_area)
        return;
    if (!m_existed)
        std::strcpy(static_cast<char*>(m_base), name);
    if (!m_existed && blockIndex == 0)
        CSegmentSweep::removeOrphanedSets(*directory, key);
    if (checkSignature(name)) {
        m_area = static_cast<char*>(m_base) + signatureLength(name);
        if (blockIndex == 0) {
            CSegmentSweep::rememberBaseHeap(key);
            keep(display);
        }
    } else {
        CTracer::debugTrace("Error - shared memory not valid!");
        traceSegmentAt(key, 0);
        m_area = nullptr;
    }
}

void CUnixSharedMemory::keep(const char* display)
try {
    CSharedMemoryHeader::keepDisplay(display);
    m_keepsDisplay = true;
} catch (const std::bad_alloc&) {
    detach(); // or it would count as one that is in use
    throw;
}

CUnixSharedMemory::~CUnixSharedMemory()
{
    detach();
    if (m_keepsDisplay)
        CSharedMemoryHeader::keepDisplay(nullptr);
}

void CUnixSharedMemory::dump(const char*, unsigned int, unsigned int) {}

bool CUnixSharedMemory::attach(int key, int size)
{
    const bool makes = !CSharedMemoryHeader::looksOnly();
    m_memId = shmget(key, static_cast<size_t>(size), (makes ? IPC_CREAT : 0) | IpcRights);
    if (m_memId == -1) {
        const int reason = errno;
        CTracer::debugTrace("Error trying to create shared memory segment: key = 0x%0x , %s!!!",
                            static_cast<unsigned>(key), CErrorString(reason).text());
        traceSegmentAt(key, reason);
        return false;
    }
    const CSegmentStatus status(m_memId);
    if (!status.isKnown()) {
        const int reason = errno;
        CTracer::debugTrace("Error calling shmctl: %s", CErrorString(reason).text());
        traceSegmentAt(key, reason);
        return false;
    }
    CTracer::debugTrace("Number of attaches = %d ...", static_cast<int>(status.attachments()));
    m_existed = status.attachments() != 0;
    if (!m_existed && !makes) {
        m_memId = -1; // left behind: what is in it counts for nothing
        return false;
    }
    if (!status.mayBeOurs() || status.size() != static_cast<size_t>(size)) {
        CTracer::debugTrace(
            "Shared memory segment of another program: key = 0x%0x , rights %o, %zu bytes instead of %d !!!",
            static_cast<unsigned>(key), static_cast<unsigned>(status.rights()), status.size(), size);
        traceSegmentAt(key, 0);
        m_memId = -1;
        return false;
    }
    if (map(key))
        return true;
    if (!m_existed)
        shmctl(m_memId, IPC_RMID, nullptr);
    return false;
}

bool CUnixSharedMemory::map(int key)
{
    void* address = shmat(m_memId, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        const int reason = errno;
        CTracer::debugTrace("Error trying to attach shared memory segment: key = 0x%0x , %s!!!",
                            static_cast<unsigned>(key), CErrorString(reason).text());
        traceSegmentAt(key, reason);
        return false;
    }
    m_base = address;
    m_size = CSegmentStatus(m_memId).size();
    m_key = key;
    if (reinterpret_cast<uintptr_t>(address) % 2 != 0)
        CTracer::debugTrace("Error got unaligned address: address = 0x%0x !!!",
                            static_cast<unsigned>(reinterpret_cast<uintptr_t>(address)));
    else
        m_area = address;
    return true;
}

void CUnixSharedMemory::detach()
{
    if (!m_base)
        return;
    GX_ASSERT(m_memId != 0, "m_memId != 0");
    if (shmdt(m_base) == -1)
        CTracer::debugTrace("Error trying to detach shared memory segment: id = 0x%0x , %s!!!",
                            static_cast<unsigned>(m_memId), CErrorString(errno).text());
    // Without an area it carries a foreign signature, and is not ours to remove.
    if (m_area && CSegmentStatus(m_memId).attachments() == 0 && shmctl(m_memId, IPC_RMID, nullptr) == -1)
        CTracer::debugTrace("Error removing shared memory segment: %d, with error: %s", m_memId,
                            CErrorString(errno).text());
    m_memId = -1;
    m_base = nullptr;
    m_area = nullptr;
}

void CUnixSharedMemory::leave()
{
    if (!m_base)
        return;
    void* const copy = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (copy == MAP_FAILED)
        return;
    std::memcpy(copy, m_base, m_size);
    // In one step: at no time a thread finds nothing there.
    if (mremap(copy, m_size, m_size, MREMAP_MAYMOVE | MREMAP_FIXED, m_base) != MAP_FAILED)
        m_base = nullptr;
    else
        munmap(copy, m_size);
}

bool CUnixSharedMemory::isRemoved() const
{
    const CSegmentStatus status(m_memId);
    return !status.isKnown() || status.isDoomed();
}

bool CUnixSharedMemory::checkSignature(const char* name) const
{
    return m_base && std::strcmp(static_cast<const char*>(m_base), name) == 0;
}

key_t CUnixSharedMemory::key() const
{
    shmid_ds status;
    if (m_memId == -1 || shmctl(m_memId, IPC_STAT, &status) == -1)
        return -1;
    return status.shm_perm.__key;
}

void CUnixSharedMemory::dumpDisplayTable()
{
    if (const CSharedMemoryHeader* directory = CSharedMemoryHeader::attached())
        directory->dump(stderr);
    else
        CTracer::debugTrace("** No heap header created yet");
}
