#include "common/window/JavaWindow.h"

#include "common/jni/CodeSet.h"
#include "common/jni/JniDataTypes.h"

#include <algorithm>
#include <cwchar>
#include <string>
#include <string_view>

namespace {
constexpr size_t malformed = static_cast<size_t>(-1);

/// The bytes of a text as far as the last whole character; `malformed` when it is none of the locale's code
/// set.
size_t wholeCharacters(std::string_view text)
{
    const CEnvironmentLocale locale;
    std::mbstate_t state{};
    for (size_t at = 0; at < text.size();) {
        const size_t length = std::mbrlen(text.data() + at, text.size() - at, &state);
        if (length == static_cast<size_t>(-2))
            return at;
        if (length == static_cast<size_t>(-1))
            return malformed;
        at += std::max<size_t>(length, 1);
    }
    return text.size();
}

/// Class names are Latin-1 by the rules of X, although most programs that go beyond ASCII write the locale's
/// code set; so are the compound strings of many a Motif program.
std::string fromLatin1(const std::string& text)
{
    const CEnvironmentLocale locale;
    std::string converted;
    convertText(locale.codeSet(), "ISO-8859-1", text, converted);
    return converted;
}
} // namespace

jstring newCutText(JNIEnv* env, std::string text, size_t room)
{
    const size_t whole = wholeCharacters(text);
    if (whole == malformed || (whole < text.size() && text.size() < room))
        text = fromLatin1(text);
    text.resize(wholeCharacters(text));
    return CJString(env, text.c_str());
}
