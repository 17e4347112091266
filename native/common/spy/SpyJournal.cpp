#include "common/spy/SpyJournal.h"

#include "common/spy/SpyHeapChange.h"
#include "common/trace/CTracer.h"
#include "include/NeverDestroyed.h"
#include "unix/sysv/JournalSegment.h"
#include "unix/sysv/SharedMemory.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>
#include <ctime>
#include <memory>
#include <pthread.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr auto& Signature = CJournalSegment::Signature;

/// Start of the segment; the records follow.
struct CHeader {
    char m_signature[sizeof Signature];
    CShared<uint32_t> m_used;      ///< bytes of records; 0: nothing is to be undone
    CShared<uint32_t> m_open;      ///< not 0: the marks of the heaps below are this journal's
    CShared<uint32_t> m_marking;   ///< 1 more than the heap that is just being marked, 0 for none
    CShared<uint8_t> m_marked[32]; ///< heap n is marked: bit n mod 8 of byte n / 8
    uint8_t m_reserved[60];
    CShared<uint32_t> m_processNamespace; ///< inode of the first process's
    CShared<uint32_t> m_isMixed;          ///< not 0: processes of others have come
};
static_assert(sizeof(CHeader) == 128 && offsetof(CHeader, m_used) == 16 &&
              offsetof(CHeader, m_marked) == 28 && offsetof(CHeader, m_processNamespace) == 120);

/// Behind the old bytes of a record, since records are read from the last to the first; so it may start at
/// any address.
struct [[gnu::packed]] CTrailer {
    uint32_t m_where; ///< heap in the top 8 bits, offset in the low 24
    uint32_t m_length;
};

constexpr uint32_t Nowhere = 0xFFFFFFFF; ///< of the record that fills the end of a segment

/// Bytes of heaps; `m_to` may lie beyond the last heap.
struct CRange {
    uint64_t m_from, m_to;

    bool holds(const CRange& other) const { return m_from <= other.m_from && other.m_to <= m_to; }
    bool meets(const CRange& other) const { return m_from < other.m_to && other.m_from < m_to; }
};

/// A few ranges. What does not fit any more is left out.
class CRanges {
public:
    void clear() { m_count = 0; }
    bool isFull() const { return m_count == m_ranges.size(); }
    bool hold(const CRange& sought) const
    {
        return std::any_of(m_ranges.begin(), end(), [&](const CRange& each) { return each.holds(sought); });
    }
    bool meet(const CRange& sought) const
    {
        return std::any_of(m_ranges.begin(), end(), [&](const CRange& each) { return each.meets(sought); });
    }
    void add(const CRange& range)
    {
        if (!isFull())
            m_ranges[m_count++] = range;
    }

private:
    std::array<CRange, 32>::const_iterator end() const
    {
        return m_ranges.begin() + static_cast<long>(m_count);
    }

    std::array<CRange, 32> m_ranges;
    size_t m_count = 0;
};

/// What was kept lately need not be kept again in the same unit.
class CLately {
public:
    void forget() { ++m_unit; }
    /// @return whether it was kept; it counts as kept from now on
    bool has(uint32_t where, uint32_t length)
    {
        CEntry& entry = m_entries[(where >> 2) % m_entries.size()];
        if (entry.m_unit == m_unit && entry.m_where == where && entry.m_length >= length)
            return true;
        entry = {m_unit, where, length};
        return false;
    }

private:
    struct CEntry {
        uint64_t m_unit = 0;
        uint32_t m_where = 0, m_length = 0;
    };
    std::array<CEntry, 64> m_entries;
    uint64_t m_unit = 1;
};

constexpr size_t KeptPages = 1 << 20; ///< of the segment, between two units

// All of these belong to the holder of the heap mutex, which may be a thread that works on while the process
// ends: what has a destructor lives on.
CNeverDestroyed<std::unique_ptr<CJournalSegment>> s_keptSegment;
std::unique_ptr<CJournalSegment>& s_segment = *s_keptSegment;
size_t s_used = 0; ///< as this process knows, whatever others write into the header
CRanges s_fresh, s_givenUp;
CLately s_lately;
std::bitset<MaxHeap + 1> s_marked;
CNeverDestroyed<std::vector<CSpyHeap*>> s_dropped;
bool s_isPlayingBack = false;
int64_t s_confirmedAt = 0; ///< tick of the clock in which the era was

