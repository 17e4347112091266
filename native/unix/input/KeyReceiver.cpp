#include "KeyReceiver.h"

#include "CTracer.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "ScopedX.h"
#include <xcb/res.h>
#include <xcb/xcb.h>

using namespace std::chrono_literals;

namespace {
constexpr auto longPatience = 10s;
constexpr auto shortPatience = 50ms;
constexpr auto pauseWithoutSign = 5ms;
constexpr auto pauseBetweenLooks = 100us;

/// The answer of a request, or null when it failed: xcb functions of the form xcb_..._reply.
template <class Reply, class Cookie>
MallocPtr<Reply> answer(xcb_connection_t* connection, Cookie cookie,
                        Reply* (*reply)(xcb_connection_t*, Cookie, xcb_generic_error_t**))
{
    return MallocPtr<Reply>(reply(connection, cookie, nullptr));
}

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
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return {};
    const auto length = read(file, buffer, sizeof buffer);
    close(file);
    return {buffer, static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

/// Context switches of a thread, voluntary or not; nothing when it does not sleep.
std::optional<long> switchesOf(const std::string& status)
{
    constexpr std::string_view label = "ctxt_switches:";
    if (status.find("\nState:\tS") == std::string::npos)
        return std::nullopt;
    long sum = 0;
    for (auto at = status.find(label); at != std::string::npos; at = status.find(label, at + 1))
        sum += std::strtol(status.c_str() + at + label.size(), nullptr, 10);
    return sum;
}

/// Context switches of all threads of a process but the calling one; nothing when one of them does not sleep.
std::optional<long> switchesAsleep(int process)
{
    const std::string own = std::to_string(gettid());
    std::error_code error;
    long sum = 0;
    for (const auto& thread :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", error)) {
        if (thread.path().filename() == own)
            continue;
        const auto switches = switchesOf(startOf(thread.path() / "status"));
        if (!switches)
            return std::nullopt;
        sum += *switches;
    }
    return error ? std::nullopt : std::optional(sum);
}
} // namespace

void CKeyReceiver::CDisconnect::operator()(xcb_connection_t* connection) const noexcept
{
    xcb_disconnect(connection);
}

CKeyReceiver::CKeyReceiver(const char* display)
    : m_connection(xcb_connect(display, nullptr)),
      m_serial(static_cast<uint32_t>(
          Clock::now().time_since_epoch().count())) // no late answer is taken for a new one
      ,
      m_patience(longPatience)
{
    if (!usable())
        return;
    m_server = serverProcess(m_connection.get());
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
    m_protocols = atomOf(m_connection.get(), "WM_PROTOCOLS");
    m_ping = atomOf(m_connection.get(), "_NET_WM_PING");
    // The answers to pings are sent to the root window.
    const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection.get(), m_root, XCB_CW_EVENT_MASK, &events);
}

bool CKeyReceiver::usable() const
{
    return xcb_connection_has_error(m_connection.get()) == 0;
}

void CKeyReceiver::aim()
{
    if (!usable())
        return;
    xcb_connection_t* connection = m_connection.get();
    const auto reply = answer(connection, xcb_get_input_focus(connection), xcb_get_input_focus_reply);
    Window focus = reply ? reply->focus : 0;
    if (focus == XCB_INPUT_FOCUS_POINTER_ROOT || focus == m_root)
        focus = windowUnderPointer();
    if (focus == m_focus)
        return;
    m_focus = focus;
    findReceiver();
}

void CKeyReceiver::findReceiver()
{
    m_receiver = m_focus;
    m_process = localProcessOf(m_focus);
    m_patience = longPatience;
    while (m_receiver != 0 && !answersPings(m_receiver))
        m_receiver = parentOf(m_receiver);
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
    if (!reply || reply->format != 32)
        return false;
    const auto* atoms = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    return std::find(atoms, atoms + reply->value_len, m_ping) != atoms + reply->value_len;
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
    const auto end = Clock::now() + m_patience;
    bool read = false;
    if (usable() && m_receiver != 0)
        read = pingAnswered(end);
    else if (usable() && m_process != 0)
        read = asleep(end);
    else
        std::this_thread::sleep_for(pauseWithoutSign);
    if (m_receiver != 0 || m_process != 0)
        m_patience = read ? longPatience : shortPatience;
}

bool CKeyReceiver::pingAnswered(Clock::time_point end)
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
    do {
        while (const MallocPtr<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
            const auto serial = answeredPing(event.get());
            if (serial == m_serial)
                return true;
            if (serial) // of an earlier stroke: the window is late, but not dead
                end = Clock::now() + longPatience;
        }
    } while (waitForInput(end));
    CTracer::debugTrace("Window 0x%x has not answered within the time", m_receiver);
    return false;
}

/// The serial of the ping that an event answers.
std::optional<uint32_t> CKeyReceiver::answeredPing(const void* event) const
{
    const auto* message = static_cast<const xcb_client_message_event_t*>(event);
    const bool answer = (message->response_type & 0x7F) == XCB_CLIENT_MESSAGE &&
                        message->type == m_protocols && message->data.data32[0] == m_ping &&
                        message->data.data32[2] == m_receiver;
    return answer ? std::optional(message->data.data32[1]) : std::nullopt;
}

/// @return false when the time is over or the connection broke
bool CKeyReceiver::waitForInput(Clock::time_point end)
{
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || !usable())
            return false;
        pollfd input{xcb_get_file_descriptor(m_connection.get()), POLLIN, 0};
        const int ready = poll(&input, 1, static_cast<int>(left));
        if (ready > 0)
            return true;
        if (ready < 0 && errno != EINTR)
            return false;
    }
}

/// Whether both slept at the moment at which the server was looked at: then there was neither an event on its
/// way to the client nor a request or an answer.
bool CKeyReceiver::bothAsleep() const
{
    const auto before = switchesAsleep(m_process);
    return before && switchesAsleep(m_server) && switchesAsleep(m_process) == before;
}

bool CKeyReceiver::asleep(Clock::time_point end) const
{
    while (!bothAsleep()) {
        if (Clock::now() >= end) {
            CTracer::debugTrace("Process %d has not come to rest within the time", m_process);
            return false;
        }
        std::this_thread::sleep_for(pauseBetweenLooks);
    }
    return true;
}
