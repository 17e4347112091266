#include "agent/JavaThread.h"

#include "agent/AgentVariables.h"
#include "agent/GuestHooks.h"
#include "agent/JavaMachine.h"
#include "agent/MainLoop.h"
#include "agent/Say.h"

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <pthread.h>
#include <semaphore.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {
constexpr long whileMaking = 10'000; // ms
constexpr long whileStopping = 300;  // ms

JavaVM* s_vm = nullptr;
jclass s_agent = nullptr;
bool s_ownsJvm = false;
int s_isReady = -1;
std::atomic<bool> s_isMaking{true};
pid_t s_process = 0;
sem_t s_ends, s_rests;

/// A JVM of the program's own does not know where the library is.
void tellWhereTheLibraryIs(JNIEnv* env)
{
    const jclass system = env->FindClass("java/lang/System");
    const jmethodID set = env->GetStaticMethodID(system, "setProperty",
                                                 "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;");
    env->CallStaticObjectMethod(system, set, env->NewStringUTF("com.talvern.test.gx.library"),
                                env->NewStringUTF(CAgentVariables::value(AgentVariable::library)));
    env->ExceptionClear();
}

/// Loads the class ahead, so that it costs the GUI thread nothing.
void getReady(JNIEnv* env)
{
    env->GetJavaVM(&s_vm);
    tellWhereTheLibraryIs(env);
    const jclass agent = env->FindClass("com/talvern/test/gx/application/ApplicationAgent");
    if (agent)
        s_agent = static_cast<jclass>(env->NewGlobalRef(agent));
    else
        say("the Java agent does not start: %s", JavaMachine::takeException(env).c_str());
}

void stopJavaAgent(JNIEnv* env)
{
    const jmethodID stop = s_agent ? env->GetStaticMethodID(s_agent, "stop", "()V") : nullptr;
    if (stop)
        env->CallStaticVoidMethod(s_agent, stop);
    env->ExceptionClear();
}

void* live(void*)
{
    pthread_setname_np(pthread_self(), "gx-agent");
    JNIEnv* const env = JavaMachine::bring(s_ownsJvm);
    if (env)
        getReady(env);
    s_isMaking = false;
    static_cast<void>(eventfd_write(s_isReady, 1));
    XtLoop::knock();
    while (sem_wait(&s_ends) != 0) {
    }
    if (env)
        stopJavaAgent(env);
    sem_post(&s_rests);
    return nullptr; // attached as it is: the process ends
}

void waitAtMost(long milliseconds)
{
    timespec limit;
    clock_gettime(CLOCK_MONOTONIC, &limit);
    limit.tv_sec += milliseconds / 1000;
    limit.tv_nsec += milliseconds % 1000 * 1'000'000;
    limit.tv_sec += limit.tv_nsec / 1'000'000'000;
    limit.tv_nsec %= 1'000'000'000;
    sem_clockwait(&s_rests, CLOCK_MONOTONIC, &limit);
}

/// Runs in `exit`.
void end()
{
    static std::atomic_flag s_hasEnded;
    if (getpid() != s_process || s_hasEnded.test_and_set())
        return; // a forked child, in which no other thread lives; or it has run
    sem_post(&s_ends);
    waitAtMost(s_isMaking ? whileMaking : whileStopping);
}

/// With a stack of its own size: that of the program's threads may be too small for a JVM to be made there.
bool startThread()
{
    constexpr size_t stackSize = 1 << 20;
    const CSignalsHeldOff held;
    pthread_t thread;
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    const std::unique_ptr<pthread_attr_t, int (*)(pthread_attr_t*)> owner(&attributes, pthread_attr_destroy);
    if (pthread_attr_setstacksize(&attributes, stackSize) != 0 ||
        pthread_create(&thread, &attributes, live, nullptr) != 0)
        return false;
    pthread_detach(thread);
    return true;
}
} // namespace

int CJavaThread::start()
{
    s_process = getpid();
    s_isReady = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (s_isReady < 0 || sem_init(&s_ends, 0, 0) != 0 || sem_init(&s_rests, 0, 0) != 0 || !startThread()) {
        say("there is no room for another thread: no agent in this program");
        return -1;
    }
    std::atexit(end);
    return s_isReady;
}

void CJavaThread::endBeforeLibrary()
{
    std::atexit(end);
}

jclass CJavaThread::agent()
{
    return s_agent;
}

bool CJavaThread::ownsJvm()
{
    return s_ownsJvm;
}

JNIEnv* CJavaThread::env()
{
    void* env = nullptr;
    return s_vm->GetEnv(&env, JNI_VERSION_1_8) == JNI_OK ? static_cast<JNIEnv*>(env) : nullptr;
}
