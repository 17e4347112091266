/// Key/value tables. In spite of the name, a table is an array kept in the order of its keys and searched by
/// bisection.
#pragma once

#include <algorithm>
#include <memory>
#include <type_traits>

/// The base of the tables; a derived class says how keys and values are compared, copied and freed, and calls
/// RemoveAll() in its destructor. Keys and values are copied in and owned by the table. Not synchronised.
template <class K, class V> class Hashtable {
    template <class T>
    using View = std::conditional_t<std::is_pointer_v<T>, const std::remove_pointer_t<T>*, T>;

public:
    using KeyView = View<K>;
    using ValueView = View<V>;

    explicit Hashtable(int room)
        : m_entries(new Entry[static_cast<size_t>(room)]), m_capacity(room), m_free(room)
    {
    }
    virtual ~Hashtable() = default;
    Hashtable(const Hashtable&) = delete;
    Hashtable& operator=(const Hashtable&) = delete;

    virtual V Allocate(ValueView value) = 0;         ///< a copy that the table will own
    virtual void DeAllocate(V value) = 0;            ///< frees what Allocate answered
    virtual void Copy(V* slot, ValueView value) = 0; ///< replaces the value in `slot`, freeing the old one
    virtual int Compare(KeyView left, KeyView right) const = 0; ///< below, equal to or above 0, as strcmp
    virtual K AllocateKey(KeyView key) = 0;
    virtual void DeAllocateKey(K key) = 0;
    virtual void CopyKey(K* slot, KeyView key) = 0; ///< fills an empty slot with a copy
    /// Copies of all keys in ascending order; the caller hands them to DestroyKeySet.
    virtual K* GetKeySet(int* count);
    virtual void DestroyKeySet(K* keys, int count);

    /// Inserts the pair at its place, or replaces the value of a key that is there already.
    void Add(KeyView key, ValueView value);
    /// The value of exactly this key, null when there is none. Valid until the table changes.
    V* Find(KeyView key) const;
    int Count() const { return m_count; }
    KeyView KeyAt(int index) const { return m_entries[static_cast<size_t>(index)].key; }
    V ValueAt(int index) const { return m_entries[static_cast<size_t>(index)].value; }
    void RemoveAll();

private:
    struct Entry {
        K key{};
        V value{};
    };
    static constexpr int growth = 20;

    int placeOf(KeyView key) const; ///< index of the first entry that is not below `key`
    bool holds(int place, KeyView key) const { return place < m_count && Compare(KeyAt(place), key) == 0; }
    void grow();

    std::unique_ptr<Entry[]> m_entries;
    int m_count = 0;
    int m_capacity;
    int m_free;
};

/// Texts by text; keys are compared with strcmp.
class StringHash : public Hashtable<char*, char*> {
public:
    using Hashtable::Hashtable;
    ~StringHash() override { RemoveAll(); }

    char* Allocate(const char* value) override;
    void DeAllocate(char* value) override;
    void Copy(char** slot, const char* value) override;
    int Compare(const char* left, const char* right) const override;
    char* AllocateKey(const char* key) override;
    void DeAllocateKey(char* key) override;
    void CopyKey(char** slot, const char* key) override;
};

/// Numbers by text; keys are compared with strcmp.
class IntHash : public Hashtable<char*, int> {
public:
    using Hashtable::Hashtable;
    ~IntHash() override { RemoveAll(); }

    int Allocate(int value) override { return value; }
    void DeAllocate(int) override {}
    void Copy(int* slot, int value) override { *slot = value; }
    int Compare(const char* left, const char* right) const override;
    char* AllocateKey(const char* key) override;
    void DeAllocateKey(char* key) override;
    void CopyKey(char** slot, const char* key) override;
};

template <class K, class V> void Hashtable<K, V>::Add(KeyView key, ValueView value)
{
    const int place = placeOf(key);
    if (holds(place, key)) {
        Copy(&m_entries[static_cast<size_t>(place)].value, value);
        return;
    }
    if (m_free == 0)
        grow();
    Entry added;
    CopyKey(&added.key, key);
    added.value = Allocate(value);
    Entry* const at = m_entries.get() + place;
    std::move_backward(at, m_entries.get() + m_count, m_entries.get() + m_count + 1);
    *at = added;
    ++m_count;
    --m_free;
}

template <class K, class V> V* Hashtable<K, V>::Find(KeyView key) const
{
    const int place = placeOf(key);
    return holds(place, key) ? &m_entries[static_cast<size_t>(place)].value : nullptr;
}

template <class K, class V> int Hashtable<K, V>::placeOf(KeyView key) const
{
    int low = 0;
    int high = m_count;
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (Compare(KeyAt(middle), key) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

template <class K, class V> void Hashtable<K, V>::grow()
{
    std::unique_ptr<Entry[]> wider(new Entry[static_cast<size_t>(m_capacity + growth)]);
    std::copy_n(m_entries.get(), m_count, wider.get());
    m_entries = std::move(wider);
    m_capacity += growth;
    m_free += growth;
}

template <class K, class V> void Hashtable<K, V>::RemoveAll()
{
    for (int i = 0; i < m_count; ++i) {
        DeAllocateKey(m_entries[static_cast<size_t>(i)].key);
        DeAllocate(m_entries[static_cast<size_t>(i)].value);
    }
    m_count = 0;
    m_free = m_capacity;
}

template <class K, class V> K* Hashtable<K, V>::GetKeySet(int* count)
{
    *count = m_count;
    K* const keys = new K[static_cast<size_t>(m_count)];
    for (int i = 0; i < m_count; ++i)
        CopyKey(&keys[i], KeyAt(i));
    return keys;
}

template <class K, class V> void Hashtable<K, V>::DestroyKeySet(K* keys, int count)
{
    for (int i = 0; i < count; ++i)
        DeAllocateKey(keys[i]);
    delete[] keys;
}
