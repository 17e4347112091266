#include "unix/sysv/SharedMemoryHeader.h"

#include "common/trace/CTracer.h"
#include "include/NeverDestroyed.h"
#include "unix/sysv/IpcStatus.h"
#include "unix/sysv/SegmentSweep.h"
#include "unix/sysv/SharedMemory.h"
#include "unix/sysv/UnixSharedMemory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <set>
#include <string>
#include <sys/shm.h>
#include <utility>
#include <vector>

namespace {
std::atomic<CSharedMemoryHeader*> s_header = nullptr;
std::atomic<const char*> s_display = nullptr;
bool s_hasLeft = false; ///< under the guard
std::atomic<bool> s_looksOnly = false;
constexpr int LongestName = sizeof(CSharedMemoryHeader::CLayout::m_names[0]) - 1;

std::atomic_ref<char> firstByte(const char* name)
{
    return std::atomic_ref<char>(const_cast<char&>(*name));
}

bool isFree(const char* name)
{
    return firstByte(name).load(std::memory_order_acquire) == 0;
}

/// Never destroyed: the directory has to stay attached until the process ends, or the next one would take it
/// for an abandoned one and hand the same keys out again.
CUnixSharedMemory*& directorySegment()
{
    static auto* segment = new CUnixSharedMemory;
    return segment;
}
} // namespace

void CSharedMemoryHeader::lookOnly()
{
    s_looksOnly = true;
}

bool CSharedMemoryHeader::looksOnly()
{
    return s_looksOnly;
}

CSharedMemoryHeader* CSharedMemoryHeader::attached()
{
    return s_header.load(std::memory_order_acquire);
}

const char* CSharedMemoryHeader::display()
{
    const char* const kept = s_display.load(std::memory_order_acquire);
    return kept ? kept : std::getenv("DISPLAY");
}

/// What was kept stays, since another thread may be reading it, also while the process ends.
void CSharedMemoryHeader::keepDisplay(const char* display)
{
    static CNeverDestroyed<std::set<std::string>> everKept;
    s_display.store(display ? everKept->insert(display).first->c_str() : nullptr, std::memory_order_release);
}

CSharedMemoryHeader* CSharedMemoryHeader::attach()
{
    CUnixSharedMemory& segment = *directorySegment();
    if (s_hasLeft || !segment.attach(s_headerKey, sizeof(CSharedMemoryHeader))) {
        CTracer::debugTrace("U.S.E. - key in use for header");
        return nullptr;
    }
    auto* header = static_cast<CSharedMemoryHeader*>(segment.base());
    if (segment.existed() && !header->isPlausible()) {
        CTracer::debugTrace("U.S.E. - key in use for header");
        traceSegmentAt(s_headerKey, 0);
        segment.leave(); // it is not this process's to remove
        return nullptr;
    }
    // When the last process was killed, its segments are still there; those of a directory that nobody has
    // attached are about to lose their keys.
    if (!looksOnly())
        CSegmentSweep::removeUnused(*header);
    if (!segment.existed())
        header->init();
    return header;
}

/// Which stays attached, since other threads may be reading it.
void CSharedMemoryHeader::forgetRemoved()
{
    if (!attached() || !isRemoved())
        return;
    s_header.store(nullptr, std::memory_order_release);
    static CNeverDestroyed<std::vector<CUnixSharedMemory*>> removed;
    removed->push_back(std::exchange(directorySegment(), new CUnixSharedMemory));
}

/// Whether this is what directories look like. Others may be adding to it.
bool CSharedMemoryHeader::isPlausible() const
{
    const uint32_t next = m_layout.m_nextKey.load();
    const auto& keys = m_layout.m_keys;
    return next > s_headerKey && next != NotFound &&
           std::all_of(std::begin(keys), std::end(keys),
                       [&](const CEntry& entry) {
                           const uint32_t key = entry.m_key.load();
                           return key == NotFound || isPlausible(key, m_layout.m_nextKey.load());
                       }) &&
           std::all_of(std::begin(m_layout.m_names), std::end(m_layout.m_names),
                       [](const auto& name) { return strnlen(name, sizeof name) < sizeof name; });
}

bool CSharedMemoryHeader::isRemoved()
{
    return directorySegment()->isRemoved();
}

/// At the end of the process.
void CSharedMemoryHeader::leave()
{
    s_hasLeft = true;
    if (!s_header.exchange(nullptr))
        return;
    CUnixSharedMemory& segment = *directorySegment();
    segment.leave();
    const long own = segment.base() ? 1 : 0;
    if (const CSegmentStatus status(segment.id()); status.mayBeOurs() && status.attachments() <= own)
        shmctl(segment.id(), IPC_RMID, nullptr);
}

