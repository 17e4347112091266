#include "agent/Agent.h"

#include "agent/AgentVariables.h"
#include "agent/GuestHooks.h"
#include "agent/JavaMachine.h"
#include "agent/JavaThread.h"
#include "agent/Say.h"
#include "include/InApplication.h"
#include "include/ThreadStack.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <pthread.h>
#include <string>
#include <unistd.h>

#include <X11/Xlib.h>

namespace {
enum class State { waiting, inside, failed };

std::atomic<State> s_state{State::waiting};
pthread_t s_guiThread;
std::atomic<_XDisplay*> s_xtDisplay{nullptr};
void* s_library = nullptr;
char s_displayName[256]; ///< empty until a display is open

/// What the library exports under a name of its headers; null when it is another version.
#define GX_EXPORTED(name) reinterpret_cast<decltype(&(name))>(dlsym(s_library, #name))

bool isReadable(const char* path)
{
    if (path && access(path, R_OK) == 0)
        return true;
    say("there is no %s: no agent in this program", path ? path : "library named");
    return false;
}

/// Without the number of the screen.
bool isSameServer(const char* one, const char* other)
{
    const auto server = [](const char* name) {
        const char* const colon = std::strrchr(name, ':');
        return std::string(name, colon ? std::strcspn(colon, ".") + static_cast<size_t>(colon - name)
                                       : std::strlen(name));
    };
    return server(one) == server(other);
}

void hintAtOtherDisplay()
{
    const char* const variable = std::getenv("DISPLAY");
    if (*s_displayName && !isSameServer(s_displayName, variable ? variable : ""))
        say("the program is on display %s, where nobody can ask it: start it with DISPLAY=%s, which is %s now",
            s_displayName, s_displayName, variable ? variable : "not set");
}

bool hasRoomForJava()
{
    const size_t stack = stackOfThisThread();
    if (stack < LeastStackForJava)
        say("the GUI thread has a stack of %zu KiB, Java needs %zu: no agent in this program", stack / 1024,
            LeastStackForJava / 1024);
    return stack >= LeastStackForJava;
}

bool loadLibrary()
{
    s_library = dlopen(CAgentVariables::value(AgentVariable::library), RTLD_NOW | RTLD_LOCAL);
    if (!s_library) {
        say("%s: no agent in this program", dlerror());
        return false;
    }
    if (int* const isUnderTest = GX_EXPORTED(gx_MarloSUT)) {
        *isUnderTest = 1;
        CGuest::refuseSignalsTo(isUnderTest);
    }
    if (auto** const display = GX_EXPORTED(gx_app_display))
        *display = s_xtDisplay;
    return true;
}

/// @return the spy port of the calling thread; null when there is none for it
void* infest()
{
    const auto entry = GX_EXPORTED(infestCurrentThread);
    const char* const domain = CAgentVariables::value(AgentVariable::domain);
    void* const port = entry ? entry(domain ? domain : "") : nullptr;
    if (!port)
        say("the GUI thread gets no spy port: no agent in this program");
    return port;
}

/// Whether the Java agent runs. It does, too, when a service of it does not.
bool startJavaAgent(void* spyPort)
{
    JNIEnv* const env = CJavaThread::env();
    if (!env) {
        say("the GUI thread is not attached to the JVM: no agent in this program");
        return false;
    }
    const jmethodID start = env->GetStaticMethodID(CJavaThread::agent(), "start", "(JJZ)Ljava/lang/String;");
    const jobject failure =
        start ? env->CallStaticObjectMethod(CJavaThread::agent(), start, static_cast<jlong>(pthread_self()),
                                            reinterpret_cast<jlong>(spyPort),
                                            static_cast<jboolean>(CJavaThread::ownsJvm()))
              : nullptr;
    if (env->ExceptionCheck()) {
        say("the Java agent does not start: %s", JavaMachine::takeException(env).c_str());
        return false;
    }
    if (failure)
        say("a service does not start: %s", JavaMachine::textOf(env, static_cast<jstring>(failure)).c_str());
    env->DeleteLocalRef(failure);
    return true;
}

/// Whether the test domain is there that was asked for. A program with half of what was asked for would
/// answer half of what it is asked.
bool hasDomain()
{
    const char* const domain = CAgentVariables::value(AgentVariable::domain);
    JNIEnv* const env = CJavaThread::env();
    if (!domain || !*domain)
        return true;
    if (env && env->ExceptionCheck()) {
        say("the test domain %s does not start: %s: no agent in this program", domain,
            JavaMachine::takeException(env).c_str());
        return false;
    }
    const auto isThere = GX_EXPORTED(gxHasDomain);
    if (isThere && isThere())
        return true;
    say("there is no test domain %s, or it does not take this program: no agent in this program", domain);
    return false;
}

bool bringInTheRest()
{
    hintAtOtherDisplay();
    if (!CJavaThread::agent() || !hasRoomForJava() || !loadLibrary())
        return false;
    const CSignalsHeldOff held; // the thread is attached to the JVM, and services start threads
    void* const spyPort = infest();
    const bool starts = spyPort && hasDomain() && startJavaAgent(spyPort);
    CJavaThread::endBeforeLibrary();
    return starts;
}

int beginOnce()
{
    if (!CAgentVariables::serves() || !isReadable(CAgentVariables::value(AgentVariable::library)) ||
        !isReadable(CAgentVariables::value(AgentVariable::jar)))
        return -1;
    CAgentVariables::serveOnlyThisProcess();
    return CJavaThread::start();
}
} // namespace

int CAgent::begin()
{
    static const int s_isReady = beginOnce();
    return s_isReady;
}

bool CAgent::start()
{
    if (!CAgentVariables::serves())
        return false;
    if (s_state == State::waiting) {
        s_state = State::failed; // until it has worked; a main loop that is run in between finds it so
        s_guiThread = pthread_self();
        if (bringInTheRest())
            s_state = State::inside;
    }
    return s_state == State::inside && pthread_equal(s_guiThread, pthread_self()) != 0;
}

int CAgent::descriptors(int* out)
{
    const auto entry = GX_EXPORTED(gxRequestDescriptors);
    return entry ? entry(out, 2) : 0;
}

void CAgent::deliver()
{
    static const auto s_entry = GX_EXPORTED(gxDeliverRequests);
    if (CAgentVariables::serves())
        s_entry();
}

void CAgent::noteDisplay(_XDisplay* display)
{
    if (!*s_displayName)
        std::snprintf(s_displayName, sizeof s_displayName, "%s", DisplayString(display));
}

void CAgent::setXtDisplay(_XDisplay* display)
{
    s_xtDisplay = display;
    if (_XDisplay** const known = s_library ? GX_EXPORTED(gx_app_display) : nullptr)
        *known = display;
}

namespace {
[[gnu::constructor(101)]] void enterProgram()
{
    CAgentVariables::enter();
}
} // namespace
