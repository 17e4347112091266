#include "JavaWindow.h"

#include "CodeSet.h"
#include "JniClass.h"
#include "JniDataTypes.h"
#include "jniobject.h"

#include <algorithm>
#include <cwchar>
#include <string>
#include <string_view>

namespace {
constinit CJavaConstructor s_rectangle{"java/awt/Rectangle", "(IIII)V", " rectClass == NULL"};

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

jclass CJavaConstructor::find(JNIEnv* env, CJniTrace& trace)
{
    const jclass known = m_class.load(std::memory_order_acquire);
    return known ? known : lookUp(env, trace);
}

jclass CJavaConstructor::lookUp(JNIEnv* env, CJniTrace& trace)
{
    const CJniClass found(env, m_className);
    const auto local = localRef(env, found.getclass());
    if (!local) {
        trace.note(m_missingNote);
        return nullptr;
    }
    const jmethodID method = found.methodId("<init>", m_signature);
    if (!method) {
        trace.note(" mid == NULL");
        return nullptr;
    }
    const auto global = static_cast<jclass>(env->NewGlobalRef(local.get()));
    m_method.store(method, std::memory_order_relaxed);
    jclass kept = nullptr;
    if (m_class.compare_exchange_strong(kept, global, std::memory_order_acq_rel))
        return global;
    env->DeleteGlobalRef(global); // another thread was first
    return kept;
}

std::optional<Point> pointOf(JNIEnv* env, jobject point)
{
    if (!point)
        return std::nullopt;
    const CLocalFrame frame(env);
    CJniClass type(env, "java/awt/Point");
    const CJniJObject object(env, point, &type);
    return Point(object.getInt("x"), object.getInt("y"));
}

std::optional<Rect> rectOf(JNIEnv* env, jobject rectangle)
{
    if (!rectangle)
        return std::nullopt;
    const CLocalFrame frame(env);
    CJniClass type(env, "java/awt/Rectangle");
    const CJniJObject object(env, rectangle, &type);
    return Rect(object.getInt("y"), object.getInt("x"), object.getInt("height"), object.getInt("width"));
}

jobject newRectangle(JNIEnv* env, CJniTrace& trace, const Rect& rect)
{
    return s_rectangle.make(env, trace, jint{rect.getLeft()}, jint{rect.getTop()}, jint{rect.getWidth()},
                            jint{rect.getHeight()});
}

jstring newCutText(JNIEnv* env, std::string text, size_t room)
{
    const size_t whole = wholeCharacters(text);
    if (whole == malformed || (whole < text.size() && text.size() < room))
        text = fromLatin1(text);
    text.resize(wholeCharacters(text));
    return CJString(env, text.c_str());
}