CSharedMemoryHeader* CSharedMemoryHeader::get()
{
    if (CSharedMemoryHeader* header = attached())
        return header;
    const CSharedMemoryGuard guard;
    // In this order: what is attached when the process is past its exit handlers would be left.
    if (!attached() && CSegmentSweep::runAtExit())
        s_header.store(attach(), std::memory_order_release);
    if (!attached())
        throw CNoSegmentHeader();
    return attached();
}

void CSharedMemoryHeader::init()
{
    m_layout.m_nextKey = s_headerKey + 1;
    for (auto& entry : m_layout.m_keys) {
        entry.m_key = NotFound;
        entry.m_nameIndex = NotFound;
        entry.m_blockIndex = NotFound;
    }
    for (auto& name : m_layout.m_names)
        name[0] = 0;
}

key_t CSharedMemoryHeader::getKey(const char* name, int blockIndex)
{
    const auto block = static_cast<uint32_t>(blockIndex);
    const uint32_t index = findOrAdd(name);
    const uint32_t known = index == NotFound ? NotFound : get(index, block);
    if (known != NotFound)
        return static_cast<key_t>(known);
    const uint32_t key = nextKey();
    addKey(index, block, key);
    return static_cast<key_t>(key);
}

uint32_t CSharedMemoryHeader::findOrAdd(const char* name)
{
    const uint32_t index = find(name);
    return index != NotFound ? index : add(name);
}

/// Whatever stands in the directory, never a key that others have a meaning for: that of the directory, or 0,
/// with which the system makes a new object at each call.
uint32_t CSharedMemoryHeader::nextKey()
{
    return std::clamp<uint32_t>(m_layout.m_nextKey.fetch_add(1), s_headerKey + 1, NotFound - 1);
}

uint32_t CSharedMemoryHeader::find(const char* name) const
{
    const auto slot =
        std::find_if(std::begin(m_layout.m_names), std::end(m_layout.m_names), [&](const auto& stored) {
            return !isFree(stored) && std::strncmp(stored, name, sizeof stored) == 0;
        });
    return slot == std::end(m_layout.m_names) ? NotFound : static_cast<uint32_t>(slot - m_layout.m_names);
}

uint32_t CSharedMemoryHeader::add(const char* name)
{
    const auto slot = std::find_if(std::begin(m_layout.m_names), std::end(m_layout.m_names),
                                   [](const auto& stored) { return isFree(stored); });
    if (slot == std::end(m_layout.m_names) || name[0] == 0)
        return NotFound;
    const size_t length = strnlen(name, LongestName);
    std::memcpy(*slot + 1, name + 1, length - 1);
    (*slot)[length] = 0;
    // The first byte makes the slot count: it is written last, for readers without a lock.
    firstByte(*slot).store(name[0], std::memory_order_release);
    return static_cast<uint32_t>(slot - m_layout.m_names);
}

uint32_t CSharedMemoryHeader::get(uint32_t nameIndex, uint32_t blockIndex) const
{
    for (const CEntry& entry : m_layout.m_keys) {
        const uint32_t key = entry.m_key.load(std::memory_order_acquire);
        if (key > s_headerKey && key != NotFound && entry.m_nameIndex == nameIndex &&
            entry.m_blockIndex == blockIndex)
            return key;
    }
    return NotFound;
}

uint32_t CSharedMemoryHeader::addKey(uint32_t nameIndex, uint32_t blockIndex, uint32_t key)
{
    for (CEntry& entry : m_layout.m_keys) {
        // Processes of other displays may be adding theirs: the block index takes the entry, and the key, for
        // readers without a lock, makes it count.
        uint32_t nobody = NotFound;
        if (entry.m_key.load() != NotFound || !entry.m_blockIndex.compare_exchange_strong(nobody, blockIndex))
            continue;
        entry.m_nameIndex = nameIndex;
        entry.m_key.store(key, std::memory_order_release);
        return static_cast<uint32_t>(&entry - m_layout.m_keys);
    }
    return NotFound;
}

void CSharedMemoryHeader::dump(FILE* out) const
{
    for (const CEntry& entry : m_layout.m_keys) {
        const uint32_t key = entry.m_key.load(), name = entry.m_nameIndex.load();
        const char* const text = name < Names ? m_layout.m_names[name] : "";
        if (key != NotFound)
            std::fprintf(out, "Key=0x%04x [%s] blockIndex =%d\n ", key,
                         std::string(text, strnlen(text, LongestName)).c_str(),
                         static_cast<int>(entry.m_blockIndex.load()));
    }
}
