#include "EndOfProgram.h"

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <initializer_list>
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

namespace {
constexpr long longestWait = 300'000'000; // ns

JavaVM* s_vm = nullptr;
jclass s_agent = nullptr;
pid_t s_process = 0;
sem_t s_ends, s_rests;

void waitFor(sem_t& semaphore)
{
    while (sem_wait(&semaphore) != 0) {
    }
}

void stopJavaAgent(JNIEnv* env)
{
    if (const jmethodID stop = env->GetStaticMethodID(s_agent, "stop", "()V"))
        env->CallStaticVoidMethod(s_agent, stop);
    env->ExceptionClear();
}

void* waitForEnd(void*)
{
    void* env = nullptr;
    JavaVMAttachArgs arguments{JNI_VERSION_1_8, const_cast<char*>("gx-end"), nullptr};
    if (s_vm->AttachCurrentThreadAsDaemon(&env, &arguments) != JNI_OK)
        return nullptr;
    waitFor(s_ends);
    stopJavaAgent(static_cast<JNIEnv*>(env));
    sem_post(&s_rests);
    return nullptr; // attached as it is: the process ends
}

/// Runs in `exit`.
void end()
{
    if (getpid() != s_process)
        return; // a forked child, in which no other thread lives
    timespec limit;
    clock_gettime(CLOCK_MONOTONIC, &limit);
    limit.tv_nsec += longestWait;
    limit.tv_sec += limit.tv_nsec / 1'000'000'000;
    limit.tv_nsec %= 1'000'000'000;
    sem_post(&s_ends);
    sem_clockwait(&s_rests, CLOCK_MONOTONIC, &limit);
}

bool startThread()
{
    pthread_t thread;
    sigset_t all, before;
    sigfillset(&all);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL})
        sigdelset(&all, fault);                  // the JVM's code is built on them
    pthread_sigmask(SIG_SETMASK, &all, &before); // signals are for the program's threads
    const bool started = pthread_create(&thread, nullptr, waitForEnd, nullptr) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (started)
        pthread_detach(thread);
    return started;
}
} // namespace

void CEndOfProgram::watch(JNIEnv* env, jclass agent)
{
    s_process = getpid();
    s_agent = static_cast<jclass>(env->NewGlobalRef(agent));
    if (env->GetJavaVM(&s_vm) != JNI_OK || sem_init(&s_ends, 0, 0) != 0 || sem_init(&s_rests, 0, 0) != 0)
        return;
    if (startThread())
        std::atexit(end);
}
