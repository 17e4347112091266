#include "unix/app/TestContext.h"

#include "common/jni/JniDataTypes.h"
#include "unix/app/Channel.h"
#include "unix/app/Infestor.h"

#include <pthread.h>

namespace {
constexpr const char* contextClass = "com/talvern/test/gx/domain/TestContext";
} // namespace

CTestContext::CTestContext(CBootstrap& bootstrap) : CJniJObject(bootstrap.env(), jobject(), nullptr)
{
    const CChannel channel(env(), CInfestor::getSpyPort(pthread_self()));
    if (!channel.isValid())
        return;
    setClass(bootstrap.loadClass(contextClass), true);
    construct("(Lcom/talvern/test/gx/domain/ThreadChannel;)V", static_cast<jobject>(channel));
}

jobject CTestContext::getHtmlDomain(const CJniClass& javaClass, const char* domain, jlong nativeDomain)
{
    const jmethodID method =
        getClass()->methodId("getHtmlDomain", "(Ljava/lang/Class;Ljava/lang/String;J)Ljava/lang/Object;");
    if (!method)
        return nullptr;
    const CJString name(env(), domain);
    const jobject made = env()->CallObjectMethod(*this, method, javaClass.getclass(),
                                                 static_cast<jstring>(name), nativeDomain);
    return env()->ExceptionCheck() ? nullptr : made;
}
