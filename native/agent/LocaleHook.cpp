#include "agent/GuestHooks.h"
#include "agent/RealFunction.h"

#include <clocale>
#include <langinfo.h>

namespace {
constinit CRealFunction<char*(int, const char*)> s_setlocale{"setlocale"};

/// The locale of the environment, kept for the life of the process; the C locale when it names one that is
/// not there.
locale_t environmentLocale()
{
    static const locale_t s_locale = [] {
        const locale_t named = newlocale(LC_ALL_MASK, "", nullptr);
        return named ? named : newlocale(LC_ALL_MASK, "C", nullptr);
    }();
    return s_locale;
}
} // namespace

extern "C" GX_HOOK char* setlocale(int category, const char* wanted) noexcept
{
    if (!CGuest::isHere())
        return s_setlocale(category, wanted);
    if (wanted)
        uselocale(environmentLocale()); // of this thread only, for nl_langinfo; CGuest puts it back
    return nl_langinfo_l(_NL_LOCALE_NAME(category == LC_ALL ? LC_CTYPE : category), environmentLocale());
}
