/// A short list of keys with a value and a number each, in spy memory. The stored form is described in
/// doc/spy-mapped-pair.md.
#pragma once

#include "common/spy/SpyVector.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// The stored header of a mapped pair. Its entries are three elements each of the data vector: key, value,
/// number.
struct CSpyMappedPairHdr {
    CSpyMemRef m_data;        ///< the data vector; null: there is none
    uint32_t m_startSize = 0; ///< capacity the data vector began with
};
static_assert(sizeof(CSpyMappedPairHdr) == 12 && offsetof(CSpyMappedPairHdr, m_startSize) == 8);

/// One process's view of a mapped pair, searched from its first entry on. It works on a copy of the stored
/// header, from `refresh` (or the constructor) to `update` (or the destructor): when other processes may
/// touch it, hold the heap mutex all that time. One thread at a time. Each operation takes the mutex once.
///
/// Errors of every operation: CInvalidSpyMemRef when it was freed, COutOfSpyMemory, CSpyHeapLockedException,
/// CHeapCorrupted.
class CSpyMappedPair : public CSpyMemory {
public:
    static constexpr unsigned int NotFound = CSpyVector::NotFound;

    /// No mapped pair yet.
    CSpyMappedPair() = default;
    /// Attaches to an existing one; a null reference to none.
    explicit CSpyMappedPair(const CSpyMemRef& ref);
    /// Writes the header back when it changed. A failure is traced.
    ~CSpyMappedPair() override;
    CSpyMappedPair(const CSpyMappedPair&) = delete;
    CSpyMappedPair& operator=(const CSpyMappedPair&) = delete;

    unsigned int type() const override { return CSpyVariant::SpyMappedPair; }

    /// Makes a new one and registers it under `name` unless that is empty. It is whole and stored before the
    /// name is known.
    /// @param transactionId  whose heap it lives in, 0 for the base heap
    /// @return true
    bool create(const ITalString& name, int transactionId);
    bool create(unsigned int transactionId);
    /// Reads the stored header; what was not written back is forgotten.
    /// @throws CInvalidSpyMemRef  for the data vector, which this object then is without
    void refresh();
    /// Writes the header back when it changed, or always when forced.
    void update(bool force);
    /// Frees it and what removeAll frees.
    void free();

    /// Entries.
    unsigned int size() const { return m_data ? m_data->size() / 3 : 0; }
    /// An element of the data vector: key, value and number of entry n are at 3n, 3n + 1 and 3n + 2. Empty
    /// beyond the end.
    CSpyVariant get(int index) const { return m_data ? m_data->get(index) : CSpyVariant(); }
    /// Index of the key's element, the first that equals; NotFound when there is none.
    unsigned int find(const CSpyVariant& key) const;
    bool containsKey(const ITalString& key) const;
    /// @param value   becomes the value of the key, which stays the mapped pair's; as it was when there is no
    /// such key
    /// @param number  becomes the key's number, or 0; as it was when there is no data vector
    void get(const ITalString& key, CSpyVariant& value, int& number) const;
    /// Stores an entry, in place of the one the key had, whose value is freed. Takes key and value over: what
    /// it does not keep it frees, also when it fails. Keys that equal nothing (see CSpyVariant) are always
    /// appended.
    /// @return false for an empty key and when there is no data vector
    bool put(CSpyVariant& key, const CSpyVariant& value, int number);
    /// The same with strings made in the mapped pair's own heap.
    bool put(const ITalString& key, const ITalString& value, int number);
    bool put(const ITalString& key, const CSpyVariant& value, int number);
    /// Takes an entry out. @return its value, which now is the caller's; empty when there was none
    CSpyVariant remove(const ITalString& key);
    /// Frees the data vector with its strings and decimals. From then on nothing can be put.
    void removeAll();

private:
    template <class Key> unsigned int findKey(const Key& key) const;
    void replace(unsigned int index, CSpyVariant& key, const CSpyVariant& value, int number);

    CSpyMappedPairHdr m_header;
    std::unique_ptr<CSpyVector> m_data;
    CSpyUnitPart m_part;
};
