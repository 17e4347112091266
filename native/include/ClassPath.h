/// Lists of places where Java looks for classes.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// A list with ":" between its parts, without the empty ones: to Java they mean the working directory, where
/// anybody may have put classes.
inline std::string withoutEmptyParts(std::string_view list)
{
    std::string parts;
    while (!list.empty()) {
        const std::string_view part = list.substr(0, list.find(':'));
        if (!part.empty())
            parts.append(parts.empty() ? "" : ":").append(part);
        list.remove_prefix(std::min(part.size() + 1, list.size()));
    }
    return parts;
}
