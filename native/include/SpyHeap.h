/// The heap that all processes of an X display share: one allocator whose whole state lives in shared memory.
/// The stored form is described in doc/spy-heap.md.
#pragma once

#include "include/NativeFailure.h"
#include "include/SharedValue.h"
#include "include/SpyHeapMutex.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <pthread.h>
#include <string>
#include <vector>

class CFreeIndex;
class CSharedMemory;
class CSpyHeap;
class CSpyHeapLock;
class CSpyMemRef;

using HEAPID = uint32_t;   ///< number of a heap, 0 to MaxHeap; 0 is the base heap
using UNIQUEID = uint32_t; ///< stamp of an allocation; also a transaction, where 0 stands for none

constexpr HEAPID MaxHeap = 255;
constexpr HEAPID NoHeap = MaxHeap + 1; ///< what look-ups answer when there is no such heap

/// A failure of the heap, with the text that names it. Its construction writes the text to the trace.
class CSpyHeapException : public CNativeFailure {
public:
    const char* message() const override { return m_message->c_str(); }

protected:
    explicit CSpyHeapException(const char* message);

private:
    std::shared_ptr<const std::string> m_message;
};

/// An allocation cannot be met.
class COutOfSpyMemory : public CSpyHeapException {
public:
    static constexpr char JavaClass[] = "com/talvern/test/gx/sys/OutOfSpyMemException";

    /// @param message  null stands for the standard text
    explicit COutOfSpyMemory(const char* message = nullptr);
    /// @param heap  is dumped to the default dump file, which is overwritten; null dumps nothing
    COutOfSpyMemory(const char* message, CSpyHeap* heap);
    const char* javaExceptionClass() const override { return JavaClass; }
};

/// The bytes of a heap contradict each other.
class CHeapCorrupted : public CSpyHeapException {
public:
    explicit CHeapCorrupted(const char* message = nullptr, CSpyHeap* heap = nullptr);
};

/// Another process or thread kept the heap mutex until the time-out.
class CSpyHeapLockedException : public CSpyHeapException {
public:
    static constexpr char JavaClass[] = "com/talvern/test/gx/sys/ApplicationNotRespondingException";
    static const char JavaMessage[];

    CSpyHeapLockedException();
    const char* javaExceptionClass() const override { return JavaClass; }
    const char* javaMessage() const override { return JavaMessage; }
};

/// A global slot beyond the last. Thrown as a pointer, which the catcher deletes.
class CInvalidGlobal : public CSpyHeapException {
public:
    explicit CInvalidGlobal(unsigned int id);
    unsigned int id() const { return m_id; }

private:
    unsigned int m_id;
};

/// Figures over all heaps that are in use; sizes are payload bytes.
struct CHeapStats {
    uint32_t numberBytesFree = 0;
    uint32_t numberBytesAllocated = 0;
    uint32_t numberFreeBlocks = 0;
    uint32_t numberUsedBlocks = 0;
    uint32_t largestFreeBlock = 0;
    uint32_t largestUsedBlock = 0;
    uint32_t numberOfActiveHeaps = 0;
};

/// One heap of this process's view: an attached segment and the operations on it.
///
/// Every operation that changes shared state takes the one heap mutex, which nests; so a caller may hold it
/// over several operations. Objects of this class belong to the process and are never stored. After `fork`
/// the child keeps the parent's heaps attached and holds no lock. When a process is killed inside a change,
/// blocks stay whole: the next change finds the mark that the dead process left and rebuilds the lists of
/// free blocks.
///
/// A heap whose bytes contradict each other raises CHeapCorrupted, save where an operation says that it ends
/// the process. Whatever other processes write meanwhile, no operation reads or writes beyond the segment:
/// each number is read once, checked, and computed with from then on. A time-out of the mutex raises
/// CSpyHeapLockedException from every operation that takes it.
class CSpyHeap {
public:
    /// What one look at a block's header found: the block's numbers, as far as this process is concerned.
    struct CBlockCopy {
        uint32_t m_offset = 0; ///< of the header in the heap; 0 stands for no block
        uint32_t m_size = 0;
        uint32_t m_used = 0;
        uint32_t m_uid = 0;
        uint32_t m_next = 0;

