#include "common/window/JavaWindow.h"

#include "common/jni/JniDataTypes.h"
#include "common/text/CodeSet.h"
#include "common/text/CutText.h"

#include <string>

namespace {
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
    const auto whole = wholeInLocale(text);
    if (!whole || (*whole < text.size() && text.size() < room))
        text = fromLatin1(text);
    text.resize(wholeInLocale(text).value_or(0));
    return CJString(env, text.c_str());
}
