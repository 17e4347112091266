// The native methods of NativeThreadChannel.
#include "com_talvern_test_gx_domain_NativeThreadChannel.h"
#include "common/jni/JniEntry.h"
#include "common/trace/GxAssert.h"
#include "unix/app/Channel.h"
#include "unix/app/Infestor.h"

#include <pthread.h>

namespace {
/// The spy port at that address; null when that is not the port of this process, or it serves another thread.
CSpyPort* servingPort(jlong spyPort, jlong threadId)
{
    CSpyPort* const port = CInfestor::getDefaultSpyPort();
    const bool meant = port && reinterpret_cast<jlong>(port) == spyPort;
    return meant && port->isAlive(static_cast<unsigned long>(threadId)) ? port : nullptr;
}

bool activate(JNIEnv* env, jobject self, CSpyPort& port)
{
    const jobject channel = env->NewGlobalRef(self);
    if (!channel)
        return false;
    CWaitingChannel::put(env, self);
    if (port.send(MsgCallback, reinterpret_cast<long>(channel)) != 0)
        return true;
    env->DeleteGlobalRef(channel);
    return false;
}

CSpyPort* portOfThisThread()
{
    CSpyPort* port = CInfestor::getSpyPort(pthread_self());
    if (port && !port->env())
        port->attachJVM();
    if (!port) {
        CInfestor::createSpyPort("");
        port = CInfestor::getSpyPort(pthread_self());
    }
    GX_ASSERT(port != nullptr, "spyPort != 0");
    return port;
}
} // namespace

GX_JNI(jboolean, Java_com_talvern_test_gx_domain_NativeThreadChannel_activate, jobject self, jlong spyPort,
       jlong threadId)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        CSpyPort* const port = servingPort(spyPort, threadId);
        return port && activate(env, self, *port);
    });
}

GX_JNI(jlong, Java_com_talvern_test_gx_domain_NativeThreadChannel_getSpyport, jobject)
{
    return jniEntry(env, __func__, [&] {
        CSpyPort* const port = portOfThisThread();
        port->setEnv(env);
        return reinterpret_cast<jlong>(port);
    });
}

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_domain_NativeThreadChannel_isAlive,
              servingPort(spyPort, threadId) != nullptr, jobject, jlong spyPort, jlong threadId)

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_domain_NativeThreadChannel_pumpSendMessages, 0, jobject)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_domain_NativeThreadChannel_isUnresponsive, JNI_FALSE,
              jobject)

GX_JNI(void, Java_com_talvern_test_gx_domain_NativeThreadChannel_setUnresponsive, jobject)
{
    jniEntry(env, __func__, [] {});
}
