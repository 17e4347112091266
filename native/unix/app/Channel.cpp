#include "unix/app/Channel.h"

#include "common/jni/LocalRef.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxAssert.h"

#include <atomic>
#include <memory>

namespace {
constexpr const char* channelClass = "com/talvern/test/gx/domain/ThreadChannel";

struct CGlobalRefDrop {
    JNIEnv* env;
    void operator()(jobject reference) const noexcept { env->DeleteGlobalRef(reference); }
};
using GlobalRef = std::unique_ptr<_jobject, CGlobalRefDrop>;

void checkPort(const CSpyPort* spyPort, const JNIEnv* env)
{
    GX_ASSERT(spyPort != nullptr, "spyPort != 0");
    GX_ASSERT(env != nullptr, "env != 0");
}

void tracePending(JNIEnv* env)
try {
    const auto thrown = localRef(env, env->ExceptionOccurred());
    if (!thrown)
        return;
    env->ExceptionClear();
    CJException exception(env, thrown.get());
    const std::string name = exception.className();
    CTracer::debugTrace("Exception in JVM on the GUI thread: %s %s", name.c_str(), exception.getMessage());
    env->ExceptionClear();
} catch (...) {
    CTracer::debugTrace("Exception in JVM on the GUI thread, with a message that cannot be shown");
    env->ExceptionClear();
}
} // namespace

CChannel::CChannel(JNIEnv* env, CSpyPort* spyPort)
    : CJniJObject((checkPort(spyPort, env), env), channelClass, false)
{
    construct("(JJ)V", static_cast<jlong>(spyPort->threadId()), reinterpret_cast<jlong>(spyPort));
    if (!isValid())
        CTracer::debugTrace("!! Error: Cannot create Channel object");
}

CChannel::CChannel(JNIEnv* env, jobject objThis) : CJniJObject(env, objThis, nullptr)
{
    GX_ASSERT(env != nullptr, "m_env != 0");
    GX_ASSERT(objThis != nullptr, "objThis != 0");
}

bool CChannel::open()
{
    const jmethodID method = getClass()->methodId("open", "()V");
    if (!method) {
        CTracer::debugTrace("!! JNI error, can't find %s.open() method \n", className().c_str());
        return false;
    }
    env()->CallVoidMethod(*this, method);
    return true;
}

namespace {
constinit std::atomic<jobject> s_waiting = nullptr; ///< a global reference

bool hasTasks(JNIEnv* env, jobject channel)
{
    static const auto s_class =
        static_cast<jclass>(env->NewGlobalRef(localRef(env, env->FindClass(channelClass)).get()));
    return s_class && env->IsInstanceOf(channel, s_class);
}
} // namespace

void CWaitingChannel::put(JNIEnv* env, jobject channel)
{
    if (hasTasks(env, channel))
        env->DeleteGlobalRef(s_waiting.exchange(env->NewGlobalRef(channel)));
}

int CWaitingChannel::open(JNIEnv* env)
{
    const jobject channel = env ? s_waiting.exchange(nullptr) : nullptr;
    return channel ? MsgCallback(env, reinterpret_cast<long>(channel)) : 0;
}

void CWaitingChannel::forget(JNIEnv* env)
{
    env->DeleteGlobalRef(s_waiting.exchange(nullptr));
}

int MsgCallback(JNIEnv* env, long channel)
{
    if (!env) {
        CTracer::debugTrace("A channel was to be opened on a thread without a JVM");
        return 0;
    }
    const GlobalRef owner(reinterpret_cast<jobject>(channel), CGlobalRefDrop{env});
    const CPendingAside aside(env); // the thread may have been in Java code when its toolkit called us
    const CLocalFrame frame(env);   // or may have no Java frame at all, which would drop the references
    if (hasTasks(env, owner.get()))
        CWaitingChannel::forget(env);
    const bool opened = CChannel(env, owner.get()).open();
    tracePending(env);
    return opened;
}

void dropMessage(JavaVM* vm, GxCallback callback, long param)
{
    void* env = nullptr;
    if (callback == &MsgCallback && vm && vm->GetEnv(&env, JNI_VERSION_1_2) == JNI_OK)
        static_cast<JNIEnv*>(env)->DeleteGlobalRef(reinterpret_cast<jobject>(param));
}
