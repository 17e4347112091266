#include "unix/input/KeyReceiver.h"

#include "common/trace/CTracer.h"
#include "include/NeverDestroyed.h"
#include "include/Pause.h"
#include "include/ScopedFile.h"
#include "unix/input/RunningInput.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fcntl.h>
#include <optional>
#include <map>
#include <mutex>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "include/ScopedX.h"
#include "unix/window/WindowProperty.h"
#include <xcb/res.h>
#include <xcb/xcb.h>

using namespace std::chrono_literals;

namespace {
using Clock = std::chrono::steady_clock;

/// All waits without a sign for one object.
constexpr auto longestInVain = 500ms;
/// One wait without a sign; for a window that is known to give none.
constexpr auto longPatience = 300ms;
constexpr auto shortPatience = 50ms;
/// After this time a client that says that it answers pings may be one that does not.
constexpr auto pingAlone = 20ms;
/// A thread that has not come to rest in this time, while others have, reads no events.
constexpr auto timeToRest = 200ms;
constexpr auto pauseWithoutSign = 5ms;
constexpr Clock::duration shortestPause = 100us;
constexpr Clock::duration longestPause = 2ms;
/// Of a wait in which client and server cannot run, because others have the processors, this part counts.
constexpr int starvedPart = 10;

xcb_atom_t atomOf(xcb_connection_t* connection, const char* name)
{
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(std::strlen(name)), name);
    const auto reply = answer(connection, cookie, xcb_intern_atom_reply);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

/// The process of the X server; 0 when it is on another machine or in a container whose processes we do not
/// see.
int serverProcess(xcb_connection_t* connection)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    const int descriptor = xcb_get_file_descriptor(connection);
    return getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : 0;
}

