#include "common/jni/jniobject.h"

#include "common/jni/JniDataTypes.h"
#include "common/jni/LocalRef.h"
#include "common/text/CodeSet.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

namespace {
/// Walks from the object's class to the root of the class tree until `find` answers a field.
template <class Find> jfieldID alongSuperclasses(JNIEnv* env, jclass javaClass, Find find)
{
    auto above = localRef<jclass>(env, nullptr);
    while (javaClass) {
        if (const jfieldID field = find(javaClass))
            return field;
        if (env->ExceptionCheck())
            return nullptr;
        above = localRef(env, env->GetSuperclass(javaClass));
        javaClass = above.get();
    }
    return nullptr;
}

template <class Value>
Value readField(const CJniJObject& object, const char* name, const char* signature,
                Value (JNIEnv::*get)(jobject, jfieldID))
{
    const jfieldID field = object.isValid() ? object.fieldId(name, signature) : nullptr;
    return field ? (object.env()->*get)(object, field) : Value();
}

template <class Value>
bool writeField(const CJniJObject& object, const char* name, const char* signature,
                void (JNIEnv::*set)(jobject, jfieldID, Value), Value value)
{
    const jfieldID field = object.isValid() ? object.fieldId(name, signature) : nullptr;
    if (field)
        (object.env()->*set)(object, field, value);
    return field != nullptr;
}

/// NewStringUTF takes characters beyond the basic plane in a form of its own only, as pairs of surrogates.
jstring newStringUtf8(JNIEnv* env, const char* text)
{
    const auto beyond = [](char byte) { return static_cast<unsigned char>(byte) >= 0xF0; };
    const std::string_view all(text);
    std::u16string units;
    if (std::none_of(all.begin(), all.end(), beyond) || toUnits("UTF-8", all, units) != Conversion::complete)
        return env->NewStringUTF(text);
    return newJavaString(env, units);
}

unsigned lengthOf(const unsigned short* text)
{
    unsigned length = 0;
    while (text && text[length] != 0)
        ++length;
    return length;
}
} // namespace

CJniJObject::CJniJObject(JNIEnv* env, const char* className, bool construct) : m_env(env)
{
    if (!className)
        return;
    GX_ASSERT(m_env != nullptr, "m_env != 0");
    if (env->ExceptionCheck()) {
        CTracer::debugTrace("[CJniJObject::CJniJObject] Pending Exception");
        env->ExceptionDescribe();
        env->ExceptionClear();
    }
    setClass(new CJniClass(env, className), true);
    if (construct)
        constructDefault(__LINE__, className);
}

CJniJObject::CJniJObject(JNIEnv* env, CJniClass* javaClass, bool construct) : m_env(env), m_pclass(javaClass)
{
    if (!m_pclass)
        return;
    m_pclass->rebind(env);
    if (construct)
        constructDefault(__LINE__, nullptr);
}

CJniJObject::CJniJObject(JNIEnv* env, jobject object, CJniClass* javaClass)
    : m_env(env), m_pjObj(object), m_pclass(javaClass)
{
    if (m_pclass)
        m_pclass->rebind(env);
    else if (object)
        setClass(new CJniClass(env, object), true);
}

CJniJObject::CJniJObject(const CJniJObject& other)
    : m_env(other.m_env), m_pjObj(other.m_pjObj),
      m_pclass(other.m_ownsClass ? new CJniClass(*other.m_pclass) : other.m_pclass),
      m_ownsClass(other.m_ownsClass), m_locked(other.m_locked)
{
}

CJniJObject::~CJniJObject()
{
    unlock();
    setClass(nullptr, false);
}

void CJniJObject::setClass(CJniClass* javaClass, bool owned)
{
    if (m_ownsClass && m_pclass != javaClass)
        delete m_pclass;
    m_pclass = javaClass;
    m_ownsClass = owned;
}

void CJniJObject::construct(const char* signature, ...)
{
    va_list values;
    va_start(values, signature);
    m_pjObj = m_pclass ? m_pclass->constructWith(m_env, signature, values) : nullptr;
    va_end(values);
}