        bool isUsed() const { return (m_used & 1U) != 0; }
        bool isFree() const { return !isUsed(); }
        uint32_t behind() const; ///< offset of the block that follows in memory
    };

    /// Header of a block; the payload follows. Sizes are whatever was asked for, so that a block may start at
    /// any address: hence packed.
    struct [[gnu::packed]] CHeapBlock {
        CShared<uint32_t> m_size; ///< payload bytes
        CShared<uint32_t> m_used; ///< bit 0: allocated
        CShared<uint32_t> m_uid;  ///< stamp of the allocation, 0 once freed
        CShared<uint32_t> m_next; ///< offset of the next free block of the pool, 0 at its end and if used

        bool isFree() const { return (m_used.load() & 1U) == 0; }
        unsigned char* payload() { return reinterpret_cast<unsigned char*>(this + 1); }
        void store(const CBlockCopy& numbers);
    };

    /// A block reference as it is stored: see CSpyMemRef.
    struct CStoredRef {
        CShared<uint32_t> m_blockId;
        CShared<uint32_t> m_uid;

        CSpyMemRef load() const;
        void store(const CSpyMemRef& ref);
    };

    /// Looks at heaps without the mutex, for a scope: one that another thread drops meanwhile leaves the
    /// table at once, and is detached later.
    class CReading {
    public:
        CReading()
        {
            if (m_counts)
                ++s_readers;
        }
        ~CReading()
        {
            if (m_counts)
                --s_readers;
        }
        CReading(const CReading&) = delete;
        CReading& operator=(const CReading&) = delete;

    private:
        /// What is dropped is detached under the mutex: as long as this thread has it, nothing is.
        const bool m_counts = !CSpyHeapMutex::isHeldHere();
    };

    static constexpr unsigned int GlobalSlots = 16;
    static constexpr uint32_t BlockHeader = sizeof(CHeapBlock);

    /// Start of a heap's area. Change count, globals and the tables of heaps count in the base heap only.
    struct CHeapHeader {
        CShared<uint32_t> m_changeCount;               ///< grows with each heap id assigned or cleared
        CStoredRef m_globals[GlobalSlots];             ///< both words 0: free
        std::atomic<uint8_t> m_usedIds[32];            ///< heap n is in use: bit n mod 8 of byte n / 8
        CShared<uint32_t> m_transactions[MaxHeap + 1]; ///< transaction of each heap; entry 0 is never written
        CShared<uint32_t> m_lastUid;                   ///< stamp of the latest allocation in this heap
        CShared<uint32_t> m_poolBlockSize; ///< payload of each pool's first block; more is oversized
        CHeapBlock m_largePool;            ///< m_next: first free block; m_used: see CHeapChange
        CHeapBlock m_smallPool;            ///< m_next: first free block
        CShared<uint32_t> m_overflowHeap;  ///< heap that extends this one, 0 for none

        /// Lowest heap of a transaction, 1 to 255; NoHeap when it has none.
        HEAPID heapId(UNIQUEID transactionId) const;
        UNIQUEID transactionId(HEAPID id) const;
        /// Takes the lowest free heap id for a transaction; NoHeap when all are taken.
        HEAPID assignId(UNIQUEID transactionId);
        HEAPID lowestFreeId() const; ///< NoHeap when all are taken
        void clearId(HEAPID id);
        bool isUsed(HEAPID id) const;
    };

    static constexpr uint32_t FirstBlock = sizeof(CHeapHeader); ///< its offset

    static uint32_t DefaultHeapSize;      ///< bytes of a further heap's area
    static uint32_t LargestPossibleBlock; ///< payload of a whole heap of that size
    static constexpr char HeapObjectName[] = "DD86B62A-E406-11d3-A96C-00C04F72D71B_MARLO";