/// Tells this process from all others, also from those that it forks.
class CSeal {
public:
    static uint64_t get()
    {
        [[maybe_unused]] static const int isWatching = pthread_atfork(nullptr, nullptr, forget);
        while (s_seal == 0)
            if (getrandom(&s_seal, sizeof s_seal, 0) != sizeof s_seal)
                return 0;
        return s_seal;
    }

private:
    static void forget() { s_seal = 0; }
    static inline uint64_t s_seal = 0;
};

CHeader& header()
{
    return *reinterpret_cast<CHeader*>(s_segment->area());
}

unsigned char* records()
{
    return s_segment->area() + sizeof(CHeader);
}

/// Of one segment, for records.
size_t room()
{
    return s_segment->size() - sizeof(CHeader);
}

size_t capacity()
{
    return room() * s_segment->count();
}

size_t placeInSegment(size_t at)
{
    return at < room() ? at : at % room();
}

unsigned char* recordAt(size_t at)
{
    if (at < room()) [[likely]]
        return records() + at;
    return s_segment->area(at / room()) + sizeof(CHeader) + at % room();
}

bool reach(size_t end)
{
    while (end > capacity())
        if (!s_segment->extend())
            return false;
    return true;
}

/// One record, in one segment.
void write(uint32_t where, const unsigned char* bytes, uint32_t length)
{
    const CTrailer trailer{where, length};
    unsigned char* const place = recordAt(s_used);
    if (bytes)
        std::memcpy(place, bytes, length);
    std::memcpy(place + length, &trailer, sizeof trailer);
    s_used += length + sizeof trailer;
}

/// Bytes that the next record can have where it begins. A segment ends with the trailer of a record, be it
/// one of nothing.
uint32_t leftInSegment()
{
    constexpr size_t Trailers = 2 * sizeof(CTrailer);
    const size_t left = room() - placeInSegment(s_used);
    return left > Trailers ? static_cast<uint32_t>(left - Trailers) : 0;
}

void fillSegment()
{
    write(Nowhere, nullptr, static_cast<uint32_t>(room() - placeInSegment(s_used) - sizeof(CTrailer)));
}

[[noreturn]] void waitForEnd()
{
    for (;;)
        pause();
}

/// Whether something is to be undone or finished, whoever has begun it.
bool isOpen()
{
    return s_segment && (header().m_used.load() != 0 || header().m_open.load() != 0);
}

void publish(size_t used)
{
    CHeapChange::step();
    header().m_used.store(static_cast<uint32_t>(used));
    CHeapChange::step();
}

/// Where the first record begins. Between two units it holds the seal of the process whose unit was the last:
/// another's records, of whatever build, overwrite it.
CShared<uint64_t>& seal()
{
    return *reinterpret_cast<CShared<uint64_t>*>(records());
}

bool isSealed()
{
    return s_segment && CSeal::get() != 0 && seal().load() == CSeal::get();
}

CRange rangeIn(const CSpyHeap& heap, uint32_t from, uint32_t to)
{
    const uint64_t start = uint64_t{heap.id()} << 24;
    return {start + from, start + to};
}

bool isMarkedInHeader(HEAPID id)
{
    return (header().m_marked[id >> 3].load() & 1U << (id & 7)) != 0;
}

void markInHeader(HEAPID id, bool isMarked)
{
    CShared<uint8_t>& byte = header().m_marked[id >> 3];
    const auto bit = static_cast<uint8_t>(1U << (id & 7));
    byte.store(static_cast<uint8_t>(isMarked ? byte.load() | bit : byte.load() & ~bit));
}

/// 1 where /proc does not tell.
uint32_t ownProcessNamespace()
{
    struct stat status;
    return stat("/proc/self/ns/pid", &status) == 0 ? static_cast<uint32_t>(status.st_ino) : 1;
}

