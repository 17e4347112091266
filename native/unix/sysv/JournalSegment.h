/// The memory of the journal of an X display.
#pragma once

#include <array>
#include <cstddef>
#include <ctime>
#include <sys/types.h>

class CSharedMemory;

/// Who has attached a segment, as far as one look can tell from another.
struct CAttachments {
    explicit CAttachments(int segment);
    bool operator==(const CAttachments&) const = default;

    unsigned long m_count = 0;
    pid_t m_latest = 0; ///< process that came or went
    time_t m_cameAt = 0, m_wentAt = 0;
};

/// A segment that goes with the first heap of a display: every process that has the one attached has the
/// other. Its key follows from that of the heap and is in no directory. Only the pages that are written take
/// memory. Making and deleting one is for one process at a time: hold CSharedMemoryGuard. Its last page is
/// not the journal's: see CNoticePage.
///
/// Where the system does not allow the largest size, a unit that needs more gets further segments of the same
/// size while it lasts. They are for the holder of the heap mutex.
class CJournalSegment {
public:
    static constexpr char Signature[16] = "SPY-JOURNAL-1"; ///< that the journal starts with
    static constexpr size_t Largest = size_t{128} << 20; ///< where the system allows less, it is 16 or 1 MiB
    static constexpr size_t Smallest = size_t{1} << 20;

    /// Attaches it, or makes it. A failure is traced, and leaves an object without area.
    explicit CJournalSegment(const CSharedMemory& firstHeap);
    /// Detaches it; the last process to do so removes it.
    ~CJournalSegment();
    CJournalSegment(const CJournalSegment&) = delete;
    CJournalSegment& operator=(const CJournalSegment&) = delete;

    /// Null when the segment could not be attached, or is somebody else's.
    unsigned char* area() const { return m_area; }
    size_t size() const { return m_size; }
    /// Whether other processes had it attached when this one came. One that did not exist consists of zeros.
    bool existed() const { return m_existed; }
    /// Whether all processes that have the first heap attached have this one, too, and none has come or gone
    /// since that was asked last. Each looks like another one: a child made by fork comes, too.
    bool isWithAllAsBefore();
    /// The first segment and the further ones that this process has attached.
    size_t count() const { return 1 + m_count; }
    unsigned char* area(size_t number) const { return number == 0 ? m_area : m_further[number - 1].m_area; }
    /// Attaches the next further one, or makes it. @return false when the system has none, or all together
    /// would be more than the largest
    bool extend();
    /// Detaches the further ones, and leaves them to whoever undoes what is kept there.
    void forgetFurther();
    /// Removes them, and gives pages behind the first `kept` bytes back to the system.
    void shrink(size_t kept);
    /// Whether a segment with that start and size, at the key of a further one, is one that a dead process
    /// has left.
    static bool isFurther(const void* start, size_t size);

private:
    struct CFurther {
        int m_id;
        unsigned char* m_area;
    };

    bool attach(int key, size_t size);

    int m_key = 0; ///< of the first heap
    std::array<CFurther, Largest / Smallest> m_further;
    size_t m_count = 0; ///< of them
    int m_id = -1, m_heapId = -1;
    CAttachments m_seen{-1}; ///< of the heap
    bool m_hasAll = false;   ///< those that were seen have the journal
    size_t m_size = 0;
    unsigned char* m_area = nullptr;
    bool m_existed = false;
};