    /// The heap of this process with that id: attaches it when it is in use and was not attached before,
    /// which is all it takes the heap mutex for. Heap 0 is made when it does not exist.
    ///
    /// Whoever takes the mutex attaches what the heaps that he has consist of, so that their data outlives
    /// the process that made them.
    /// @return null for an id that no heap has; owned by this class, good until the heap is dropped
    /// @throws COutOfSpyMemory          heap 0 cannot be attached or DISPLAY is not set
    /// @throws CSpyHeapLockedException  a heap was to be attached, and the mutex was busy
    static CSpyHeap* getHeap(HEAPID id)
    {
        CSpyHeap* heap = id <= MaxHeap ? s_pSpyHeap[id].load(std::memory_order_acquire) : nullptr;
        return heap && heap->inUse() && CSpyHeapMutex::isThere() ? heap : findHeap(id);
    }
    /// Makes or attaches heap 0 and the heap mutex; neither may exist in this process. Nothing in the library
    /// calls this one and the next; see doc/kept-on-purpose.md.
    static CSpyHeap* createBaseHeap(unsigned int size);
    /// Detaches every heap of this process and forgets the mutex. No thread may use spy memory meanwhile.
    static void deleteBaseHeap();
    /// For the end of the process, after CSpyHeapMutex::stopThreads: gives heap 0 up by `giveUp`, whoever has
    /// the mutex, and the journal unless a unit was cut.
    /// Hold CSharedMemoryGuard.
    static void leave(void (*giveUp)(CSharedMemory&));
    /// A new heap for a transaction. Call it under the heap mutex.
    /// @return null when all 255 are taken or the system refuses a segment
    static CSpyHeap* createHeap(UNIQUEID transactionId);
    /// Drops heap `id`, 1 to 255, with its overflow heaps, as the instance's `free` does; of one that cannot
    /// be attached any more only the id is given back. Call it under the heap mutex.
    static void dropHeap(HEAPID id);
    /// Lowest heap of a transaction; 0 for transaction 0, NoHeap when it has none.
    static HEAPID getHeapId(UNIQUEID transactionId);
    static UNIQUEID getTransactionId(HEAPID id);
    /// Size of the heaps to be made from now on, kept between 4 KiB and the 16 MiB that a reference can
    /// reach. All processes of a display have to agree on it. Heap 0 has 1 MiB whatever is set.
    static void setDefaultHeapSize(unsigned int bytes);
    /// All zero when the mutex is busy.
    static CHeapStats getStats();
    /// Writes nothing on this platform (see CSharedMemory::dump).
    static void snapShotAllHeaps(const char* file);
    /// Allocates, verifies and frees in a heap of transaction 2 and in the base heap, and appends a report to
    /// `file` (null: "HeapTest.Log" in the current directory). Takes the shared heap nearly full for a
    /// moment.
    static void heaptest(const char* file);

    ~CSpyHeap();
    CSpyHeap(const CSpyHeap&) = delete;
    CSpyHeap& operator=(const CSpyHeap&) = delete;

    HEAPID id() const { return m_id; }
    unsigned int size() const { return m_size; }
    bool inUse() const { return (m_use.load(std::memory_order_acquire) & InUse) != 0; }
    CSharedMemory* sharedMemory() const { return m_pSharedMem.get(); }
    CHeapHeader* header() const { return reinterpret_cast<CHeapHeader*>(m_area); }

    /// A block of at least `size` bytes, at least 32, from this heap or its overflow heaps. Contents are
    /// undefined.
    /// @param size  above 0
    /// @throws COutOfSpyMemory
    CSpyMemRef allocate(unsigned int size);
    /// The same from the heap of a transaction, which is made for its first block.
    CSpyMemRef allocate(unsigned int size, UNIQUEID transactionId);
    /// Makes the block of `ref`, which lives in this heap, hold at least `size` bytes. Grows in place when
    /// the block behind it is free; else moves the bytes to a new block of the heap's transaction and frees
    /// the old one.
    /// @return the same reference or the new one
    CSpyMemRef realloc(CSpyMemRef& ref, unsigned int size);
    /// The first half of that: whether the block could be made to hold that much where it lies.
    bool growInPlace(const CSpyMemRef& ref, unsigned int size);
    /// Frees a block of this heap; does nothing for a null reference. Ends the process when the block is not
    /// allocated or carries another stamp.
    void free(CSpyMemRef ref);
    /// Drops the whole heap with its overflow heaps: all references into them become invalid.
    void free();
    /// Turns both pools of an empty heap into one allocated block.
    CSpyMemRef allocateEntireHeap();
    bool isEmpty();
    /// The heap that extends this one, made when there is none yet. Call it under the heap mutex.
    CSpyHeap* overflowHeap();