void CJniJObject::constructDefault(int line, const char* className)
{
    construct("()V");
    if (m_pjObj)
        return;
    const bool thrown = m_env->ExceptionCheck();
    const CPendingAside aside(m_env);
    const std::string name = className ? className : this->className();
    if (thrown)
        CTracer::debugTrace("[CJniJObject::CJniJObject.%d] Java Exception occurred! %s", line, name.c_str());
    else
        CTracer::debugTrace("[CJniJObject::CJniJObject.%d] Cannot construct %s", line, name.c_str());
}

bool CJniJObject::instanceOf(const char* className) const
{
    if (!m_env || !m_pjObj)
        return false;
    const auto javaClass = localRef(m_env, static_cast<jclass>(CJniClass(m_env, className)));
    return javaClass && m_env->IsInstanceOf(m_pjObj, javaClass.get()) == JNI_TRUE;
}

std::string CJniJObject::className() const
{
    if (!m_pclass || !m_pclass->getclass())
        return {};
    CJniClass copy(*m_pclass);
    copy.rebind(m_env);
    const char* const name = copy;
    return name ? name : "";
}

jfieldID CJniJObject::fieldId(const char* name, const char* signature) const
{
    GX_ASSERT(m_env != nullptr, "m_env != 0");
    GX_ASSERT(m_pclass != nullptr, "m_pclass != 0");
    return alongSuperclasses(m_env, m_pclass->getclass(), [&](jclass javaClass) {
        const jfieldID field = m_env->GetFieldID(javaClass, name, signature);
        if (!field)
            CJniClass::resetException(m_env, "java/lang/NoSuchFieldError");
        return field;
    });
}

jfieldID CJniJObject::staticFieldId(const char* name, const char* signature) const
{
    GX_ASSERT(m_env != nullptr, "m_env != 0");
    GX_ASSERT(m_pclass != nullptr, "m_pclass != 0");
    auto failure = localRef<jthrowable>(m_env, nullptr);
    const jfieldID field = alongSuperclasses(m_env, m_pclass->getclass(), [&](jclass javaClass) {
        const jfieldID found = m_env->GetStaticFieldID(javaClass, name, signature);
        if (!found && !failure)
            failure = localRef(m_env, m_env->ExceptionOccurred());
        if (!found)
            m_env->ExceptionClear();
        return found;
    });
    if (failure)
        m_env->Throw(failure.get());
    return field;
}

int CJniJObject::getInt(const char* name) const
{
    return readField(*this, name, "I", &JNIEnv::GetIntField);
}
long CJniJObject::getLong(const char* name) const
{
    return readField(*this, name, "J", &JNIEnv::GetLongField);
}
float CJniJObject::getFloat(const char* name) const
{
    return readField(*this, name, "F", &JNIEnv::GetFloatField);
}
double CJniJObject::getDouble(const char* name) const
{
    return readField(*this, name, "D", &JNIEnv::GetDoubleField);
}
bool CJniJObject::getBoolean(const char* name) const
{
    return readField(*this, name, "Z", &JNIEnv::GetBooleanField) == JNI_TRUE;
}

long CJniJObject::getLong(jfieldID field) const
{
    return m_pjObj && field ? m_env->GetLongField(m_pjObj, field) : 0;
}

CJniJObject CJniJObject::getObject(const char* name, const char* className) const
{
    const std::string signature = sigClassName(className);
    return {m_env, readField(*this, name, signature.c_str(), &JNIEnv::GetObjectField), nullptr};
}

CJniJObject CJniJObject::getStaticObject(const char* name, const char* className) const
{
    const jfieldID field = staticFieldId(name, sigClassName(className).c_str());
    return {m_env, field ? m_env->GetStaticObjectField(m_pclass->getclass(), field) : nullptr, nullptr};
}

int CJniJObject::getStaticInt(const char* name) const
{
    const jfieldID field = staticFieldId(name, "I");
    return field ? m_env->GetStaticIntField(m_pclass->getclass(), field) : 0;
}

