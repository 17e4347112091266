/// A hash table in spy memory, from strings to variants. The stored form is described in doc/spy-map.md.
#pragma once

#include "common/spy/SpyVector.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

class IVariantIterator;

/// The stored header of a map. Buckets are pairs of elements, key and value, of the data vector.
struct CSpyMapHdr {
    CSpyMemRef m_data;         ///< the data vector
    uint32_t m_count = 0;      ///< entries
    uint32_t m_collisions = 0; ///< entries that were put into a chain
};
static_assert(sizeof(CSpyMapHdr) == 16 && offsetof(CSpyMapHdr, m_count) == 8 &&
              offsetof(CSpyMapHdr, m_collisions) == 12);

/// One process's view of a map. It works on a copy of the stored header, from `refresh` (or the constructor)
/// to `update` (or the destructor, which writes what was changed): when other processes may touch the map,
/// hold the heap mutex all that time. One thread at a time. Each operation takes the mutex once.
///
/// Two keys of one bucket share a vector of keys and values by turns, the chain. A look-up in a chain also
/// meets the values: a value that is a string equal to the key hides it when it comes first.
///
/// Errors of every operation: CInvalidSpyMemRef when the map was freed, COutOfSpyMemory,
/// CSpyHeapLockedException, CHeapCorrupted.
class CSpyMap : public CSpyMemory {
public:
    /// A new map of 100 buckets in the base heap.
    CSpyMap();
    /// No map yet: nothing is shared with the other one.
    CSpyMap(CSpyMap& other);
    /// Attaches to an existing map.
    explicit CSpyMap(const CSpyMemRef& ref);
    /// Writes the header back when it changed. A failure is traced.
    ~CSpyMap() override;
    CSpyMap& operator=(const CSpyMap&) = delete;

    unsigned int type() const override { return CSpyVariant::SpyMap; }

    /// Makes a new map and registers it under `name` unless that is empty. It is whole and stored before the
    /// name is known.
    /// @param transactionId  whose heap it lives in, 0 for the base heap
    /// @param buckets        above 0; the map grows by itself
    /// @return true
    bool create(const ITalString& name, int transactionId, int buckets);
    /// 100 buckets and no name.
    bool create(unsigned int transactionId);
    /// Reads the stored header; what was not written back is forgotten.
    void refresh();
    /// Writes the header back, changed or not.
    void update();
    /// Frees the map and what removeAll frees.
    void free();

    unsigned int size() const { return m_header.m_count; }
    /// A slot of the data vector, keys at even indices; see CSpyVector.
    CSpyVariant& operator[](unsigned int index) const { return (*m_data)[index]; }
    /// The sum of all units modulo 31. Weak, but every process has to find the same bucket.
    /// @param text  at any address
    static unsigned int hash(const unsigned short* text, int length);

    /// The value of a key; it stays the map's. Empty when there is none.
    CSpyVariant get(const ITalString& key) const;
    bool containsKey(const ITalString& key) const;
    /// Stores a value, in place of the one the key had. Takes key and value over: what it does not keep it
    /// frees, also when it fails. A value replaced in a bucket is freed, one replaced in a chain is not.
    /// @param key  a string
    /// @return false for a key or a bucket that is none
    bool put(CSpyVariant& key, const CSpyVariant& value);
    /// The same with strings made in the map's own heap.
    bool put(const ITalString& key, const ITalString& value);
    bool put(const ITalString& key, const CSpyVariant& value);
    /// Takes an entry out. A key that its bucket's chain does not have still lowers the size: callers count
    /// calls.
    /// @return the value, which now is the caller's; empty when there was none
    CSpyVariant remove(const ITalString& key);
    /// Empties the map and frees strings and decimals in buckets. Chains stay allocated until their heap
    /// goes.
    void removeAll();

    /// Walks over the keys; good while this object lives and nobody changes the map. Null without a map.
    std::unique_ptr<IVariantIterator> keys() const;
    /// Walks over the values.
    std::unique_ptr<IVariantIterator> elements() const;
    /// Copies the keys, which stay the map's.
    /// @param out  room for `max`, which size() makes enough; keys beyond it are counted and not stored
    /// @return whether there were keys, and as many as the map counts
    bool getKeys(CSpyVariant* out, unsigned int max) const;

private:
    bool create(UNIQUEID transactionId, unsigned int buckets);
    unsigned int buckets() const { return m_data->capacity() / 2; }
    unsigned int slotOf(const CSpyVariant& key) const;
    unsigned int slotOf(const ITalString& key) const;
    bool isCrowded() const;
    bool grow();
    void rebuild(const CSpyVector& old);
    bool place(CSpyVariant& key, const CSpyVariant& value);
    void placeInBucket(unsigned int slot, const CSpyVariant& key, const CSpyVariant& value);
    void placeInNewChain(unsigned int slot, const CSpyVariant& key, const CSpyVariant& value);
    void placeInChain(const CSpyMemRef& chain, CSpyVariant& key, const CSpyVariant& value);
    void append(CSpyVector& chain, const CSpyVariant& key, const CSpyVariant& value);
    void replaceInBucket(unsigned int slot, CSpyVariant& key, const CSpyVariant& value);
    std::optional<CSpyVariant> lookUp(const ITalString& key) const;
    CSpyVariant removeFromBucket(unsigned int slot);
    CSpyVariant removeFromChain(unsigned int slot, const CSpyMemRef& chain, const ITalString& key);

    CSpyMapHdr m_header;
    CSpyUnitPart m_part;
    std::unique_ptr<CSpyVector> m_data;

    static bool growing; ///< this process is moving entries into a larger table; changes under the heap mutex
};