void enterProcessNamespace()
{
    const uint32_t own = ownProcessNamespace(), first = header().m_processNamespace.load();
    if (first == 0)
        header().m_processNamespace.store(own);
    else if (first != own)
        header().m_isMixed.store(1);
}

/// The heaps that the dead process changed and that are what it left: one that only it had attached is made
/// anew.
class CLeftHeaps {
public:
    /// @return null for a heap that is gone
    CSpyHeap* get(HEAPID id)
    {
        if (!m_isKnown[id]) {
            m_isKnown[id] = true;
            m_heaps[id] = CSpyHeap::leftBehind(id);
        }
        return m_heaps[id];
    }

private:
    std::bitset<MaxHeap + 1> m_isKnown;
    std::array<CSpyHeap*, MaxHeap + 1> m_heaps{};
};

/// A process that knows nothing of journals has repaired the heap and gone on with it.
bool wasChangedByOthers(CLeftHeaps& heaps)
{
    for (HEAPID id = 0; id <= MaxHeap; ++id) {
        if (!isMarkedInHeader(id) || header().m_marking.load() == id + 1)
            continue;
        if (const CSpyHeap* heap = heaps.get(id); heap && !CHeapChange::isMarked(*heap))
            return true;
    }
    return false;
}

void restore(CLeftHeaps& heaps, const CTrailer& record, const unsigned char* bytes)
{
    CSpyHeap* heap = heaps.get(record.m_where >> 24);
    const uint32_t offset = record.m_where & 0xFFFFFFU;
    if (heap && offset <= heap->size() && record.m_length <= heap->size() - offset)
        std::memcpy(reinterpret_cast<unsigned char*>(heap->header()) + offset, bytes, record.m_length);
}

/// Latest first. What contradicts itself, which only a stranger can have written, ends it.
void restoreAll(CLeftHeaps& heaps)
{
    reach(std::min<size_t>(header().m_used.load(), CJournalSegment::Largest));
    size_t at = std::min<size_t>(header().m_used.load(), capacity());
    while (at >= sizeof(CTrailer)) {
        at -= sizeof(CTrailer);
        const CTrailer record = readOnce(*reinterpret_cast<const CTrailer*>(recordAt(at)));
        if (record.m_length > placeInSegment(at))
            return;
        at -= record.m_length;
        if (record.m_where != Nowhere)
            restore(heaps, record, recordAt(at));
        CSpyJournal::step();
    }
}
} // namespace

// Life

void CSpyJournal::attach(const CSharedMemory& firstHeap)
{
    detach(); // of a store that is gone, before the page of the new one is in use
    s_segment = std::make_unique<CJournalSegment>(firstHeap);
    if (!s_segment->area()) {
        s_segment.reset();
        return;
    }
    if (!s_segment->existed() || !firstHeap.existed()) {
        std::memset(s_segment->area(), 0, sizeof(CHeader));
        std::memcpy(header().m_signature, Signature, sizeof Signature);
    } else if (std::memcmp(header().m_signature, Signature, sizeof Signature) != 0) {
        CTracer::debugTrace("Changes of spy memory are not journalled: the segment is not a journal");
        s_segment.reset();
    }
    if (s_segment)
        enterProcessNamespace();
}

void CSpyJournal::detach()
{
    s_segment.reset();
    ++s_era;
    s_confirmedAt = 0;
}

void CSpyJournal::begin()
{
    forget();
    s_parts = 0;
    s_dropped->clear();
    s_isPlayingBack = false; // a child made by fork may have it from its parent
    hold(1 + (holding() & 1));
    if (s_segment) {
        s_seesAll.store(header().m_isMixed.load() == 0, std::memory_order_relaxed);
        s_segment->forgetFurther(); // which a child made by fork may have from its parent
    }
    if (!isSealed())
        ++s_era;
    if (isOpen()) [[unlikely]]
        playBack();
}

void CSpyJournal::end()
{
    close();
    s_parts = 0;
    hold(1);
}

/// Only the holder changes it.
void CSpyJournal::hold(uint64_t more)
{
    s_holding.store(holding() + more, std::memory_order_relaxed);
}