bool CJniJObject::getString(const char* name, char* buffer, int length) const
{
    GX_ASSERT(m_env != nullptr, "m_env != 0");
    if (!buffer || length <= 0)
        return false;
    buffer[0] = 0;
    const auto held = localRef(
        m_env, static_cast<jstring>(readField(*this, name, "Ljava/lang/String;", &JNIEnv::GetObjectField)));
    if (!held)
        return false;
    const CJString text(m_env, held.get());
    if (const char* ansi = text.ansiString())
        std::strncpy(buffer, ansi, static_cast<size_t>(length));
    return true;
}

bool CJniJObject::setString(const char* name, jstring text)
{
    if (!text)
        return false; // no room; OutOfMemoryError is pending
    const auto owner = localRef(m_env, text);
    return writeField<jobject>(*this, name, "Ljava/lang/String;", &JNIEnv::SetObjectField, text);
}

bool CJniJObject::set(const char* name, const char* text)
{
    return isValid() && setString(name, newStringUtf8(m_env, text ? text : ""));
}

bool CJniJObject::set(const char* name, const unsigned short* text)
{
    constexpr unsigned short empty = 0;
    return isValid() &&
           setString(name, m_env->NewString(text ? text : &empty, static_cast<jsize>(lengthOf(text))));
}

bool CJniJObject::set(const char* name, const CJniJObject& value, const char* className)
{
    if (className)
        return writeField<jobject>(*this, name, sigClassName(className).c_str(), &JNIEnv::SetObjectField,
                                   value);
    const CJniClass* const objClass = value.getClass();
    GX_ASSERT(objClass != nullptr, "objClass != 0");
    return writeField<jobject>(*this, name, sigClassName(value.className().c_str()).c_str(),
                               &JNIEnv::SetObjectField, value);
}

bool CJniJObject::set(const char* name, int value)
{
    return writeField<jint>(*this, name, "I", &JNIEnv::SetIntField, value);
}
bool CJniJObject::set(const char* name, float value)
{
    return writeField<jfloat>(*this, name, "F", &JNIEnv::SetFloatField, value);
}
bool CJniJObject::set(const char* name, double value)
{
    return writeField<jdouble>(*this, name, "D", &JNIEnv::SetDoubleField, value);
}
bool CJniJObject::set(const char* name, long value)
{
    return writeField<jlong>(*this, name, "J", &JNIEnv::SetLongField, value);
}
bool CJniJObject::set(const char* name, bool value)
{
    return writeField<jboolean>(*this, name, "Z", &JNIEnv::SetBooleanField, value ? JNI_TRUE : JNI_FALSE);
}

bool CJniJObject::set(jfieldID field, long value)
{
    if (!m_pjObj || !field)
        return false;
    m_env->SetLongField(m_pjObj, field, value);
    return true;
}

bool CJniJObject::lock()
{
    GX_ASSERT(m_env != nullptr, "m_env != 0");
    GX_ASSERT(m_pjObj != nullptr, "m_pjObj != 0");
    GX_ASSERT(m_pclass != nullptr, "m_pclass != 0");
    if (m_locked)
        return true;
    const jobject global = m_env->NewGlobalRef(m_pjObj);
    if (!global)
        return false;
    m_pclass->lock();
    m_pjObj = global;
    m_locked = true;
    return true;
}

void CJniJObject::unlock()
{
    if (!m_locked)
        return;
    m_env->DeleteGlobalRef(m_pjObj);
    if (m_ownsClass)
        m_pclass->unlock();
    m_pjObj = nullptr;
    m_locked = false;
}

std::string CJniJObject::sigClassName(const char* className)
{
    GX_ASSERT(className != nullptr, "pszClassName != 0");
    return std::string("L") + className + ";";
}

