/// A growable array of variants in spy memory. The stored form is described in doc/spy-vector.md.
#pragma once

#include "common/spy/SpyMemory.h"
#include "common/spy/SpyVariant.h"

#include <cstddef>
#include <cstdint>

/// The stored header of a vector. The elements lie in a block of their own, 16 bytes each.
struct CSpyVectorHdr {
    CSpyMemRef m_elements;    ///< block of the elements
    uint32_t m_size = 0;      ///< elements in use
    uint32_t m_capacity = 0;  ///< elements the block has room for
    uint32_t m_increment = 0; ///< by how many a default growth raises the capacity

    /// Allocates room for `startSize` elements, above 0, all empty.
    void create(CSpyMemory& vector, UNIQUEID transactionId, unsigned int startSize, unsigned int increment);
    /// An element's slot in this process; below the capacity it need not be in use. Hold the heap mutex to
    /// use it, and take what is there with readOnce.
    /// @throws COutOfSpyMemory  beyond the capacity
    CSpyVariant& operator[](unsigned int index) const;
    /// All slots, with the same conditions. @throws CHeapCorrupted  the block is smaller than the header says
    CSpyVariant* slots() const;
};
static_assert(sizeof(CSpyVectorHdr) == 20 && offsetof(CSpyVectorHdr, m_size) == 8 &&
              offsetof(CSpyVectorHdr, m_capacity) == 12 && offsetof(CSpyVectorHdr, m_increment) == 16);

/// One process's view of a vector. It works on a copy of the stored header, from `refresh` (or the
/// constructor) to `update` (or the destructor), and the elements themselves: when other processes may touch
/// the vector, hold the heap mutex all that time. One thread at a time. Each operation that changes anything
/// takes the mutex once; `get` and `operator[]` take none.
///
/// Errors of every operation: CInvalidSpyMemRef when the vector was freed, COutOfSpyMemory,
/// CSpyHeapLockedException, CHeapCorrupted. An operation that failed has changed nothing.
///
/// Indices are signed in the calls and unsigned in effect: a negative one lies beyond every end.
class CSpyVector : public CSpyMemory {
public:
    static constexpr unsigned int NotFound = 0xFFFFFFFFU;

    /// No vector yet.
    CSpyVector() = default;
    /// Attaches to an existing vector.
    explicit CSpyVector(const CSpyMemRef& ref);
    /// Makes a new vector in place of the one of `ref`, which lives on.
    CSpyVector(const CSpyMemRef& ref, int transactionId, int startSize, int increment);
    /// Writes the header back when it changed. A failure is traced.
    ~CSpyVector() override;
    CSpyVector(const CSpyVector&) = delete;
    CSpyVector& operator=(const CSpyVector&) = delete;

    unsigned int type() const override { return CSpyVariant::SpyVector; }

    /// Makes a new vector and registers it under `name` unless that is empty. It is whole and stored before
    /// the name is known.
    /// @param transactionId  whose heap it lives in, 0 for the base heap
    /// @param startSize      capacity, above 0
    /// @param increment      elements a growth adds
    /// @return true
    bool create(const ITalString& name, int transactionId, int startSize, int increment);
    /// The same without a name. @return 0
    int create(unsigned int transactionId, unsigned int startSize, unsigned int increment);
    /// Reads the stored header; what was not written back is forgotten.
    void refresh();
    /// Writes the header back when it differs from the stored one.
    void update();
    /// Frees the vector with its strings and decimals. Other objects that elements refer to live on.
    void free();

    unsigned int size() const { return m_header.m_size; }
    unsigned int capacity() const { return m_header.m_capacity; }
    bool isEmpty() const { return m_header.m_size == 0; }
    CSpyVariant& operator[](unsigned int index) const { return m_header[index]; }
    /// Empty for an index that is not below the size.
    CSpyVariant get(int index) const { return get(static_cast<unsigned>(index)); }
    CSpyVariant get(unsigned int index) const;
    CSpyVariant firstElement() const { return get(0); }
    CSpyVariant lastElement() const { return get(m_header.m_size - 1); }
    /// First index from `start` on whose value equals; NotFound when there is none.
    unsigned int indexOf(const CSpyVariant& value, int start) const;
    unsigned int indexOf(const ITalString& text, int start) const;

    void addElement(const CSpyVariant& value) { addElements(&value, 1); }
    /// Appends all of them or, when there is no room, none.
    void addElements(const CSpyVariant* values, unsigned int count);
    /// Stores at any index; a gap up to it is filled with empty values.
    /// @return what was there, which now is the caller's; empty beyond the end
    CSpyVariant set(int index, const CSpyVariant& value) { return set(static_cast<unsigned>(index), value); }
    CSpyVariant set(unsigned int index, const CSpyVariant& value);
    /// Inserts before `index`, which may be the size. Beyond that nothing is inserted, and `value` is freed.
    void insertElement(CSpyVariant& value, int index);
    /// Takes an element out. An index beyond the end drops the last element, which nobody frees: callers that
    /// share vectors rely on the size to fall with each call.
    /// @return the element, which now is the caller's; empty beyond the end
    CSpyVariant remove(int index);
    /// Takes `count` elements out from `first` on, which is below the size. They now are the caller's.
    void removeElements(unsigned int first, unsigned int count);
    /// Empties the vector and frees its strings and decimals. A stale one is traced and left out.
    void removeAllElements();
    /// Empties the vector and leaves alone what the elements refer to.
    void forgetElements();

private:
    void fill(unsigned int first, unsigned int last);
    void grow(uint64_t newCapacity);
    CSpyMemRef move(uint32_t bytes);
    void makeRoomFor(unsigned int more);
    void resize(uint32_t size);
    template <class Value> unsigned int find(const Value& value, int start) const;

    CSpyVectorHdr m_header;
    CSpyUnitPart m_part;
};
