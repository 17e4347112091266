#include "common/trace/ErrorString.h"

#include <cstring>

const char* getErrorString(int error, char (&buffer)[1024]) noexcept
{
    char scratch[256]; // strerror_r fills it, or answers a text of its own
    const char* const text = strerror_r(error, scratch, sizeof scratch);
    std::memset(buffer, 0, sizeof buffer);
    std::memcpy(buffer, text, strnlen(text, sizeof buffer - 1));
    return buffer;
}
