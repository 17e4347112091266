/// Values that outlive the end of the program.
#pragma once

#include <utility>

/// A static value that no destructor takes away: threads may still use it while the process ends. It is there
/// before any code runs when its constructor allows that, wherever it is defined.
///
///     CNeverDestroyed<std::vector<int>> s_numbers;
///     s_numbers->push_back(1);
template <class T> class CNeverDestroyed {
public:
    template <class... Arguments>
    constexpr explicit CNeverDestroyed(Arguments&&... arguments)
        : m_value(std::forward<Arguments>(arguments)...)
    {
    }
    // NOLINTNEXTLINE(modernize-use-equals-default): a default one would destroy the value, or be none
    ~CNeverDestroyed() {}
    CNeverDestroyed(const CNeverDestroyed&) = delete;
    CNeverDestroyed& operator=(const CNeverDestroyed&) = delete;

    constexpr T& operator*() { return m_value; }
    constexpr T* operator->() { return &m_value; }

private:
    union {
        T m_value;
    };
};
