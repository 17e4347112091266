#include "unix/app/SpyPort.h"

#include "common/jni/LocalRef.h"
#include "common/trace/CTracer.h"
#include "common/trace/GxInstallOptions.h"
#include "include/Pause.h"
#include "unix/app/CallbackGlobals.h"
#include "unix/app/Channel.h"
#include "unix/app/HtmlDomainImplementation.h"
#include "unix/app/Infestor.h"
#include "unix/app/LoopChanges.h"
#include "unix/window/MessageWindow.h"
#include "unix/window/gtkfuncs.h"

#include <atomic>
#include <chrono>
#include <pthread.h>
#include <unistd.h>
#include <utility>

#include <X11/Xlib.h>

namespace {
constexpr unsigned AcceleratedPollMs = 5;
constexpr unsigned PlainPollMs = 50;

constinit thread_local CSpyPort* t_beingMade = nullptr;

/// Detaches a thread that ends: the JVM would wait for it. The main thread ends with the process.
struct CThreadEnd {
    ~CThreadEnd()
    {
        if (port && gettid() != getpid())
            port->endThread();
    }
    CSpyPort* port = nullptr;
};
thread_local CThreadEnd t_end;

void readAcceleration()
{
    const char* const option = GxInstallOptions::GetOption(GxInstallOptions::ACCELERATE_ON_LINUX);
    accelerate_on_linux = !option || isTrue(option);
    CTracer::debugTrace(accelerate_on_linux ? "[PERFORMANCE] Acceleration is enabled"
                                            : "[PERFORMANCE] Acceleration is disabled");
}

/// Gives a toolkit that has just woken up the time to finish what it is at.
void sleepOneMillisecond()
{
    pauseFor(std::chrono::milliseconds(1));
}

void becomeApplicationUnderTest()
{
    if (std::atomic_ref(gx_MarloSUT).exchange(1) == 0 && isAnyGTK())
        _gtk_timeout_add(PlainPollMs, call_xpending, nullptr);
}
} // namespace

CSpyPort::CSpyPort(unsigned long threadId, const char* domain) : m_threadId(threadId), m_domain(domain)
{
    t_beingMade = t_end.port = this;
    readAcceleration();
    if (attachToJVM())
        loadDomain();
    t_beingMade = nullptr;
}

void CSpyPort::endThread()
{
    m_threadId = 0;
    m_env = nullptr;
    if (m_vm)
        m_vm->DetachCurrentThread();
}

CSpyPort* CSpyPort::beingMade()
{
    return t_beingMade;
}

int CSpyPort::send(GxCallback callback, long param)
{
    return accelerate_on_linux ? sendAccelerated(callback, param) : sendPlain(callback, param);
}

int CSpyPort::sendAccelerated(GxCallback callback, long param)
{
    if (const auto overwritten = CCallbackGlobals::put({callback, param}, m_threadId))
        dropMessage(m_vm, overwritten->callback, overwritten->param);
    CMessageWindow::wake();
    if (isAnyGTK()) {
        [[maybe_unused]] static const unsigned s_timeout =
            _gtk_timeout_add(AcceleratedPollMs, call_xpending, nullptr);
    }
    return 1;
}

int CSpyPort::sendPlain(GxCallback callback, long param)
{
    static CMessageWindow s_window;
    const CMessageWindow::Words words{reinterpret_cast<unsigned long>(&run_callback),
                                      reinterpret_cast<unsigned long>(callback),
                                      static_cast<unsigned long>(param), m_threadId};
    sleepOneMillisecond();
    becomeApplicationUnderTest();
    return s_window.send(words, [=] { run_callback(callback, param); });
}

int run_callback(GxCallback callback, long param)
{
    const CSpyPort* const port = CInfestor::getSpyPort(pthread_self());
    if (!port)
        return 0;
    callback(port->env(), param);
    return 1;
}

int call_xpending(void*)
{
    const CLoopChanges::COwn own(CLoopChanges::COwn::timer);
    if (gx_app_display)
        XPending(gx_app_display);
    return 1;
}

bool CSpyPort::loadDomain()
{
    if (!m_domain || *m_domain == 0 || !m_env)
        return false;
    try {
        const CLocalFrame frame(m_env); // the thread has no Java frame that would drop them
        m_htmlDomain = new CHtmlDomainImplementation(m_env, m_domain);
        if (keepDomain())
            return true;
        delete std::exchange(m_htmlDomain, nullptr); // its references end with the frame
        reportDomainFailure();
    } catch (...) {
        CTracer::debugTrace("oops!  SpyPort caused an exception in the AUT");
    }
    return false;
}

bool CSpyPort::keepDomain()
{
    if (!m_htmlDomain->isValid() || m_env->ExceptionCheck())
        return false;
    CTracer::debugTrace("HtmlDomain created");
    m_htmlDomain->lock();
    return true;
}

void CSpyPort::reportDomainFailure()
{
    const auto thrown = localRef(m_env, m_env->ExceptionOccurred());
    if (!thrown) {
        CTracer::debugTrace("Infestor error: couldn't create HtmlDomain\r");
        return;
    }
    m_env->ExceptionClear();
    CJException exception(m_env, thrown.get());
    CTracer::debugTrace("Exception in JVM when loading HtmlDomain %s \r", exception.getMessage());
    exception.throwInJVM();
}
