#include "common/jni/JniDataTypes.h"

#include "common/jni/LocalRef.h"
#include "common/text/CodeSet.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {
std::unique_ptr<char[]> cText(const std::string& text)
{
    std::unique_ptr<char[]> copy(new char[text.size() + 1]);
    std::memcpy(copy.get(), text.c_str(), text.size() + 1);
    return copy;
}

/// Null when `text` is not text of the locale.
jstring javaStringOf(JNIEnv* env, const char* text)
{
    const CEnvironmentLocale locale;
    const size_t characters = std::mbstowcs(nullptr, text, 0);
    if (characters == 0 || characters == static_cast<size_t>(-1))
        return nullptr;
    std::u16string units;
    return toUnits(locale.codeSet(), text, units) == Conversion::complete ? newJavaString(env, units)
                                                                          : nullptr;
}

jstring javaStringOrEmpty(JNIEnv* env, const char* text)
{
    if (text && *text) {
        if (const jstring converted = javaStringOf(env, text))
            return converted;
        std::fprintf(stderr, "FAILURE converting str=%s\n", text);
    }
    return env->NewStringUTF("");
}
} // namespace

jstring newJavaString(JNIEnv* env, std::u16string_view units)
{
    return env->NewString(reinterpret_cast<const jchar*>(units.data()), static_cast<jsize>(units.size()));
}

CTalString::~CTalString()
{
    if (m_owns)
        delete[] m_text;
}

bool CTalString::equals(const ITalString& other) const
{
    const unsigned short* const text = other;
    return m_length == 0 ||
           (text && other.length() >= m_length && std::memcmp(m_text, text, m_length * sizeof *text) == 0);
}

template <class Class> CJDataTypeClass* cachedJavaClass(std::atomic<CJDataTypeClass*>& slot, JNIEnv* env)
{
    if (CJDataTypeClass* const known = slot.load(std::memory_order_acquire))
        return known;
    const CPendingAside aside(env);
    const CLocalFrame frame(env);
    auto made = std::make_unique<Class>(env);
    if (!made->lock())
        return nullptr;
    CJDataTypeClass* expected = nullptr;
    if (slot.compare_exchange_strong(expected, made.get(), std::memory_order_acq_rel))
        return made.release();
    made->unlock();
    return expected;
}

template <class Kind> CJDataTypeClass* CJBox<Kind>::getCachedClass(JNIEnv* env)
{
    static constinit std::atomic<CJDataTypeClass*> s_class = nullptr;
    return cachedJavaClass<CJBoxClass<Kind>>(s_class, env);
}

template class CJBox<CJByteKind>;
template class CJBox<CJCharKind>;
template class CJBox<CJReadableCharKind>;
template class CJBox<CJShortKind>;
template class CJBox<CJIntegerKind>;
template class CJBox<CJLongKind>;
template class CJBox<CJBooleanKind>;
template class CJBox<CJFloatKind>;
template class CJBox<CJDoubleKind>;

CJStringNotInCodePageException::CJStringNotInCodePageException(JNIEnv* env, jstring text)
    : m_text(static_cast<jstring>(env->NewLocalRef(text)), CLocalRefDrop{env})
{
}

void CJStringNotInCodePageException::throwException(JNIEnv* env) const
{
    if (!env || env->ExceptionCheck())
        return;
    const char* const message = m_text ? env->GetStringUTFChars(m_text.get(), nullptr) : nullptr;
    CJniJObject::throwException(env, "com/talvern/test/gx/StringNotInCodePageException", message);
    if (message)
        env->ReleaseStringUTFChars(m_text.get(), message);
}

CJDataTypeClass* CJString::getCachedClass(JNIEnv* env)
{
    static constinit std::atomic<CJDataTypeClass*> s_class = nullptr;
    return cachedJavaClass<CJStringClass>(s_class, env);
}

CJString::CJString(JNIEnv* env, jstring text) : CJDataType(env, text, getCachedClass(env)) {}

CJString::CJString(const CJniJObject& text) : CJDataType(text, getCachedClass(text.env())) {}

CJString::CJString(JNIEnv* env, const unsigned short* text, unsigned int length)
    : CJString(env,
               text && length > 0 ? env->NewString(text, static_cast<jsize>(length)) : env->NewStringUTF(""))
{
}

CJString::CJString(JNIEnv* env, const char* text) : CJString(env, javaStringOrEmpty(env, text)) {}

CJString::CJString(const CJString& other) : CJDataType(other), ITalString() {}

unsigned int CJString::length() const
{
    return isValid() ? static_cast<unsigned>(env()->GetStringLength(*this)) : 0;
}

CJString::Units CJString::copyOfUnits() const
{
    if (!isValid())
        return nullptr;
    const unsigned count = length();
    Units copy(new unsigned short[count + 1]);
    env()->GetStringRegion(*this, 0, static_cast<jsize>(count), copy.get());
    copy[count] = 0;
    return copy;
}

CJString::operator const unsigned short*() const
{
    if (!m_units)
        m_units = copyOfUnits();
    return m_units.get();
}

std::u16string_view CJString::units() const
{
    const unsigned short* const text = *this;
    return {reinterpret_cast<const char16_t*>(text), length()};
}

/// Fills the ANSI text. @return whether the whole text could be converted
bool CJString::init_ansiString() const
{
    if (!isValid() || m_ansi)
        return true;
    const CEnvironmentLocale locale;
    const std::u16string_view whole = units();
    const auto beforeZero = whole.substr(0, whole.find(u'\0'));
    std::string converted;
    const Conversion result = fromUnits(locale.codeSet(), beforeZero, converted);
    if (result != Conversion::noConverter)
        m_ansi = cText(converted);
    return result != Conversion::notRepresentable && beforeZero.size() == whole.size();
}

const char* CJString::ansiString() const
{
    if (!init_ansiString())
        throw CJStringNotInCodePageException(env(), *this);
    return m_ansi.get();
}

const unsigned short* CJString::ansiStringW() const
{
    if (!m_ansiUnits)
        m_ansiUnits = copyOfUnits();
    ansiString();
    return m_ansiUnits.get();
}

bool CJString::equals(const ITalString& other) const
{
    const unsigned count = length();
    if (count != other.length())
        return false;
    const unsigned short* const units = *this;
    const unsigned short* const others = other;
    return count == 0 || (others && std::memcmp(units, others, count * sizeof *units) == 0);
}

CJObjectArray::CJObjectArray(JNIEnv* env, int length, const char* elementClass)
    : CJDataType(env, nullptr, nullptr), m_elementClass(env, elementClass)
{
    if (m_elementClass.getclass())
        setObject(env->NewObjectArray(length, m_elementClass, nullptr));
}

void CJObjectArray::set(unsigned index, const CJniJObject& element)
{
    if (isValid())
        env()->SetObjectArrayElement(static_cast<jobjectArray>(static_cast<jobject>(*this)),
                                     static_cast<jsize>(index), element);
}

CJniJObject CJObjectArray::get(unsigned index) const
{
    const auto array = static_cast<jobjectArray>(static_cast<jobject>(*this));
    return {env(), array ? env()->GetObjectArrayElement(array, static_cast<jsize>(index)) : nullptr, nullptr};
}