/// The process that made a window or another resource, as the server numbers it; 0 when it does not say.
int processOf(xcb_connection_t* connection, uint32_t resource)
{
    const xcb_res_client_id_spec_t spec{resource, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    const auto reply =
        answer(connection, xcb_res_query_client_ids(connection, 1, &spec), xcb_res_query_client_ids_reply);
    if (!reply)
        return 0;
    for (auto ids = xcb_res_query_client_ids_ids_iterator(reply.get()); ids.rem > 0;
         xcb_res_client_id_value_next(&ids))
        if (xcb_res_client_id_value_value_length(ids.data) > 0)
            return static_cast<int>(*xcb_res_client_id_value_value(ids.data));
    return 0;
}

/// The start of a file of /proc; empty when it cannot be read.
std::string startOf(const std::filesystem::path& path)
{
    char buffer[4096];
    const CDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const auto length = read(file.get(), buffer, sizeof buffer);
    return {buffer, static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

bool isIn(char state, const std::string& status)
{
    return status.find(std::string("\nState:\t") + state) != std::string::npos;
}

/// Context switches of a thread, voluntary or not; nothing when it does not sleep.
std::optional<long> switchesOf(const std::string& status)
{
    constexpr std::string_view label = "ctxt_switches:";
    if (!isIn('S', status))
        return std::nullopt;
    long sum = 0;
    for (auto at = status.find(label); at != std::string::npos; at = status.find(label, at + 1))
        sum += std::strtol(status.c_str() + at + label.size(), nullptr, 10);
    return sum;
}

/// What was seen of the threads of a process but the calling one.
struct CLook {
    std::map<int, std::optional<long>> m_switches; ///< by thread id; nothing for one that does not sleep
    bool m_runnable = false;                       ///< one runs, or would if there were a processor for it

    bool allAsleep() const
    {
        return std::all_of(m_switches.begin(), m_switches.end(),
                           [](const auto& thread) { return thread.second.has_value(); });
    }
    /// Whether a thread slept at this look and, without a switch in between, at a later one.
    bool sleptOn(int thread, const CLook& later) const
    {
        const auto here = m_switches.find(thread);
        const auto there = later.m_switches.find(thread);
        return here != m_switches.end() && there != later.m_switches.end() && here->second &&
               here->second == there->second;
    }
};

/// Nothing when there is no such process.
std::optional<CLook> lookAt(int process)
{
    const std::string own = std::to_string(gettid());
    std::error_code error;
    CLook look;
    for (const auto& thread :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", error))
        if (const std::string id = thread.path().filename(); id != own) {
            const std::string status = startOf(thread.path() / "status");
            look.m_switches[std::atoi(id.c_str())] = switchesOf(status);
            look.m_runnable |= isIn('R', status);
        }
    return error ? std::nullopt : std::optional(look);
}

std::chrono::nanoseconds timeOn(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Processor time that a process has used; none when there is no such process.
std::chrono::nanoseconds processorTime(int process)
{
    clockid_t clock;
    return process != 0 && clock_getcpuclockid(process, &clock) == 0 ? timeOn(clock) : 0ns;
}

/// So much is kept of windows that have been typed into; then everything is found out anew.
constexpr size_t mostRemembered = 64;
constinit std::mutex s_remembering;
} // namespace

/// One wait for client and server; the processes are 0 when they are not known.
class CKeyReceiver::CWait {
public:
    CWait(int client, int server) : m_client(client), m_server(server) {}

    /// Takes note that this thread is going to sleep that long at most.
    void sleeps(Clock::duration pause) { m_meant += pause; }
    /// Takes note that both have been looked at, and whether a thread of theirs was runnable. If not, they were
    /// idle since the last look; but time in which this thread was kept from running says nothing of them.
    void looked(bool runnable)
    {
        const auto now = Clock::now();
        const auto own = timeOn(CLOCK_THREAD_CPUTIME_ID);
        if (!runnable)
            m_idle += std::min<Clock::duration>(now - m_looked, m_meant + own - m_own);
        m_looked = now;
        m_own = own;
        m_meant = 0ns;
    }
    Clock::duration sinceStart() const { return Clock::now() - m_start; }
    /// How much of the time since the start counts: that in which client or server ran, or neither wanted to.
    /// At the end of this process all of it does.
    Clock::duration length() const
    {
        const auto all = sinceStart();
        if (m_client == 0 || CRunningInput::mustStop())
            return all;
        return std::clamp<Clock::duration>(m_idle + used() - m_before, all / starvedPart, all);
    }

    std::map<int, bool> m_rested; ///< which threads of the client have been seen at rest; by thread id

private:
    /// What this thread uses is no progress of a client in the same process.
    std::chrono::nanoseconds used() const
    {
        const auto own = m_client == getpid() ? timeOn(CLOCK_THREAD_CPUTIME_ID) : 0ns;
        return processorTime(m_client) + processorTime(m_server) - own;
    }

    const int m_client;
    const int m_server;
    const Clock::time_point m_start = Clock::now();
    const std::chrono::nanoseconds m_before = used();
    Clock::time_point m_looked = m_start;
    std::chrono::nanoseconds m_own = timeOn(CLOCK_THREAD_CPUTIME_ID);
    Clock::duration m_meant{}; ///< to sleep, since the last look
    Clock::duration m_idle{};
};

void CKeyReceiver::CDisconnect::operator()(xcb_connection_t* connection) const noexcept
{
    xcb_disconnect(connection);
}

/// The serial numbers start where no late answer is taken for a new one.
CKeyReceiver::CKeyReceiver(const char* display)
    : m_connection(xcb_connect(display, nullptr)),
      m_serial(static_cast<uint32_t>(Clock::now().time_since_epoch().count()))
{
    if (!usable())
        return;
    m_server = serverProcess(m_connection.get());
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
    m_protocols = atomOf(m_connection.get(), "WM_PROTOCOLS");
    m_ping = atomOf(m_connection.get(), "_NET_WM_PING");
    // The answers to pings are sent to the root window, by Qt to those who want its structure.
    const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection.get(), m_root, XCB_CW_EVENT_MASK, &events);
}

CKeyReceiver::~CKeyReceiver()
{
    remember();
}

bool CKeyReceiver::usable() const
{
    return xcb_connection_has_error(m_connection.get()) == 0;
}

bool CKeyReceiver::aim()
{
    if (!usable())
        return false;
    xcb_connection_t* connection = m_connection.get();
    const auto reply = answer(connection, xcb_get_input_focus(connection), xcb_get_input_focus_reply);
    Window focus = reply ? reply->focus : 0;
    if (focus == XCB_INPUT_FOCUS_POINTER_ROOT || focus == m_root)
        focus = windowUnderPointer();
    return aimAt(focus);
}

bool CKeyReceiver::aimAt(Window window)
{
    if (window == m_focus)
        return false;
    remember();
    m_focus = window;
    findReceiver();
    return !m_known.m_silent;
}

void CKeyReceiver::aimAtFrameUnderPointer()
{
    if (usable())
        aimAt(frameUnderPointer());
}

void CKeyReceiver::aimUnderPointer()
{
    if (usable())
        aimAt(windowUnderPointer());
}

void CKeyReceiver::findReceiver()
{
    m_receiver = m_focus;
    m_process = localProcessOf(m_focus);
    while (m_receiver != 0 && !answersPings(m_receiver))
        m_receiver = parentOf(m_receiver);
    const std::lock_guard guard(s_remembering);
    const auto found = remembered().find({m_focus, m_process});
    m_known = found != remembered().end() ? found->second : CKnown();
}

/// Never deleted: threads may type while the process ends.
CKeyReceiver::Memory& CKeyReceiver::remembered()
{
    static CNeverDestroyed<Memory> s_remembered;
    return *s_remembered;
}

void CKeyReceiver::remember() const
{
    if (m_focus == 0)
        return;
    const std::lock_guard guard(s_remembering);
    if (remembered().size() >= mostRemembered)
        remembered().clear();
    remembered()[{m_focus, m_process}] = m_known;
}

/// The child of the root that the pointer is in; 0 for none.
CKeyReceiver::Window CKeyReceiver::frameUnderPointer()
{
    const auto reply =
        answer(m_connection.get(), xcb_query_pointer(m_connection.get(), m_root), xcb_query_pointer_reply);
    return reply ? reply->child : 0;
}

/// The deepest one; 0 when it is the root.
CKeyReceiver::Window CKeyReceiver::windowUnderPointer()
{
    xcb_connection_t* connection = m_connection.get();
    for (Window window = m_root;;) {
        const auto reply = answer(connection, xcb_query_pointer(connection, window), xcb_query_pointer_reply);
        if (!reply || reply->child == 0)
            return window == m_root ? 0 : window;
        window = reply->child;
    }
}

/// 0 for a window that has gone and for a child of the root.
CKeyReceiver::Window CKeyReceiver::parentOf(Window window)
{
    xcb_connection_t* connection = m_connection.get();
    const auto reply = answer(connection, xcb_query_tree(connection, window), xcb_query_tree_reply);
    return reply && reply->parent != m_root ? reply->parent : 0;
}

bool CKeyReceiver::answersPings(Window window)
{
    xcb_connection_t* connection = m_connection.get();
    const auto cookie = xcb_get_property(connection, 0, window, m_protocols, XCB_ATOM_ATOM, 0, 64);
    const auto reply = answer(connection, cookie, xcb_get_property_reply);
    const auto atoms = wordsIn(reply.get(), XCB_ATOM_ATOM);
    return std::find(atoms.begin(), atoms.end(), m_ping) != atoms.end();
}

/// The server numbers processes as we do when it names ours rightly: it may live in another container.
int CKeyReceiver::localProcessOf(Window window)
{
    xcb_connection_t* connection = m_connection.get();
    const auto* const extension = xcb_get_extension_data(connection, &xcb_res_id);
    if (window == 0 || m_server == 0 || !extension || !extension->present)
        return 0;
    answer(connection, xcb_res_query_version(connection, 1, 2), xcb_res_query_version_reply);
    const bool sameNumbers = processOf(connection, xcb_generate_id(connection)) == getpid();
    return sameNumbers ? processOf(connection, window) : 0;
}

void CKeyReceiver::awaitRead()
{
    if (usable() && m_focus == 0)
        return; // nobody received the stroke
    if (!usable() || (m_receiver == 0 && m_process == 0)) {
        pauseFor(pauseWithoutSign);
        return;
    }
    CWait wait(m_process, m_server);
    m_known.m_silent = !sign(wait);
    if (m_known.m_silent)
        noSign(wait.length());
}

CKeyReceiver::Clock::duration CKeyReceiver::patience() const
{
    const auto left = longestInVain - m_inVain;
    return std::max<Clock::duration>(
        std::min<Clock::duration>(left, m_known.m_silent ? shortPatience : longPatience), 0ms);
}

void CKeyReceiver::noSign(Clock::duration waited)
{
    const bool over = m_inVain >= longestInVain;
    m_inVain += waited;
    if (!over && m_inVain >= longestInVain)
        CTracer::debugTrace(
            "Window 0x%x of process %d does not read its keys in time: the text is typed on without waiting for it",
            m_focus, m_process);
}

/// Waits for a sign that the events have been read. @return whether one came
bool CKeyReceiver::sign(CWait& wait)
{
    const auto longest = patience();
    if (m_receiver != 0) {
        const auto alone = m_process != 0 ? std::min<Clock::duration>(longest, pingAlone) : longest;
        ping();
        wait.sleeps(alone);
        if (pingAnswered(alone))
            return true;
    }
    while (m_process != 0) {
        if (atRest(wait))
            return true;
        if (wait.length() >= timeToRest)
            noteWorkers(wait);
        if (wait.length() >= longest)
            return false;
        const auto pause = std::clamp(wait.sinceStart() / 16, shortestPause, longestPause);
        wait.sleeps(pause);
        if (m_receiver == 0)
            pauseFor(pause);
        else if (pingAnswered(pause))
            return true;
    }
    return false;
}

void CKeyReceiver::ping()
{
    xcb_connection_t* connection = m_connection.get();
    xcb_client_message_event_t ping{};
    ping.response_type = XCB_CLIENT_MESSAGE;
    ping.format = 32;
    ping.window = m_receiver;
    ping.type = m_protocols;
    ping.data.data32[0] = m_ping;
    ping.data.data32[1] = ++m_serial;
    ping.data.data32[2] = m_receiver;
    xcb_send_event(connection, 0, m_receiver, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&ping));
    xcb_flush(connection);
}

/// Waits until the last ping has been answered. Whatever else anybody sends to the root window, however much,
/// does not make the wait longer.
bool CKeyReceiver::pingAnswered(Clock::duration longest)
{
    for (const auto end = Clock::now() + longest;;) {
        const MallocPtr<xcb_generic_event_t> event{xcb_poll_for_event(m_connection.get())};
        if (event && isAnswer(event.get()))
            return true;
        const auto left = end - Clock::now();
        if (left <= 0ms || !usable())
            return false;
        if (!event)
            waitForInput(left);
    }
}

bool CKeyReceiver::isAnswer(const void* event) const
{
    const auto* message = static_cast<const xcb_client_message_event_t*>(event);
    return (message->response_type & 0x7F) == XCB_CLIENT_MESSAGE && message->type == m_protocols &&
           message->data.data32[0] == m_ping && message->data.data32[1] == m_serial &&
           message->data.data32[2] == m_receiver;
}

void CKeyReceiver::waitForInput(Clock::duration longest) const
{
    const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(longest).count();
    const timespec limit{left / 1'000'000'000, left % 1'000'000'000};
    pollfd input{xcb_get_file_descriptor(m_connection.get()), POLLIN, 0};
    ppoll(&input, 1, &limit, nullptr);
}

/// Whether client and server slept at the moment at which the server was looked at: then there was neither an
/// event on its way to the client nor a request or an answer. A thread that is about to sleep reads as asleep
/// before its switch is counted, so what was found is looked at once more.
bool CKeyReceiver::atRest(CWait& wait)
{
    const auto before = lookAt(m_process);
    const auto server = lookAt(m_server);
    const auto after = lookAt(m_process);
    wait.looked((server && server->m_runnable) || (after && after->m_runnable));
    if (!before || !server || !after)
        return false;
    std::erase_if(m_known.m_restless, [&](int thread) { return !after->m_switches.contains(thread); });
    for (const auto& [thread, switches] : after->m_switches) {
        const bool rested = before->sleptOn(thread, *after);
        wait.m_rested[thread] |= rested;
        if (rested)
            m_known.m_restless.erase(thread);
    }
    const auto allSleptOn = [this](const CLook& earlier, const CLook& later) {
        return std::all_of(later.m_switches.begin(), later.m_switches.end(), [&](const auto& thread) {
            return m_known.m_restless.contains(thread.first) || earlier.sleptOn(thread.first, later);
        });
    };
    if (!server->allAsleep() || !allSleptOn(*before, *after))
        return false;
    const auto last = lookAt(m_process);
    return last && allSleptOn(*after, *last);
}

/// Remembers the threads that have never come to rest while others have. The first thread of a process is
/// taken for one that reads events; while it is awake, so may all the others be.
void CKeyReceiver::noteWorkers(const CWait& wait)
{
    std::set<int> restless;
    for (const auto& [thread, rested] : wait.m_rested)
        if (!rested)
            restless.insert(thread);
    if (restless.size() < wait.m_rested.size() && !restless.contains(m_process))
        m_known.m_restless.merge(restless);
}

void CKeyReceiver::awaitClickTaken()
{
    awaitClickPassedOn();
    CKeyReceiver receiver(nullptr);
    receiver.aimUnderPointer();
    receiver.awaitRead();
    awaitFrame();
}

void CKeyReceiver::awaitClickPassedOn()
{
    CKeyReceiver receiver(nullptr);
    receiver.aimAtFrameUnderPointer();
    receiver.awaitRead();
}

void CKeyReceiver::awaitFrame()
{
    constexpr auto frame = std::chrono::milliseconds(20);
    pauseFor(frame);
}

void CKeyReceiver::awaitKeysTaken()
{
    CKeyReceiver receiver(nullptr);
    receiver.aim();
    receiver.awaitRead();
}
