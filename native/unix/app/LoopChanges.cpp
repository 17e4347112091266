// And the exported functions of com.talvern.test.gx.application.LoopChanges.
#include "unix/app/LoopChanges.h"

#include "com_talvern_test_gx_application_LoopChanges.h"
#include "common/jni/JniEntry.h"
#include "include/GxGlobals.h"
#include "include/NeverDestroyed.h"
#include "unix/widget/GtkCalls.h"
#include "unix/window/LoopKnock.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <utility>

#include <X11/Intrinsic.h>
#include <X11/Xlibint.h>
#undef min
#undef max

namespace {
constexpr int longestWaitMs = 1000; ///< an engine that has gone keeps a thread for so long

struct CCount {
    std::mutex mutex;
    std::condition_variable changed;
    int64_t turns = 0;
    int waiting = 0;
};

/// Never destroyed: a thread may wait while the process ends.
CCount& count()
{
    static CNeverDestroyed<CCount> s_count;
    return *s_count;
}

// Of the GUI thread.
constinit bool s_isWatched = false;
constinit int s_ownTurns = 0; ///< so many that end next had something of our own
constinit bool s_hasChanged = false;
constinit unsigned long s_requests = 0; ///< how many the program had sent when it was last looked
constinit int s_ownDepth = 0;           ///< of our own that runs now
constinit bool s_seesFlushes = false;

Display* displayOfProgram()
{
    return isGTK2or3() ? static_cast<Display*>(gdk::xDisplay()) : gx_app_display;
}

unsigned long requestsSent()
{
    Display* const display = displayOfProgram();
    return display ? XNextRequest(display) : 0;
}

void tell()
{
    CCount& told = count();
    const std::lock_guard lock(told.mutex);
    ++told.turns;
    if (told.waiting > 0)
        told.changed.notify_all();
}

void onTurn()
{
    const unsigned long requests = requestsSent();
    const bool changed = std::exchange(s_hasChanged, false) || requests != s_requests;
    s_requests = requests;
    if (s_ownTurns == 0 || changed)
        tell();
    s_ownTurns = std::max(s_ownTurns - 1, 0);
}

/// GLib asks before each of its turns whether the source is ready; it never is.
int prepare(void*, int* timeout)
{
    *timeout = -1;
    onTurn();
    return 0;
}

int check(void*)
{
    return 0;
}

/// As GLib lays them out.
struct CSourceFunctions {
    int (*prepare)(void*, int*) = ::prepare;
    int (*check)(void*) = ::check;
    int (*dispatch)(void*, void*, void*) = nullptr;
    void (*finalize)(void*) = nullptr;
    void* unused[2] = {};
};

void watchGlib()
{
    constexpr unsigned room = 256; // more than a GSource has ever taken
    constexpr int beforeAll = -1000;
    static CSourceFunctions s_functions;
    if (void* const source = g::newSource(&s_functions, room)) {
        g::setPriority(source, beforeAll);
        g::attachSource(source, nullptr);
    }
}

pthread_t s_guiThread;

/// What `XSync` sends, and some programs in each turn.
bool isBareRoundTrip(const char* requests, long length)
{
    return length == sz_xReq && requests[0] == X_GetInputFocus;
}

/// Called by Xlib, with the display locked, before it sends requests to the server. A program with a main loop
/// of its own never blocks in Xt; that it has changed something is known by what it sends.
void onFlush(Display* display, XExtCodes*, const char* sent, long length)
{
    const unsigned long requests = NextRequest(display);
    if (!pthread_equal(s_guiThread, pthread_self()) || s_ownDepth > 0 || requests == s_requests)
        return;
    s_requests = requests;
    if (!isBareRoundTrip(sent, length))
        tell();
}

void watchFlushes(Display* display)
{
    s_guiThread = pthread_self();
    s_requests = requestsSent();
    const XExtCodes* const codes = XAddExtension(display); // known to this process alone
    if (!codes)
        return;
    XESetBeforeFlush(display, codes->extension, onFlush);
    s_seesFlushes = true;
}

void watchXt()
{
    if (!gx_app_display)
        return;
    XtAppAddBlockHook(
        XtDisplayToApplicationContext(gx_app_display), [](XtPointer) { onTurn(); }, nullptr);
    watchFlushes(gx_app_display);
}
} // namespace

void CLoopChanges::watch()
{
    if (std::exchange(s_isWatched, true))
        return;
    if (isGTK2or3())
        watchGlib();
    else
        watchXt();
}

int64_t CLoopChanges::await(int64_t known, int milliseconds)
{
    CCount& told = count();
    std::unique_lock lock(told.mutex);
    ++told.waiting;
    told.changed.wait_for(lock, std::chrono::milliseconds(std::clamp(milliseconds, 0, longestWaitMs)),
                          [&] { return told.turns != known; });
    --told.waiting;
    return told.turns;
}

/// GLib wakes itself once more after each descriptor that it has seen to: it leaves that out of its list
/// meanwhile. If that turn counted, each look of an engine would lead to the next.
CLoopChanges::COwn::COwn(Cause cause) : m_turns(cause == descriptor && isGTK2or3() ? 2 : 1)
{
    ++s_ownDepth;
    s_hasChanged = s_hasChanged || (s_isWatched && requestsSent() != s_requests);
}

CLoopChanges::COwn::~COwn()
{
    --s_ownDepth;
    if (!s_isWatched)
        return;
    s_requests = requestsSent();
    if (s_seesFlushes && std::exchange(s_hasChanged, false))
        tell(); // what is changed after this leaves by a flush of its own
    s_ownTurns = std::max(s_ownTurns, m_turns);
}

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_application_LoopChanges_watch, CLoopChanges::watch(), jclass)

GX_JNI(jlong, Java_com_talvern_test_gx_application_LoopChanges_await, jclass, jlong known, jint milliseconds)
{
    return jniEntry(env, __func__, [=]() -> jlong { return CLoopChanges::await(known, milliseconds); });
}

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_application_LoopChanges_knock, CLoopKnock::knock(), jclass)
