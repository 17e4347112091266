#include "common/bindings/JavaMailslot.h"

#include "com_talvern_test_gx_sys_Mailslot.h"
#include "com_talvern_test_gx_sys_MailslotRegistry.h"

#include "common/bindings/JavaSpyVector.h"
#include "common/jni/JniEntry.h"
#include "common/trace/CTracer.h"
#include "unix/ipc/AnswerBell.h"

#include <algorithm>
#include <cstring>
#include <iterator>

CJavaMailslot::CJavaMailslot(JNIEnv* env, jobject object)
    : CJavaSpyMemory(env, object, &m_mailslot), m_mailslot(refOf(env, object))
{
}

CJavaMailslot::CJavaMailslot(JNIEnv* env, const CSpyMemRef& ref)
    : CJavaSpyMemory(CJniJObject(env, getClassName(), true), &m_mailslot), m_mailslot(ref)
{
    attach(ref);
    const CMailslot::CMailbox* const record = m_mailslot.mailbox();
    if (!record || env->ExceptionCheck())
        return;
    const std::optional<std::string> name = record->name();
    setQueues(record->m_sendQueue.ref(), record->m_postQueue.ref());
    set("name", CJString(env, name ? name->c_str() : nullptr), "java/lang/String");
}

void CJavaMailslot::setQueues(const CSpyMemRef& sendQueue, const CSpyMemRef& postQueue)
{
    const char* const vectors = CJavaSpyVector::getClassName();
    set("sendMessageQueue", CJavaSpyMemory(env(), sendQueue, vectors), vectors);
    set("postMessageQueue", CJavaSpyMemory(env(), postQueue, vectors), vectors);
}

bool CJavaMailslot::create(const CJString& name)
{
    const char* const vectors = CJavaSpyVector::getClassName();
    const CSpyMemRef sendQueue = refOf(env(), getObject("sendMessageQueue", vectors));
    const CSpyMemRef postQueue = refOf(env(), getObject("postMessageQueue", vectors));
    setQueues(sendQueue, postQueue);
    if (!m_mailslot.create(name, sendQueue, postQueue))
        return false;
    attach(m_mailslot.ref());
    set("name", name, "java/lang/String");
    set("eventHandle", static_cast<int>(m_mailslot.handle().m_set));
    return true;
}

void CJavaMailslot::throwMailslotGone(JNIEnv* env, const char* message)
{
    CTracer::debugTrace("%s", message);
    throwAnsiException(env, CMailslotGoneException::JavaClass, message);
}

void CJavaMailslot::throwInvalidMailslot(JNIEnv* env, const char* message)
{
    CTracer::debugTrace("%s", message);
    throwAnsiException(env, CInvalidMailslotException::JavaClass, message);
}

