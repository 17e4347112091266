#include "JavaMailslot.h"

#include "com_talvern_test_gx_sys_Mailslot.h"

#include "AnswerBell.h"
#include "CTracer.h"
#include "JavaSpyVector.h"
#include "JniEntry.h"

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
    throwAnsiException(env, "com/talvern/test/gx/sys/Mailslot$MailslotGoneException", message);
}

void CJavaMailslot::throwInvalidMailslot(JNIEnv* env, const char* message)
{
    CTracer::debugTrace("%s", message);
    throwAnsiException(env, "com/talvern/test/gx/sys/InvalidMailslotException", message);
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

/// Runs `work` on the mailslot that a Java object names, without the heap lock: some of it blocks. What is
/// false or throws is a failure.
/// @param staleText  message when the mailslot was freed; null: the block's
template <class Work>
jboolean onMailslot(JNIEnv* env, const char* function, jobject self, Work&& work,
                    const char* staleText = nullptr, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) noexcept
{
    return jniEntry(env, function, [&](CJniTrace& trace) {
        bool done = false;
        try {
            CJavaMailslot mailslot(env, self);
            done = work(mailslot);
        } catch (const CMailslotGoneException& e) {
            CJavaMailslot::throwMailslotGone(env, e.message());
        } catch (const CInvalidMailslotException& e) {
            CJavaMailslot::throwInvalidMailslot(env, e.message());
        } catch (const CInvalidSpyMemRef& e) {
            CJavaSpyMemory::throwInvalidReference(env, staleText ? staleText : e.message());
        } catch (...) {
            if (!raiseDeclaredInJava(env))
                CTracer::debugTrace("Unknown exception: %s:%d", file, line);
        }
        if (!done)
            trace.note(failureNoteOf(function));
        return static_cast<jboolean>(done);
    });
}
} // namespace

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_Mailslot_create(JNIEnv* env, jobject self,
                                                                        jstring name)
{
    return onMailslot(env, __func__, self,
                      [&](CJavaMailslot& mailslot) { return name && mailslot.create(CJString(env, name)); });
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_Mailslot_sendIPC(JNIEnv* env, jobject self,
                                                                         jboolean waitForReply)
{
    return onMailslot(env, __func__, self,
                      [&](CJavaMailslot& mailslot) { return mailslot->send(waitForReply != JNI_FALSE); });
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_Mailslot_waitForIncomingMessage(JNIEnv* env,
                                                                                        jobject self)
{
    return onMailslot(env, __func__, self, [](CJavaMailslot& mailslot) {
        // Without a record a native caller would end the process.
        return !mailslot->isNull() && mailslot->waitForMessage();
    });
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_Mailslot_replyTo(JNIEnv* env, jobject self)
{
    return onMailslot(env, __func__, self, [](CJavaMailslot& mailslot) { return mailslot->replyTo(); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_Mailslot_detach(JNIEnv* env, jobject self)
{
    const auto release = [](CJavaMailslot& mailslot) {
        mailslot->release();
        return true;
    };
    onMailslot(env, __func__, self, release, "Mailslot.detach()");
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_Mailslot_pingMailslot(JNIEnv* env, jobject self)
{
    return onMailslot(env, __func__, self,
                      [](CJavaMailslot& mailslot) { return !mailslot->handle().isNull(); });
}

// What the Java class needs for itself, in the midst of its own operations.

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_Mailslot_begin(JNIEnv* env, jclass)
{
    jniEntry(env, nullptr, [] {
        if (CSpyMemory::isHeapLocked())
            CSpyJournal::join();
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_Mailslot_end(JNIEnv* env, jclass)
{
    jniEntry(env, nullptr, [] {
        if (!CSpyMemory::isHeapLocked())
            return;
        CSpyJournal::isComplete();
        CSpyJournal::leave();
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_Mailslot_takeSignal(JNIEnv* env, jobject self)
{
    jniEntry(env, nullptr, [&] { CJavaMailslot(env, self)->takeSignal(); });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_Mailslot_rings(JNIEnv* env, jclass, jobject request)
{
    return jniEntry(env, nullptr, [&] { return static_cast<jint>(bellOf(env, request).rings()); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_Mailslot_awaitRing(JNIEnv* env, jclass, jobject request,
                                                                       jint rings)
{
    jniEntry(env, nullptr, [&] { bellOf(env, request).await(static_cast<uint32_t>(rings)); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_Mailslot_ring(JNIEnv* env, jclass, jobject request)
{
    jniEntry(env, nullptr, [&] { bellOf(env, request).ring(); });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_Mailslot_SetInvocationTimeoutValueIPC(JNIEnv* env,
                                                                                          jobject, jint)
{
    return jniEntry(env, __func__, [] { return jint{0}; });
}
