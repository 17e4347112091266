/// What makes a change of spy memory whole, wherever its process is killed. The stored form is described in
/// doc/journal.md.
#pragma once

#include "include/SpyHeap.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

class CSharedMemory;

/// The undo journal of the display. Whatever changes bytes of a heap that somebody may read later says so
/// with `keep` before it stores: the old bytes go into the journal, which is closed with one store when the
/// unit ends. Whoever takes the heap mutex next after a death finds the journal open and puts the old bytes
/// back.
///
/// A unit begins with the first change under the heap mutex. It ends when the header of a container was
/// written back, or a call from Java is over, and nobody in this process has a part in it any more (CSpyUnit,
/// CSpyUnitPart); at the latest when the mutex is given back.
///
/// All of it belongs to the thread that holds the heap mutex. Without a journal (see CJournalSegment) changes
/// are made as they come.
class CSpyJournal {
public:
    /// Attaches the journal of the display. Hold CSharedMemoryGuard.
    /// @param firstHeap  heap 0
    static void attach(const CSharedMemory& firstHeap);
    static void detach();
    /// Whether ids of processes mean the same to all that have used the store, as far as the latest holder of
    /// the mutex in this process could see: one without a process may else belong to another namespace. Any
    /// thread.
    static bool seesAll() { return s_seesAll.load(std::memory_order_relaxed); }

    /// The mutex was just taken by a thread that did not hold it: finishes what a dead process has begun.
    static void begin();
    /// The mutex is about to be given back.
    static void end();
    /// Undoes what this thread has begun and will not go on with.
    static void rollBack();
    /// Another thread ends the process and gives heap 0 up under this one: from now on no unit of this
    /// process ends, as if it had been killed. Whoever gets the mutex next undoes what it goes on to do. Any
    /// thread.
    static void cut() { s_isCut = true; }
    static bool isCut() { return s_isCut; }

    /// The bytes at `place`, which lie in a heap or nowhere that matters, are about to change.
    static void keep(const void* place, size_t length);
    template <class Place> static void keep(const Place& place) { keep(&place, sizeof place); }
    /// Keeps what is there, and stores.
    template <class Value> static void store(CShared<Value>& place, Value value)
    {
        keep(place);
        place.store(value);
    }
    /// Nothing that counts lies in these bytes of a heap as long as the unit can still be undone: `keep` need
    /// not keep them.
    static void isFresh(const CSpyHeap& heap, uint32_t from, uint32_t to);
    /// These bytes were given up in this unit: others may get them, and undoing brings back what was there.
    static void isGivenUp(const CSpyHeap& heap, uint32_t from, uint32_t to);
    /// Whether the mark of the heap (see CHeapChange) is this unit's.
    static bool hasMarked(const CSpyHeap& heap);
    /// Sets the mark. It is taken away when the unit ends.
    static void mark(CSpyHeap& heap);
    /// The mark stays when the unit ends, for the next change to rebuild the lists.
    static void leaveMark(const CSpyHeap& heap);
    /// Ends the unit so far, and begins another: what was changed stays.
    static void checkpoint();
    /// Whether a heap was dropped in this unit, which is emptied when the unit has ended.
    static bool hasDropped();
    static void dropped(CSpyHeap& heap);

    static void join() { ++s_parts; }
    static void leave();
    /// What was changed so far makes sense by itself: the unit ends with its last part.
    static void isComplete() { s_isComplete = true; }
    /// Tells the times at which the mutex was held apart.
    static uint64_t holding() { return s_holding.load(std::memory_order_relaxed); }

    /// While it is the same, no other process has begun a unit, and none was undone. Hold the heap mutex.
    static uint64_t era() { return s_era; }
    /// The same, after a look whether a process without a journal may have changed anything. That costs a
    /// call of the system: it is asked once in each tick of the clock, which is 4 ms at most.
    static uint64_t confirmedEra();

    /// Bytes that the largest unit of this process took.
    static size_t mostUsed() { return s_mostUsed; }
    static void resetMostUsed() { s_mostUsed = 0; }
    /// For tests: is called after each step that a process may be killed at.
    static inline void (*s_step)() = nullptr;

    static void step()
    {
        if (s_step) [[unlikely]]
            s_step();
    }

private:
    static void hold(uint64_t more);
    static void append(uint32_t where, const void* place, uint32_t length);
    static void appendInSegments(uint32_t where, const unsigned char* bytes, uint32_t length);
    static bool makeRoomFor(uint32_t length);
    static void close();
    static void forget();
    static void playBack();
    static void finish();
    static void emptyDropped();

    static inline std::atomic<bool> s_seesAll = true;
    static inline std::atomic<bool> s_isCut = false;
    static inline unsigned s_parts = 0;
    static inline bool s_isComplete = false;
    static inline std::atomic<uint64_t> s_holding = 0;
    static inline uint64_t s_era = 0;
    static inline size_t s_mostUsed = 0;
};

/// The part of a container whose header differs from the stored one, from `take` to `leave`. Take it under the
/// mutex; in the unit it counts until that is given back.
class CSpyUnitPart {
public:
    CSpyUnitPart() = default;
    ~CSpyUnitPart() { leave(); }
    CSpyUnitPart(const CSpyUnitPart&) = delete;
    CSpyUnitPart& operator=(const CSpyUnitPart&) = delete;

    bool isTaken() const { return m_isTaken; }
    void take()
    {
        m_isTaken = true;
        if (m_holding == CSpyJournal::holding())
            return;
        m_holding = CSpyJournal::holding();
        CSpyJournal::join();
    }
    void leave()
    {
        if (m_holding != 0 && m_holding == CSpyJournal::holding()) {
            CSpyJournal::isComplete();
            CSpyJournal::leave();
        }
        m_holding = 0;
        m_isTaken = false;
    }

private:
    bool m_isTaken = false;
    uint64_t m_holding = 0; ///< the time of the mutex that it counts for
};

/// The heap mutex for a scope, and a part in the unit: whatever dies, all that is changed in it is done or
/// nothing.
class CSpyUnit {
public:
    CSpyUnit() { CSpyJournal::join(); }
    ~CSpyUnit() { CSpyJournal::leave(); }
    CSpyUnit(const CSpyUnit&) = delete;
    CSpyUnit& operator=(const CSpyUnit&) = delete;

private:
    const CSpyHeapLock m_lock;
};

/// The same for a call from outside, after which the unit ends.
class CSpyCall : public CSpyUnit {
public:
    ~CSpyCall() { CSpyJournal::isComplete(); }
};
