/// Reading what other processes may change at any moment, whether or not they keep to the locks.
#pragma once

#include <atomic>
#include <cstring>
#include <memory>
#include <type_traits>

/// A number in shared memory, at any address. Each `load` is one access, which the compiler neither repeats
/// nor takes apart: what was checked is what is computed with, as long as it is loaded once and kept in a
/// variable.
template <class T> class [[gnu::packed]] CShared {
    static_assert(std::is_arithmetic_v<T>);

public:
    T load() const { return const_cast<const volatile CShared*>(this)->m_value; }
    /// For readers without the lock that writers hold: the thread sanitizer, which knows the lock, is not to
    /// look.
    __attribute__((no_sanitize("thread"))) T peek() const
    {
        return const_cast<const volatile CShared*>(this)->m_value;
    }
    void store(T value) { const_cast<volatile CShared*>(this)->m_value = value; }

private:
    T m_value;
};

/// A copy of a record in shared memory. What follows sees only the copy: the compiler cannot go back to the
/// record for a part of it. The parts need not be of one moment.
template <class T> T readOnce(const T& shared)
{
    static_assert(std::is_trivially_copyable_v<T>);
    T copy;
    std::memcpy(static_cast<void*>(std::addressof(copy)), std::addressof(shared), sizeof copy);
    std::atomic_signal_fence(std::memory_order_acq_rel);
    return copy;
}
