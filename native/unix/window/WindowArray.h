/// The arrays in which lists of windows are handed out.
#pragma once

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

/// Writes copies of `windows` to `out`, each an object of its own which the caller deletes.
/// @param max  room in `out`
/// @return how many; -1 when there is not enough room: nothing is allocated then
template <class T> int toArray(const std::vector<T>& windows, int max, T** out)
{
    if (std::ssize(windows) > max)
        return -1;
    std::vector<std::unique_ptr<T>> copies;
    copies.reserve(windows.size());
    for (const T& window : windows)
        copies.push_back(std::make_unique<T>(window));
    std::transform(copies.begin(), copies.end(), out, [](auto& copy) { return copy.release(); });
    return static_cast<int>(windows.size());
}
