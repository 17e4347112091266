/// The fields that lines of the log, of the trace and of the legacy trace have in common. Any thread; nothing
/// throws.
#pragma once

#include <cstdarg>
#include <cstddef>

struct CField {
    char text[64];
};

/// Local time such as "2026-02-15/10:20:30.000". The month counts from 0 and the milliseconds are always 0:
/// log readers of this product line expect it.
CField GetTimeStamp() noexcept;
CField processField() noexcept; ///< the process id, seven characters wide
CField threadField() noexcept;  ///< such as "[pthread=-1208403136]": the thread's identifier cut to an int

/// Formats a message and cuts it to the buffer, never inside a character where the code set is UTF-8.
/// @return its length in bytes
[[gnu::format(printf, 3, 0)]] size_t formatMessage(char* buffer, size_t size, const char* format,
                                                   va_list arguments) noexcept;