void CSpyJournal::leave()
{
    if (s_parts > 0 && --s_parts == 0 && s_isComplete)
        close();
}

uint64_t CSpyJournal::confirmedEra()
{
    timespec tick;
    clock_gettime(CLOCK_MONOTONIC_COARSE, &tick);
    const int64_t now = int64_t{tick.tv_sec} * 1000000000 + tick.tv_nsec;
    if (now == s_confirmedAt)
        return s_era;
    s_confirmedAt = now;
    if (s_segment && !s_segment->isWithAllAsBefore())
        ++s_era;
    return s_era;
}

void CSpyJournal::checkpoint()
{
    close();
}

void CSpyJournal::forget()
{
    s_used = 0;
    s_isComplete = false;
    s_fresh.clear();
    s_givenUp.clear();
    s_lately.forget();
    s_marked.reset();
}

/// The store that ends the unit, and what may be done after it.
void CSpyJournal::close()
{
    step();
    if (s_isPlayingBack || isCut())
        return;
    if (s_used != 0 || s_marked.any()) {
        publish(0);
        step();
        finish();
        seal().store(CSeal::get());
        if (s_used > std::min(KeptPages, room()))
            s_segment->shrink(KeptPages);
    }
    forget();
    emptyDropped();
}

void CSpyJournal::finish()
{
    for (HEAPID id = 0; id <= MaxHeap && s_marked.any(); ++id) {
        if (!s_marked[id])
            continue;
        s_marked[id] = false;
        if (CSpyHeap* heap = CSpyHeap::attached(id))
            CHeapChange::mark(*heap, CHeapChange::None);
        step();
        if (isCut()) // the heap that has lost its mark may be a copy already
            return;
        markInHeader(id, false);
    }
    CHeapChange::step();
    header().m_open.store(0);
}

/// Empties the heaps that the unit has dropped, when it is done. Destructors get here, so nothing is thrown
/// whatever a damaged heap holds.
void CSpyJournal::emptyDropped()
{
    while (!s_dropped->empty()) {
        CSpyHeap* heap = s_dropped->back();
        s_dropped->pop_back();
        step();
        try {
            heap->empty();
        } catch (...) {
            CTracer::debugTrace("A dropped heap is not emptied: its blocks lead astray");
        }
    }
}

// After a death

void CSpyJournal::rollBack()
{
    if (isOpen())
        playBack();
    forget();
    s_parts = 0;
    s_dropped->clear();
    hold(2);
}

/// May be interrupted anywhere and begun again.
void CSpyJournal::playBack()
{
    s_isPlayingBack = true;
    ++s_era;
    CLeftHeaps heaps;
    CSpyHeap::CHeapHeader& base = *CSpyHeap::getHeap(0)->header();
    const uint32_t changes = base.m_changeCount.load();
    if (header().m_used.load() != 0) {
        CTracer::debugTrace("A process died while it changed spy memory: its change is undone");
        if (wasChangedByOthers(heaps))
            CTracer::debugTrace("An older process has gone on with it: it stays as it is");
        else
            restoreAll(heaps);
    }
    // Whoever has seen heaps come or go in what is undone has to look again.
    if (base.m_changeCount.load() != changes)
        base.m_changeCount.store(changes + 1);
    CHeapChange::step();
    if (isCut())
        return;
    publish(0);
    for (HEAPID id = 0; id <= MaxHeap; ++id) {
        if (!isMarkedInHeader(id))
            continue;
        if (CSpyHeap* heap = heaps.get(id); heap && CHeapChange::isMarked(*heap))
            CHeapChange::mark(*heap, CHeapChange::None);
        if (isCut())
            return;
        markInHeader(id, false);
    }
    header().m_marking.store(0);
    header().m_open.store(0);
    s_segment->shrink(KeptPages);
    s_isPlayingBack = false;
}

// Changes

