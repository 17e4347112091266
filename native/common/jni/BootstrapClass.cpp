#include "common/jni/BootstrapClass.h"

#include "common/jni/LocalRef.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {
constexpr const char* bootstrapClass = "com/talvern/test/gx/bootstrap/Bootstrap";

/// "a/b/C" becomes "a.b.C"; null (traced) without memory.
std::unique_ptr<char[]> dotted(const char* className)
{
    const size_t size = std::strlen(className) + 1;
    std::unique_ptr<char[]> copy(new (std::nothrow) char[size]);
    if (!copy) {
        CTracer::debugTrace("Out of memory! (%s:%d)", __FILE__, __LINE__);
        return nullptr;
    }
    std::replace_copy(className, className + size, copy.get(), '/', '.');
    return copy;
}

/// The answer of a call into Java; null when it threw.
jobject answer(JNIEnv* env, jobject object)
{
    return env->ExceptionCheck() ? nullptr : object;
}

JNIEnv* checked(JNIEnv* env)
{
    GX_ASSERT(env != nullptr, "env != 0");
    return env;
}
} // namespace

CBootstrap::CBootstrap(JNIEnv* env, const char* className) : CJniJObject(checked(env), bootstrapClass, false)
{
    setObject(fetch());
    if (!isValid())
        CTracer::debugTrace("Could not construct the BootstrapClass\n");
    else if (className)
        delete loadClass(className);
}

jobject CBootstrap::fetch()
{
    if (!getClass()->getclass()) {
        CTracer::debugTrace("Could not find the Bootstrap class!");
        return nullptr;
    }
    const jmethodID method =
        getClass()->staticMethodId("getBootstrap", "()Lcom/talvern/test/gx/bootstrap/Bootstrap;");
    const jobject bootstrap =
        answer(env(), method ? env()->CallStaticObjectMethod(getClass()->getclass(), method) : nullptr);
    if (!bootstrap)
        CTracer::debugTrace("Could not get Bootstrap object!!");
    return bootstrap;
}

CJniClass* CBootstrap::loadClass(const char* className)
{
    GX_ASSERT(isValid(), "m_pjObj != 0");
    const jmethodID method = getClass()->methodId("loadClass", "(Ljava/lang/String;)Ljava/lang/Class;");
    if (!method) {
        CTracer::debugTrace("Can't find Boostrap::loadClass method");
        return nullptr;
    }
    const auto name = dotted(className ? className : "");
    const auto javaName = localRef(env(), name ? env()->NewStringUTF(name.get()) : nullptr);
    if (!javaName)
        return nullptr;
    const jobject loaded = answer(env(), env()->CallObjectMethod(*this, method, javaName.get()));
    if (loaded)
        return new CJniClass(env(), static_cast<jclass>(loaded));
    CTracer::debugTrace("Bootstrap loadClass Can't find class %s", name.get());
    return nullptr;
}