    /// The mutex around all heaps, which CSpyHeapLock takes for a scope; see there.
    /// @param timeoutMs  longest wait in milliseconds, see CSpyMutex::acquire; 0 stands for 10 000
    /// @throws CSpyHeapLockedException
    void lock(int timeoutMs) { CSpyHeapMutex::lock(timeoutMs); }
    void unlock() { CSpyHeapMutex::unlock(); }
    bool islocked() { return CSpyHeapMutex::isAcquired(); }

    /// Stores `ref` in a global slot of this heap when the slot is free. Callers use the base heap.
    /// @throws CInvalidGlobal*  id of GlobalSlots or more; the heap mutex stays taken then
    bool registerGlobal(unsigned int id, CSpyMemRef& ref);
    /// Clears a slot and answers what was there, with the same failure.
    CSpyMemRef unregisterGlobal(unsigned int id);
    /// What a slot below GlobalSlots holds, without a lock.
    CSpyMemRef global(unsigned int id) const;

    /// Whether there is room for a block at `offset`, whatever lies there.
    bool mayStartAt(uint32_t offset) const { return offset >= FirstBlock && offset <= m_size - BlockHeader; }
    /// Whether a block with that stamp lies at `offset`. Takes no lock: a block freed at the same time may
    /// still be taken for valid.
    bool verifyBlock(unsigned int offset, UNIQUEID uid) const;
    /// Payload bytes of the block at `offset`, without a lock; 0 when no block can start there, and never
    /// more than the heap has room for.
    unsigned int sizeAt(unsigned int offset) const;
    /// The numbers of the block at `offset`, which verifyBlock has accepted, as they were found.
    CBlockCopy copyAt(uint32_t offset) const
    {
        const CHeapBlock& found = *blockAt(offset);
        return {offset, found.m_size.load(), found.m_used.load(), found.m_uid.load(), found.m_next.load()};
    }
    /// Whether the block ends inside the heap.
    bool holds(const CBlockCopy& found) const { return found.m_size <= roomAt(found.m_offset); }
    /// The block at `offset`, which verifyBlock has accepted.
    CHeapBlock* blockAt(unsigned int offset) const { return reinterpret_cast<CHeapBlock*>(m_area + offset); }

    /// What this process knows of the free blocks. Under the mutex.
    CFreeIndex& freeIndex() const { return *m_index; }

    void updateStats(CHeapStats& stats) const;
    /// Writes lists and blocks to `file`; null stands for Heapdump.log in the directory of TMP, TEMP or in
    /// /tmp.
    void dump(const char* file, bool append) const;
    void walk(FILE* out) const;
    void walkAll(FILE* out) const;
    void snapShot(const char* file) const;
    /// Whether the block holds exactly the bytes of `expected`, which has at least its size.
    static bool verifySpyMemory(const char* expected, CSpyMemRef ref);

    /// The heap of this process's view, in use or not; null when it is not attached.
    static CSpyHeap* attached(HEAPID id) { return s_pSpyHeap[id].load(std::memory_order_acquire); }
    /// The heap that these bytes lie in. Hold the heap mutex.
    static CSpyHeap* around(const void* place, size_t length);
    /// A heap as a dead process has left it; null when that was the last one to have it attached. Hold the
    /// heap mutex.
    static CSpyHeap* leftBehind(HEAPID id);
    /// The last step of dropping it: this object may be gone afterwards.
    void empty();

private:
    friend class CSpyHeapMutex;

    CSpyHeap(unsigned int size, HEAPID id);

