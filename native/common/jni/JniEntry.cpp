#include "JniEntry.h"

#include "CTracer.h"
#include "JniDataTypes.h"
#include "SpyMemRef.h"
#include "SpyMutex.h"
#include "jniobject.h"

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

constexpr char HeapLockedMessage[] =
    "Application under test (AUT) is not responding. It is recommended to retry after restarting the application. If the problem persists, avoid recording/playing back on the specific control";
} // namespace

void raiseOutOfSpyMemory(JNIEnv* env, const char* message) noexcept
{
    CJniJObject::throwException(env, "com/talvern/test/gx/sys/OutOfSpyMemException", message);
}

void raiseInvalidSpyReference(JNIEnv* env, const char* message) noexcept
{
    CJniJObject::throwException(env, "com/talvern/test/gx/sys/InvalidSpyMemReference", message);
}

void raiseSpyHeapLocked(JNIEnv* env) noexcept
{
    CJniJObject::throwException(env, "com/talvern/test/gx/sys/ApplicationNotRespondingException",
                                HeapLockedMessage);
}

bool raiseDeclaredInJava(JNIEnv* env) noexcept
{
    try {
        throw;
    } catch (const CJStringNotInCodePageException& e) {
        e.throwException(env);
    } catch (const CInvalidSpyMemRef& e) {
        raiseInvalidSpyReference(env, e.message());
    } catch (const COutOfSpyMemory& e) {
        raiseOutOfSpyMemory(env, e.message());
    } catch (const CSpyHeapLockedException&) {
        raiseSpyHeapLocked(env);
    } catch (const CSpyMutexException& e) {
        CSpyMutex::throwException(env, e);
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
    } catch (const CSpyHeapException& e) {
        raiseUnknown(env, e.message());
    } catch (const std::exception& e) {
        raiseUnknown(env, e.what());
    } catch (...) {
        raiseUnknown(env, "not a standard exception");
    }
}
