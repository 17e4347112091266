#include "common/jni/JniClass.h"

#include "common/jni/LocalRef.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

CJniClass::CJniClass(JNIEnv* env, const char* name) : m_env(env)
{
    if (!env) {
        GX_ASSERT(name == nullptr, "pszClassName == 0");
        return;
    }
    if (name)
        m_jclass = env->FindClass(name);
    if (getclass())
        return;
    resetException("java/lang/NoClassDefFoundError");
    CTracer::debugTrace("[CJniClass::CJniClass] Cannot find class: %s\r\n", name ? name : "");
}

CJniClass::CJniClass(JNIEnv* env, jclass javaClass) : m_env(env), m_jclass(javaClass) {}

CJniClass::CJniClass(JNIEnv* env, jobject object) : m_env(env), m_object(object) {}

CJniClass::CJniClass(const CJniClass& other) : m_env(other.env()), m_jclass(other.getclass()) {}

CJniClass& CJniClass::operator=(const CJniClass& other)
{
    if (this == &other)
        return *this;
    releaseName();
    m_env = other.env();
    m_jclass = other.m_jclass.load();
    m_object = m_jclass ? nullptr : other.m_object;
    m_locked = false;
    return *this;
}

CJniClass::~CJniClass()
{
    releaseName();
}

void CJniClass::releaseName() noexcept
{
    if (m_nameString && m_name) {
        env()->ReleaseStringUTFChars(m_nameString, m_name);
        if (m_locked)
            env()->DeleteGlobalRef(m_nameString);
        else
            env()->DeleteLocalRef(m_nameString);
    }
    m_nameString = nullptr;
    m_name = nullptr;
}

jclass CJniClass::getclass() const
{
    if (!m_jclass && m_object && env())
        m_jclass = env()->GetObjectClass(m_object);
    return m_jclass;
}

CJniClass::operator char*()
{
    GX_ASSERT(env() != nullptr, "m_env != 0");
    GX_ASSERT(getclass() != nullptr, "m_jclass != 0");
    if (m_name)
        return const_cast<char*>(m_name);
    const auto classObj = localRef(env(), env()->FindClass("java/lang/Class"));
    GX_ASSERT(classObj != nullptr, "classObj != 0");
    const jmethodID getName = env()->GetMethodID(classObj.get(), "getName", "()Ljava/lang/String;");
    if (!getName)
        return nullptr;
    auto name = localRef(env(), static_cast<jstring>(env()->CallObjectMethod(getclass(), getName)));
    if (env()->ExceptionCheck() || !name)
        return nullptr;
    m_name = env()->GetStringUTFChars(name.get(), nullptr);
    if (!m_name)
        return nullptr;
    // The name of a locked class outlives this call, as the class does.
    m_nameString = m_locked ? static_cast<jstring>(env()->NewGlobalRef(name.get())) : name.release();
    // The characters are this call's own copy (the JVM has no other in this form), so they may be changed.
    char* const text = const_cast<char*>(m_name);
    std::replace(text, text + std::strlen(text), '.', '/');
    return text;
}

jmethodID CJniClass::lookUp(JNIEnv* env, jclass javaClass, const char* name, const char* signature) const
{
    const jmethodID method = env->GetMethodID(javaClass, name, signature);
    if (!method)
        resetException(env, "java/lang/NoSuchMethodError");
    return method;
}

jmethodID CJniClass::methodId(const char* name, const char* signature) const
{
    const jclass javaClass = getclass();
    if (!javaClass)
        std::fprintf(stderr, "ERROR: m_jclass == 0 in methodId(%s, %s)\r\n", name, signature);
    GX_ASSERT(javaClass != nullptr, "m_jclass != 0");
    return lookUp(env(), javaClass, name, signature);
}

jmethodID CJniClass::staticMethodId(const char* name, const char* signature) const
{
    GX_ASSERT(getclass() != nullptr, "getclass() != 0");
    return env()->GetStaticMethodID(getclass(), name, signature);
}

jobject CJniClass::construct(const char* signature, ...)
{
    va_list values;
    va_start(values, signature);
    const jobject made = constructWith(env(), signature, values);
    va_end(values);
    return made;
}

jobject CJniClass::constructWith(JNIEnv* env, const char* signature, va_list values)
{
    const jclass javaClass = getclass();
    if (!javaClass)
        return nullptr;
    const jmethodID constructor = lookUp(env, javaClass, "<init>", signature);
    m_constructor = constructor;
    return constructor ? env->NewObjectV(javaClass, constructor, values) : nullptr;
}

void CJniClass::resetException(const char* className) const
{
    resetException(env(), className);
}

void CJniClass::resetException(JNIEnv* env, const char* className)
{
    const auto pending = localRef(env, env->ExceptionOccurred());
    if (!pending)
        return;
    env->ExceptionClear();
    const auto expected = localRef(env, env->FindClass(className));
    if (!expected)
        env->ExceptionClear();
    else if (env->IsInstanceOf(pending.get(), expected.get()))
        return;
    env->Throw(pending.get());
}

bool CJniClass::lock()
{
    if (m_locked)
        return true;
    GX_ASSERT(env() != nullptr, "m_env != 0");
    releaseName();
    m_jclass = static_cast<jclass>(env()->NewGlobalRef(getclass()));
    m_object = nullptr; // a local reference, which the class now outlives
    m_locked = m_jclass != nullptr;
    return m_locked;
}

void CJniClass::unlock()
{
    if (!m_locked && (!m_jclass || env()->GetObjectRefType(m_jclass) != JNIGlobalRefType))
        return;
    releaseName();
    env()->DeleteGlobalRef(m_jclass.exchange(nullptr));
    m_locked = false;
}
