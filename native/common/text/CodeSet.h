/// Text of this process's locale: which locale that is, and conversion between code sets.
///
/// Text outside of Java (ANSI text) is in the code set of a locale, and the locale is the host's business:
/// the library lives in JVMs and foreign applications and never changes the locale of the process. While one
/// of the scopes below lives, the calling thread works in this locale, the first that applies:
///  1. the thread's own, when the host gave it one (uselocale);
///  2. the process's, when the host chose one (setlocale with another answer than "C" or "POSIX"): the texts
///     of the host's toolkit are in it;
///  3. the one the user asked for in the environment (LC_ALL, LC_CTYPE, LANG), as setlocale(LC_CTYPE, "")
///     would have set it, read when the library first needs it. Most JVMs and many programs without a toolkit
///     never called setlocale, and in "C" nothing but ASCII converts. Where that locale is not installed and
///     its name ends in UTF-8, C.UTF-8 takes its place: the code set is all that counts here.
#pragma once

#include <clocale>
#include <optional>
#include <string>
#include <string_view>

/// Puts the calling thread into the locale described above while it lives; wcstombs, mbstowcs, nl_langinfo
/// and the Xmb functions of Xlib then work in it. Nests. Does not block; some ten nanoseconds.
class CEnvironmentLocale {
public:
    CEnvironmentLocale();
    ~CEnvironmentLocale();
    CEnvironmentLocale(const CEnvironmentLocale&) = delete;
    CEnvironmentLocale& operator=(const CEnvironmentLocale&) = delete;

    /// The code set's name for iconv, such as "UTF-8" or "ANSI_X3.4-1968"; valid while this object lives.
    const char* codeSet() const;

private:
    locale_t m_before;
};

enum class Conversion {
    complete,
    noConverter,      ///< the pair of code sets is not known to iconv; nothing was converted
    notRepresentable, ///< malformed input or a character that the target lacks; what comes before it was
                      ///< converted
};

/// Converts a whole text. Any thread.
/// @param out  receives the bytes in code set `to`, without a terminating 0
Conversion convertText(const char* to, const char* from, std::string_view text, std::string& out);
/// The same to and from 16-bit units, as Java has them. Half a surrogate pair is not representable.
Conversion toUnits(const char* from, std::string_view text, std::u16string& units);
Conversion fromUnits(const char* to, std::u16string_view units, std::string& out);

/// A text in UTF-8 as this process's locale shows it: '?' for each character that its code set lacks. As it
/// is when the two cannot be converted. Any thread.
std::string inLocale(const std::string& utf8);
/// A character in the code set of a CEnvironmentLocale, which lives; nothing when that has no such character.
std::optional<std::string> inLocale(char32_t character);
