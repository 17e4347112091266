#include "common/trace/LineFields.h"

#include "common/text/CutText.h"
#include "common/trace/TraceLock.h"

#include <clocale>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <langinfo.h>
#include <pthread.h>
#include <unistd.h>

namespace {
/// Of the environment's locale, since many a host never calls setlocale.
bool environmentIsUtf8() noexcept
{
    static const bool answer = [] {
        const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
        if (!locale)
            return true; // it is not installed here; nearly all are UTF-8
        const bool utf8 = std::strcmp(nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
        freelocale(locale);
        return utf8;
    }();
    return answer;
}

bool textsAreUtf8() noexcept
{
    return environmentIsUtf8() || std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}
} // namespace

CField GetTimeStamp() noexcept
{
    const struct tm parts = localTime(std::time(nullptr));
    CField stamp;
    std::snprintf(stamp.text, sizeof stamp.text, "%04d-%02d-%02d/%02d:%02d:%02d.000", parts.tm_year + 1900,
                  parts.tm_mon, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return stamp;
}

CField processField() noexcept
{
    CField field;
    std::snprintf(field.text, sizeof field.text, "%7d", static_cast<int>(getpid()));
    return field;
}

CField threadField() noexcept
{
    CField field;
    std::snprintf(field.text, sizeof field.text, "[pthread=%d]", static_cast<int>(pthread_self()));
    return field;
}

size_t formatMessage(char* buffer, size_t size, const char* format, va_list arguments) noexcept
{
    *buffer = '\0';
    const int length = std::vsnprintf(buffer, size, format, arguments);
    if (length < 0 || static_cast<size_t>(length) < size)
        return strnlen(buffer, size - 1);
    const size_t kept = textsAreUtf8() ? wholeInUtf8({buffer, size - 1}) : size - 1;
    buffer[kept] = '\0';
    return kept;
}