namespace {
/// What follows the name in the end line of a function that failed: readers of the trace know the functions
/// by it.
constexpr struct {
    const char* method;
    const char* note;
} failureNotes[] = {
    {"create", " Return False"},
    {"sendIPC", " returning false"},
    {"waitForIncomingMessage", " returning false"},
    {"replyTo", " returning false"},
    {"detach", " Spymem Exception"},
    {"pingMailslot", " FALSE"},
};

const char* failureNoteOf(const char* function)
{
    const char* const method = function + sizeof("Java_com_talvern_test_gx_sys_Mailslot_") - 1;
    const auto* const found =
        std::find_if(std::begin(failureNotes), std::end(failureNotes),
                     [&](const auto& each) { return !std::strcmp(each.method, method); });
    return found == std::end(failureNotes) ? "" : found->note;
}

CAnswerBell bellOf(JNIEnv* env, jobject request)
{
    return CAnswerBell(CJavaSpyMemory::refOf(env, request));
}

/// Runs `body` without the heap lock: some of what mailslots do blocks. What is false or throws is a failure.
template <class Body>
jboolean mailslotEntry(JNIEnv* env, const char* function, Body&& body, const char* file, int line) noexcept
{
    return jniEntry(env, function, [&](CJniTrace& trace) {
        bool done = false;
        try {
            done = body();
        } catch (...) {
            if (!raiseDeclaredInJava(env))
                CTracer::debugTrace("Unknown exception: %s:%d", file, line);
        }
        if (!done)
            trace.note(failureNoteOf(function));
        return static_cast<jboolean>(done);
    });
}

/// The same on the mailslot that a Java object names.
template <class Work>
jboolean onMailslot(JNIEnv* env, const char* function, jobject self, Work&& work,
                    const char* file = __builtin_FILE(), int line = __builtin_LINE()) noexcept
{
    const auto body = [&] {
        CJavaMailslot mailslot(env, self);
        return work(mailslot);
    };
    return mailslotEntry(env, function, body, file, line);
}
} // namespace

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_Mailslot_create, jobject self, jstring name)
{
    return onMailslot(env, __func__, self,
                      [&](CJavaMailslot& mailslot) { return name && mailslot.create(CJString(env, name)); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_Mailslot_sendIPC, jobject self, jboolean waitForReply)
{
    return onMailslot(env, __func__, self,
                      [&](CJavaMailslot& mailslot) { return mailslot->send(waitForReply != JNI_FALSE); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_Mailslot_waitForIncomingMessage, jobject self)
{
    return onMailslot(env, __func__, self, [](CJavaMailslot& mailslot) {
        // Without a record a native caller would end the process.
        return !mailslot->isNull() && mailslot->waitForMessage();
    });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_Mailslot_replyTo, jobject self)
{
    return onMailslot(env, __func__, self, [](CJavaMailslot& mailslot) { return mailslot->replyTo(); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_Mailslot_detach, jobject self)
{
    const auto release = [=] {
        try {
            CJavaMailslot(env, self)->release();
            return true;
        } catch (const CInvalidSpyMemRef&) {
            CJavaSpyMemory::throwInvalidReference(env, "Mailslot.detach()");
            return false;
        }
    };
    mailslotEntry(env, __func__, release, __FILE__, __LINE__);
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_Mailslot_pingMailslot, jobject self)
{
    return onMailslot(env, __func__, self,
                      [](CJavaMailslot& mailslot) { return !mailslot->handle().isNull(); });
}

// What the Java class needs for itself, in the midst of its own operations.

GX_JNI(void, Java_com_talvern_test_gx_sys_Mailslot_begin, jclass)
{
    jniEntry(env, nullptr, [] {
        if (CSpyMemory::isHeapLocked())
            CSpyJournal::join();
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_Mailslot_end, jclass)
{
    jniEntry(env, nullptr, [] {
        if (!CSpyMemory::isHeapLocked())
            return;
        CSpyJournal::isComplete();
        CSpyJournal::leave();
    });
}

GX_JNI(jstring, Java_com_talvern_test_gx_sys_MailslotRegistry_name, jclass)
{
    return jniEntry(env, nullptr, [&] { return static_cast<jstring>(CJString(env, CMailslot::Registry)); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_Mailslot_takeSignal, jobject self)
{
    jniEntry(env, nullptr, [&] { CJavaMailslot(env, self)->takeSignal(); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_Mailslot_isAttended, jobject self)
{
    return jniEntry(env, nullptr,
                    [&] { return static_cast<jboolean>(CJavaMailslot(env, self)->isAttended()); });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_Mailslot_rings, jclass, jobject request)
{
    return jniEntry(env, nullptr, [&] { return static_cast<jint>(bellOf(env, request).rings()); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_Mailslot_awaitRing, jclass, jobject request, jint rings)
{
    jniEntry(env, nullptr, [&] { bellOf(env, request).await(static_cast<uint32_t>(rings)); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_Mailslot_ring, jclass, jobject request)
{
    jniEntry(env, nullptr, [&] { bellOf(env, request).ring(); });
}

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_Mailslot_SetInvocationTimeoutValueIPC, 0, jobject, jint)
