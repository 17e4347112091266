/// The directory that hands out the System V keys of all segments and semaphores. Stored form:
/// doc/shared-memory.md.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <sys/types.h>

/// The directory cannot be attached.
class CNoSegmentHeader {};

/// A view over the directory segment. Its keys belong to pairs of X display name and block index, so that
/// processes on the same display find the same segments and those on different displays do not meet. Two
/// spellings of one display (":99", ":99.0") are two names. Nothing ever leaves the directory while a process
/// is attached to it. What the last process of a display leaves is removed when that ends by itself, and
/// otherwise by the next process that attaches the directory.
///
/// Anybody in the namespace can write it: a key is a number to look at, not a promise of what lies there.
/// Any thread; takes no lock. What is new is for one process at a time: see getKey.
class CSharedMemoryHeader {
public:
    static constexpr key_t s_headerKey = 0x6D; ///< of the directory itself
    static constexpr uint32_t NotFound = 0xFFFFFFFFU;
    static constexpr unsigned int Entries = 1000;
    static constexpr unsigned int Names = 16;

    struct CEntry {
        std::atomic<uint32_t> m_key;        ///< NotFound: the entry is free
        std::atomic<uint32_t> m_nameIndex;  ///< slot in the name table
        std::atomic<uint32_t> m_blockIndex; ///< NotFound: nobody is about to fill the entry
    };
    struct CLayout {
        CEntry m_keys[Entries];
        char m_names[Names][1024]; ///< display names, NUL-terminated; first byte 0: free
        std::atomic<uint32_t> m_nextKey;
    };

    /// The directory of this IPC namespace: attached, and made when there is none, at the first call; it then
    /// stays attached for the life of the process. The last process that has it attached takes it with it.
    /// @throws CNoSegmentHeader  also while the process ends
    static CSharedMemoryHeader* get();
    /// Lets go of a directory that was removed from the system, so that `get` finds or makes another. Hold
    /// CSharedMemoryGuard.
    static void forgetRemoved();
    /// From now on this process finds what others use and makes nothing: for one that only looks. It removes
    /// nothing either, save what it has itself attached, when it is the last to go. To be called before the
    /// first use of the store.
    static void lookOnly();
    static bool looksOnly();
    /// The directory when this process has it attached already, else null.
    static CSharedMemoryHeader* attached();

    /// The display of this process, to be given to `getKey`: what DISPLAY said when `keepDisplay` was called,
    /// whatever it says meanwhile; before that, what it says. Null when it is not set. Good until the next
    /// call of either.
    static const char* display();
    /// Keeps a display, or with null goes back to DISPLAY. For the thread that makes or removes heap 0.
    static void keepDisplay(const char* display);

    /// The key of a pair; a new pair gets the next free number. Two processes must not ask for the same new
    /// pair at once: they hold what guards that block, see CSharedMemory::create. When the table of names or
    /// of keys is full the pair still gets a number, which nobody can look up again.
    key_t getKey(const char* name, int blockIndex);

    uint32_t find(const char* name) const;
    /// Puts a name, of at most 1023 bytes, into the first free slot.
    /// @return its index; NotFound when all are taken, and for the empty name, which a free slot would match
    uint32_t add(const char* name);
    uint32_t get(uint32_t nameIndex, uint32_t blockIndex) const;
    /// @return index of the entry, NotFound when the table is full
    uint32_t addKey(uint32_t nameIndex, uint32_t blockIndex, uint32_t key);
    void init();
    /// One line for each entry.
    void dump(FILE* out) const;

private:
    friend class CSegmentSweep;

    static CSharedMemoryHeader* attach();
    static bool isRemoved();
    static void leave();
    uint32_t findOrAdd(const char* name);
    uint32_t nextKey();
    bool isPlausible() const;
    static bool isPlausible(uint32_t key, uint32_t nextKey)
    {
        return key > static_cast<uint32_t>(s_headerKey) && key < nextKey;
    }

    CLayout m_layout;
};
static_assert(sizeof(CSharedMemoryHeader) == 28388 && sizeof(CSharedMemoryHeader::CEntry) == 12);
static_assert(offsetof(CSharedMemoryHeader::CLayout, m_names) == 12000 &&
              offsetof(CSharedMemoryHeader::CLayout, m_nextKey) == 28384);
