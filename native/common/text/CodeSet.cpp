#include "common/text/CodeSet.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iconv.h>
#include <langinfo.h>
#include <strings.h>

namespace {
/// The name that setlocale(LC_CTYPE, "") would use.
const char* requestedName()
{
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"})
        if (const char* name = std::getenv(variable); name && *name)
            return name;
    return "C";
}

bool namesUtf8(const char* locale)
{
    const char* const codeSet = std::strchr(locale, '.');
    return codeSet && (strncasecmp(codeSet, ".UTF-8", 6) == 0 || strncasecmp(codeSet, ".UTF8", 5) == 0);
}

/// 0 when the environment asks for a locale that cannot be had. Never freed: threads may be working in it at
/// exit.
locale_t environmentLocale()
{
    static const locale_t s_locale = [] {
        const locale_t asked = newlocale(LC_CTYPE_MASK, "", nullptr);
        return asked || !namesUtf8(requestedName()) ? asked : newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    }();
    return s_locale;
}

bool hostChoseLocale()
{
    if (uselocale(nullptr) != LC_GLOBAL_LOCALE)
        return true;
    const char* const name = std::setlocale(LC_CTYPE, nullptr);
    return std::strcmp(name, "C") != 0 && std::strcmp(name, "POSIX") != 0;
}

class CIconv {
public:
    CIconv(const char* to, const char* from) : m_converter(iconv_open(to, from)) {}
    ~CIconv()
    {
        if (isOpen())
            iconv_close(m_converter);
    }
    CIconv(const CIconv&) = delete;
    CIconv& operator=(const CIconv&) = delete;

    bool isOpen() const { return m_converter != reinterpret_cast<iconv_t>(-1); }

    /// Converts as much as one buffer holds and appends it. @return 0 when `input` is used up, else an errno
    /// value
    int step(char** input, size_t* left, std::string& out)
    {
        char buffer[4096];
        char* at = buffer;
        size_t room = sizeof buffer;
        const size_t answer = iconv(m_converter, input, left, &at, &room);
        const int error = answer == static_cast<size_t>(-1) ? errno : 0;
        out.append(buffer, at);
        return error;
    }

private:
    iconv_t m_converter;
};
} // namespace

CEnvironmentLocale::CEnvironmentLocale()
    : m_before(uselocale(hostChoseLocale() ? nullptr : environmentLocale()))
{
}

CEnvironmentLocale::~CEnvironmentLocale()
{
    uselocale(m_before);
}

const char* CEnvironmentLocale::codeSet() const
{
    return nl_langinfo(CODESET);
}

namespace {
/// UTF-16 in the byte order of this machine, without a mark.
constexpr const char* nativeUtf16 = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

template <class Text> bool isAscii(const Text& text)
{
    return std::all_of(text.begin(), text.end(), [](auto each) {
        return static_cast<std::make_unsigned_t<decltype(each)>>(each) < 0x80;
    });
}

/// Whether the bytes below 128 are those of ASCII, whatever is around them.
bool hasAscii(std::string_view codeSet)
{
    return codeSet == "UTF-8" || codeSet == "ANSI_X3.4-1968" || codeSet.starts_with("ISO-8859-");
}
} // namespace

Conversion convertText(const char* to, const char* from, std::string_view text, std::string& out)
{
    out.clear();
    if (isAscii(text) && hasAscii(to) && hasAscii(from)) {
        out = text; // to open a converter takes longer than most texts do
        return Conversion::complete;
    }
    CIconv converter(to, from);
    if (!converter.isOpen())
        return Conversion::noConverter;
    char* input = const_cast<char*>(text.data());
    size_t left = text.size();
    int error = 0;
    do
        error = converter.step(&input, &left, out);
    while (error == E2BIG);
    if (error != 0)
        return Conversion::notRepresentable;
    converter.step(nullptr, nullptr, out); // stateful code sets end in their initial shift state
    return Conversion::complete;
}

Conversion toUnits(const char* from, std::string_view text, std::u16string& units)
{
    std::string bytes;
    const Conversion how = convertText(nativeUtf16, from, text, bytes);
    units.resize(bytes.size() / sizeof(char16_t));
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(char16_t));
    return how;
}

Conversion fromUnits(const char* to, std::u16string_view units, std::string& out)
{
    if (isAscii(units) && hasAscii(to)) {
        out.assign(units.begin(), units.end());
        return Conversion::complete;
    }
    const auto* const bytes = reinterpret_cast<const char*>(units.data());
    return convertText(to, nativeUtf16, {bytes, units.size() * sizeof(char16_t)}, out);
}

std::optional<std::string> inLocale(char32_t character)
{
    const wchar_t wide[] = {static_cast<wchar_t>(character), 0};
    char bytes[16];
    const size_t length = std::wcstombs(bytes, wide, sizeof bytes);
    return length < sizeof bytes ? std::optional(std::string(bytes, length)) : std::nullopt;
}

std::string inLocale(const std::string& utf8)
{
    const CEnvironmentLocale locale;
    std::string out, rest = utf8;
    for (;;) {
        std::string part;
        const Conversion how = convertText(locale.codeSet(), "UTF-8", rest, part);
        out += part;
        if (how != Conversion::notRepresentable)
            return how == Conversion::complete ? out : utf8;
        // What was converted tells where the character is that the locale lacks.
        std::string taken;
        convertText("UTF-8", locale.codeSet(), part, taken);
        size_t behind = taken.size() + 1;
        while (behind < rest.size() && (rest[behind] & 0xC0) == 0x80)
            ++behind;
        rest.erase(0, behind);
        out += '?';
    }
}