    static CSpyHeap* findHeap(HEAPID id);
    static CSpyHeap* findBaseHeap();
    static CSpyHeap* attachHeap(HEAPID id);
    static CSpyHeap* makeBaseHeap(unsigned int size);
    static bool isStoreThere();
    static void beginAnew();
    static void sync();
    static void lookAgain();
    static bool isPartOf(const std::vector<UNIQUEID>& transactions, HEAPID id);
    static void attachRest();
    template <class Change> static void changeIds(Change change);
    void setInUse(bool inUse);
    bool takeUp();
    static void deleteOthers();
    static void deleteDropped();

    void startUsing();
    void init();
    void drop();
    void forget();
    bool holdsAddress(const void* place, size_t length) const;
    void unlinkFromOthers() const;
    CStoredRef& changedSlot(unsigned int id, CSpyHeapLock& lock);

    uint32_t roomAt(uint32_t offset) const { return m_size - BlockHeader - offset; }

    CSpyMemRef allocateHere(uint32_t size);
    CSpyMemRef allocateOversized(uint32_t size);
    CSpyMemRef allocateInOverflow(uint32_t size);
    CSpyMemRef move(const CSpyMemRef& ref, uint32_t size);

    static std::array<std::atomic<CSpyHeap*>, MaxHeap + 1> s_pSpyHeap;
    static inline std::atomic<int> s_readers = 0;

    HEAPID m_id;
    uint32_t m_size;
    static constexpr uint32_t InUse = 1;
    /// Bit 0: in use. The rest grows with each change that is made under the mutex, so that a look-up without
    /// it takes nothing up that is given up meanwhile.
    std::atomic<uint32_t> m_use = 0;
    uint32_t m_changeCount = 0;
    std::unique_ptr<CSharedMemory> m_pSharedMem;
    unsigned char* m_area = nullptr;
    std::unique_ptr<CFreeIndex> m_index;
};

/// Holds the mutex around all heaps for a scope; see CSpyHeapMutex. Makes the base heap when there is none.
class CSpyHeapLock {
public:
    /// @param timeoutMs  as for CSpyHeapMutex::lock
    /// @throws CSpyHeapLockedException, and COutOfSpyMemory when there can be no base heap
    explicit CSpyHeapLock(int timeoutMs = 0) { CSpyHeap::getHeap(0)->lock(timeoutMs); }
    ~CSpyHeapLock()
    {
        if (m_isHeld)
            CSpyHeap::getHeap(0)->unlock();
    }
    CSpyHeapLock(const CSpyHeapLock&) = delete;
    CSpyHeapLock& operator=(const CSpyHeapLock&) = delete;

    /// Gives it back before the end of the scope, so that a failure to do so can be caught.
    void giveBack()
    {
        CSpyHeap::getHeap(0)->unlock();
        m_isHeld = false;
    }
    /// From now on somebody else has to give it back.
    void leaveTaken() { m_isHeld = false; }

private:
    bool m_isHeld = true;
};

inline uint32_t CSpyHeap::CBlockCopy::behind() const
{
    return m_offset + BlockHeader + m_size;
}

static_assert(sizeof(CSpyHeap::CHeapBlock) == 16 && alignof(CSpyHeap::CHeapBlock) == 1);
static_assert(offsetof(CSpyHeap::CHeapBlock, m_used) == 4 && offsetof(CSpyHeap::CHeapBlock, m_uid) == 8 &&
              offsetof(CSpyHeap::CHeapBlock, m_next) == 12);
static_assert(sizeof(CSpyHeap::CHeapHeader) == 1232 && offsetof(CSpyHeap::CHeapHeader, m_globals) == 4 &&
              offsetof(CSpyHeap::CHeapHeader, m_usedIds) == 132 &&
              offsetof(CSpyHeap::CHeapHeader, m_transactions) == 164 &&
              offsetof(CSpyHeap::CHeapHeader, m_lastUid) == 1188 &&
              offsetof(CSpyHeap::CHeapHeader, m_poolBlockSize) == 1192 &&
              offsetof(CSpyHeap::CHeapHeader, m_largePool) == 1196 &&
              offsetof(CSpyHeap::CHeapHeader, m_smallPool) == 1212 &&
              offsetof(CSpyHeap::CHeapHeader, m_overflowHeap) == 1228);