namespace {
void throwError(JNIEnv* env, const char* wantedClass)
{
    const auto error = localRef(env, static_cast<jclass>(CJniClass(env, "java/lang/Error")));
    if (!error) {
        CTracer::debugTrace("Could not even throw java/lang/Error!");
        return;
    }
    std::vector<char> text(std::strlen(wantedClass) + 46);
    std::snprintf(text.data(), text.size(), "Native layer was unable to throw exception %s", wantedClass);
    env->ThrowNew(error.get(), text.data());
}
} // namespace

void CJniJObject::throwException(JNIEnv* env, const char* className, const char* message)
{
    const char* const text = message ? message : "";
    const char* const wanted = className ? className : "";
    if (!env) {
        CTracer::debugTrace("Can't throw exception because JNIEnv is null - exception->%s, %s", wanted, text);
        return;
    }
    if (env->ExceptionCheck())
        return;
    const auto javaClass = localRef(env, static_cast<jclass>(CJniClass(env, wanted)));
    if (javaClass) {
        if (env->ThrowNew(javaClass.get(), text) != 0)
            CTracer::debugTrace("Attempt to throw Java exception failed! (%s)", text);
        return;
    }
    CTracer::debugTrace("Cannot find exception: %s ", wanted);
    if (!env->ExceptionCheck())
        throwError(env, wanted);
}

void CJniJObject::throwAnsiException(JNIEnv* env, const char* className, const char* message)
{
    std::string ascii(message ? message : "");
    const auto isForeign = [](char c) { return static_cast<unsigned char>(c) > '~'; };
    const bool isAscii = std::none_of(ascii.begin(), ascii.end(), isForeign);
    if (isAscii || !env || env->ExceptionCheck())
        return throwException(env, className, message);
    const CJString text(env, message);
    const auto units = localRef(env, static_cast<jstring>(env->NewLocalRef(text)));
    const char* const utf8 = text.length() > 0 ? env->GetStringUTFChars(units.get(), nullptr) : nullptr;
    std::replace_if(ascii.begin(), ascii.end(), isForeign, '?');
    throwException(env, className, utf8 ? utf8 : ascii.c_str());
    if (utf8)
        env->ReleaseStringUTFChars(units.get(), utf8);
}

jfieldID CJavaField::fieldOf(JNIEnv* env, jclass javaClass) const
{
    const jfieldID field = javaClass ? env->GetFieldID(javaClass, m_name, m_signature) : nullptr;
    if (!field)
        CJniClass::resetException(env, "java/lang/NoSuchFieldError");
    return field;
}

/// The object may be of a class that has a field of the same name of its own: the one that is highest in the
/// class tree is the one that native code means, and that all other objects have.
jfieldID CJavaField::find(JNIEnv* env, jobject object)
{
    auto javaClass = localRef(env, env->GetObjectClass(object));
    jfieldID field = fieldOf(env, javaClass.get());
    while (field) {
        auto above = localRef(env, env->GetSuperclass(javaClass.get()));
        const jfieldID inherited = fieldOf(env, above.get());
        if (!inherited)
            break;
        field = inherited;
        javaClass = std::move(above);
    }
    if (!field)
        return nullptr;
    jfieldID expected = nullptr;
    if (env->NewGlobalRef(javaClass.get()))
        m_id.compare_exchange_strong(expected, field, std::memory_order_acq_rel);
    return field;
}

const char* CJException::getMessage()
{
    if (m_message)
        return m_message->c_str();
    m_message.emplace();
    const jmethodID method = isValid() ? getClass()->methodId("getMessage", "()Ljava/lang/String;") : nullptr;
    const auto text =
        localRef(env(), method ? static_cast<jstring>(env()->CallObjectMethod(*this, method)) : nullptr);
    if (env()->ExceptionCheck() || !text)
        return "";
    const CJString message(env(), text.get());
    if (const char* const ansi = message.ansiString())
        m_message = ansi;
    return m_message->c_str();
}

void CJException::throwInJVM()
{
    GX_ASSERT(env() != nullptr, "m_env != 0");
    GX_ASSERT(isValid(), "isValid()");
    env()->Throw(static_cast<jthrowable>(static_cast<jobject>(*this)));
}