void CSpyJournal::keep(const void* place, size_t length)
{
    // What is stored without the mutex is a word that belongs to its writer alone, and is part of no unit.
    if (!s_segment || s_isPlayingBack || length == 0 || !CSpyHeapMutex::isHeldHere())
        return;
    const CSpyHeap* heap = CSpyHeap::around(place, length);
    if (!heap)
        return;
    const auto offset =
        static_cast<const unsigned char*>(place) - reinterpret_cast<unsigned char*>(heap->header());
    const CRange range =
        rangeIn(*heap, static_cast<uint32_t>(offset), static_cast<uint32_t>(offset) + length);
    const auto where = static_cast<uint32_t>(range.m_from);
    // What is fresh counts as kept, too: it stays fresh as long as the unit lasts.
    if (!s_lately.has(where, static_cast<uint32_t>(length)) && !s_fresh.hold(range))
        append(where, place, static_cast<uint32_t>(length));
}

/// In the segments that are there, in further ones, or in a journal that begins anew.
bool CSpyJournal::makeRoomFor(uint32_t length)
{
    const size_t segments = length < room() ? 2 : length / room() + 2;
    const auto end = [&] { return s_used + length + segments * 2 * sizeof(CTrailer); };
    if (reach(end()))
        return true;
    CTracer::debugTrace("A change of spy memory outgrows its journal: it is not made in one piece");
    checkpoint();
    if (isCut())
        waitForEnd();
    return reach(end());
}

void CSpyJournal::append(uint32_t where, const void* place, uint32_t length)
{
    const auto* const bytes = static_cast<const unsigned char*>(place);
    if (s_used + length + 2 * sizeof(CTrailer) <= room()) [[likely]]
        write(where, bytes, length); // and there is room for the trailer that a segment ends with
    else if (makeRoomFor(length))
        appendInSegments(where, bytes, length);
    else
        return;
    s_mostUsed = std::max(s_mostUsed, s_used);
    publish(s_used);
    step();
}

void CSpyJournal::appendInSegments(uint32_t where, const unsigned char* bytes, uint32_t length)
{
    s_lately.has(where, length); // also in a journal that was begun anew
    while (length != 0) {
        if (leftInSegment() == 0)
            fillSegment();
        const uint32_t part = std::min(length, leftInSegment());
        write(where, bytes, part);
        where += part;
        bytes += part;
        length -= part;
    }
}

void CSpyJournal::isFresh(const CSpyHeap& heap, uint32_t from, uint32_t to)
{
    const CRange range = rangeIn(heap, from, to);
    if (!s_givenUp.isFull() && !s_givenUp.meet(range) && !s_fresh.hold(range))
        s_fresh.add(range);
}

void CSpyJournal::isGivenUp(const CSpyHeap& heap, uint32_t from, uint32_t to)
{
    const CRange range = rangeIn(heap, from, to);
    if (!s_fresh.hold(range))
        s_givenUp.add(range);
}

// Marks of heaps

bool CSpyJournal::hasMarked(const CSpyHeap& heap)
{
    return s_marked[heap.id()];
}

void CSpyJournal::mark(CSpyHeap& heap)
{
    if (!s_segment || isCut()) {
        CHeapChange::mark(heap, CHeapChange::Blocks);
        return;
    }
    // A mark that is known and not there would be the work of others, save while it is being made.
    header().m_open.store(1);
    header().m_marking.store(heap.id() + 1);
    CHeapChange::step();
    markInHeader(heap.id(), true);
    s_marked[heap.id()] = true;
    step();
    CHeapChange::mark(heap, CHeapChange::Blocks);
    step();
    if (isCut()) // else the mark that a copy has got would be missing
        return;
    header().m_marking.store(0);
    step();
}

void CSpyJournal::leaveMark(const CSpyHeap& heap)
{
    if (!s_segment)
        return;
    s_marked[heap.id()] = false;
    markInHeader(heap.id(), false);
    checkpoint();
}

// Dropped heaps

bool CSpyJournal::hasDropped()
{
    return !s_dropped->empty();
}

void CSpyJournal::dropped(CSpyHeap& heap)
{
    if (std::find(s_dropped->begin(), s_dropped->end(), &heap) == s_dropped->end())
        s_dropped->push_back(&heap);
}
