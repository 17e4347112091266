#include "common/jni/JniEntry.h"

#include "common/jni/JniDataTypes.h"
#include "common/jni/jniobject.h"
#include "common/trace/CTracer.h"
#include "include/NativeFailure.h"

#include <exception>
#include <new>
#include <string>

void CJniTrace::end() noexcept
{
    try {
        GxDebug::JNI_End((std::string(m_name) + m_note).c_str());
    } catch (...) {
        GxDebug::JNI_End(m_name);
    }
}

namespace {
/// The exception being handled is of a kind that no room declared: an engine that went on with a neutral
/// answer would take it for a result.
void raiseUnknown(JNIEnv* env, const char* what)
{
    CTracer::debugTrace("An unknown native exception ended an exported function: %s", what);
    CJniJObject::throwAnsiException(env, "java/lang/Error", what);
}

bool raise(JNIEnv* env, const CNativeFailure& failure)
{
    if (!failure.javaExceptionClass())
        return false;
    if (const char* const text = failure.traceText())
        CTracer::debugTrace("%s", text);
    CJniJObject::throwAnsiException(env, failure.javaExceptionClass(), failure.javaMessage());
    return true;
}
} // namespace

bool raiseDeclaredInJava(JNIEnv* env) noexcept
{
    try {
        throw;
    } catch (const CJStringNotInCodePageException& e) {
        e.throwException(env);
    } catch (const CNativeFailure& e) {
        return raise(env, e);
    } catch (const std::bad_alloc&) {
        CJniJObject::throwException(env, "java/lang/OutOfMemoryError", "native memory");
    } catch (...) {
        return false;
    }
    return true;
}

void raiseInJava(JNIEnv* env) noexcept
{
    if (raiseDeclaredInJava(env))
        return;
    try {
        throw;
    } catch (const CNativeFailure& e) {
        raiseUnknown(env, e.message());
    } catch (const std::exception& e) {
        raiseUnknown(env, e.what());
    } catch (...) {
        raiseUnknown(env, "not a standard exception");
    }
}
